#pragma once

#include "tests/fuzz/bytes.h"

#include <span>

/// Writes statements of the dialect, most of them valid, on tables T(A NUMBER, B VARCHAR2(20), C DATE) and
/// U(A NUMBER, D CHAR(5)).
class Grammar {
  public:
    /// @param variables  of the block that the statements stand in
    explicit Grammar(Bytes& bytes, std::span<const char* const> variables = {})
        : m_bytes(bytes),
          m_variables(variables) {}

    std::string statement();
    std::string definition();
    std::string change(int depth);
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
    const std::span<const char* const> m_variables;
};
