#include "oci/engine/session/alter_session.h"

#include "oci/engine/session/session.h"
#include "oci/sql/token_stream.h"
#include "oci/values/formats.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace oci {
namespace {

/// What a statement changes, until it has been read to its end.
struct Changes {
    SessionSettings settings;
    std::optional<std::int64_t> work_limit;
};

/// A value as it is written: in capitals unless it is a text.
struct Setting {
    std::string name;
    std::string value;
};

[[noreturn]] void refuse(const Setting& setting) {
    throw OracleError(error::invalid_nls_value, setting.name + " = " + setting.value);
}

bool is_value(const Setting& setting, std::initializer_list<std::string_view> accepted) {
    const std::string value = upper(setting.value);
    return std::find(accepted.begin(), accepted.end(), value) != accepted.end();
}

void require(const Setting& setting, std::initializer_list<std::string_view> accepted) {
    if (!is_value(setting, accepted)) refuse(setting);
}

void set_date_format(Changes& to, const Setting& setting) {
    format_moment({{2000, 1, 1, 0, 0, 0}, 0, false, 0, {}}, Family::date, 0, setting.value, to.settings);
    to.settings.date_format = setting.value;
}

void set_numeric_characters(Changes& to, const Setting& setting) {
    const std::string& marks = setting.value;
    const auto is_possible = [](unsigned char c) {
        return std::isalnum(c) == 0 && std::string_view("+-<>").find(static_cast<char>(c)) == std::string_view::npos;
    };
    if (marks.size() != 2 || marks[0] == marks[1] || !std::all_of(marks.begin(), marks.end(), is_possible))
        refuse(setting);
    to.settings.decimal_mark = marks[0];
    to.settings.group_mark = marks[1];
}

void set_language(Changes& to, const Setting& setting) {
    require(setting, {"AMERICAN", "ENGLISH"});
    to.settings.date_language = upper(setting.value);
}

void set_territory(Changes& to, const Setting& setting) {
    require(setting, {"AMERICA"});
    to.settings.territory = upper(setting.value);
}

void set_time_zone(Changes& to, const Setting& setting) {
    to.settings.time_zone = is_value(setting, {"LOCAL"})        ? ""
                            : is_value(setting, {"DBTIMEZONE"}) ? "+00:00"
                                                                : setting.value;
}

std::int64_t whole_number(const Setting& setting) {
    std::int64_t number = 0;
    const char* const end = setting.value.data() + setting.value.size();
    const auto [rest, status] = std::from_chars(setting.value.data(), end, number);
    if (status != std::errc() || rest != end || number < 0) refuse(setting);
    return number;
}

void set_work_limit(Changes& to, const Setting& setting) {
    to.work_limit = whole_number(setting);
}

void set_ddl_lock_timeout(Changes& to, const Setting& setting) {
    const std::int64_t seconds = whole_number(setting);
    if (seconds > 1'000'000) refuse(setting);
    to.settings.ddl_lock_timeout_s = static_cast<int>(seconds);
}

template <std::string SessionSettings::*member> void set_text(Changes& to, const Setting& setting) {
    to.settings.*member = setting.value;
}

void set_length_semantics(Changes& to, const Setting& setting) {
    require(setting, {"BYTE", "CHAR"});
    to.settings.length_in_characters = is_value(setting, {"CHAR"});
}

/// Of a linguistic order or comparison a program would rely on the answers.
template <std::string SessionSettings::*member> void set_binary(Changes& to, const Setting& setting) {
    require(setting, {"BINARY"});
    to.settings.*member = "BINARY";
}

void accept_default(Changes&, const Setting& setting) {
    require(setting, {"IMMEDIATE", "DEFAULT"});
}
void accept_isolation(Changes&, const Setting& setting) {
    require(setting, {"READ COMMITTED", "SERIALIZABLE"});
}
void accept_calendar(Changes&, const Setting& setting) {
    require(setting, {"GREGORIAN"});
}
/// It tells a server how to go about its work: nothing that a program sees depends on it.
void ignore(Changes&, const Setting&) {}

struct Known {
    std::string_view name;
    void (*set)(Changes& to, const Setting& setting);
};

constexpr Known known_settings[] = {
    {"NLS_DATE_FORMAT", set_date_format},
    {"NLS_TIMESTAMP_FORMAT", set_text<&SessionSettings::timestamp_format>},
    {"NLS_TIMESTAMP_TZ_FORMAT", set_text<&SessionSettings::timestamp_tz_format>},
    {"NLS_DATE_LANGUAGE", set_language},
    {"NLS_LANGUAGE", set_language},
    {"NLS_TERRITORY", set_territory},
    {"NLS_NUMERIC_CHARACTERS", set_numeric_characters},
    {"NLS_CURRENCY", set_text<&SessionSettings::currency>},
    {"NLS_ISO_CURRENCY", set_text<&SessionSettings::iso_currency>},
    {"NLS_DUAL_CURRENCY", set_text<&SessionSettings::dual_currency>},
    {"NLS_SORT", set_binary<&SessionSettings::sort>},
    {"NLS_COMP", set_binary<&SessionSettings::comparison>},
    {"NLS_CALENDAR", accept_calendar},
    {"NLS_LENGTH_SEMANTICS", set_length_semantics},
    {"NLS_NCHAR_CONV_EXCP", ignore},
    {"TIME_ZONE", set_time_zone},
    {"CURRENT_SCHEMA", set_text<&SessionSettings::current_schema>},
    {"ISOLATION_LEVEL", accept_isolation},
    {"CONSTRAINTS", accept_default},
    {"CONSTRAINT", accept_default},
    {"DTK_WORK_LIMIT", set_work_limit},
    {"CURSOR_SHARING", ignore},
    {"DDL_LOCK_TIMEOUT", set_ddl_lock_timeout},
    {"DEFERRED_SEGMENT_CREATION", ignore},
    {"OPTIMIZER_MODE", ignore},
    {"PLSCOPE_SETTINGS", ignore},
    {"PLSQL_CODE_TYPE", ignore},
    {"PLSQL_OPTIMIZE_LEVEL", ignore},
    {"PLSQL_WARNINGS", ignore},
    {"QUERY_REWRITE_ENABLED", ignore},
    {"RECYCLEBIN", ignore},
    {"SKIP_UNUSABLE_INDEXES", ignore},
    {"SQL_TRACE", ignore},
    {"STATISTICS_LEVEL", ignore},
    {"TIMED_STATISTICS", ignore},
    {"TRACEFILE_IDENTIFIER", ignore},
};

Setting read_setting(sql::TokenStream& tokens) {
    Setting setting;
    setting.name = upper(tokens.name(error::invalid_alter_session.code).text);
    tokens.expect("=", error::missing_equal_sign.code);
    const sql::Token value = tokens.peek();
    switch (value.kind) {
    case sql::Token::Kind::string: setting.value = tokens.string(error::invalid_alter_session.code); return setting;
    case sql::Token::Kind::quoted:
    case sql::Token::Kind::word:
    case sql::Token::Kind::number: break;
    default: tokens.fail(error::invalid_alter_session.code);
    }
    tokens.take();
    setting.value = value.kind == sql::Token::Kind::word ? upper(value.text) : std::string(value.text);
    if (setting.value == "READ" && tokens.accept("COMMITTED")) setting.value = "READ COMMITTED";
    return setting;
}

/// ENABLE, DISABLE and FORCE PARALLEL ... say how a server works, not what it answers.
bool skip_parallel(sql::TokenStream& tokens) {
    if (!tokens.at("ENABLE", "PARALLEL") && !tokens.at("DISABLE", "PARALLEL") && !tokens.at("FORCE", "PARALLEL"))
        return false;
    while (!tokens.at_end()) tokens.take();
    return true;
}

} // namespace

void alter_session(Session& session, std::string_view text) {
    sql::Arena arena;
    sql::TokenStream tokens(text, arena);
    tokens.expect("ALTER", error::invalid_alter.code);
    tokens.expect("SESSION", error::invalid_alter.code);
    if (skip_parallel(tokens)) return;
    tokens.expect("SET", error::invalid_alter_session.code);
    Changes changes{session.settings(), {}};
    do {
        const Setting setting = read_setting(tokens);
        const auto* known = std::find_if(std::begin(known_settings), std::end(known_settings),
                                         [&](const Known& each) { return each.name == setting.name; });
        const bool hidden = setting.name.starts_with('_'); // a server's own business
        if (known == std::end(known_settings) && !hidden) throw OracleError(error::invalid_alter_session, setting.name);
        if (!hidden) known->set(changes, setting);
    } while (!tokens.at_end() && !tokens.at(";"));
    if (changes.work_limit) session.work().limit(*changes.work_limit);
    session.change_settings() = changes.settings;
}

} // namespace oci
