#include "oci/plsql/parser/binder.h"

#include "oci/plsql/runtime.h"
#include "oci/values/decimal.h"

#include <algorithm>
#include <chrono>
#include <ctime>
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
    if (number > -20000 || number < -20999) throw OracleError(error::error_number_out_of_range, std::to_string(number));
    const std::string text = text_argument(*arguments[1], frame).substr(0, longest);
    const bool on_top = arguments.size() > 2 && is_true(*arguments[2], frame);
    throw Failure::of_application(static_cast<int>(-number), text, on_top);
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
    return frame.runtime.handled != nullptr ? text_value(frame.runtime.handled->stack()) : OwnedValue();
}
OwnedValue error_backtrace(const Arguments&, Frame& frame) {
    return frame.runtime.handled != nullptr ? text_value(frame.runtime.handled->backtrace()) : OwnedValue();
}
OwnedValue get_time(const Arguments&, Frame&) {
    using Hundredths = std::chrono::duration<std::int64_t, std::centi>;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return number_value(std::chrono::duration_cast<Hundredths>(now).count());
}
OwnedValue get_cpu_time(const Arguments&, Frame&) {
    return number_value(static_cast<std::int64_t>(std::clock()) * 100 / CLOCKS_PER_SEC);
}
OwnedValue call_stack(const Arguments&, Frame& frame) {
    return text_value("----- PL/SQL Call Stack -----\n  line " + std::to_string(frame.line) + "  " +
                      frame.runtime.name_of(*frame.routine.unit) + "\n");
}
/// What only tells others about the session.
OwnedValue nothing(const Arguments&, Frame&) {
    return {};
}

OwnedValue seed(const Arguments& arguments, Frame& frame) {
    const std::string text = text_argument(*arguments[0], frame);
    std::seed_seq numbers(text.begin(), text.end());
    frame.runtime.random.seed(numbers);
    return {};
}
double random_fraction(Frame& frame) {
    return std::generate_canonical<double, 53>(frame.runtime.random);
}
double real_argument(const Expression& argument, Frame& frame) {
    const OwnedValue given = argument.value(frame);
    const Value number = number_of(given.get());
    return number.type == Value::Type::integer ? static_cast<double>(number.integer) : number.real;
}
OwnedValue random_value(const Arguments& arguments, Frame& frame) {
    const double low = !arguments.empty() ? real_argument(*arguments[0], frame) : 0;
    const double high = arguments.size() > 1 ? real_argument(*arguments[1], frame) : 1;
    return OwnedValue(number_of_real(low + random_fraction(frame) * (high - low)));
}
OwnedValue random_integer(const Arguments&, Frame& frame) {
    return number_value(static_cast<std::int32_t>(static_cast<std::uint32_t>(frame.runtime.random())));
}
OwnedValue random_normal(const Arguments&, Frame& frame) {
    return OwnedValue(number_of_real(std::normal_distribution<double>()(frame.runtime.random)));
}
OwnedValue random_string(const Arguments& arguments, Frame& frame) {
    const std::string kind = upper(text_argument(*arguments[0], frame));
    const std::int64_t length = integer_value(*arguments[1], frame);
    std::string all = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (kind == "L") all = "abcdefghijklmnopqrstuvwxyz";
    if (kind == "A") all += "abcdefghijklmnopqrstuvwxyz";
    if (kind == "X") all += "0123456789";
    if (kind == "P") {
        all.clear();
        for (char c = ' '; c <= '~'; ++c) all += c;
    }
    std::string text;
    for (std::int64_t i = 0; i < std::min<std::int64_t>(length, longest_text); ++i)
        text += all[static_cast<std::size_t>(random_fraction(frame) * static_cast<double>(all.size()))];
    return text_value(text);
}

