#include "oci/sql/definitions/parser.h"
#include "oci/sql/parser.h"

namespace oci::sql {
namespace {

bool begins_inline_constraint(TokenStream& tokens) {
    return tokens.at("CONSTRAINT") || tokens.at("NOT", "NULL") || tokens.at("NULL") || tokens.at("PRIMARY") ||
           tokens.at("UNIQUE") || tokens.at("CHECK") || tokens.at("REFERENCES");
}

using Parse = Expression* (*)(TokenStream&);

Fragment parse_with_text(TokenStream& tokens, Parse parse) {
    const Offset from = tokens.position();
    Fragment fragment;
    fragment.expression = parse(tokens);
    fragment.text = tokens.text_between(from, tokens.last_end());
    return fragment;
}

/// (condition) or (expression)
Fragment parse_enclosed(TokenStream& tokens, Parse parse) {
    tokens.expect("(", error::missing_left_parenthesis);
    const Fragment fragment = parse_with_text(tokens, parse);
    tokens.expect(")", error::missing_right_parenthesis);
    return fragment;
}

void parse_reference(TokenStream& tokens, ConstraintDefinition& constraint) {
    tokens.expect("REFERENCES", error::missing_keyword);
    constraint.kind = ConstraintDefinition::Kind::foreign_key;
    constraint.parent = tokens.object_name(error::invalid_table_name);
    if (tokens.at("(")) constraint.parent_columns = parse_names(tokens);
    if (!tokens.accept("ON", "DELETE")) return;
    if (tokens.accept("CASCADE")) {
        constraint.on_delete = OnDelete::cascade;
    } else if (tokens.accept("SET", "NULL")) {
        constraint.on_delete = OnDelete::set_null;
    } else {
        tokens.fail(error::missing_keyword);
    }
}

void parse_constraint_name(TokenStream& tokens, ConstraintDefinition& constraint) {
    constraint.at = tokens.position();
    if (tokens.accept("CONSTRAINT")) constraint.name = tokens.name(error::missing_constraint_name);
}

ConstraintDefinition parse_inline_constraint(TokenStream& tokens) {
    using Kind = ConstraintDefinition::Kind;
    ConstraintDefinition constraint{};
    parse_constraint_name(tokens, constraint);
    if (tokens.accept("NOT", "NULL")) {
        constraint.kind = Kind::not_null;
    } else if (tokens.accept("NULL")) {
        constraint.kind = Kind::null;
    } else if (tokens.accept("PRIMARY", "KEY")) {
        constraint.kind = Kind::primary_key;
    } else if (tokens.accept("UNIQUE")) {
        constraint.kind = Kind::unique;
    } else if (tokens.accept("CHECK")) {
        constraint.kind = Kind::check;
        constraint.condition = parse_enclosed(tokens, parse_condition);
    } else if (tokens.at("REFERENCES")) {
        parse_reference(tokens, constraint);
    } else {
        tokens.fail(error::constraint_not_allowed);
    }
    constraint.state = parse_constraint_state(tokens);
    return constraint;
}

/// GENERATED ... AS has been read up to AS: IDENTITY or (expression).
void parse_generated(TokenStream& tokens, ColumnDefinition& column, Identity identity) {
    if (tokens.accept("IDENTITY")) {
        column.identity = identity;
        const bool parenthesis = tokens.accept("(");
        column.identity_options = parse_sequence_options(tokens);
        if (parenthesis) tokens.expect(")", error::missing_right_parenthesis);
        return;
    }
    if (identity != Identity::always) tokens.fail(error::missing_keyword);
    column.virtual_value = parse_enclosed(tokens, parse_expression);
    tokens.accept("VIRTUAL");
}

bool parse_value(TokenStream& tokens, ColumnDefinition& column) {
    if (tokens.accept("DEFAULT")) {
        if (tokens.accept("ON", "NULL")) column.default_on_null = true;
        column.default_value = parse_fragment(tokens);
    } else if (tokens.accept("GENERATED", "ALWAYS")) {
        tokens.expect("AS", error::missing_keyword);
        parse_generated(tokens, column, Identity::always);
    } else if (tokens.accept("GENERATED")) {
        Identity identity = Identity::always;
        if (tokens.accept("BY", "DEFAULT")) {
            identity = tokens.accept("ON", "NULL") ? Identity::by_default_on_null : Identity::by_default;
        }
        tokens.expect("AS", error::missing_keyword);
        parse_generated(tokens, column, identity);
    } else if (tokens.at("AS", "(")) {
        tokens.take();
        parse_generated(tokens, column, Identity::always);
    } else {
        return false;
    }
    return true;
}

bool parse_property(TokenStream& tokens, ColumnDefinition& column) {
    if (tokens.accept("INVISIBLE")) return column.invisible = true;
    if (tokens.accept("DROP", "IDENTITY")) return column.drops_identity = true;
    return tokens.accept("VISIBLE") || tokens.accept("SORT") || parse_value(tokens, column);
}

bool ends_column(TokenStream& tokens) {
    for (const auto word : {"DEFAULT", "GENERATED", "AS", "INVISIBLE", "VISIBLE", "SORT", "DROP", ",", ")"}) {
        if (tokens.at(word)) return true;
    }
    return tokens.at_end() || begins_inline_constraint(tokens);
}

void parse_index_of_constraint(TokenStream& tokens) {
    if (tokens.at("(")) return skip_parentheses(tokens);
    const Offset before = tokens.position();
    skip_storage(tokens);
    if (tokens.position() != before || !tokens.at_name() || tokens.at("ENABLE") || tokens.at("DISABLE")) return;
    tokens.object_name(error::invalid_index_name);
}

bool parse_state_word(TokenStream& tokens, ConstraintState& state) {
    if (tokens.accept("NOT", "DEFERRABLE")) {
        state.deferrable = false;
    } else if (tokens.accept("DEFERRABLE")) {
        state.deferrable = true;
    } else if (tokens.accept("INITIALLY", "DEFERRED")) {
        state.deferrable = state.deferred = true;
    } else if (tokens.accept("INITIALLY", "IMMEDIATE")) {
        state.deferred = false;
    } else if (tokens.at("ENABLE", "ROW") || tokens.at("DISABLE", "ROW")) {
        return false; // MOVEMENT: a clause of the table
    } else if (tokens.accept("ENABLE")) {
        state.enabled = true;
    } else if (tokens.accept("DISABLE")) {
        state.enabled = false;
    } else if (tokens.accept("VALIDATE")) {
        state.validated = true;
    } else if (tokens.accept("NOVALIDATE")) {
        state.validated = false;
    } else if (tokens.accept("USING", "INDEX")) {
        parse_index_of_constraint(tokens);
    } else {
        if (tokens.accept("EXCEPTIONS", "INTO")) return tokens.object_name(error::invalid_table_name), true;
        return tokens.accept("RELY") || tokens.accept("NORELY");
    }
    return true;
}

} // namespace

Fragment parse_fragment(TokenStream& tokens) {
    return parse_with_text(tokens, parse_expression);
}

std::span<Name> parse_names(TokenStream& tokens) {
    std::vector<Name> names;
    tokens.expect("(", error::missing_left_parenthesis);
    do {
        names.push_back(tokens.name(error::invalid_identifier));
    } while (tokens.accept(","));
    tokens.expect(")", error::missing_right_parenthesis);
    return tokens.arena().list(names);
}

ConstraintState parse_constraint_state(TokenStream& tokens) {
    ConstraintState state;
    while (parse_state_word(tokens, state)) {
    }
    return state;
}

ColumnDefinition parse_column(TokenStream& tokens) {
    ColumnDefinition column;
    column.name = tokens.name(error::invalid_identifier);
    if (!ends_column(tokens)) column.type = parse_column_type(tokens);
    std::vector<ConstraintDefinition> constraints;
    for (;;) {
        if (begins_inline_constraint(tokens)) {
            constraints.push_back(parse_inline_constraint(tokens));
        } else if (!constraints.empty() && tokens.at("DEFAULT")) {
            break; // it has to stand in front of them
        } else if (!parse_property(tokens, column)) {
            break;
        }
    }
    column.constraints = tokens.arena().list(constraints);
    return column;
}

bool begins_table_constraint(TokenStream& tokens) {
    return tokens.at("CONSTRAINT") || tokens.at("PRIMARY", "KEY") || tokens.at("UNIQUE", "(") ||
           tokens.at("FOREIGN", "KEY") || tokens.at("CHECK", "(");
}

ConstraintDefinition parse_table_constraint(TokenStream& tokens) {
    using Kind = ConstraintDefinition::Kind;
    ConstraintDefinition constraint{};
    parse_constraint_name(tokens, constraint);
    if (tokens.accept("PRIMARY", "KEY")) {
        constraint.kind = Kind::primary_key;
        constraint.columns = parse_names(tokens);
    } else if (tokens.accept("UNIQUE")) {
        constraint.kind = Kind::unique;
        constraint.columns = parse_names(tokens);
    } else if (tokens.accept("CHECK")) {
        constraint.kind = Kind::check;
        constraint.condition = parse_enclosed(tokens, parse_condition);
    } else if (tokens.accept("FOREIGN", "KEY")) {
        constraint.columns = parse_names(tokens);
        parse_reference(tokens, constraint);
    } else {
        tokens.fail(error::invalid_identifier);
    }
    constraint.state = parse_constraint_state(tokens);
    return constraint;
}

} // namespace oci::sql
