#pragma once

/// Every error that the library itself raises: its code and its exact message, once. Throw sites read
/// `throw DTK_Exception(dtk::error::statement_not_prepared);`. Clients may compare codes and messages, so the texts are
/// kept byte for byte, odd blanks and spellings included. The namespace is `dtk::error` so that it cannot meet an
/// application's own `error`.
namespace dtk::error {

/// A code with its message.
struct Definition {
    int code;            ///< 0 marks an Oracle error
    const char* message; ///< static text
};

/// @name Without a number of their own
/// @{

/// Code 0 marks an Oracle error, so what() and mb_getMessage show these as one.
inline constexpr Definition connection_creation_failed{0, "Unknown exception while creating connection"};
inline constexpr Definition blob_handle_empty{0, "Pointer is null"};
/// @}

/// @name Locks
/// @{

/// Raised by DTK_Semaphore; semaphore_not_acquired by a timed hand-out of a pool too.
inline constexpr Definition semaphore_value_negative{1, "The value max value for semaphore cannot be -ve"};
inline constexpr Definition semaphore_wait_not_implemented{3, " Not implemented "};
inline constexpr Definition semaphore_not_acquired{3, " Process is not able to acquire a semaphore "};
inline constexpr Definition semaphore_deadlock{5, "Deadlock detected by the system"};
inline constexpr Definition semaphore_wait_interrupted{6, "External signal interrupted"};
inline constexpr Definition semaphore_still_locked{7, " Semaphore is still locked by some process "};
/// @}

/// @name Calendar types
/// @{

/// Raised by DTK_Date, DTK_DbDate or DTK_DateTime, as the name says.
inline constexpr Definition date_value_invalid{100, "Invalid DTK_Date Value !!"};
inline constexpr Definition date_invalid{100, "Invalid DTK_Date format !!"};
inline constexpr Definition date_text_empty{100, "Invalid DTK_Date format!!"};
inline constexpr Definition date_text_null{101, "memory access violation!!"};
inline constexpr Definition db_date_text_invalid{100, "Invalid Date format"};
inline constexpr Definition db_date_text_format_unknown{100, "Invalid date format specifier "};
inline constexpr Definition db_date_text_empty{101, "Memory access violation"};
inline constexpr Definition db_date_text_null{101, "Null pointer assignment"};
inline constexpr Definition db_date_output_format_unknown{103, "INVALID DATE FORMAT SPECIFIER !!!"};
inline constexpr Definition db_date_image_invalid{12500, "Invalid Date format"};
inline constexpr Definition db_date_image_null{12501, "Null pointer assignment"};
inline constexpr Definition date_time_text_null{101, "Null pointer assignment"};
inline constexpr Definition date_time_text_empty{101, "Empty data passed "};
inline constexpr Definition date_time_text_unreadable{102, "Memory access violation"};
inline constexpr Definition date_time_text_invalid{104, "Error in date format!!!"};
inline constexpr Definition date_time_text_format_unknown{105, "Invalid date format specifier !!!"};
inline constexpr Definition date_time_output_format_unknown{105, "INVALID DATE FORMAT SPECIFIER !!!"};
inline constexpr Definition date_time_invalid{104, "Invalid Date Time Value!"};
inline constexpr Definition date_time_fields_invalid{104, "Invalid Date Time Value!!!"};
inline constexpr Definition date_time_record_invalid{104, "Invalid Date Time value"};
inline constexpr Definition date_time_months_invalid{12400, "Invalid date format !!"};
/// @}

/// @name Connection
/// @{

/// Raised by a connection without a session.
inline constexpr Definition connection_uninitialized{201, "Uninitialized _DTK_Connection Object"};
/// @}

/// @name Statement
/// @{

/// Raised by statements.
inline constexpr Definition statement_uninitialized{300, "Uninitialized _DTK_Statement Object"};
inline constexpr Definition update_count_not_set{301, "Fetch count not set"};
inline constexpr Definition update_count_invalid{301, "Invalid value for update count"};
inline constexpr Definition statement_not_prepared{302, "Statement handle not prepared"};
inline constexpr Definition parameter_conversion_unexpected{303, "Unexpected conversion requested, check column type"};
inline constexpr Definition statement_not_executed{304, "statement handle not executed"};
/// @}

/// @name Result set
/// @{

/// Raised by result sets. A statement's mb_getInt64 raises column_conversion_unexpected where its other getters raise
/// 303.
inline constexpr Definition bulk_count_invalid{400, "Invalid value for bulk fetch count"};
inline constexpr Definition column_conversion_unexpected{402, "Unexpected conversion requested, check column type"};
inline constexpr Definition bulk_count_not_set{
    403, "ERROR: Fetch count not set!call mb_setBulkCount(int) before setting buffer"};
inline constexpr Definition bulk_count_not_set_for_int64_or_blob{
    999, "ERROR: Fetch count not set!call mb_setBulkCount(int) before setting buffer"};
inline constexpr Definition row_not_fetched{404, "fetch not called or fetch has been done for bulk data"};
/// @}

/// @name Connection pool
/// @{

/// Raised by connection pools.
inline constexpr Definition error_handles_failed{500, "Error initializing error handles"};
inline constexpr Definition connection_handles_failed{500, "Error initializing connection handles"};
inline constexpr Definition reconnect_thread_failed{500, "Error in creating thread for reconnect"};
inline constexpr Definition logon_failed{500, "Error Calling OCILogon2 "};
inline constexpr Definition connections_still_open{501, "There are still open Connections"};
/// @}

/// @name BLOB
/// @{

/// Raised by BLOBs, and by statements and result sets that make them.
inline constexpr Definition blob_uninitialized{600, "Uninitialized _DTK_Blob object"};
inline constexpr Definition blob_environment_missing{
    601, "_DTK_Blob object initialization error, unable to get environment pointer"};
inline constexpr Definition fetched_blob_environment_missing{
    601, "DTK_Blob object initialization error, unable to get environment pointer"};
inline constexpr Definition blob_descriptor_failed{
    602, "_DTK_Blob object initialization error, initialization of descriptor failed"};
inline constexpr Definition parameter_blob_descriptor_failed{
    602, "DTK_Blob object initialization error, initialization of descriptor failed"};
/// @}

/// @name Statement metadata
/// @{

/// Raised where the columns of a query are described.
inline constexpr Definition precision_unavailable{701, "error in getting precision information"};
inline constexpr Definition type_precision_unavailable{701, "error in getting Precision information"};
inline constexpr Definition scale_unavailable{701, "error in getting scale information"};
inline constexpr Definition parameter_unavailable{703, "error in getting parameter information"};
inline constexpr Definition parameter_count_unavailable{704, "error in getting parameter count for the statement"};
inline constexpr Definition nullability_unavailable{705, "error in getting null column information"};
/// @}

} // namespace dtk::error