// A large object in a variable is its content: what writes to one makes a new content.
std::string lob_content(const Expression& lob, Frame& frame) {
    const OwnedValue given = lob.value(frame);
    const Value value = given.get();
    if (value.is_null()) throw OracleError(error::invalid_locator);
    return std::string(value.text());
}
OwnedValue assign_lob(const Expression& lob, Frame& frame, std::string_view content) {
    const bool binary = lob.type()->column.family == Family::blob;
    Value value = Value::of_bytes(content.data(), content.size());
    if (!binary) value.type = Value::Type::text;
    lob.assign(frame, Datum(value));
    return {};
}
OwnedValue lob_create(const Arguments& arguments, Frame& frame) {
    return assign_lob(*arguments[0], frame, "");
}
OwnedValue lob_free(const Arguments& arguments, Frame& frame) {
    arguments[0]->assign(frame, Datum(OwnedValue()));
    return {};
}
OwnedValue lob_append(const Arguments& arguments, Frame& frame) {
    return assign_lob(*arguments[0], frame, lob_content(*arguments[0], frame) + lob_content(*arguments[1], frame));
}
OwnedValue lob_write_append(const Arguments& arguments, Frame& frame) {
    const auto amount = static_cast<std::size_t>(integer_value(*arguments[1], frame));
    const std::string more = text_argument(*arguments[2], frame).substr(0, amount);
    return assign_lob(*arguments[0], frame, lob_content(*arguments[0], frame) + more);
}
OwnedValue lob_write(const Arguments& arguments, Frame& frame) {
    const auto amount = static_cast<std::size_t>(integer_value(*arguments[1], frame));
    const std::int64_t offset = integer_value(*arguments[2], frame);
    if (offset < 1) throw OracleError(error::argument_out_of_range, std::to_string(offset));
    std::string content = lob_content(*arguments[0], frame);
    const auto from = static_cast<std::size_t>(offset - 1);
    const std::string more = text_argument(*arguments[3], frame).substr(0, amount);
    if (content.size() < from + more.size()) content.resize(from + more.size(), ' ');
    content.replace(from, more.size(), more);
    return assign_lob(*arguments[0], frame, content);
}
OwnedValue lob_trim(const Arguments& arguments, Frame& frame) {
    const auto length = static_cast<std::size_t>(integer_value(*arguments[1], frame));
    return assign_lob(*arguments[0], frame, lob_content(*arguments[0], frame).substr(0, length));
}

OwnedValue sleep(const Arguments& arguments, Frame& frame) {
    const Value seconds = number_of(arguments[0]->value(frame).get());
    const double length = seconds.type == Value::Type::integer ? static_cast<double>(seconds.integer) : seconds.real;
    if (seconds.is_null() || length < 0) throw OracleError(error::value_error);
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
    std::string_view parameters; ///< their names
    Family result;               ///< unknown: a procedure
    OwnedValue (*run)(const Arguments& arguments, Frame& frame);
    std::size_t assigned = 0;   ///< how many of its arguments are outputs
    bool takes_boolean = false; ///< among its arguments
};

