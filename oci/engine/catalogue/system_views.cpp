#include "oci/engine/catalogue/system_views.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/tables/column_expressions.h"

#include <algorithm>
#include <utility>

namespace oci {
namespace {

/// What stands in the texts of several views. One may contain those behind it, and none begins with another one.
constexpr std::pair<std::string_view, std::string_view> fragments[] = {
    {"#COLUMNS", R"(+OWNER V128 @; TABLE_NAME V128 o.name; COLUMN_NAME V128 c.name;
        DATA_TYPE V128 ora_type_part(c.type, 'DATA_TYPE'); DATA_TYPE_MOD V3; DATA_TYPE_OWNER V128;
        DATA_LENGTH N ora_type_part(c.type, 'DATA_LENGTH') + 0;
        DATA_PRECISION N ora_type_part(c.type, 'DATA_PRECISION') + 0;
        DATA_SCALE N ora_type_part(c.type, 'DATA_SCALE') + 0; NULLABLE V1 iif(c.nullable, 'Y', 'N');
        COLUMN_ID N iif(c.hidden, NULL, (SELECT count(*) FROM "DTK$COLUMNS" b
            WHERE b.object = c.object AND b.position <= c.position AND b.hidden = 0));
        DEFAULT_LENGTH N length(#DEFAULT); DATA_DEFAULT L #DEFAULT; NUM_DISTINCT N; DENSITY N; NUM_NULLS N;
        NUM_BUCKETS N; LAST_ANALYZED D; SAMPLE_SIZE N;
        CHARACTER_SET_NAME V44 ora_type_part(c.type, 'CHARACTER_SET_NAME');
        CHAR_COL_DECL_LENGTH N iif(ora_type_part(c.type, 'CHAR_USED') IS NULL, NULL,
            ora_type_part(c.type, 'DATA_LENGTH') + 0);
        GLOBAL_STATS V3 'NO'; USER_STATS V3 'NO'; AVG_COL_LEN N;
        CHAR_LENGTH N ora_type_part(c.type, 'CHAR_LENGTH') + 0; CHAR_USED V1 ora_type_part(c.type, 'CHAR_USED');
        V80_FMT_IMAGE V3 'NO'; DATA_UPGRADED V3 'YES'; HISTOGRAM V15 'NONE';
        DEFAULT_ON_NULL V3 iif(c.default_on_null, 'YES', 'NO'); IDENTITY_COLUMN V3 iif(c.identity <> 0, 'YES', 'NO'))"},
    {"#COLUMN_ROWS", R"("DTK$COLUMNS" c JOIN "DTK$OBJECTS" o ON o.id = c.object)"},
    {"#DEFAULT", R"(nullif(CASE WHEN c.virtual_text <> '' THEN c.virtual_text WHEN c.identity <> 0
        THEN '"' || @ || '".' || replace(c.default_text, 'NEXTVAL', 'nextval') ELSE c.default_text END, ''))"},
    {"#CONDITION",
     R"(iif(c.kind = 'N', (SELECT '"' || k.text || '" IS NOT NULL' FROM "DTK$KEYS" k WHERE k.owner = c.id),
        nullif(c.condition, '')))"},
    {"#CATALOG_ROWS", R"("DTK$OBJECTS" o WHERE o.type IN ('TABLE', 'VIEW', 'SEQUENCE', 'SYNONYM'))"},
    {"#ACCOUNT", R"(ACCOUNT_STATUS V32 'OPEN'; LOCK_DATE D; EXPIRY_DATE D; DEFAULT_TABLESPACE V30 'USERS';
        TEMPORARY_TABLESPACE V30 'TEMP'; CREATED D; PROFILE V128 'DEFAULT'; COMMON V3 'NO'; ORACLE_MAINTAINED V1 'N')"},
    {"#INDEXES", R"((SELECT i.id, i.name, i.base, iif(i.options = 'UNIQUE', 'UNIQUE', 'NONUNIQUE') uniqueness,
            'N' generated, 0 of_key FROM "DTK$OBJECTS" i WHERE i.type = 'INDEX'
        UNION ALL SELECT c.id, c.name, c.object, iif(c.can_defer, 'NONUNIQUE', 'UNIQUE'), iif(c.generated, 'Y', 'N'), 1
            FROM "DTK$CONSTRAINTS" c JOIN "DTK$OBJECTS" o ON o.id = c.object
            WHERE c.kind IN ('P', 'U') AND c.enabled AND #OWN_INDEX IS NULL))"},
    {"#OWN_INDEX", R"((SELECT i.name FROM "DTK$OBJECTS" i WHERE i.base = o.id AND i.type = 'INDEX'
        AND i.id < c.id AND (SELECT count(*) FROM "DTK$KEYS" a JOIN "DTK$KEYS" b ON b.text = a.text WHERE a.owner = c.id
            AND b.owner = i.id AND b.is_column AND b.position <= #KEY_SIZE) = #KEY_SIZE LIMIT 1))"},
    {"#KEY_SIZE", R"((SELECT count(*) FROM "DTK$KEYS" n WHERE n.owner = c.id))"},
    {"#PRIVILEGES", R"((SELECT 'CREATE SESSION' name UNION ALL SELECT 'ALTER SESSION' UNION ALL SELECT 'CREATE TABLE'
        UNION ALL SELECT 'CREATE VIEW' UNION ALL SELECT 'CREATE SEQUENCE' UNION ALL SELECT 'CREATE SYNONYM'
        UNION ALL SELECT 'CREATE PROCEDURE' UNION ALL SELECT 'CREATE TRIGGER' UNION ALL SELECT 'UNLIMITED TABLESPACE'))"},
    {"#NLS_DEFAULTS", R"((SELECT name, ora_nls(name, 'DEFAULT') value FROM #SETTINGS
        UNION ALL SELECT 'NLS_CHARACTERSET', 'AL32UTF8' UNION ALL SELECT 'NLS_NCHAR_CHARACTERSET', 'AL16UTF16'
        UNION ALL SELECT 'NLS_RDBMS_VERSION', '19.0.0.0.0'))"},
    {"#NLS_ALL", R"((SELECT name, ora_nls(name, 'SESSION') value FROM #SETTINGS
        UNION ALL SELECT 'NLS_CHARACTERSET', 'AL32UTF8' UNION ALL SELECT 'NLS_NCHAR_CHARACTERSET', 'AL16UTF16'))"},
    {"#NLS_SESSION", "(SELECT name, ora_nls(name, 'SESSION') value FROM #SETTINGS)"},
    {"#SETTINGS", R"((SELECT 'NLS_LANGUAGE' name UNION ALL SELECT 'NLS_TERRITORY' UNION ALL SELECT 'NLS_CURRENCY'
        UNION ALL SELECT 'NLS_ISO_CURRENCY' UNION ALL SELECT 'NLS_NUMERIC_CHARACTERS' UNION ALL SELECT 'NLS_CALENDAR'
        UNION ALL SELECT 'NLS_DATE_FORMAT' UNION ALL SELECT 'NLS_DATE_LANGUAGE' UNION ALL SELECT 'NLS_SORT'
        UNION ALL SELECT 'NLS_TIMESTAMP_FORMAT' UNION ALL SELECT 'NLS_TIMESTAMP_TZ_FORMAT'
        UNION ALL SELECT 'NLS_DUAL_CURRENCY' UNION ALL SELECT 'NLS_COMP' UNION ALL SELECT 'NLS_LENGTH_SEMANTICS'
        UNION ALL SELECT 'NLS_NCHAR_CONV_EXCP'))"},
    {"#FACT(", "ora_sys_context('USERENV', "},
};

