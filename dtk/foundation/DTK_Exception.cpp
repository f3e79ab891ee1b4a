#include "dtk/foundation/DTK_Exception.h"

#include <cstdio>
#include <utility>

namespace {

std::string located(const std::string& origin, int line, const std::string& message) {
    char text[1024];
    std::snprintf(text, sizeof text, "%s::%d  %s", origin.c_str(), line, message.c_str());
    return text;
}

} // namespace

DTK_Exception::DTK_Exception(const dtk::error::Definition& error) : DTK_Exception(error.code, error.message) {}

DTK_Exception::DTK_Exception(int errorCode, std::string message)
    : m_errorCode(errorCode),
      m_dbErrorCode(0),
      m_message(std::move(message)) {}

// NOLINTNEXTLINE(performance-unnecessary-value-param): its signature is fixed
DTK_Exception::DTK_Exception(int errorCode, std::string origin, int line, std::string message)
    : DTK_Exception(errorCode, located(origin, line, message)) {}

DTK_Exception::DTK_Exception(const DTK_Exception& other) = default;
DTK_Exception& DTK_Exception::operator=(const DTK_Exception& other) = default;
DTK_Exception::~DTK_Exception() = default;

char* DTK_Exception::what() {
    thread_local char text[200];
    if (m_errorCode == 0)
        std::snprintf(text, sizeof text, "ORACLE ERROR %d:%s", m_dbErrorCode, m_dbMessage.c_str());
    else
        std::snprintf(text, sizeof text, "DTK ERROR %d:%s", m_errorCode, m_message.c_str());
    return text;
}

std::string DTK_Exception::mb_getMessage() {
    return m_errorCode != 0 ? m_message : m_dbMessage;
}

int DTK_Exception::mb_getErrorCode() {
    return m_errorCode;
}

int DTK_Exception::mb_getDBErrorCode() {
    return m_dbErrorCode;
}
