#pragma once

#include "oci/values/error_codes.h"

namespace oci::error {

// What only blocks and their packages report.
inline constexpr Cause lock_timeout{51, "timeout occurred while waiting for a resource"};
inline constexpr Cause invalid_cursor{1001, "invalid cursor"};
inline constexpr Cause invalid_rowid{1410, "invalid ROWID"};
inline constexpr Cause body_missing{4067, "not executed, package body \"{}\" does not exist"};
inline constexpr Cause storage_error{6500, "PL/SQL: storage error"};
inline constexpr Cause program_error{6501, "PL/SQL: program error"};
inline constexpr Cause active_autonomous_transaction{6519, "active autonomous transaction detected and rolled back"};
inline constexpr Cause dynamic_text_is_null{6535, "statement string in {} is NULL or 0 length"};
inline constexpr Cause in_bound_to_out{6536, "IN bind variable bound to an OUT position"};
inline constexpr Cause function_has_out_arguments{6572, "Function {} has out arguments"};
inline constexpr Cause change_inside_query{14551, "cannot perform a DML operation inside a query"};
inline constexpr Cause commit_inside_query{14552, "cannot perform a DDL, commit or rollback inside a query or DML"};
inline constexpr Cause error_number_out_of_range{
    21000, "error number argument to raise_application_error of {} is out of range"};
inline constexpr Cause errors_in_bulk{24381, "error(s) in array DML"};
inline constexpr Cause self_is_null{30625, "method dispatch on NULL SELF argument is disallowed"};

} // namespace oci::error