constexpr std::pair<char, std::string_view> scopes[] = {{'U', "USER_"}, {'A', "ALL_"}, {'D', "DBA_"}};

std::string names_of(const SystemView& view) {
    if (view.family.empty()) return "UNION ALL SELECT '" + std::string(view.name) + "' ";
    std::string names;
    for (const auto& [scope, word] : scopes) {
        if (view.family.find(scope) != std::string_view::npos)
            names.append("UNION ALL SELECT '").append(word).append(view.name).append("' ");
    }
    return names;
}

/// The names of all views, as rows of a query.
std::string all_names() {
    std::string rows = "(SELECT 'DUAL' name ";
    for (const auto& view : system_views()) rows += names_of(view);
    return rows + ")";
}

void replace_all(std::string& text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

/// A view under one of its names.
struct Found {
    const SystemView* view = nullptr;
    char scope = 0; ///< of the family; 0: none
};

Found find(std::string_view name) {
    for (const auto& view : system_views()) {
        if (view.family.empty() && view.name == name) return {&view, 0};
        for (const auto& [scope, word] : scopes) {
            const bool member = view.family.find(scope) != std::string_view::npos;
            if (member && name.starts_with(word) && name.substr(word.size()) == view.name) return {&view, scope};
        }
    }
    return {};
}

std::string complete(std::string_view text, const Session& session, char scope) {
    std::string sql(text);
    for (const auto& [name, meaning] : fragments) replace_all(sql, name, meaning);
    replace_all(sql, "#NOT_PUBLIC", scope == 'U' ? "WHERE o.type <> 'PUBLIC SYNONYM'" : "");
    std::string user = session.user();
    replace_all(user, "'", "''");
    replace_all(sql, "@", "'" + user + "'");
    if (sql.find("#NAMES") != std::string::npos) replace_all(sql, "#NAMES", all_names());
    return sql;
}

std::string_view take_word(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \n"), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(" \n"));
    text.remove_prefix(word.size());
    return word;
}

ColumnType type_of(std::string_view code) {
    switch (code.front()) {
    case 'V': return *ColumnType::parse("VARCHAR2(" + std::string(code.substr(1)) + ")");
    case 'D': return *ColumnType::parse("DATE");
    case 'L': return *ColumnType::parse("LONG");
    case 'C': return *ColumnType::parse("CLOB");
    default: return ColumnType::number();
    }
}

/// The select list; tells the relation its columns.
std::string select_list(std::string_view columns, char scope, sql::Relation& relation) {
    std::string list;
    while (!columns.empty()) {
        std::string_view item = columns.substr(0, columns.find(';'));
        columns.remove_prefix(std::min(item.size() + 1, columns.size()));
        std::string_view name = take_word(item);
        const bool of_others = name.starts_with('+');
        if (of_others) name.remove_prefix(1);
        const ColumnType type = type_of(take_word(item));
        if (of_others && scope == 'U') continue;
        list += (list.empty() ? "" : ", ") + (item.empty() ? "NULL" : std::string(item)) + " AS " + quoted(name);
        sql::RelationColumn& column = relation.columns.emplace_back();
        column.name = name;
        column.type = type;
    }
    return list;
}

} // namespace

std::optional<sql::Relation> find_system_view(Session& session, std::string_view name) {
    const Found found = find(name);
    if (found.view == nullptr) return std::nullopt;
    sql::Relation relation;
    relation.name = name;
    relation.stored_name = std::string(system_view_prefix) + relation.name;
    relation.of_server = true;
    const std::string columns = complete(found.view->columns, session, found.scope);
    const std::string rows =
        found.view->rows.empty() ? "(SELECT 1) WHERE 0" : complete(found.view->rows, session, found.scope);
    const std::string list = select_list(columns, found.scope, relation);
    session.run("CREATE TEMP VIEW IF NOT EXISTS " + quoted(relation.stored_name) + " AS SELECT " + list + " FROM " +
                rows);
    return relation;
}

} // namespace oci
