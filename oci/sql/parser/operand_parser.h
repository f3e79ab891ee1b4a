#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// What operators stand between: literals, placeholders, names, and the forms that begin with a word of their own.
class OperandParser {
  public:
    explicit OperandParser(TokenStream& tokens) : m_tokens(tokens) {}

    Expression* operand();
    Placeholder* placeholder();

  private:
    Expression* number();
    Expression* string();
    Expression* keyword_form();
    Expression* call_form();
    Expression* literal_form();
    Expression* conditional();
    Expression* cast();
    Expression* extract();
    Expression* trim();
    Expression* exists();
    Expression* cursor();
    Expression* set();
    Expression* datetime(DatetimeLiteral::Kind kind);
    Expression* interval();
    std::uint8_t interval_field(DatetimeLiteral& literal, bool leading);
    Expression* boolean(bool value);

    TokenStream& m_tokens;
};

} // namespace oci::sql
