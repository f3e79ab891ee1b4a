#include "oci/plsql/failure.h"

#include <algorithm>
#include <utility>

namespace oci::plsql {
namespace {

const ExceptionName predefined[] = {
    {"ACCESS_INTO_NULL", 6530},        {"CASE_NOT_FOUND", 6592},    {"COLLECTION_IS_NULL", 6531},
    {"CURSOR_ALREADY_OPEN", 6511},     {"DUP_VAL_ON_INDEX", 1},     {"INVALID_CURSOR", 1001},
    {"INVALID_NUMBER", 1722},          {"LOGIN_DENIED", 1017},      {"NO_DATA_FOUND", 1403},
    {"NOT_LOGGED_ON", 1012},           {"PROGRAM_ERROR", 6501},     {"ROWTYPE_MISMATCH", 6504},
    {"SELF_IS_NULL", 30625},           {"STORAGE_ERROR", 6500},     {"SUBSCRIPT_BEYOND_COUNT", 6533},
    {"SUBSCRIPT_OUTSIDE_LIMIT", 6532}, {"SYS_INVALID_ROWID", 1410}, {"TIMEOUT_ON_RESOURCE", 51},
    {"TOO_MANY_ROWS", 1422},           {"VALUE_ERROR", 6502},       {"ZERO_DIVIDE", 1476},
};

std::string without_break(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

std::string place(std::string_view unit, unsigned line) {
    std::string text = "ORA-06512: at ";
    if (!unit.empty()) text.append("\"").append(unit).append("\", ");
    return text + "line " + std::to_string(line) + "\n";
}

} // namespace

Failure::Failure(const ExceptionName& raised)
    : m_code(raised.code != 0 ? raised.code : user_defined),
      m_text(OracleError(m_code).text()),
      m_raised(&raised) {}

std::string Failure::message() const {
    if (m_code == user_defined) return "User-Defined Exception";
    return without_break(m_text);
}

Failure Failure::of_application(int code, std::string_view text, bool on_top) {
    Failure made(OracleError::from_text("ORA-" + std::to_string(code) + ": " + std::string(text)));
    made.m_stands_alone = !on_top;
    return made;
}

Failure Failure::again(const Failure& handled) {
    Failure made = handled;
    made.m_caught_at.clear();
    made.m_stands_alone = true;
    return made;
}

void Failure::passes(std::string_view unit, unsigned line) {
    const std::string at = place(unit, line);
    m_places += at;
    m_told += at + m_pending;
    if (!m_pending.empty()) m_previous += at + m_pending;
    m_pending.clear();
}

void Failure::caught(std::string_view unit, unsigned line) {
    m_caught_at = place(unit, line);
}

void Failure::leaves_handler_of(const Failure& handled) {
    if (!std::exchange(m_stands_alone, false)) m_pending += handled.stack();
}

void Failure::add_line(std::string_view line) {
    m_told.append(line).append("\n");
}

OracleError Failure::error() const {
    return OracleError::from_text(m_text + m_told);
}

void CompileError::leaves_out(std::string_view place, std::string_view what) {
    constexpr std::string_view alone[] = {"PLS-00103", "PLS-00428", "PLS-00049", "PLS-00123"};
    const auto stands = [this](std::string_view code) { return m_text.find(code) != std::string::npos; };
    if (std::exchange(m_placed, true) || std::any_of(std::begin(alone), std::end(alone), stands)) return;
    const bool sql = stands("PL/SQL: ORA-") || stands("PLS-00394");
    m_text.append("\nORA-06550: ").append(place).append("PL/SQL: ");
    m_text.append(sql ? "SQL " : "").append(what).append(" ignored");
}

const ExceptionName* predefined_exception(std::string_view name) {
    const auto* found = std::find_if(std::begin(predefined), std::end(predefined),
                                     [&](const ExceptionName& exception) { return exception.name == name; });
    return found != std::end(predefined) ? found : nullptr;
}

std::string message_of(int sqlcode) {
    if (sqlcode == 0) return "ORA-0000: normal, successful completion";
    if (sqlcode == 1) return "User-Defined Exception";
    if (sqlcode == 100) sqlcode = -error::no_data_found;
    if (sqlcode > 0) return " -" + std::to_string(sqlcode) + ": non-ORACLE exception ";
    const int code = -sqlcode;
    const bool of_constraint = code == error::unique_violated || code == error::check_violated ||
                               code == error::parent_key_not_found || code == error::child_record_found;
    return without_break(OracleError(code, of_constraint ? "." : "").text());
}

Failure current_failure() {
    try {
        throw;
    } catch (const OracleError& error) {
        return Failure(error);
    } catch (const CompileError& error) {
        return Failure(error.error());
    } catch (const Failure& failure) {
        return failure;
    }
}

void refuse(std::string_view text) {
    throw OracleError(error::block_error, text);
}

} // namespace oci::plsql
