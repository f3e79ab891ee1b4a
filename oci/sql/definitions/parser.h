#pragma once

#include "oci/sql/definitions/tree.h"
#include "oci/sql/token_stream.h"

// The grammar of what is defined: tables, indexes, views, sequences, synonyms, users, privileges; of routines and
// triggers the head. Clauses about where and how data is stored are read and left out of the tree.
namespace oci::sql {

/// A statement that defines something, alone in its text. ORA-00900 when it is none.
Definition* parse_definition(std::string_view text, Arena& arena);

/// The expression that comes next, with its text.
Fragment parse_fragment(TokenStream& tokens);
/// (a, b)
std::span<Name> parse_names(TokenStream& tokens);
SequenceOptions parse_sequence_options(TokenStream& tokens);

ColumnDefinition parse_column(TokenStream& tokens);
bool begins_table_constraint(TokenStream& tokens);
ConstraintDefinition parse_table_constraint(TokenStream& tokens);
/// DEFERRABLE, ENABLE, USING INDEX ... behind a constraint.
ConstraintState parse_constraint_state(TokenStream& tokens);

Definition* parse_create_table(TokenStream& tokens, Offset at, CreateTable::Lifetime lifetime);
Definition* parse_alter_table(TokenStream& tokens, Offset at);
Definition* parse_create_user(TokenStream& tokens, Offset at);
Definition* parse_alter_user(TokenStream& tokens, Offset at);
Definition* parse_privileges(TokenStream& tokens, Offset at);

/// Passes clauses about storage, as many as there are.
void skip_storage(TokenStream& tokens);
/// Passes a parenthesis with all that is in it.
void skip_parentheses(TokenStream& tokens);

/// A definition of the kind that is made with it.
template <class T> T* make_definition(TokenStream& tokens, Offset at, DefinitionKind kind) {
    T* definition = tokens.make<T>(at);
    static_cast<Statement*>(definition)->kind = StatementKind::definition;
    definition->definition = kind;
    return definition;
}

} // namespace oci::sql
