#include "dtk/oracle/DTK_String_mapper.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <new>
#include <string>

#include "dtk/foundation/DTK_String.h"

DTK_String_mapper::DTK_String_mapper(DTK_String* strings, void* buffer, int count, int width, unsigned short* lengths)
    : m_strings(strings),
      m_buffer(static_cast<char*>(buffer)),
      m_count(count),
      m_width(width),
      m_lengths(lengths) {}

void DTK_String_mapper::mb_mapToArray() {
    const std::size_t width = static_cast<std::size_t>(m_width);
    for (int i = 0; i < m_count; ++i) {
        const std::size_t length = m_strings[i].mb_length();
        std::memcpy(slot(i), m_strings[i].c_str(), std::min(length, width));
        if (length < width) slot(i)[length] = '\0';
    }
}

void DTK_String_mapper::mb_mapToString() {
    const std::size_t width = static_cast<std::size_t>(m_width);
    for (int i = 0; i < m_count; ++i) {
        const char* text = slot(i);
        if (std::memchr(text, '\0', width)) {
            m_strings[i] = text;
        } else {
            m_strings[i] = DTK_String(std::string(text, width));
        }
    }
}

void DTK_String_mapper::mb_print() {
    for (int i = 0; i < m_count; ++i) std::cout << m_strings[i] << std::endl;
}

void DTK_String_mapper::mb_clearFrom(int first) {
    for (int i = first; i < m_count && m_width > 0; ++i) *slot(i) = '\0';
}

void DTK_String_mapper::mb_releaseBuffers() {
    ::operator delete(m_buffer);
    ::operator delete(m_lengths);
}

char* DTK_String_mapper::slot(int index) const {
    return m_buffer + static_cast<std::size_t>(m_width) * static_cast<std::size_t>(index);
}
