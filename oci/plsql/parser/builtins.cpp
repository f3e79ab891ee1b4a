#include "oci/plsql/parser/binder.h"

#include "oci/plsql/runtime.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace oci::plsql {
namespace {

using Arguments = ExpressionList;

OwnedValue text_value(std::string_view text) {
    return OwnedValue(Value::of(text));
}
OwnedValue number_value(std::int64_t number) {
    return OwnedValue(Value::of(number));
}

std::string text_argument(const Expression& argument, Frame& frame) {
    const OwnedValue value = argument.value(frame);
    std::string scratch;
    const Value given = value.get();
    const bool number = given.type == Value::Type::integer || given.type == Value::Type::real;
    return given.is_null() ? std::string() : std::string(number ? number_text(given, scratch) : given.text());
}

OwnedValue sqlcode(const Arguments&, Frame& frame) {
    return number_value(frame.runtime.handled != nullptr ? frame.runtime.handled->sqlcode() : 0);
}

OwnedValue sqlerrm(const Arguments& arguments, Frame& frame) {
    if (!arguments.empty()) return text_value(message_of(static_cast<int>(integer_value(*arguments[0], frame))));
    return text_value(frame.runtime.handled != nullptr ? frame.runtime.handled->message() : message_of(0));
}

OwnedValue raise_application_error(const Arguments& arguments, Frame& frame) {
    constexpr std::size_t longest = 2048;
    const std::int64_t number = integer_value(*arguments[0], frame);
    if (number > -20000 || number < -20999)
        throw OracleError(21000, "error number argument to raise_application_error of " + std::to_string(number) +
                                     " is out of range");
    const std::string text = text_argument(*arguments[1], frame).substr(0, longest);
    throw OracleError::from_text("ORA-" + std::to_string(-number) + ": " + text);
}

OwnedValue put(const Arguments& arguments, Frame& frame) {
    frame.runtime.output.put(text_argument(*arguments[0], frame));
    return {};
}
OwnedValue put_line(const Arguments& arguments, Frame& frame) {
    put(arguments, frame);
    frame.runtime.output.end_line();
    return {};
}
OwnedValue new_line(const Arguments&, Frame& frame) {
    frame.runtime.output.end_line();
    return {};
}
OwnedValue enable(const Arguments&, Frame& frame) {
    frame.runtime.output.enabled = true;
    return {};
}
OwnedValue disable(const Arguments&, Frame& frame) {
    frame.runtime.output.enabled = false;
    frame.runtime.output.clear();
    return {};
}
OwnedValue get_line(const Arguments& arguments, Frame& frame) {
    std::string line;
    const bool found = frame.runtime.output.take(line);
    arguments[0]->assign(frame, Datum(Value::of(std::string_view(line))));
    arguments[1]->assign(frame, Datum(number_value(found ? 0 : 1)));
    return {};
}
OwnedValue get_lines(const Arguments& arguments, Frame& frame) {
    const std::int64_t most = integer_value(*arguments[1], frame);
    Collection& lines = arguments[0]->place(frame).collection();
    lines = {};
    std::string line;
    std::int64_t count = 0;
    for (; count < most && frame.runtime.output.take(line); ++count)
        lines.append(Datum(Value::of(std::string_view(line))));
    arguments[1]->assign(frame, Datum(number_value(count)));
    return {};
}

OwnedValue error_stack(const Arguments&, Frame& frame) {
    return frame.runtime.handled != nullptr ? text_value(frame.runtime.handled->message() + "\n") : OwnedValue();
}
OwnedValue error_backtrace(const Arguments&, Frame& frame) {
    return frame.runtime.handled != nullptr ? text_value(frame.runtime.handled->backtrace()) : OwnedValue();
}
OwnedValue get_time(const Arguments&, Frame&) {
    using Hundredths = std::chrono::duration<std::int64_t, std::centi>;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return number_value(std::chrono::duration_cast<Hundredths>(now).count());
}
OwnedValue sleep(const Arguments& arguments, Frame& frame) {
    const Value seconds = number_of(arguments[0]->value(frame).get());
    const double length = seconds.type == Value::Type::integer ? static_cast<double>(seconds.integer) : seconds.real;
    if (seconds.is_null() || length < 0) throw OracleError(6502, "");
    std::this_thread::sleep_for(std::chrono::duration<double>(length));
    return {};
}

OwnedValue updating(const Arguments& arguments, Frame& frame) {
    const bool updates = frame.runtime.updated.contains(upper(text_argument(*arguments[0], frame)));
    return number_value(updates ? 1 : 0);
}

struct Builtin {
    std::string_view name;
    std::size_t least; ///< arguments
    std::size_t most;
    Family result; ///< unknown: a procedure
    OwnedValue (*run)(const Arguments& arguments, Frame& frame);
    bool assigns = false; ///< its arguments are outputs
};

constexpr Builtin builtins[] = {
    {"SQLCODE", 0, 0, Family::number, sqlcode},
    {"SQLERRM", 0, 1, Family::text, sqlerrm},
    {"UPDATING", 1, 1, Family::boolean, updating},
    {"RAISE_APPLICATION_ERROR", 2, 3, Family::unknown, raise_application_error},
    {"DBMS_OUTPUT.PUT", 1, 1, Family::unknown, put},
    {"DBMS_OUTPUT.PUT_LINE", 1, 1, Family::unknown, put_line},
    {"DBMS_OUTPUT.NEW_LINE", 0, 0, Family::unknown, new_line},
    {"DBMS_OUTPUT.ENABLE", 0, 1, Family::unknown, enable},
    {"DBMS_OUTPUT.DISABLE", 0, 0, Family::unknown, disable},
    {"DBMS_OUTPUT.GET_LINE", 2, 2, Family::unknown, get_line, true},
    {"DBMS_OUTPUT.GET_LINES", 2, 2, Family::unknown, get_lines, true},
    {"DBMS_UTILITY.FORMAT_ERROR_STACK", 0, 0, Family::text, error_stack},
    {"DBMS_UTILITY.FORMAT_ERROR_BACKTRACE", 0, 0, Family::text, error_backtrace},
    {"DBMS_UTILITY.GET_TIME", 0, 0, Family::number, get_time},
    {"DBMS_LOCK.SLEEP", 1, 1, Family::unknown, sleep},
    {"DBMS_SESSION.SLEEP", 1, 1, Family::unknown, sleep},
};

} // namespace

