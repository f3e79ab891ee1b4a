#include "dtk/oracle/DTK_int64_mapper.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <string>

DTK_int64_mapper::DTK_int64_mapper(long long* values, void* buffer, int count, int width, unsigned short* lengths)
    : m_values(values),
      m_buffer(static_cast<char*>(buffer)),
      m_count(count),
      m_width(width),
      m_lengths(lengths) {}

void DTK_int64_mapper::mb_mapToArray() {
    for (int i = 0; i < m_count; ++i) {
        char digits[24];
        const int length = std::snprintf(digits, sizeof digits, "%lld", m_values[i]);
        std::memcpy(slot(i), digits, static_cast<std::size_t>(std::min(length + 1, m_width)));
    }
}

void DTK_int64_mapper::mb_mapToint64() {
    for (int i = 0; i < m_count; ++i) {
        const std::string text(slot(i), strnlen(slot(i), static_cast<std::size_t>(m_width)));
        m_values[i] = std::strtoll(text.c_str(), nullptr, 10);
    }
}

void DTK_int64_mapper::mb_print() {
    for (int i = 0; i < m_count; ++i) std::cout << m_values[i] << std::endl;
}

void DTK_int64_mapper::mb_releaseBuffers() {
    ::operator delete(m_buffer);
    ::operator delete(m_lengths);
}

char* DTK_int64_mapper::slot(int index) const {
    return m_buffer + static_cast<std::size_t>(m_width) * static_cast<std::size_t>(index);
}
