#include "oci/engine/statements/statement.h"

#include <algorithm>
#include <cstring>
#include <sqlite3.h>

namespace oci {
namespace {

constexpr int longest_text_expression = 4000;

struct FirstWord {
    std::string_view word;
    ub2 type;
    Statement::Kind kind;
};

constexpr FirstWord first_words[] = {
    {"SELECT", OCI_STMT_SELECT, Statement::Kind::query}, {"WITH", OCI_STMT_SELECT, Statement::Kind::query},
    {"INSERT", OCI_STMT_INSERT, Statement::Kind::dml},   {"UPDATE", OCI_STMT_UPDATE, Statement::Kind::dml},
    {"DELETE", OCI_STMT_DELETE, Statement::Kind::dml},   {"CREATE", OCI_STMT_CREATE, Statement::Kind::other},
    {"DROP", OCI_STMT_DROP, Statement::Kind::other},     {"ALTER", OCI_STMT_ALTER, Statement::Kind::other},
    {"BEGIN", OCI_STMT_BEGIN, Statement::Kind::block},   {"DECLARE", OCI_STMT_DECLARE, Statement::Kind::block},
    {"CALL", OCI_STMT_CALL, Statement::Kind::block},     {"<<", OCI_STMT_BEGIN, Statement::Kind::block},
    {"MERGE", OCI_STMT_MERGE, Statement::Kind::dml},
};

} // namespace

Statement::Statement(std::string_view sql) : m_text(sql) {
    sql::Arena arena;
    sql::Tokenizer tokens(m_text, arena);
    try {
        sql::Token token = read_kind(tokens);
        if (m_type == OCI_STMT_CREATE) return; // a procedure's text has no placeholders of its caller
        for (; token.kind != sql::Token::Kind::end; token = tokens.next()) add_name(token);
    } catch (const OracleError&) { // Executing the statement tells of what is no token.
    }
}

sql::Token Statement::read_kind(sql::Tokenizer& tokens) {
    sql::Token first = tokens.next();
    const bool in_parentheses = first.is("(");
    while (first.is("(")) first = tokens.next();
    for (const FirstWord& known : first_words) {
        if (!first.is(known.word) || (in_parentheses && known.type != OCI_STMT_SELECT)) continue;
        m_kind = known.kind;
        m_type = known.type;
    }
    return first;
}

void Statement::add_name(const sql::Token& token) {
    if (token.kind != sql::Token::Kind::placeholder) return;
    const bool repeated =
        m_kind == Kind::block && std::find(m_names.begin(), m_names.end(), token.text) != m_names.end();
    if (!repeated) m_names.emplace_back(token.text);
}

Statement::~Statement() {
    if (m_kind == Kind::other) explicit_bzero(m_text.data(), m_text.size()); // it may hold a password
}

void Statement::compile(Session& session) {
    Compilation made{Program::compile(session, m_text, nullptr), {}, {}};
    const auto& into = made.translation.into;
    for (unsigned position = 1; position <= m_names.size(); ++position) {
        if (std::find(into.begin(), into.end(), position) == into.end()) made.inputs.push_back(position);
    }
    made.translation.targets.resize(m_names.size());
    for (const sql::ResultColumn& column : made.translation.columns) {
        const bool by_value = column.type.family == Family::unknown;
        made.columns.push_back({column.type, by_value, column.stored});
        made.described_by_value = made.described_by_value || by_value;
    }
    m_program = std::move(made);
    update_descriptors();
}

bool Statement::describe_by_value(sqlite3_stmt* row) {
    if (!m_program.described_by_value) return false;
    bool changed = false;
    for (std::size_t i = 0; i < m_program.columns.size(); ++i) {
        FetchedColumn& column = m_program.columns[i];
        if (!column.by_value) continue;
        const ColumnType type = row != nullptr ? type_of_value(row, static_cast<int>(i))
                                               : ColumnType::of_family(Family::text, longest_text_expression);
        changed = changed || type.family != column.type.family;
        column.type = type;
    }
    if (changed) update_descriptors();
    return changed;
}

ColumnType type_of_value(sqlite3_stmt* row, int column) {
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT: return ColumnType::number();
    case SQLITE_BLOB: return ColumnType::of_family(Family::raw, 2000);
    default: return ColumnType::of_family(Family::text, longest_text_expression);
    }
}

} // namespace oci