ExpressionPtr Binder::builtin(std::string_view name, sql::Expressions arguments, bool statement) {
    if (name.starts_with("SYS.")) name.remove_prefix(4);
    const auto* found =
        std::find_if(std::begin(builtins), std::end(builtins), [&](const Builtin& b) { return b.name == name; });
    if (found == std::end(builtins) || statement != (found->result == Family::unknown)) return nullptr;
    const auto at = m_at;
    if (arguments.size() < found->least || arguments.size() > found->most)
        fail("PLS-00306: wrong number or types of arguments in call to '" + std::string(name) + "'", at);
    ExpressionList bound;
    for (const auto* argument : arguments) {
        ExpressionPtr value = found->assigns ? target(*argument) : text_of(bind(*argument));
        const Type& type = *value->type();
        if ((!type.is_scalar() && !found->assigns) || type.is_boolean())
            fail("PLS-00306: wrong number or types of arguments in call to '" + std::string(name) + "'", at);
        bound.push_back(std::move(value));
    }
    const TypePtr type =
        scalar_type(found->result == Family::number ? ColumnType::number() : ColumnType::of_family(found->result));
    return std::make_shared<Computed>(type, [found, bound](Frame& frame) { return Datum(found->run(bound, frame)); });
}

} // namespace oci::plsql
