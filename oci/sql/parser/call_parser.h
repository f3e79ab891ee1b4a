#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// Names of up to three parts, and calls with all that may stand in and behind their parentheses.
class CallParser {
  public:
    explicit CallParser(TokenStream& tokens) : m_tokens(tokens) {}

    /// A column, a pseudocolumn, a call; in a block a variable with its elements and attributes too.
    Expression* name();
    /// A call; without parentheses too.
    Call* call();
    ColumnReference* column();

  private:
    struct Path {
        Name parts[3];
        int count = 0;
    };

    Path path();
    Name first_name();
    Name further_name();
    ColumnReference* column(const Path& path);
    Call* call(const Path& path);
    void arguments(Call& call);
    Expression* argument(const Call& call);
    void behind_arguments(Call& call);
    void behind_parentheses(Call& call);
    void treatment_of_nulls(Call& call);
    void keep(Call& call);
    Window* window();
    void frame(Window& window);
    Window::Bound bound();
    Expression* block_suffixes(Expression* operand);
    Expression* attribute(Expression* cursor);
    Expression* member(Expression* object);

    TokenStream& m_tokens;
};

} // namespace oci::sql
