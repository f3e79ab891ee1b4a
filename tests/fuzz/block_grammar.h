#pragma once

#include "tests/fuzz/grammar.h"

/// Writes blocks of the procedural language, and the units made of them, most of them valid, on the tables of Grammar.
class BlockGrammar {
  public:
    explicit BlockGrammar(Bytes& bytes) : m_bytes(bytes), m_sql(bytes, variables) {}

    /// An anonymous block.
    std::string block() { return "DECLARE " + declarations() + body(3); }
    /// CREATE of a procedure, function, package or trigger.
    std::string unit();

  private:
    static constexpr const char* variables[] = {"n", "s", "d", "r.a", "r.b", "l(1)", "l.COUNT", "SQLCODE", "f(n)"};

    std::string declarations();
    std::string body(int depth);
    std::string statements(int depth);
    std::string statement(int depth);
    std::string loop(int depth);
    std::string sql(int depth);
    std::string target();

    Bytes& m_bytes;
    Grammar m_sql;
};