constexpr Builtin builtins[] = {
    {"SQLCODE", 0, 0, "", Family::number, sqlcode},
    {"SQLERRM", 0, 1, "ERROR_NUMBER", Family::text, sqlerrm},
    {"UPDATING", 1, 1, "", Family::boolean, updating},
    {"RAISE_APPLICATION_ERROR", 2, 3, "NUM,MSG,KEEPERRORSTACK", Family::unknown, raise_application_error, 0, true},
    {"DBMS_OUTPUT.PUT", 1, 1, "A", Family::unknown, put},
    {"DBMS_OUTPUT.PUT_LINE", 1, 1, "A", Family::unknown, put_line},
    {"DBMS_OUTPUT.NEW_LINE", 0, 0, "", Family::unknown, new_line},
    {"DBMS_OUTPUT.ENABLE", 0, 1, "BUFFER_SIZE", Family::unknown, enable},
    {"DBMS_OUTPUT.DISABLE", 0, 0, "", Family::unknown, disable},
    {"DBMS_OUTPUT.GET_LINE", 2, 2, "LINE,STATUS", Family::unknown, get_line, 2},
    {"DBMS_OUTPUT.GET_LINES", 2, 2, "LINES,NUMLINES", Family::unknown, get_lines, 2},
    {"DBMS_UTILITY.FORMAT_ERROR_STACK", 0, 0, "", Family::text, error_stack},
    {"DBMS_UTILITY.FORMAT_ERROR_BACKTRACE", 0, 0, "", Family::text, error_backtrace},
    {"DBMS_UTILITY.FORMAT_CALL_STACK", 0, 0, "", Family::text, call_stack},
    {"DBMS_UTILITY.GET_TIME", 0, 0, "", Family::number, get_time},
    {"DBMS_UTILITY.GET_CPU_TIME", 0, 0, "", Family::number, get_cpu_time},
    {"DBMS_APPLICATION_INFO.SET_MODULE", 2, 2, "MODULE_NAME,ACTION_NAME", Family::unknown, nothing},
    {"DBMS_APPLICATION_INFO.SET_ACTION", 1, 1, "ACTION_NAME", Family::unknown, nothing},
    {"DBMS_APPLICATION_INFO.SET_CLIENT_INFO", 1, 1, "CLIENT_INFO", Family::unknown, nothing},
    {"DBMS_RANDOM.SEED", 1, 1, "VAL", Family::unknown, seed},
    {"DBMS_RANDOM.INITIALIZE", 1, 1, "VAL", Family::unknown, seed},
    {"DBMS_RANDOM.TERMINATE", 0, 0, "", Family::unknown, nothing},
    {"DBMS_RANDOM.VALUE", 0, 2, "LOW,HIGH", Family::number, random_value},
    {"DBMS_RANDOM.RANDOM", 0, 0, "", Family::number, random_integer},
    {"DBMS_RANDOM.NORMAL", 0, 0, "", Family::number, random_normal},
    {"DBMS_RANDOM.STRING", 2, 2, "OPT,LEN", Family::text, random_string},
    {"DBMS_LOB.CREATETEMPORARY", 2, 3, "LOB_LOC,CACHE,DUR", Family::unknown, lob_create, 1, true},
    {"DBMS_LOB.FREETEMPORARY", 1, 1, "LOB_LOC", Family::unknown, lob_free, 1},
    {"DBMS_LOB.OPEN", 1, 2, "LOB_LOC,OPEN_MODE", Family::unknown, nothing},
    {"DBMS_LOB.CLOSE", 1, 1, "LOB_LOC", Family::unknown, nothing},
    {"DBMS_LOB.APPEND", 2, 2, "DEST_LOB,SRC_LOB", Family::unknown, lob_append, 1},
    {"DBMS_LOB.WRITEAPPEND", 3, 3, "LOB_LOC,AMOUNT,BUFFER", Family::unknown, lob_write_append, 1},
    {"DBMS_LOB.WRITE", 4, 4, "LOB_LOC,AMOUNT,OFFSET,BUFFER", Family::unknown, lob_write, 1},
    {"DBMS_LOB.TRIM", 2, 2, "LOB_LOC,NEWLEN", Family::unknown, lob_trim, 1},
    {"DBMS_LOCK.SLEEP", 1, 1, "SECONDS", Family::unknown, sleep},
    {"DBMS_SESSION.SLEEP", 1, 1, "SECONDS", Family::unknown, sleep},
};

/// The place of the name in a list with commas; behind the last when it is not there.
std::size_t place_of(std::string_view name, std::string_view list) {
    for (std::size_t place = 0;; ++place) {
        const auto end = std::min(list.find(','), list.size());
        if (list.substr(0, end) == name || list.empty()) return place;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

} // namespace

ExpressionPtr Binder::builtin(std::string_view name, sql::Expressions arguments, std::span<const sql::Name> names,
                              bool statement) {
    if (name.starts_with("SYS.")) name.remove_prefix(4);
    const auto* found =
        std::find_if(std::begin(builtins), std::end(builtins), [&](const Builtin& b) { return b.name == name; });
    if (found == std::end(builtins) || statement != (found->result == Family::unknown)) return nullptr;
    const auto at = m_at;
    const auto wrong = [&] {
        const auto called = name.substr(name.rfind('.') + 1);
        fail("PLS-00306: wrong number or types of arguments in call to '" + std::string(called) + "'", at);
    };
    if (arguments.size() < found->least || arguments.size() > found->most) wrong();
    std::vector<const sql::Expression*> placed(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::size_t place = i < names.size() && names[i] ? place_of(names[i].text, found->parameters) : i;
        if (place >= placed.size() || placed[place] != nullptr) wrong();
        placed[place] = arguments[i];
    }
    ExpressionList bound;
    for (const auto* argument : placed) {
        const bool assigned = bound.size() < found->assigned;
        ExpressionPtr value = assigned ? target(*argument) : bind(*argument);
        const Type& type = *value->type();
        if ((!type.is_scalar() && !assigned) || (type.is_boolean() && !found->takes_boolean)) wrong();
        bound.push_back(assigned || type.is_boolean() ? std::move(value) : text_of(std::move(value)));
    }
    const TypePtr type =
        scalar_type(found->result == Family::number ? ColumnType::number() : ColumnType::of_family(found->result));
    return std::make_shared<Computed>(type, [found, bound](Frame& frame) { return Datum(found->run(bound, frame)); });
}

} // namespace oci::plsql
