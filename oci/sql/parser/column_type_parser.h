#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// The declared type of a column, a variable or a CAST.
class ColumnTypeParser {
  public:
    explicit ColumnTypeParser(TokenStream& tokens) : m_tokens(tokens) {}

    static bool begins(TokenStream& tokens);
    ColumnType type();

  private:
    ColumnType number(int precision);
    ColumnType binary_precision(int greatest);
    ColumnType text(Family family, bool sized);
    ColumnType raw();
    ColumnType character();
    ColumnType national(const Token& first);
    ColumnType national_clob();
    ColumnType integer();
    ColumnType long_type();
    ColumnType timestamp();
    ColumnType interval();
    ColumnType of(Family family);
    int precision(int otherwise);
    int size(int greatest);

    TokenStream& m_tokens;
};

} // namespace oci::sql
