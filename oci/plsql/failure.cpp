#include "oci/plsql/failure.h"

#include <algorithm>

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

} // namespace

Failure::Failure(const ExceptionName& raised)
    : m_code(raised.code != 0 ? raised.code : user_defined),
      m_text(OracleError(m_code).text()),
      m_raised(&raised) {}

std::string Failure::message() const {
    if (m_code == user_defined) return "User-Defined Exception";
    return without_break(m_text);
}

void Failure::passes(std::string_view unit, unsigned line) {
    m_backtrace += "ORA-06512: at ";
    if (!unit.empty()) m_backtrace.append("\"").append(unit).append("\", ");
    m_backtrace += "line " + std::to_string(line) + "\n";
}

void Failure::add_line(std::string_view line) {
    m_backtrace.append(line).append("\n");
}

OracleError Failure::error() const {
    return OracleError::from_text(m_text + m_backtrace);
}

const ExceptionName* predefined_exception(std::string_view name) {
    const auto* found = std::find_if(std::begin(predefined), std::end(predefined),
                                     [&](const ExceptionName& exception) { return exception.name == name; });
    return found != std::end(predefined) ? found : nullptr;
}

std::string message_of(int sqlcode) {
    if (sqlcode == 0) return "ORA-0000: normal, successful completion";
    if (sqlcode == 1) return "User-Defined Exception";
    if (sqlcode == 100) sqlcode = -1403;
    if (sqlcode > 0) return "-" + std::to_string(sqlcode) + ": non-ORACLE exception ";
    return without_break(OracleError(-sqlcode).text());
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
    throw OracleError(6550, text);
}

} // namespace oci::plsql
