#include "oci/values/errors.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace oci {
namespace {

const char* text_of(int code) {
    const auto causes = error::all();
    const auto found = std::lower_bound(causes.begin(), causes.end(), code,
                                        [](const error::Cause* cause, int wanted) { return cause->code < wanted; });
    if (found != causes.end() && (*found)->code == code) return (*found)->text;
    return code >= 20000 && code <= 20999 ? "" : error::internal.text; // those are the programs' own
}

} // namespace

OracleError::OracleError(const error::Cause& cause, std::string_view detail) : m_code(cause.code) {
    char head[16];
    std::snprintf(head, sizeof head, "ORA-%05d: ", cause.code);
    m_text = head;
    m_text += cause.text;
    if (const auto place = m_text.find("{}"); place != std::string::npos) {
        m_text.replace(place, 2, detail);
        if (m_text.ends_with(": ") && m_text.size() > sizeof "ORA-nnnnn: ") m_text.resize(m_text.size() - 2);
    } else if (!detail.empty()) {
        m_text.append(" (").append(detail).append(")");
    }
    m_text += '\n';
}

OracleError::OracleError(int code, std::string_view detail) : OracleError(error::Cause{code, text_of(code)}, detail) {}

OracleError OracleError::from_text(std::string_view text) {
    OracleError error;
    const auto digits = text.substr(4);
    std::from_chars(digits.data(), digits.data() + digits.size(), error.m_code);
    error.m_text = text;
    if (!error.m_text.ends_with('\n')) error.m_text += '\n';
    return error;
}

} // namespace oci
