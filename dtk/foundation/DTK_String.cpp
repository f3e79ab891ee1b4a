#include "dtk/foundation/DTK_String.h"

#include <cstddef>
#include <cstdint>
#include <ostream>

DTK_String::DTK_String() = default;
DTK_String::DTK_String(const std::string& text) : m_str(text) {}
DTK_String::DTK_String(const DTK_String& other) = default;

DTK_String& DTK_String::operator=(const DTK_String& other) = default;

DTK_String& DTK_String::operator=(const char* text) {
    m_str = text;
    return *this;
}

DTK_String& DTK_String::operator=(char* text) {
    m_str = text;
    return *this;
}

DTK_String DTK_String::operator+(const DTK_String& other) {
    DTK_String joined;
    joined.m_str.reserve(m_str.size() + other.m_str.size());
    joined.m_str.append(m_str).append(other.m_str);
    return joined;
}

DTK_String DTK_String::operator+(const char* text) {
    DTK_String joined(*this);
    joined.m_str.append(text);
    return joined;
}

// std::to_string writes "%d", "%ld", "%lld" and "%f", and makes room for any magnitude.
void DTK_String::mb_fromInt(int value) {
    m_str = std::to_string(value);
}

void DTK_String::mb_fromLong(long value) {
    m_str = std::to_string(value);
}

void DTK_String::mb_fromInt64(long long value) {
    m_str = std::to_string(value);
}

void DTK_String::mb_fromFloat(float value) {
    m_str = std::to_string(value);
}

void DTK_String::mb_fromDouble(double value) {
    m_str = std::to_string(value);
}

DTK_String DTK_String::mb_subStr(unsigned int pos, unsigned int len) {
    try {
        return DTK_String(m_str.substr(pos, len));
    } catch (...) {
        return DTK_String(); // never throws, whatever the bounds
    }
}

std::string DTK_String::mb_replace(std::string& what, std::string& with, int start) {
    if (what.empty() || start < 0) return m_str;
    const std::size_t step = with.find(what) == std::string::npos ? 0 : with.size();
    for (std::size_t pos = m_str.find(what, static_cast<std::size_t>(start)); pos != std::string::npos;
         pos = m_str.find(what, pos + step))
        m_str.replace(pos, what.size(), with);
    return m_str;
}

unsigned int DTK_String::mb_hash() {
    std::uint32_t hash = 0;
    // The sign of bytes above 0x7F is extended into the upper bits: stored hashes depend on it.
    for (const char* at = m_str.c_str(); *at != '\0'; ++at)
        hash = (hash & 0xFC000000u) ^ (hash << 6) ^ static_cast<std::uint32_t>(static_cast<signed char>(*at));
    return hash;
}

std::ostream& operator<<(std::ostream& stream, DTK_String& text) {
    return stream << text.c_str();
}
