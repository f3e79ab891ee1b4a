#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// What stands behind FROM.
class SourceParser {
  public:
    explicit SourceParser(TokenStream& tokens) : m_tokens(tokens) {}

    std::span<Source*> sources();
    /// A table, a query, a function or a join in parentheses, with its alias.
    Source* primary();
    /// Where no clause begins.
    Name alias();

  private:
    Source* source();
    Source* parenthesized();
    Source* table();
    Source* function();
    bool at_join();
    Source* join(Source* left);
    void join_kind(Source& join);
    void join_condition(Source& join);
    void refuse_extensions();

    TokenStream& m_tokens;
};

} // namespace oci::sql
