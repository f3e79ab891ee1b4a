#pragma once

#include "oci/sql/resolver/builder.h"

#include <vector>

// Ways through an expression of a plan. The queries in it are not entered.
namespace oci::sql {

/// Calls visit(Node*&) for each operand, and for what a window is made of.
template <class Visitor> void for_each_child(Node& node, Visitor&& visit) {
    for (Node*& operand : node.operands) visit(operand);
    if (node.over == nullptr) return;
    for (Node*& key : node.over->partition) visit(key);
    for (SortKey& key : node.over->order) visit(key.key);
}

/// A copy of an expression. `replace(node)` gives what stands in the place of a node, null where the node stays.
template <class Replace> Node* clone(const Builder& build, Node& node, Replace&& replace) {
    if (Node* other = replace(node)) return other;
    Node* copy = build.copy(node);
    copy->operands = build.arena().list(std::vector<Node*>(node.operands.begin(), node.operands.end()));
    if (node.over != nullptr) {
        Over over = *node.over;
        over.partition = build.arena().list(std::vector<Node*>(over.partition.begin(), over.partition.end()));
        over.order = build.arena().list(std::vector<SortKey>(over.order.begin(), over.order.end()));
        copy->over = build.arena().make<Over>(over);
    }
    for_each_child(*copy, [&](Node*& child) { child = clone(build, *child, replace); });
    return copy;
}

/// The columns of a query that takes the place of others: what is asked for becomes a column of it, once.
class Captures {
  public:
    std::vector<Node*> items;

    std::size_t index_of(const Builder& build, const Node& node) {
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (equal(*items[i], node)) return i;
        }
        items.push_back(build.copy(node));
        return items.size() - 1;
    }
};

/// Makes a node mean the column of a source in FROM instead.
inline void become_column(const Builder& build, Node& node, unsigned source, std::size_t index) {
    Node column = *build.derived(source, index, node.type);
    column.type = node.type;
    column.never_null = node.never_null;
    column.stored = node.stored;
    column.digits = node.digits;
    node = column;
}

} // namespace oci::sql
