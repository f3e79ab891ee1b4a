#pragma once

#include "oci/values/values.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

struct sqlite3_context;
struct sqlite3_value;

namespace oci {

/// What an argument is converted to before the function sees it.
enum class ArgumentRule : std::uint8_t {
    any,       ///< handed on as it is
    printable, ///< likewise, a number with all its digits
    number,
    text, ///< a date in the session's format, a number in its plain form
    date, ///< a date or timestamp as it is, a text read in the session's format
    timestamp,
    interval,
    raw,
    like_first, ///< the type of the first argument whose type is known
};

/// The type of a function's result.
enum class ResultRule : std::uint8_t {
    number,
    text, ///< VARCHAR2(4000)
    date,
    timestamp,
    timestamp_tz,
    timestamp_ltz,
    interval_ym,
    interval_ds,
    raw,
    clob,
    blob,
    binary_double,
    rowid,
    like_argument, ///< of FunctionEntry::result_argument and those behind it, the first whose type is known
    text_or_clob,  ///< a CLOB when an argument is one
    part_of_lob,   ///< RAW of a BLOB, VARCHAR2 of others
    unknown        ///< only the value tells
};

enum class FunctionRole : std::uint8_t { scalar, aggregate, aggregate_or_window, window };

/// What the printer puts in front of the arguments.
enum class HiddenArgument : std::uint8_t {
    none,
    families, ///< what append_type() makes of the type of each argument
    now,      ///< julianday('now'), which is the same throughout a statement
};

/// Appends the three letters that tell a function the type of an argument.
inline void append_type(std::string& letters, const ColumnType& type) {
    const auto digit = [](int number) { return static_cast<char>('0' + (number < 0 || number > 9 ? 9 : number)); };
    letters += static_cast<char>('A' + static_cast<int>(type.family));
    letters += digit(type.precision);
    letters += digit(type.scale);
}

/// What SQLite calls. A function of SQLite's own has none.
struct Callbacks {
    void (*step)(sqlite3_context*, int, sqlite3_value**) = nullptr; ///< of a scalar function: the function
    void (*final)(sqlite3_context*) = nullptr;                      ///< of aggregates
    void (*value)(sqlite3_context*) = nullptr;                      ///< of what may stand over a window
    void (*inverse)(sqlite3_context*, int, sqlite3_value**) = nullptr;
};

/// One function of the dialect: all that any layer knows of it.
struct FunctionEntry {
    static constexpr std::uint8_t any_number = 255;

    std::string_view name; ///< in capitals; of a package's function PACKAGE.NAME; empty of an operator of the printer's
    std::uint8_t least;    ///< arguments: fewer are ORA-00938, more ORA-00939; where both are one, ORA-00909
    std::uint8_t most;
    std::array<ArgumentRule, 4> arguments; ///< the last one counts for all that follow
    ResultRule result;
    const char* sqlite_name; ///< what the printer calls
    Callbacks callbacks{};
    std::uint8_t result_argument = 0; ///< of like_argument, from 0
    FunctionRole role = FunctionRole::scalar;
    bool bare = false;          ///< written without parentheses: SYSDATE, USER
    bool null_from_null = true; ///< NULL where any argument is: it need not be called then
    bool deterministic = true;  ///< of equal arguments always the same
    HiddenArgument hidden = HiddenArgument::none;
    bool spells = false;        ///< it has a second form, which spells the numbers that cannot be held
    Callbacks spelling_calls{}; ///< of that form, where it has its own
};

/// What the name of the second form ends in.
constexpr std::string_view spelling_suffix = "_n";
/// @param sqlite_name  what the printer calls
bool spells(std::string_view sqlite_name);

/// @param name  in capitals. Null when there is no such function.
const FunctionEntry* find_function(std::string_view name);

} // namespace oci
