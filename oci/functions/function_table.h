#pragma once

#include "oci/functions/function_entry.h"

#include <new>
#include <span>
#include <sqlite3.h>

namespace oci {

/// What a function is called with.
struct Arguments {
    sqlite3_context* context;
    int count;
    sqlite3_value** values;
    char date[iso_size]; ///< a result that is a date, until SQLite has taken its copy
    std::string scratch; ///< likewise a text

    Value operator[](int index) const { return Value::of(values[index]); }
    bool has(int index) const { return index < count; }
    /// ORA-00938 with fewer arguments.
    void require(int least) const {
        if (count < least) throw OracleError(error::not_enough_arguments);
    }
};

using Function = Value (*)(Arguments&);

/// The function as SQLite calls it. No exception passes through SQLite.
template <Function function> void call(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
    try {
        Arguments in{context, count, values, {}, {}};
        function(in).result(context);
    } catch (const OracleError& error) {
        sqlite3_result_error(context, error.text().c_str(), -1);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    }
}

/// A function that is NULL where any argument is.
template <Function function> Value strict(Arguments& in) {
    for (int i = 0; i < in.count; ++i) {
        if (sqlite3_value_type(in.values[i]) == SQLITE_NULL) return {};
    }
    return function(in);
}

// The parts of the one table; each stands beside the bodies of its functions.
extern const std::span<const FunctionEntry> general_functions;
extern const std::span<const FunctionEntry> number_functions;
extern const std::span<const FunctionEntry> text_functions;
extern const std::span<const FunctionEntry> sum_functions;

bool is_number(const Value& value);
double as_double(const Value& number);
double double_of(const Value& value);
/// The value without its fraction, held within a range that no count, position or number of months needs to leave.
std::int64_t integer_of(const Value& value);
/// The number as an integer when it is whole and fits; ORA-01426 when it is not finite.
Value number_result(double number);
/// The text that Oracle converts a value to.
std::string_view text_of(const Value& value, std::string& scratch);
bool is_date(const Value& value, Civil& date);
Value date_result(Arguments& in, const Civil& date);
/// The date so many days later.
Value moved(Arguments& in, const Civil& date, double days);

} // namespace oci
