#include "oci/sql/parser.h"

#include "oci/sql/parser/call_parser.h"
#include "oci/sql/parser/column_type_parser.h"
#include "oci/sql/parser/dml_parser.h"
#include "oci/sql/parser/expression_parser.h"
#include "oci/sql/parser/query_parser.h"
#include "oci/sql/parser/transaction_parser.h"

namespace oci::sql {
namespace {

struct FirstWord {
    std::string_view word;
    StatementKind kind;
};

constexpr FirstWord first_words[] = {
    {"SELECT", StatementKind::query},        {"WITH", StatementKind::query},
    {"INSERT", StatementKind::insert},       {"UPDATE", StatementKind::update},
    {"DELETE", StatementKind::remove},       {"MERGE", StatementKind::merge},
    {"CALL", StatementKind::call},           {"BEGIN", StatementKind::block},
    {"DECLARE", StatementKind::block},       {"EXPLAIN", StatementKind::explain},
    {"COMMIT", StatementKind::transaction},  {"ROLLBACK", StatementKind::transaction},
    {"SET", StatementKind::transaction},     {"SAVEPOINT", StatementKind::transaction},
    {"LOCK", StatementKind::transaction},    {"CREATE", StatementKind::definition},
    {"ALTER", StatementKind::definition},    {"DROP", StatementKind::definition},
    {"TRUNCATE", StatementKind::definition}, {"RENAME", StatementKind::definition},
    {"COMMENT", StatementKind::definition},  {"GRANT", StatementKind::definition},
    {"REVOKE", StatementKind::definition},   {"ANALYZE", StatementKind::definition},
    {"AUDIT", StatementKind::definition},    {"NOAUDIT", StatementKind::definition},
    {"PURGE", StatementKind::definition},    {"FLASHBACK", StatementKind::definition},
};

Statement* query_statement(TokenStream& tokens) {
    auto* const found = tokens.make<QueryStatement>(tokens.position());
    found->query = QueryParser(tokens).query();
    return found;
}

Statement* call_statement(TokenStream& tokens) {
    auto* const found = tokens.make<CallStatement>(tokens.take().at);
    found->call = CallParser(tokens).call();
    if (tokens.accept("INTO")) found->into = ExpressionParser(tokens).value();
    return found;
}

Statement* explain_statement(TokenStream& tokens) {
    auto* const found = tokens.make<Explain>(tokens.take().at);
    tokens.expect("PLAN", error::missing_keyword);
    if (tokens.accept("SET")) {
        tokens.expect("STATEMENT_ID", error::missing_keyword);
        tokens.expect("=", error::missing_equal_sign);
        tokens.string(error::missing_expression);
    }
    if (tokens.accept("INTO")) tokens.object_name(error::invalid_table_name);
    tokens.expect("FOR", error::missing_keyword);
    found->explained = parse_statement(tokens);
    return found;
}

} // namespace

StatementKind classify(TokenStream& tokens) {
    if (tokens.at("(")) return StatementKind::query;
    if (tokens.at("<<")) return StatementKind::block;
    for (const auto& known : first_words) {
        if (tokens.at(known.word)) return known.kind;
    }
    tokens.fail(error::invalid_statement);
}

Statement* parse_statement(std::string_view text, Arena& arena) {
    TokenStream tokens(text, arena);
    Statement* const statement = parse_statement(tokens);
    tokens.expect_end();
    return statement;
}

Statement* parse_statement(TokenStream& tokens) {
    const SqlPart sql(tokens);
    const Nesting nesting(tokens);
    DmlParser dml(tokens);
    switch (classify(tokens)) {
    case StatementKind::query: return query_statement(tokens);
    case StatementKind::insert: return dml.insert();
    case StatementKind::update: return dml.update();
    case StatementKind::remove: return dml.remove();
    case StatementKind::merge: return dml.merge();
    case StatementKind::call: return call_statement(tokens);
    case StatementKind::explain: return explain_statement(tokens);
    case StatementKind::transaction: return TransactionParser(tokens).statement();
    default: tokens.fail(error::invalid_statement);
    }
}

Query* parse_query(TokenStream& tokens) {
    return QueryParser(tokens).query();
}

Expression* parse_expression(TokenStream& tokens) {
    return ExpressionParser(tokens).expression();
}

Expression* parse_condition(TokenStream& tokens) {
    return ExpressionParser(tokens).condition();
}

ColumnType parse_column_type(TokenStream& tokens) {
    return ColumnTypeParser(tokens).type();
}

bool begins_column_type(TokenStream& tokens) {
    return ColumnTypeParser::begins(tokens);
}

Call* parse_call(TokenStream& tokens) {
    return CallParser(tokens).call();
}

} // namespace oci::sql
