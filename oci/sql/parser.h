#pragma once

#include "oci/sql/token_stream.h"

// The grammar of queries and of statements that change rows. Every function begins at the stream's next token and stops
// behind what it has read; what follows is its caller's. What does not parse is an OracleError with the number that a
// server gives, line, column and the token it stands at.
namespace oci::sql {

/// By the first word alone. ORA-00900 where no statement begins with it.
StatementKind classify(TokenStream& tokens);

/// A query, INSERT, UPDATE, DELETE, MERGE, CALL, EXPLAIN PLAN or transaction statement, alone in its text.
Statement* parse_statement(std::string_view text, Arena& arena);

/// The same as a part of a block, up to its semicolon, which stays.
Statement* parse_statement(TokenStream& tokens);

/// SELECT ..., WITH ..., or one of them in parentheses.
Query* parse_query(TokenStream& tokens);

/// A value; in a block's own expressions a condition too.
Expression* parse_expression(TokenStream& tokens);

/// What stands behind WHERE or CHECK.
Expression* parse_condition(TokenStream& tokens);

/// f(a, b => c), pkg.f, owner.pkg.f(...): what stands behind CALL and what calls a procedure in a block.
Call* parse_call(TokenStream& tokens);

/// NUMBER(10,2), VARCHAR2(20 CHAR), TIMESTAMP(6) WITH TIME ZONE ... ORA-00902 where no type of a column begins.
ColumnType parse_column_type(TokenStream& tokens);
bool begins_column_type(TokenStream& tokens);

} // namespace oci::sql
