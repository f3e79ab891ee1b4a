#pragma once

#include "tests/fuzz/bytes.h"

/// Writes statements of the dialect, most of them valid, on tables T(A NUMBER, B VARCHAR2(20), C DATE) and
/// U(A NUMBER, D CHAR(5)).
class Grammar {
  public:
    explicit Grammar(Bytes& bytes) : m_bytes(bytes) {}

    std::string statement();
    std::string query(int depth);
    std::string value(int depth);
    std::string condition(int depth);

  private:
    std::string leaf();
    std::string call(int depth);
    std::string source(int depth);
    std::string block(int depth);
    std::string ending(int depth);
    std::string insert(int depth);
    std::string merge(int depth);

    Bytes& m_bytes;
};
