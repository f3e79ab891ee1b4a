#include "oci/sql/definitions/parser.h"
#include "oci/sql/parser.h"

namespace oci::sql {
namespace {

using Change = TableChange;

struct Elements {
    std::vector<ColumnDefinition> columns;
    std::vector<ConstraintDefinition> constraints;
};

void parse_element(TokenStream& tokens, Elements& elements) {
    if (begins_table_constraint(tokens)) {
        elements.constraints.push_back(parse_table_constraint(tokens));
    } else {
        if (tokens.at("SUPPLEMENTAL", "LOG")) tokens.unsupported("supplemental logging");
        elements.columns.push_back(parse_column(tokens));
    }
}

/// (element, ...)
Elements parse_elements(TokenStream& tokens) {
    Elements elements;
    tokens.expect("(", error::missing_left_parenthesis);
    do {
        parse_element(tokens, elements);
    } while (tokens.accept(","));
    tokens.expect(")", error::missing_right_parenthesis);
    return elements;
}

void refuse_other_tables(TokenStream& tokens) {
    if (tokens.at("OF")) tokens.unsupported("object tables");
    if (tokens.at("ORGANIZATION", "EXTERNAL")) tokens.unsupported("external tables");
    if (tokens.at("NESTED", "TABLE")) tokens.unsupported("nested tables");
    if (tokens.at("CLUSTER")) tokens.unsupported("clusters");
    if (tokens.at("XMLTYPE") || tokens.at("VARRAY")) tokens.unsupported("object types");
}

void parse_commit_clause(TokenStream& tokens, CreateTable& table) {
    if (!tokens.accept("ON", "COMMIT")) return;
    if (table.lifetime == CreateTable::Lifetime::permanent) tokens.fail(error::temporary_table_feature);
    if (tokens.accept("PRESERVE"))
        table.lifetime = CreateTable::Lifetime::session;
    else
        tokens.expect("DELETE", error::missing_keyword);
    tokens.expect("ROWS", error::missing_keyword);
}

/// column [constraints], (column, ...), (constraint, ...) or one constraint
void parse_add(TokenStream& tokens, Change& change) {
    change.kind = Change::Kind::add;
    Elements elements;
    if (tokens.at("(")) {
        elements = parse_elements(tokens);
    } else if (tokens.at("PARTITION") || tokens.at("SUBPARTITION")) {
        tokens.unsupported("partitions");
    } else {
        parse_element(tokens, elements);
    }
    change.columns = tokens.arena().list(elements.columns);
    change.constraints = tokens.arena().list(elements.constraints);
}

void take_name(TokenStream& tokens, Change& change, int code) {
    const std::vector<Name> names{tokens.name(code)};
    change.names = tokens.arena().list(names);
}

/// CONSTRAINT name, PRIMARY KEY or UNIQUE (a, b)
bool parse_which_constraint(TokenStream& tokens, Change& change) {
    if (tokens.accept("CONSTRAINT")) {
        take_name(tokens, change, error::missing_constraint_name);
    } else if (tokens.accept("PRIMARY", "KEY")) {
        change.primary_key = true;
    } else if (tokens.at("UNIQUE", "(")) {
        tokens.take();
        change.unique = true;
        change.names = parse_names(tokens);
    } else {
        return false;
    }
    return true;
}

void parse_modify(TokenStream& tokens, Change& change) {
    change.kind = Change::Kind::set_state;
    if (parse_which_constraint(tokens, change)) {
        change.state = parse_constraint_state(tokens);
        change.cascade = tokens.accept("CASCADE");
        return;
    }
    if (tokens.at("PARTITION") || tokens.at("NESTED", "TABLE")) tokens.unsupported("partitions and nested tables");
    change.kind = Change::Kind::modify_columns;
    std::vector<ColumnDefinition> columns;
    const bool parenthesis = tokens.accept("(");
    do {
        columns.push_back(parse_column(tokens));
    } while (parenthesis && tokens.accept(","));
    if (parenthesis) tokens.expect(")", error::missing_right_parenthesis);
    change.columns = tokens.arena().list(columns);
}

/// COLUMN a or (a, b) [CASCADE CONSTRAINTS]
void parse_dropped_columns(TokenStream& tokens, Change& change) {
    change.kind = Change::Kind::drop_columns;
    if (tokens.at("(")) {
        change.names = parse_names(tokens);
    } else {
        tokens.expect("COLUMN", error::missing_keyword);
        take_name(tokens, change, error::invalid_identifier);
    }
    change.cascade = tokens.accept("CASCADE", "CONSTRAINTS") || tokens.accept("CASCADE");
    tokens.accept("INVALIDATE");
    if (tokens.accept("CHECKPOINT")) tokens.integer(error::invalid_alter_table);
}

bool parse_drop(TokenStream& tokens, Change& change) {
    if (tokens.accept("UNUSED", "COLUMNS")) return false; // none is ever left
    change.kind = Change::Kind::drop_constraint;
    if (!parse_which_constraint(tokens, change)) {
        if (tokens.at("PARTITION") || tokens.at("SUBPARTITION")) tokens.unsupported("partitions");
        parse_dropped_columns(tokens, change);
        return true;
    }
    if (change.primary_key) change.kind = Change::Kind::drop_primary_key;
    if (change.unique) change.kind = Change::Kind::drop_unique;
    change.cascade = tokens.accept("CASCADE");
    if (tokens.accept("KEEP", "INDEX") || tokens.accept("DROP", "INDEX")) tokens.accept("ONLINE");
    return true;
}

bool parse_enable(TokenStream& tokens, Change& change, bool enabled) {
    if (tokens.accept("ALL", "TRIGGERS")) {
        change.kind = Change::Kind::set_triggers;
        change.state.enabled = enabled;
        return true;
    }
    if (tokens.accept("ROW", "MOVEMENT") || tokens.accept("TABLE", "LOCK")) return false;
    change.kind = Change::Kind::set_state;
    std::optional<bool> validated;
    if (tokens.accept("VALIDATE"))
        validated = true;
    else if (tokens.accept("NOVALIDATE"))
        validated = false;
    if (!parse_which_constraint(tokens, change)) tokens.fail(error::missing_keyword);
    change.state = parse_constraint_state(tokens);
    change.state.enabled = enabled;
    if (validated) change.state.validated = validated;
    change.cascade = tokens.accept("CASCADE");
    if (tokens.accept("KEEP", "INDEX") || tokens.accept("DROP", "INDEX")) tokens.accept("ONLINE");
    return true;
}

void parse_rename(TokenStream& tokens, Change& change) {
    change.kind = Change::Kind::rename_table;
    if (tokens.accept("COLUMN")) {
        change.kind = Change::Kind::rename_column;
        take_name(tokens, change, error::invalid_identifier);
    } else if (tokens.accept("CONSTRAINT")) {
        change.kind = Change::Kind::rename_constraint;
        take_name(tokens, change, error::missing_constraint_name);
    }
    tokens.expect("TO", error::missing_keyword);
    change.new_name = tokens.name(error::invalid_table_name);
}

/// A clause about storage alone.
bool skip_storage_change(TokenStream& tokens) {
    if (tokens.accept("SHRINK", "SPACE")) {
        if (!tokens.accept("CASCADE")) tokens.accept("COMPACT");
        return true;
    }
    if (tokens.accept("READ", "WRITE") || tokens.accept("MOVE", "ONLINE") || tokens.accept("MOVE")) return true;
    if (tokens.accept("ALLOCATE", "EXTENT") || tokens.accept("DEALLOCATE", "UNUSED")) {
        if (tokens.at("(")) skip_parentheses(tokens);
        return true;
    }
    const Offset before = tokens.position();
    skip_storage(tokens);
    return tokens.position() != before;
}

/// @return false where the clause cannot matter here
bool parse_change(TokenStream& tokens, Change& change) {
    if (tokens.accept("ADD")) {
        parse_add(tokens, change);
        return true;
    }
    if (tokens.accept("MODIFY")) {
        if (tokens.accept("LOB")) {
            skip_parentheses(tokens); // the columns
            skip_parentheses(tokens);
            return false;
        }
        parse_modify(tokens, change);
        return true;
    }
    if (tokens.accept("DROP")) return parse_drop(tokens, change);
    if (tokens.accept("SET", "UNUSED")) {
        parse_dropped_columns(tokens, change);
        return true;
    }
    if (tokens.accept("RENAME")) {
        parse_rename(tokens, change);
        return true;
    }
    if (tokens.accept("ENABLE")) return parse_enable(tokens, change, true);
    if (tokens.accept("DISABLE")) return parse_enable(tokens, change, false);
    if (tokens.at("READ", "ONLY")) tokens.unsupported("tables that cannot be written to");
    if (!skip_storage_change(tokens)) tokens.fail(error::invalid_alter_table);
    return false;
}

} // namespace

Definition* parse_create_table(TokenStream& tokens, Offset at, CreateTable::Lifetime lifetime) {
    auto* table = make_definition<CreateTable>(tokens, at, DefinitionKind::create_table);
    table->lifetime = lifetime;
    table->name = tokens.object_name(error::invalid_table_name);
    refuse_other_tables(tokens);
    const bool listed = tokens.at("(");
    if (listed) {
        const Elements elements = parse_elements(tokens);
        table->columns = tokens.arena().list(elements.columns);
        table->constraints = tokens.arena().list(elements.constraints);
    }
    Offset before = 0;
    do {
        before = tokens.position();
        refuse_other_tables(tokens);
        parse_commit_clause(tokens, *table);
        skip_storage(tokens);
    } while (tokens.position() != before);
    if (tokens.accept("AS")) {
        const Offset from = tokens.position();
        table->query.query = parse_query(tokens);
        table->query.text = tokens.text_between(from, tokens.last_end());
    } else if (!listed) {
        tokens.fail(error::missing_left_parenthesis);
    }
    if (!tokens.at_end()) tokens.fail(error::invalid_option);
    return table;
}

Definition* parse_alter_table(TokenStream& tokens, Offset at) {
    auto* table = make_definition<AlterTable>(tokens, at, DefinitionKind::alter_table);
    table->table = tokens.object_name(error::invalid_table_name);
    std::vector<Change> changes;
    do {
        Change change{};
        if (parse_change(tokens, change)) changes.push_back(change);
    } while (!tokens.at_end());
    table->changes = tokens.arena().list(changes);
    return table;
}

} // namespace oci::sql
