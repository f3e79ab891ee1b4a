#pragma once

#include "oci/sql/resolver/scope.h"

// Calls: functions of the dialect and of the user's, aggregates, sequences.
namespace oci::sql {

Node* resolve_call(Resolution& resolution, Scope& scope, const Call& call);
/// The call of a function of the dialect, its arguments converted as it asks for.
Node* call_entry(Resolution& resolution, const FunctionEntry& function, std::vector<Node*> arguments);
/// A function that is written without parentheses; null when the name is none.
Node* bare_call(Resolution& resolution, Scope& scope, const ColumnReference& name);
/// sequence.NEXTVAL or sequence.CURRVAL; null when there is no such sequence.
Node* sequence_value(Resolution& resolution, Scope& scope, const ColumnReference& name);

/// ORDER BY of a window, LISTAGG or the like.
std::span<SortKey> resolve_sort_keys(Resolution& resolution, Scope& scope, std::span<const OrderItem> items);
SortKey sort_key(Resolution& resolution, Node* key, const OrderItem& item);

} // namespace oci::sql
