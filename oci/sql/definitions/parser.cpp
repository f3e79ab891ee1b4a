#include "oci/sql/definitions/parser.h"

#include "oci/sql/parser.h"

namespace oci::sql {
namespace {

/// What is told apart by its first words, and refused.
struct Refusal {
    std::string_view first;
    std::string_view second; ///< empty: one word
    std::string_view reason;
};

constexpr Refusal refusals[] = {
    {"TYPE", "", "object types"},
    {"JAVA", "", "Java in the database"},
    {"AND", "", "Java in the database"},
    {"LIBRARY", "", "libraries"},
    {"DIRECTORY", "", "directories: the client reads no files of the server's"},
    {"TABLESPACE", "", "tablespaces: all data is in one file"},
    {"BIGFILE", "", "tablespaces: all data is in one file"},
    {"TEMPORARY", "TABLESPACE", "tablespaces: all data is in one file"},
    {"UNDO", "", "tablespaces: all data is in one file"},
    {"DATABASE", "", "databases and links between them"},
    {"PLUGGABLE", "", "databases and links between them"},
    {"SHARED", "", "databases and links between them"},
    {"MATERIALIZED", "", "materialized views"},
    {"CLUSTER", "", "clusters"},
    {"CONTEXT", "", "application contexts"},
    {"PROFILE", "", "profiles"},
    {"OPERATOR", "", "operators"},
    {"INDEXTYPE", "", "index types"},
    {"DIMENSION", "", "dimensions"},
    {"EDITION", "", "editions"},
    {"SYSTEM", "", "the settings of a server"},
    {"PRIVATE", "", "private temporary tables"},
    {"SHARDED", "", "sharded tables"},
    {"BLOCKCHAIN", "", "blockchain tables"},
    {"RESTORE", "", "restore points"},
    {"OUTLINE", "", "outlines"},
    {"ROLLBACK", "", "rollback segments"},
};

void refuse_what_is_not_carried(TokenStream& tokens) {
    for (const Refusal& refusal : refusals) {
        const bool found = refusal.second.empty() ? tokens.at(refusal.first) : tokens.at(refusal.first, refusal.second);
        if (found) tokens.unsupported(refusal.reason);
    }
}

/// PROCEDURE, FUNCTION, PACKAGE, PACKAGE BODY or TRIGGER; empty where none comes next.
std::string_view accept_source_type(TokenStream& tokens) {
    if (tokens.accept("PACKAGE", "BODY")) return "PACKAGE BODY";
    for (const std::string_view type : {"PROCEDURE", "FUNCTION", "PACKAGE", "TRIGGER"}) {
        if (tokens.accept(type)) return type;
    }
    return {};
}

Definition* create_source(TokenStream& tokens, Offset at, bool replace) {
    const Offset from = tokens.position();
    auto* source = make_definition<CreateSource>(tokens, at, DefinitionKind::create_source);
    source->type = accept_source_type(tokens);
    source->name = tokens.object_name(error::invalid_routine_name);
    source->replace = replace;
    source->text = tokens.text().substr(from);
    return source;
}

/// A view's constraints are told, never kept.
void skip_view_constraint(TokenStream& tokens) {
    const Offset at = tokens.position();
    if (parse_table_constraint(tokens).state.enabled.value_or(true))
        tokens.fail(error::unimplemented, at, "constraints of views that are enabled");
}

Definition* create_view(TokenStream& tokens, Offset at, bool replace, bool force) {
    auto* view = make_definition<CreateView>(tokens, at, DefinitionKind::create_view);
    view->replace = replace;
    view->force = force;
    view->name = tokens.object_name(error::invalid_view_name);
    if (tokens.at("OF")) tokens.unsupported("object views");
    if (tokens.at("(")) {
        std::vector<Name> columns;
        tokens.take();
        do {
            if (begins_table_constraint(tokens))
                skip_view_constraint(tokens);
            else
                columns.push_back(tokens.name(error::invalid_identifier));
        } while (tokens.accept(","));
        tokens.expect(")", error::missing_right_parenthesis);
        view->columns = tokens.arena().list(columns);
    }
    tokens.expect("AS", error::missing_keyword);
    const Offset from = tokens.position();
    view->query.query = parse_query(tokens);
    view->query.text = tokens.text_between(from, tokens.last_end());
    if (tokens.accept("WITH", "READ")) {
        tokens.expect("ONLY", error::missing_keyword);
        view->read_only = true;
    } else if (tokens.accept("WITH", "CHECK")) {
        tokens.expect("OPTION", error::missing_keyword);
        view->check_option = true;
    }
    if (tokens.accept("CONSTRAINT")) tokens.name(error::missing_constraint_name);
    return view;
}

Definition* create_index(TokenStream& tokens, Offset at) {
    auto* index = make_definition<CreateIndex>(tokens, at, DefinitionKind::create_index);
    index->unique = tokens.accept("UNIQUE");
    if (!index->unique) tokens.accept("BITMAP");
    tokens.expect("INDEX", error::missing_keyword);
    index->name = tokens.object_name(error::invalid_index_name);
    tokens.expect("ON", error::missing_on);
    if (tokens.at("CLUSTER")) tokens.unsupported("clusters");
    index->table = tokens.object_name(error::invalid_table_name);
    if (tokens.at_name()) tokens.unsupported("indexes over joins");
    tokens.expect("(", error::missing_left_parenthesis);
    std::vector<IndexColumn> items;
    do {
        IndexColumn item{parse_fragment(tokens)};
        item.descending = tokens.accept("DESC");
        if (!item.descending) tokens.accept("ASC");
        items.push_back(item);
    } while (tokens.accept(","));
    tokens.expect(")", error::missing_right_parenthesis);
    index->items = tokens.arena().list(items);
    if (tokens.at("INDEXTYPE")) tokens.unsupported("index types");
    skip_storage(tokens);
    if (!tokens.at_end()) tokens.fail(error::invalid_create_index);
    return index;
}

Definition* create_synonym(TokenStream& tokens, Offset at, bool replace, bool is_public) {
    auto* synonym = make_definition<CreateSynonym>(tokens, at, DefinitionKind::create_synonym);
    synonym->replace = replace;
    synonym->is_public = is_public;
    tokens.expect("SYNONYM", error::missing_keyword);
    synonym->name = tokens.object_name(error::invalid_synonym);
    tokens.expect("FOR", error::missing_keyword);
    synonym->target = tokens.object_name(error::invalid_synonym);
    return synonym;
}

Definition* sequence(TokenStream& tokens, Offset at, DefinitionKind kind) {
    auto* definition = make_definition<SequenceDefinition>(tokens, at, kind);
    definition->name = tokens.object_name(error::invalid_sequence_name);
    const Offset before = tokens.position();
    definition->options = parse_sequence_options(tokens);
    if (kind == DefinitionKind::alter_sequence && tokens.position() == before)
        tokens.fail(error::no_alter_sequence_options);
    return definition;
}

Definition* create_role(TokenStream& tokens, Offset at) {
    auto* role = make_definition<CreateRole>(tokens, at, DefinitionKind::create_role);
    role->name = tokens.name(error::missing_role_name);
    if (tokens.accept("NOT")) tokens.expect("IDENTIFIED", error::missing_keyword);
    return role;
}

Definition* create_temporary_table(TokenStream& tokens, Offset at) {
    tokens.expect("TEMPORARY", error::missing_keyword);
    tokens.expect("TABLE", error::missing_keyword);
    return parse_create_table(tokens, at, CreateTable::Lifetime::transaction);
}

Definition* create(TokenStream& tokens, Offset at) {
    const bool replace = tokens.accept("OR", "REPLACE");
    refuse_what_is_not_carried(tokens);
    if (!tokens.accept("EDITIONABLE")) tokens.accept("NONEDITIONABLE");
    const bool is_public = tokens.accept("PUBLIC");
    if (tokens.at("SYNONYM")) return create_synonym(tokens, at, replace, is_public);
    if (is_public) tokens.unsupported("links between databases");
    const bool force = tokens.accept("FORCE");
    if (!force) tokens.accept("NOFORCE") || tokens.accept("NO", "FORCE");
    if (!tokens.accept("EDITIONABLE")) tokens.accept("NONEDITIONABLE");
    if (tokens.accept("VIEW")) return create_view(tokens, at, replace, force);
    if (force) tokens.fail(error::missing_keyword);
    for (const auto word : {"PROCEDURE", "FUNCTION", "PACKAGE", "TRIGGER"}) {
        if (tokens.at(word)) return create_source(tokens, at, replace);
    }
    if (replace) tokens.fail(error::invalid_option);
    if (tokens.accept("TABLE")) return parse_create_table(tokens, at, CreateTable::Lifetime::permanent);
    if (tokens.accept("GLOBAL")) return create_temporary_table(tokens, at);
    if (tokens.at("INDEX") || tokens.at("UNIQUE") || tokens.at("BITMAP")) return create_index(tokens, at);
    if (tokens.accept("SEQUENCE")) return sequence(tokens, at, DefinitionKind::create_sequence);
    if (tokens.accept("USER")) return parse_create_user(tokens, at);
    if (tokens.accept("ROLE")) return create_role(tokens, at);
    tokens.fail(error::invalid_create);
}

Definition* alter_index(TokenStream& tokens, Offset at) {
    auto* index = make_definition<AlterIndex>(tokens, at, DefinitionKind::alter_index);
    index->name = tokens.object_name(error::invalid_index_name);
    if (tokens.accept("RENAME")) {
        tokens.expect("TO", error::missing_keyword);
        index->new_name = tokens.name(error::invalid_index_name);
        return index;
    }
    if (tokens.at("UNUSABLE")) tokens.unsupported("indexes that are not kept");
    const bool known = tokens.accept("REBUILD") || tokens.accept("COALESCE") || tokens.accept("COMPILE") ||
                       tokens.accept("ENABLE") || tokens.accept("SHRINK", "SPACE") ||
                       tokens.accept("MONITORING", "USAGE") || tokens.accept("NOMONITORING", "USAGE");
    const Offset before = tokens.position();
    skip_storage(tokens);
    if (!known && tokens.position() == before) tokens.fail(error::invalid_alter_index);
    return index;
}

/// ALTER TRIGGER t ENABLE, ALTER PROCEDURE p COMPILE, ALTER VIEW v COMPILE ...
Definition* alter_source(TokenStream& tokens, Offset at, std::string_view type) {
    auto* source = make_definition<AlterSource>(tokens, at, DefinitionKind::alter_source);
    source->type = type;
    source->name = tokens.object_name(error::invalid_routine_name);
    const bool trigger = type == "TRIGGER";
    if (trigger && tokens.accept("ENABLE")) {
        source->enabled = true;
    } else if (trigger && tokens.accept("DISABLE")) {
        source->enabled = false;
    } else if (trigger && tokens.accept("RENAME")) {
        tokens.expect("TO", error::missing_keyword);
        source->new_name = tokens.name(error::invalid_routine_name);
    } else {
        tokens.expect("COMPILE", error::invalid_option);
        for (const auto word : {"DEBUG", "PACKAGE", "SPECIFICATION", "BODY", "REUSE", "SETTINGS"}) tokens.accept(word);
    }
    return source;
}

Definition* alter(TokenStream& tokens, Offset at) {
    refuse_what_is_not_carried(tokens);
    if (tokens.accept("TABLE")) return parse_alter_table(tokens, at);
    if (tokens.accept("INDEX")) return alter_index(tokens, at);
    if (tokens.accept("SEQUENCE")) return sequence(tokens, at, DefinitionKind::alter_sequence);
    if (tokens.accept("USER")) return parse_alter_user(tokens, at);
    if (tokens.accept("VIEW")) return alter_source(tokens, at, "VIEW");
    if (const auto type = accept_source_type(tokens); !type.empty()) return alter_source(tokens, at, type);
    tokens.fail(error::invalid_alter);
}

std::string_view parse_dropped_type(TokenStream& tokens) {
    if (tokens.accept("PUBLIC", "SYNONYM")) return "PUBLIC SYNONYM";
    for (const std::string_view type : {"TABLE", "INDEX", "VIEW", "SEQUENCE", "SYNONYM", "USER", "ROLE"}) {
        if (tokens.accept(type)) return type;
    }
    const auto type = accept_source_type(tokens);
    if (type.empty()) tokens.fail(error::invalid_drop);
    return type;
}

Definition* drop(TokenStream& tokens, Offset at) {
    refuse_what_is_not_carried(tokens);
    auto* dropped = make_definition<Drop>(tokens, at, DefinitionKind::drop);
    dropped->type = parse_dropped_type(tokens);
    dropped->name = tokens.object_name(error::invalid_table_name);
    if (dropped->type == "TABLE" || dropped->type == "VIEW") {
        dropped->cascade = tokens.accept("CASCADE", "CONSTRAINTS") || tokens.accept("CASCADE", "CONSTRAINT");
        if (dropped->type == "TABLE") tokens.accept("PURGE");
    } else if (dropped->type == "USER") {
        dropped->cascade = tokens.accept("CASCADE");
    } else if (dropped->type == "INDEX") {
        if (!tokens.accept("ONLINE")) tokens.accept("FORCE");
    } else if (dropped->type.ends_with("SYNONYM")) {
        tokens.accept("FORCE");
    }
    return dropped;
}

Definition* truncate(TokenStream& tokens, Offset at) {
    if (tokens.at("CLUSTER")) tokens.unsupported("clusters");
    tokens.expect("TABLE", error::invalid_truncate);
    auto* truncated = make_definition<Truncate>(tokens, at, DefinitionKind::truncate);
    truncated->table = tokens.object_name(error::invalid_table_name);
    if (tokens.accept("PRESERVE") || tokens.accept("PURGE")) {
        for (const auto word : {"MATERIALIZED", "VIEW", "LOG"}) tokens.expect(word, error::missing_keyword);
    }
    if (tokens.accept("DROP")) {
        tokens.accept("ALL");
        tokens.expect("STORAGE", error::missing_keyword);
    } else if (tokens.accept("REUSE")) {
        tokens.expect("STORAGE", error::missing_keyword);
    }
    truncated->cascade = tokens.accept("CASCADE");
    return truncated;
}

Definition* rename(TokenStream& tokens, Offset at) {
    auto* renamed = make_definition<Rename>(tokens, at, DefinitionKind::rename);
    renamed->old_name = tokens.name(error::invalid_table_name);
    tokens.expect("TO", error::missing_keyword);
    renamed->new_name = tokens.name(error::invalid_table_name);
    return renamed;
}

Definition* comment(TokenStream& tokens, Offset at) {
    tokens.expect("ON", error::missing_on);
    auto* comment = make_definition<CommentOn>(tokens, at, DefinitionKind::comment);
    if (tokens.accept("TABLE")) {
        comment->table = tokens.object_name(error::invalid_table_name);
    } else if (tokens.accept("COLUMN")) {
        comment->table.name = tokens.name(error::invalid_identifier);
        tokens.expect(".", error::only_simple_column);
        comment->column = tokens.name(error::invalid_identifier);
        if (tokens.accept(".")) {
            comment->table = {comment->table.name, comment->column};
            comment->column = tokens.name(error::invalid_identifier);
        }
    } else {
        refuse_what_is_not_carried(tokens);
        tokens.fail(error::invalid_comment_object);
    }
    tokens.expect("IS", error::missing_keyword);
    comment->text = tokens.string(error::string_literal_required);
    return comment;
}

/// PURGE, ANALYZE, AUDIT and what else changes nothing that a program sees.
Definition* accept_without_effect(TokenStream& tokens, Offset at) {
    while (!tokens.at_end()) tokens.take();
    return make_definition<Definition>(tokens, at, DefinitionKind::nothing);
}

Definition* purge(TokenStream& tokens, Offset at) {
    for (const auto word : {"RECYCLEBIN", "DBA_RECYCLEBIN", "TABLE", "INDEX", "TABLESPACE"}) {
        if (tokens.at(word)) return accept_without_effect(tokens, at);
    }
    tokens.fail(error::invalid_purge);
}

Definition* definition(TokenStream& tokens) {
    const Offset at = tokens.position();
    if (tokens.at("GRANT") || tokens.at("REVOKE")) return parse_privileges(tokens, at);
    if (tokens.accept("CREATE")) return create(tokens, at);
    if (tokens.accept("ALTER")) return alter(tokens, at);
    if (tokens.accept("DROP")) return drop(tokens, at);
    if (tokens.accept("TRUNCATE")) return truncate(tokens, at);
    if (tokens.accept("RENAME")) return rename(tokens, at);
    if (tokens.accept("COMMENT")) return comment(tokens, at);
    if (tokens.accept("PURGE")) return purge(tokens, at);
    for (const auto word : {"ANALYZE", "AUDIT", "NOAUDIT"}) {
        if (tokens.accept(word)) return accept_without_effect(tokens, at);
    }
    tokens.fail(error::invalid_statement);
}

} // namespace

Definition* parse_definition(std::string_view text, Arena& arena) {
    TokenStream tokens(text, arena);
    Definition* parsed = definition(tokens);
    // The text of a routine is read by whoever runs it.
    if (parsed->definition != DefinitionKind::create_source) tokens.expect_end();
    return parsed;
}

} // namespace oci::sql
