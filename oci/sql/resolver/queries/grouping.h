#pragma once

#include "oci/sql/resolver/scope.h"

// GROUP BY: keys, what may stand beside them, grouping sets, aggregates of aggregates.
namespace oci::sql {

/// GROUP BY of one block.
class Grouping {
  public:
    Grouping(Resolution& resolution, Scope& scope, const Block& block);

    void having(Select& plan);
    /// ORA-00979, ORA-00937: what is neither grouped nor an aggregate.
    /// @param from  the first of the scope's mentions of columns that is not in FROM or WHERE
    void check(const Select& plan, std::size_t from);
    /// @return the query that gives the rows of all grouping sets.
    Select* finish(Select& plan);

  private:
    using Set = std::uint64_t; ///< a bit for each key

    std::vector<Set> sets_of(const GroupItem& item);
    Set key(const Expression& expression);
    Set keys(const Expression& expression);
    void check(Node& node);
    bool is_key(const Node& node) const;
    bool is_own_column(const Node& node) const;
    void mark(Node& node);
    void aggregate_items(Select& plan) const;
    Select* nest(Select& plan);
    static Node& sorted_by(const Select& plan, Node& key);
    Select* of_set(const Select& plan, Set set);
    Node* in_set(Node& node, Set set) const;

    Resolution& m_resolution;
    Scope& m_scope;
    const Block& m_block;
    std::vector<Node*> m_keys;
    std::vector<Set> m_sets{0};
    bool m_plain = true;               ///< one set, of all keys
    std::vector<const Node*> m_placed; ///< columns that stand where they may
};

/// GROUPING(a) or GROUPING_ID(a, b)
Node* grouping_call(Resolution& resolution, Scope& scope, const Call& call);

} // namespace oci::sql
