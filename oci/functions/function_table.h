#pragma once

#include "oci/functions/function_entry.h"
#include "oci/values/dates/moments.h"
#include "oci/values/decimal.h"
#include "oci/values/scan.h"
#include "oci/values/work.h"

#include <algorithm>
#include <new>
#include <optional>
#include <span>
#include <sqlite3.h>

namespace oci {

/// What functions reach through their user data. There is one for each connection.
struct FunctionContext {
    const SessionSettings& settings;
    Work& work;
    bool spells = false;
    double statement = 0;     ///< julianday('now') of the statement that asked for the time last, ...
    std::int64_t seconds = 0; ///< ... and the time that it was told
    int nanosecond = 0;
};

/// The text that a value is converted to. Dates have been converted before they come here.
std::string_view text_of(const Value& value, std::string& scratch);

/// What a function is called with.
struct Arguments {
    sqlite3_context* context;
    int count;
    sqlite3_value** values;
    char date[iso_size]; ///< a result that is a date, until SQLite has taken its copy
    std::string scratch; ///< likewise a text

    Value operator[](int index) const { return Value::of(values[index]); }
    bool has(int index) const { return index < count; }
    FunctionContext& function_context() const { return *static_cast<FunctionContext*>(sqlite3_user_data(context)); }
    const SessionSettings& settings() const { return function_context().settings; }
    /// Those of the session, changed by the argument where there is one.
    const SessionSettings& settings_with(int index, std::optional<SessionSettings>& changed) const {
        if (!has(index)) return settings();
        std::string text;
        return changed.emplace(with_parameters(settings(), text_of((*this)[index], text)));
    }
    /// The number as SQLite holds it; where it cannot, rounded, or of a function that spells numbers its text.
    Value number(const Decimal& number) { return spells() ? number.spelled(scratch) : number.nearly_exact(); }
    /// Likewise of a result that has any number of digits.
    Value quotient(const Decimal& number) { return spells() ? number.spelled(scratch) : number.approximate(); }
    bool spells() const { return function_context().spells; }
    /// With HiddenArgument::families: takes them off the front, so that the first argument is number 0.
    std::string_view take_families();
};

using Function = Value (*)(Arguments&);

/// Reports the exception that is being handled.
void report_failure(sqlite3_context* context) noexcept;

/// The function as SQLite calls it. No exception passes through SQLite.
template <Function function> void call(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
    try {
        Arguments in{context, count, values, {}, {}};
        function(in).result(context);
    } catch (...) {
        report_failure(context);
    }
}

/// A function that is NULL where any argument is.
template <Function function> Value strict(Arguments& in) {
    for (int i = 0; i < in.count; ++i) {
        if (sqlite3_value_type(in.values[i]) == SQLITE_NULL) return {};
    }
    return function(in);
}

/// The state of an aggregate function, made at its first step. SQLite keeps a pointer to it.
template <class State> State& state_of(sqlite3_context* context) {
    auto** state = static_cast<State**>(sqlite3_aggregate_context(context, sizeof(State*)));
    if (state == nullptr) throw std::bad_alloc();
    if (*state == nullptr) *state = new State();
    return **state;
}

enum class Row : bool { enters, leaves };

template <class State, Row row>
void aggregate_step(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
    try {
        Arguments in{context, count, values, {}, {}};
        State& state = state_of<State>(context);
        if constexpr (row == Row::enters) {
            state.add(in);
        } else {
            state.remove(in);
        }
    } catch (...) {
        report_failure(context);
    }
}

template <class State> void aggregate_value(sqlite3_context* context) noexcept {
    try {
        auto** state = static_cast<State**>(sqlite3_aggregate_context(context, sizeof(State*)));
        std::string scratch;
        const Value value = state == nullptr || *state == nullptr ? State().value(scratch) : (*state)->value(scratch);
        value.result(context);
    } catch (...) {
        report_failure(context);
    }
}

template <class State> void aggregate_final(sqlite3_context* context) noexcept {
    aggregate_value<State>(context);
    auto** state = static_cast<State**>(sqlite3_aggregate_context(context, 0));
    if (state != nullptr) delete *state;
}

/// Of a State with add(Arguments&), remove(Arguments&) and value(std::string& scratch) const.
template <class State> constexpr Callbacks window_callbacks() {
    return {aggregate_step<State, Row::enters>, aggregate_final<State>, aggregate_value<State>,
            aggregate_step<State, Row::leaves>};
}
/// Without remove.
template <class State> constexpr Callbacks aggregate_callbacks() {
    return {aggregate_step<State, Row::enters>, aggregate_final<State>};
}

// The parts of the one table; each stands beside the bodies of its functions.
extern const std::span<const FunctionEntry> date_functions;
extern const std::span<const FunctionEntry> general_functions;
extern const std::span<const FunctionEntry> list_functions;
extern const std::span<const FunctionEntry> number_functions;
extern const std::span<const FunctionEntry> regexp_functions;
extern const std::span<const FunctionEntry> row_functions;
extern const std::span<const FunctionEntry> statistics_functions;
extern const std::span<const FunctionEntry> sum_functions;
extern const std::span<const FunctionEntry> text_functions;
extern const std::span<const FunctionEntry> window_functions;

// What a row of the table says beside what all have.
constexpr FunctionEntry with_nulls(FunctionEntry entry) {
    entry.null_from_null = false;
    return entry;
}
constexpr FunctionEntry of_argument(std::uint8_t argument, FunctionEntry entry) {
    entry.result_argument = argument;
    return entry;
}
constexpr FunctionEntry bare(FunctionEntry entry) {
    entry.bare = true;
    return entry;
}
constexpr FunctionEntry varying(FunctionEntry entry) {
    entry.deterministic = false;
    return entry;
}
constexpr FunctionEntry knowing(HiddenArgument hidden, FunctionEntry entry) {
    entry.hidden = hidden;
    return entry;
}
constexpr FunctionEntry spelling(FunctionEntry entry, const Callbacks& calls = {}) {
    entry.spells = true;
    entry.spelling_calls = calls;
    return entry;
}
constexpr FunctionEntry of_role(FunctionRole role, FunctionEntry entry) {
    entry.role = role;
    return entry;
}

bool is_number(const Value& value);
double as_double(const Value& number);
double double_of(const Value& value);
Decimal decimal_of(const Value& value);
/// The value without its fraction, held within a range that no count, position or number of months needs to leave.
std::int64_t integer_of(const Value& value);
inline std::string_view text_of(const Arguments& in, int index, std::string& scratch) {
    const Value value = in[index];
    const std::string_view text = text_of(value, scratch);
    const char mark = in.settings().decimal_mark;
    if (mark != '.' && value.type == Value::Type::real) std::replace(scratch.begin(), scratch.end(), '.', mark);
    return text;
}
bool is_date(const Value& value, Civil& date);
Value date_result(Arguments& in, const Civil& date);

/// The date so many days later.
Civil moved(const Civil& date, const Value& days);
Decimal days_between(const Civil& later, const Civil& earlier);

// Texts are UTF-8, counted in characters.
/// The offset behind so many characters; the text's end when it has fewer.
std::size_t offset_behind(std::string_view text, std::int64_t count);
/// The code point at the front, which is taken off.
char32_t take_code_point(std::string_view& text);
void append_code_point(std::string& text, char32_t code);
std::u32string code_points(std::string_view text);
char32_t upper_of(char32_t c);
char32_t lower_of(char32_t c);

} // namespace oci
