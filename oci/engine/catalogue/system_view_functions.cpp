#include "oci/engine/catalogue/system_view_functions.h"

#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/session/session.h"
#include "oci/sql/token_stream.h"

#include <algorithm>
#include <initializer_list>
#include <sqlite3.h>
#include <tuple>
#include <utility>

namespace oci {
namespace {

using Parts = std::initializer_list<std::pair<std::string_view, std::string>>;

/// What a function answers: a text that is empty is NULL.
using Answer = std::string (*)(Session& session, std::string_view first, std::string_view second);

std::string pick(const Parts& parts, std::string_view wanted) {
    const auto* const found = std::ranges::find(parts, wanted, &Parts::value_type::first);
    return found == parts.end() ? std::string() : found->second;
}

bool is_text(const ColumnType& type) {
    return type.family == Family::text || type.family == Family::fixed_text;
}

std::string type_name(const ColumnType& type) {
    const std::string declaration = type.declaration();
    switch (type.family) {
    case Family::number: return type.scale == any_scale && type.precision != 0 ? "FLOAT" : "NUMBER";
    case Family::text:
    case Family::fixed_text:
    case Family::raw: return declaration.substr(0, declaration.find('('));
    case Family::long_text: return "LONG";
    case Family::unknown: return "UNDEFINED";
    default: return declaration;
    }
}

/// In bytes. A national character has two.
int data_length(const ColumnType& type) {
    if (type.national && is_text(type)) return 2 * type.size;
    switch (type.family) {
    case Family::rowid: return 10;
    case Family::timestamp:
    case Family::timestamp_ltz: return type.scale == 0 ? 7 : 11;
    case Family::long_text:
    case Family::long_raw:
    case Family::unknown: return 0;
    default: return type.described_size();
    }
}

std::string precision(const ColumnType& type) {
    const bool interval = type.family == Family::interval_ym || type.family == Family::interval_ds;
    const bool given = interval || (type.family == Family::number && type.precision != 0 && !type.integer);
    return given ? std::to_string(type.precision) : std::string();
}

std::string scale(const ColumnType& type) {
    const bool number = type.family == Family::number && type.scale != any_scale;
    const bool moment = type.family >= Family::timestamp && type.family <= Family::interval_ds;
    return number || moment ? std::to_string(type.scale) : std::string();
}

std::string type_part(Session&, std::string_view declaration, std::string_view part) {
    const ColumnType type = ColumnType::parse(declaration).value_or(ColumnType{});
    const bool text = is_text(type);
    const bool characters = text || type.family == Family::clob || type.family == Family::long_text;
    return pick({{"DATA_TYPE", type_name(type)},
                 {"DATA_LENGTH", std::to_string(data_length(type))},
                 {"DATA_PRECISION", precision(type)},
                 {"DATA_SCALE", scale(type)},
                 {"CHAR_LENGTH", std::to_string(text ? type.size : 0)},
                 {"CHAR_USED", !text                ? ""
                               : type.in_characters ? "C"
                                                    : "B"},
                 {"CHARACTER_SET_NAME", !characters     ? ""
                                        : type.national ? "NCHAR_CS"
                                                        : "CHAR_CS"}},
                part);
}

/// The head of a trigger: TRIGGER name BEFORE events ON table REFERENCING ... FOR EACH ROW ... WHEN (...) body.
std::string trigger_part(Session&, std::string_view text, std::string_view part) {
    sql::Arena arena;
    sql::TokenStream tokens(text, arena);
    const auto until = [&](std::initializer_list<std::string_view> words) {
        const sql::Offset from = tokens.position();
        const auto is_wanted = [&](std::string_view word) { return tokens.at(word); };
        while (!tokens.at_end() && std::ranges::none_of(words, is_wanted)) tokens.take();
        return std::string(tokens.text_between(from, tokens.position()));
    };
    until({"TRIGGER"});
    tokens.take();
    const sql::Offset name = tokens.position();
    until({"BEFORE", "AFTER", "INSTEAD"});
    std::string timing(tokens.take().text);
    if (tokens.accept("OF")) timing += " OF";
    std::string events;
    do {
        events += (events.empty() ? "" : " OR ") + std::string(tokens.take().text);
        until({"OR", "ON"});
    } while (tokens.accept("OR"));
    const std::string head = until({"WHEN", "DECLARE", "BEGIN", "CALL"});
    const std::string description(tokens.text_between(name, tokens.position()));
    std::string condition;
    if (tokens.accept("WHEN")) {
        condition = until({"DECLARE", "BEGIN", "CALL"});
        condition = condition.substr(1, condition.rfind(')') - 1);
    }
    const bool rows = upper(head).find(" ROW") != std::string::npos;
    return pick({{"TYPE", timing == "INSTEAD OF" ? timing : timing + (rows ? " EACH ROW" : " STATEMENT")},
                 {"EVENT", events},
                 {"REFERENCING", "REFERENCING NEW AS NEW OLD AS OLD"},
                 {"WHEN", condition},
                 {"DESCRIPTION", description},
                 {"BODY", std::string(text.substr(std::min<std::size_t>(tokens.position(), text.size())))}},
                part);
}

/// A line with its end; NULL behind the last one.
std::string source_line(Session&, std::string_view text, std::string_view number) {
    for (std::int64_t left = number_of(number).integer; left > 1 && !text.empty(); --left)
        text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
    return std::string(text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1));
}

std::string last_number(Session& session, std::string_view sequence, std::string_view) {
    const SequenceRule& rule = session.dictionary().sequence_rule(sequence);
    const auto next = session.database().sequences.last(rule);
    return std::to_string(next.value_or(rule.increment > 0 ? rule.maximum : rule.minimum));
}

/// @param whose  DEFAULT: as every session begins with it
std::string nls(Session& session, std::string_view name, std::string_view whose) {
    const SessionSettings settings = whose == "DEFAULT" ? SessionSettings() : session.settings();
    return pick({{"NLS_LANGUAGE", "AMERICAN"},
                 {"NLS_TERRITORY", settings.territory},
                 {"NLS_CURRENCY", settings.currency},
                 {"NLS_ISO_CURRENCY", settings.iso_currency},
                 {"NLS_NUMERIC_CHARACTERS", std::string{settings.decimal_mark, settings.group_mark}},
                 {"NLS_CALENDAR", "GREGORIAN"},
                 {"NLS_DATE_FORMAT", settings.date_format},
                 {"NLS_DATE_LANGUAGE", settings.date_language},
                 {"NLS_SORT", settings.sort},
                 {"NLS_TIMESTAMP_FORMAT", settings.timestamp_format},
                 {"NLS_TIMESTAMP_TZ_FORMAT", settings.timestamp_tz_format},
                 {"NLS_DUAL_CURRENCY", settings.dual_currency},
                 {"NLS_COMP", settings.comparison},
                 {"NLS_LENGTH_SEMANTICS", settings.length_in_characters ? "CHAR" : "BYTE"},
                 {"NLS_NCHAR_CONV_EXCP", "FALSE"}},
                name);
}

/// No exception passes through SQLite.
template <Answer answer> void call(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
    try {
        const auto text = [&](int i) -> std::string_view {
            const auto* characters = reinterpret_cast<const char*>(sqlite3_value_text(values[i]));
            return characters == nullptr ? std::string_view() : std::string_view(characters);
        };
        auto& session = *static_cast<Session*>(sqlite3_user_data(context));
        const std::string result = answer(session, text(0), count > 1 ? text(1) : std::string_view());
        Value::of(std::string_view(result)).result(context);
    } catch (const OracleError& error) {
        sqlite3_result_error(context, error.text().c_str(), -1);
    } catch (const std::exception&) {
        sqlite3_result_error_nomem(context);
    }
}

} // namespace

void register_system_view_functions(Session& session) {
    using Function = void (*)(sqlite3_context*, int, sqlite3_value**);
    static constexpr std::tuple<const char*, int, Function> functions[] = {{"ora_type_part", 2, call<type_part>},
                                                                           {"ora_trigger_part", 2, call<trigger_part>},
                                                                           {"ora_source_line", 2, call<source_line>},
                                                                           {"ora_last_number", 1, call<last_number>},
                                                                           {"ora_nls", 2, call<nls>}};
    for (const auto& [name, count, function] : functions) {
        const int status = sqlite3_create_function_v2(session.db(), name, count, SQLITE_UTF8, &session, function,
                                                      nullptr, nullptr, nullptr);
        if (status != SQLITE_OK) throw sqlite_error(session.db());
    }
}

} // namespace oci
