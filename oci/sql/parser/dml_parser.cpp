#include "oci/sql/parser/dml_parser.h"

#include "oci/sql/parser/call_parser.h"
#include "oci/sql/parser/expression_parser.h"
#include "oci/sql/parser/query_parser.h"
#include "oci/sql/parser/source_parser.h"

namespace oci::sql {

Insert* DmlParser::insert() {
    auto* const found = m_tokens.make<Insert>(m_tokens.take().at);
    found->first_match = m_tokens.at("FIRST") && !m_tokens.peek(1).is("INTO");
    found->multiple = found->first_match || m_tokens.at("ALL");
    if (!found->multiple) {
        insert_one(*found);
    } else {
        m_tokens.take();
        insert_several(*found);
    }
    refuse_error_log();
    return found;
}

void DmlParser::insert_one(Insert& insert) {
    ListBuilder<InsertTarget> targets(m_tokens.arena());
    InsertTarget target = insert_target();
    if (!insert_values(target)) {
        if (!QueryParser::begins(m_tokens) && !m_tokens.at("(")) m_tokens.fail(error::missing_values);
        insert.query = QueryParser(m_tokens).query();
    }
    targets.add(target);
    insert.targets = targets.list();
    insert.returning = returning();
}

/// ALL or FIRST, with or without WHEN; each INTO under its condition.
void DmlParser::insert_several(Insert& insert) {
    ListBuilder<InsertTarget> targets(m_tokens.arena());
    Expression* when = nullptr;
    bool otherwise = false;
    if (insert.first_match && !m_tokens.at("WHEN")) m_tokens.fail(error::missing_keyword);
    while (m_tokens.at("WHEN") || m_tokens.at("ELSE") || m_tokens.at("INTO")) {
        if (m_tokens.accept("WHEN")) {
            when = ExpressionParser(m_tokens).condition();
            m_tokens.expect("THEN", error::missing_keyword);
        } else if (when != nullptr && m_tokens.accept("ELSE")) {
            when = nullptr;
            otherwise = true;
        }
        InsertTarget target = insert_target();
        target.when = when;
        target.otherwise = otherwise;
        insert_values(target);
        targets.add(target);
        if (otherwise && m_tokens.at("WHEN")) break;
    }
    insert.targets = targets.list();
    if (insert.targets.empty()) m_tokens.fail(error::missing_into);
    if (!QueryParser::begins(m_tokens) && !m_tokens.at("(")) m_tokens.fail(error::missing_select);
    insert.query = QueryParser(m_tokens).query();
}

InsertTarget DmlParser::insert_target() {
    m_tokens.expect("INTO", error::missing_into);
    InsertTarget target;
    target.table = modified_table();
    if (m_tokens.at("(") && !m_tokens.peek(1).is("SELECT") && !m_tokens.peek(1).is("WITH") &&
        !m_tokens.peek(1).is("(")) {
        target.columns = insert_columns();
    }
    return target;
}

std::span<Name> DmlParser::insert_columns() {
    m_tokens.expect("(", error::missing_left_parenthesis);
    // What is no name here may only be a query.
    if (!m_tokens.at_name()) m_tokens.fail(error::missing_select);
    ListBuilder<Name> columns(m_tokens.arena());
    do {
        Name column = m_tokens.name(error::invalid_column_specification);
        while (m_tokens.accept(".")) column = m_tokens.name(error::invalid_column_specification);
        columns.add(column);
    } while (m_tokens.accept(","));
    m_tokens.expect(")",
                    m_tokens.at_end() || m_tokens.at_name() ? error::missing_comma : error::missing_right_parenthesis);
    return columns.list();
}

bool DmlParser::insert_values(InsertTarget& target) {
    if (!m_tokens.accept("VALUES")) return false;
    if (m_tokens.in_block() && !m_tokens.at("(")) {
        target.record = ExpressionParser(m_tokens).value();
        return true;
    }
    target.values = value_list();
    return true;
}

Expressions DmlParser::value_list() {
    ExpressionParser expressions(m_tokens);
    m_tokens.expect("(", error::missing_left_parenthesis);
    ListBuilder<Expression*> values(m_tokens.arena());
    do {
        values.add(m_tokens.accept("DEFAULT") ? nullptr : expressions.value());
    } while (m_tokens.accept(","));
    m_tokens.expect(")", error::missing_comma);
    return values.list();
}

ModifiedTable DmlParser::modified_table() {
    ModifiedTable found;
    if (m_tokens.at("TABLE", "(") || m_tokens.at("ONLY", "(")) m_tokens.unsupported(m_tokens.peek().text);
    if (m_tokens.accept("(")) {
        found.query = QueryParser(m_tokens).query();
        m_tokens.expect(")", error::missing_right_parenthesis);
    } else {
        found.table = m_tokens.object_name(error::invalid_table_name);
    }
    if (m_tokens.at("PARTITION") || m_tokens.at("SUBPARTITION")) m_tokens.unsupported("partitions");
    found.alias = SourceParser(m_tokens).alias();
    return found;
}

Update* DmlParser::update() {
    auto* const found = m_tokens.make<Update>(m_tokens.take().at);
    found->table = modified_table();
    m_tokens.expect("SET", error::missing_set);
    if (m_tokens.in_block() && m_tokens.at("ROW", "=")) {
        m_tokens.take();
        m_tokens.take();
        found->row = ExpressionParser(m_tokens).value();
    } else {
        found->assignments = assignments();
    }
    where(found->where, found->current_of);
    found->returning = returning();
    refuse_error_log();
    return found;
}

std::span<Assignment> DmlParser::assignments() {
    ListBuilder<Assignment> assignments(m_tokens.arena());
    do {
        assignments.add(assignment());
    } while (m_tokens.accept(","));
    return assignments.list();
}

Assignment DmlParser::assignment() {
    Assignment found;
    ListBuilder<ColumnReference*> columns(m_tokens.arena());
    if (m_tokens.accept("(")) {
        do {
            columns.add(assigned_column());
        } while (m_tokens.accept(","));
        m_tokens.expect(")", error::missing_right_parenthesis);
    } else {
        columns.add(assigned_column());
    }
    found.columns = columns.list();
    m_tokens.expect("=", error::missing_equal_sign);
    if (!m_tokens.accept("DEFAULT")) found.value = ExpressionParser(m_tokens).value();
    return found;
}

ColumnReference* DmlParser::assigned_column() {
    if (!m_tokens.at_name()) m_tokens.fail(error::invalid_column_specification);
    return CallParser(m_tokens).column();
}

void DmlParser::where(Expression*& condition, Name& current_of) {
    if (!m_tokens.accept("WHERE")) return;
    if (m_tokens.in_block() && m_tokens.accept("CURRENT", "OF")) {
        current_of = m_tokens.name(error::invalid_identifier);
    } else {
        condition = ExpressionParser(m_tokens).condition();
    }
}

Remove* DmlParser::remove() {
    auto* const found = m_tokens.make<Remove>(m_tokens.take().at);
    m_tokens.accept("FROM");
    found->table = modified_table();
    where(found->where, found->current_of);
    found->returning = returning();
    refuse_error_log();
    return found;
}

Returning DmlParser::returning() {
    Returning found;
    if (!m_tokens.accept("RETURNING") && !m_tokens.accept("RETURN")) return found;
    ExpressionParser expressions(m_tokens);
    found.values = expressions.values();
    found.bulk = m_tokens.accept("BULK", "COLLECT");
    m_tokens.expect("INTO", error::missing_into);
    found.into = expressions.values();
    return found;
}

Merge* DmlParser::merge() {
    auto* const found = m_tokens.make<Merge>(m_tokens.take().at);
    m_tokens.expect("INTO", error::missing_into);
    found->table = modified_table();
    m_tokens.expect("USING", error::missing_using);
    found->source = SourceParser(m_tokens).primary();
    m_tokens.expect("ON", error::missing_on);
    m_tokens.expect("(", error::missing_left_parenthesis);
    found->condition = ExpressionParser(m_tokens).condition();
    m_tokens.expect(")", error::missing_right_parenthesis);
    if (!m_tokens.at("WHEN")) m_tokens.fail(error::missing_keyword);
    while (m_tokens.accept("WHEN")) {
        const bool unmatched = m_tokens.accept("NOT");
        m_tokens.expect("MATCHED", error::missing_keyword);
        m_tokens.expect("THEN", error::missing_keyword);
        if (unmatched ? found->inserts : found->updates) m_tokens.fail(error::missing_keyword);
        unmatched ? merge_insert(*found) : merge_update(*found);
    }
    refuse_error_log();
    return found;
}

void DmlParser::merge_update(Merge& merge) {
    ExpressionParser expressions(m_tokens);
    merge.updates = true;
    m_tokens.expect("UPDATE", error::missing_keyword);
    m_tokens.expect("SET", error::missing_set);
    merge.assignments = assignments();
    if (m_tokens.accept("WHERE")) merge.update_where = expressions.condition();
    if (!m_tokens.accept("DELETE")) return;
    m_tokens.expect("WHERE", error::missing_keyword);
    merge.delete_where = expressions.condition();
}

void DmlParser::merge_insert(Merge& merge) {
    merge.inserts = true;
    m_tokens.expect("INSERT", error::missing_keyword);
    if (m_tokens.at("(")) merge.insert_columns = insert_columns();
    m_tokens.expect("VALUES", error::missing_values);
    merge.insert_values = value_list();
    if (m_tokens.accept("WHERE")) merge.insert_where = ExpressionParser(m_tokens).condition();
}

void DmlParser::refuse_error_log() {
    if (m_tokens.at("LOG", "ERRORS")) m_tokens.unsupported("LOG ERRORS");
}

} // namespace oci::sql
