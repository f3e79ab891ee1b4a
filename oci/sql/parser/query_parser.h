#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// SELECT with all its clauses, set operators, WITH, and what ends a query: ORDER BY, OFFSET and FETCH, FOR UPDATE.
class QueryParser {
  public:
    explicit QueryParser(TokenStream& tokens) : m_tokens(tokens) {}

    static bool begins(TokenStream& tokens) { return tokens.at("SELECT") || tokens.at("WITH"); }

    Query* query();
    /// What goes on behind a query in parentheses; the query itself where nothing does.
    Query* continued(Query* first);
    /// The query in the parentheses of an expression, which is not ordered unless that chooses its rows.
    Query* subquery();

  private:
    std::span<WithQuery> with();
    WithQuery with_query();
    Query* set_operand();
    Query* combined(Query* first);
    Query* wrapped(Query* inner);
    void ending(Query& query);
    bool has_ending();
    void order(Query& query);
    void limit(RowLimit& limit);
    void lock(RowLock& lock);
    Block* block();
    std::span<SelectItem> items();
    SelectItem item(bool first);
    bool at_star();
    Expression* star();
    void into(Block& block);
    void hierarchy(Block& block);
    void grouping(Block& block);
    std::span<GroupItem> group_items();
    GroupItem group_item();
    Expressions group_keys();
    Expression* group_key();

    TokenStream& m_tokens;
};

} // namespace oci::sql
