#include "oci/engine/accounts.h"
#include "oci/engine/definitions/catalogue_query.h"
#include "oci/engine/definitions/catalogue_tables.h"
#include "oci/engine/definitions/migration.h"
#include "oci/engine/definitions/objects.h"
#include "oci/engine/block.h"
#include "oci/engine/other_statements.h"
#include "oci/engine/translate.h"
#include "oci/sql/token_reader.h"

#include <algorithm>
#include <sqlite3.h>

namespace oci {
namespace {

/// Reads a statement that defines something and gives the SQLite statements that do it.
class Definition : TokenReader {
  public:
    Definition(Session& session, const Statement& statement)
        : TokenReader(statement.tokens()), m_session(session), m_text(statement.text()) {
        if (m_tokens.size() > 1 && m_tokens[m_tokens.size() - 2].is(";")) m_tokens = m_tokens.first(m_tokens.size() - 2);
    }

    void run() {
        m_session.commit();
        m_session.detach_queries(); // a table that is still being read cannot be changed
        m_session.begin();
        try {
            define();
            enter_tables();
            m_session.commit();
        } catch (...) {
            m_session.rollback();
            m_session.schema_changed();
            throw;
        }
        m_session.schema_changed();
    }

  private:
    void expect_end() {
        if (peek().kind != Token::Kind::end) throw OracleError(922, peek().text);
    }
    const Token& name() {
        if (!peek().is_name()) throw OracleError(903);
        const Token* found = &take();
        if (accept(".") && peek().is_name()) found = &take(); // all accounts share one schema
        return *found;
    }
    Tokens rest() const { return m_tokens.subspan(std::min(m_at, m_tokens.size())); }
    /// The tokens up to the parenthesis that closes the one just passed, which is passed too.
    Tokens enclosed() {
        const std::size_t from = m_at;
        for (int depth = 0;; take()) {
            if (peek().kind == Token::Kind::end) throw OracleError(907);
            if (peek().is("(")) ++depth;
            if (peek().is(")") && depth-- == 0) break;
        }
        const Tokens inner = m_tokens.subspan(from, m_at - from);
        take();
        return inner;
    }
    void sqlite(const std::string& sql) { m_session.run(sql); }

    /// The catalogue learns of the tables from SQLite.
    void enter_tables() {
        sqlite(R"(DELETE FROM "DTK$OBJECTS" WHERE type IN ('TABLE', 'INDEX'); DELETE FROM "DTK$CONSTRAINTS";
            DELETE FROM "DTK$COLUMNS" WHERE object NOT IN (SELECT id FROM "DTK$OBJECTS"); DELETE FROM "DTK$KEYS")");
        take_over_tables(m_session);
        catalogue::count_change(m_session);
    }

    void define() {
        if (accept("CREATE")) return create();
        if (accept("DROP")) return drop();
        if (accept("ALTER")) return alter();
        expect("TRUNCATE", 900);
        expect("TABLE", 900);
        const std::string table = identifier(name());
        expect_end();
        sqlite("DELETE FROM " + table);
    }

    void create() {
        const bool replace = peek().is("OR") && peek(1).is("REPLACE");
        if (replace) m_at += 2;
        if (accept("TABLE")) return create_table();
        if (peek().is("INDEX") || peek().is("UNIQUE")) return create_index();
        if (accept("VIEW")) return create_view(replace);
        if (accept("PROCEDURE")) return create_procedure(m_session, m_text, rest(), replace);
        if (accept("USER")) {
            const std::string user = accounts::canonical(name().text);
            return accounts::create(m_session, user, identified_by());
        }
        throw OracleError(900, "CREATE " + std::string(peek().text));
    }

    std::string identified_by() {
        expect("IDENTIFIED", 900);
        expect("BY", 900);
        const Token& password = take();
        expect_end();
        return std::string(plain_name(password));
    }

    void create_table() {
        const Token& table = name();
        if (accept("AS")) return create_table_as(table);
        expect("(", 906);
        const std::vector<Tokens> elements = elements_of(enclosed());
        expect_end();
        sqlite("CREATE TABLE " + identifier(table) + " (" + table_elements(elements) + ")");
    }

    /// What stands between the commas.
    static std::vector<Tokens> elements_of(Tokens list) {
        std::vector<Tokens> elements;
        int depth = 0;
        std::size_t from = 0;
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (list[i].is("(")) ++depth;
            if (list[i].is(")")) --depth;
            if (depth > 0 || !list[i].is(",")) continue;
            elements.push_back(list.subspan(from, i - from));
            from = i + 1;
        }
        elements.push_back(list.subspan(from));
        return elements;
    }

    std::string table_elements(const std::vector<Tokens>& elements) {
        std::vector<std::string> keys; // the columns of a primary key accept no NULL
        for (const Tokens element : elements) {
            for (std::size_t i = 0; i + 2 < element.size(); ++i) {
                if (!element[i].is("PRIMARY") || !element[i + 2].is("(")) continue;
                for (std::size_t k = i + 3; k < element.size() && !element[k].is(")"); ++k) keys.push_back(upper(plain_name(element[k])));
            }
        }
        std::string sql;
        for (const Tokens element : elements) {
            if (element.empty()) throw OracleError(904, "\"\"");
            const Token& first = element.front();
            const bool constraint = first.is("CONSTRAINT") || first.is("PRIMARY") || first.is("UNIQUE") || first.is("FOREIGN") || first.is("CHECK");
            if (!sql.empty()) sql += ", ";
            sql += constraint ? constraints(element) : column_definition(element, keys);
        }
        return sql;
    }

    std::string column_definition(Tokens tokens, const std::vector<std::string>& keys) {
        const Token& column = tokens.front();
        if (!column.is_name()) throw OracleError(904, "\"" + std::string(column.text) + "\"");
        std::size_t at = 1;
        std::string declaration;
        for (int depth = 0; at < tokens.size() && (depth > 0 || !ends_type(tokens[at])); ++at) {
            if (tokens[at].is("(")) ++depth;
            if (tokens[at].is(")")) --depth;
            declaration += (declaration.empty() ? "" : " ") + std::string(tokens[at].text);
        }
        const auto type = ColumnType::parse(declaration);
        if (!type) throw OracleError(902);
        std::string sql = identifier(column) + " " + type->declaration();
        if (type->family == Family::fixed_text) sql += " COLLATE RTRIM"; // blanks at the end do not count in comparisons
        const bool key = std::find(keys.begin(), keys.end(), upper(plain_name(column))) != keys.end();
        const std::string behind = constraints(tokens.subspan(at), Target{*type, upper(plain_name(column))});
        if (key && behind.find("NOT NULL") == std::string::npos) sql += " NOT NULL";
        return sql + (behind.empty() ? "" : " " + behind);
    }

    static bool ends_type(const Token& token) {
        for (const auto word : {"DEFAULT", "NOT", "NULL", "CONSTRAINT", "PRIMARY", "UNIQUE", "CHECK", "REFERENCES"}) {
            if (token.is(word)) return true;
        }
        return false;
    }

    /// @param column  what a DEFAULT is made to fit
    std::string constraints(Tokens tokens, const Target& column = {}) {
        std::string sql;
        const auto add = [&sql](std::string_view piece) { sql.append(sql.empty() ? "" : " ").append(piece); };
        bool not_null = false;
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            const Token& token = tokens[i];
            if (token.is("NULL") && !not_null) continue; // accepting NULL is what a column does unless told otherwise
            if (token.is("CHECK") || token.is("DEFAULT")) {
                const std::size_t length = expression_length(tokens.subspan(i + 1), token.is("CHECK"));
                const std::string expression = translate_expression(m_session, tokens.subspan(i + 1, length));
                add(token.is("CHECK") ? "CHECK " + expression : "DEFAULT (" + default_value(expression, column) + ")");
                i += length;
                continue;
            }
            const bool inline_key = token.is("PRIMARY") && !(i + 2 < tokens.size() && tokens[i + 2].is("("));
            if (inline_key && sql.find("NOT NULL") == std::string::npos) add("NOT NULL");
            not_null = token.is("NOT");
            if (!token.is("ENABLE")) add(token.is("NULL") ? "NULL" : identifier(token));
        }
        return sql;
    }

    /// Worked out at once where it does not depend on who inserts or when: SQLite adds no other columns to rows that
    /// are there.
    std::string default_value(const std::string& expression, const Target& column) const {
        const std::string value = fit_call(expression, column.type, column.column);
        if (expression.find("sysdate()") != std::string::npos || expression.find("user()") != std::string::npos)
            return value;
        const Compiled query = m_session.compile("SELECT quote(" + value + ")");
        if (sqlite3_step(query.get()) != SQLITE_ROW) throw sqlite_error(query.get());
        return reinterpret_cast<const char*>(sqlite3_column_text(query.get(), 0));
    }

    static std::size_t expression_length(Tokens tokens, bool parenthesis) {
        int depth = 0;
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            if (tokens[i].is("(")) ++depth;
            if (tokens[i].is(")") && --depth == 0 && parenthesis) return i + 1;
            if (i > 0 && depth == 0 && ends_type(tokens[i])) return i;
        }
        return tokens.size();
    }

    void create_table_as(const Token& table) {
        const auto offset = static_cast<std::size_t>(peek().text.data() - m_text.data());
        Statement query(m_text.substr(offset));
        query.compile(m_session);
        sqlite3_stmt* rows = query.compiled();
        const bool row = sqlite3_step(rows) == SQLITE_ROW;
        std::string columns;
        query.describe_by_value(row ? rows : nullptr);
        for (const FetchedColumn& column : query.program().columns) {
            const int at = static_cast<int>(&column - query.program().columns.data());
            columns += (at > 0 ? ", \"" : "\"") + std::string(sqlite3_column_name(rows, at)) + "\" " + column.type.declaration();
        }
        sqlite3_reset(rows);
        sqlite("CREATE TABLE " + identifier(table) + " (" + columns + ")");
        sqlite("INSERT INTO " + identifier(table) + " " + query.program().translation.sql);
    }

    void create_index() {
        std::string sql = accept("UNIQUE") ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
        expect("INDEX", 900);
        sql += identifier(name());
        expect("ON", 969);
        sql += " ON " + identifier(name());
        expect("(", 906);
        sql += " (" + translate_expression(m_session, enclosed()) + ")";
        expect_end();
        sqlite(sql);
    }

    void create_view(bool replace) {
        const std::string view = identifier(name());
        std::string columns;
        if (accept("(")) columns = " (" + translate_expression(m_session, enclosed()) + ")";
        expect("AS", 905);
        if (replace) sqlite("DROP VIEW IF EXISTS " + view);
        const std::string text = m_text.substr(static_cast<std::size_t>(peek().text.data() - m_text.data()));
        sqlite("CREATE VIEW " + view + columns + " AS " + translate(m_session, rest()).sql);
        enter_view(view, text);
    }

    void enter_view(const std::string& view, const std::string& text) {
        const std::string stored = plain(view);
        if (const auto old = catalogue::find_object(m_session, upper(stored), Object::Space::general))
            catalogue::remove_object(m_session, old->id);
        Object object{0, upper(stored), "VIEW", stored, 0, text};
        catalogue::add_object(m_session, object);
        std::vector<TableColumn> described;
        CatalogueQuery rows(m_session, "SELECT name, type FROM pragma_table_info(?1)", stored);
        while (rows.next())
            described.push_back({upper(rows.text(0)), ColumnType::parse(rows.text(1)).value_or(ColumnType{})});
        catalogue::save_columns(m_session, object.id, described);
    }

    static std::string plain(const std::string& identifier) {
        return identifier.front() == '"' ? identifier.substr(1, identifier.size() - 2) : identifier;
    }

    void drop() {
        if (accept("USER")) {
            const std::string user = accounts::canonical(name().text);
            accept("CASCADE");
            return accounts::drop(m_session, user);
        }
        if (accept("PROCEDURE")) return drop_procedure(m_session, upper(plain_name(name())));
        const std::string kind = upper(take().text);
        if (kind != "TABLE" && kind != "INDEX" && kind != "VIEW") throw OracleError(950);
        const std::string dropped = identifier(name());
        if (accept("CASCADE")) expect("CONSTRAINTS", 950);
        accept("PURGE");
        expect_end();
        try {
            sqlite("DROP " + kind + " " + dropped);
            if (const auto view = catalogue::find_object(m_session, upper(plain(dropped)), Object::Space::general);
                view && kind == "VIEW")
                catalogue::remove_object(m_session, view->id);
        } catch (const OracleError& error) {
            constexpr int parent_not_found = 2291; // what is left of a table's rows when it is dropped
            throw error.code() == parent_not_found ? OracleError(2449) : error;
        }
    }

    void alter() {
        if (accept("USER")) {
            const std::string user = accounts::canonical(name().text);
            const std::string password = identified_by();
            return accounts::alter(m_session, user, password);
        }
        expect("TABLE", 940);
        const std::string sql = "ALTER TABLE " + identifier(name());
        if (accept("ADD")) {
            accept("COLUMN");
            const std::vector<Tokens> columns = accept("(") ? elements_of(enclosed()) : std::vector<Tokens>{rest()};
            for (const Tokens column : columns) {
                if (column.empty()) throw OracleError(904, "\"\"");
                sqlite(sql + " ADD COLUMN " + column_definition(column, {}));
            }
            return;
        }
        if (accept("RENAME")) {
            if (accept("TO")) return sqlite(sql + " RENAME TO " + identifier(name()));
            expect("COLUMN", 905);
            const std::string old_name = identifier(name());
            expect("TO", 905);
            return sqlite(sql + " RENAME COLUMN " + old_name + " TO " + identifier(name()));
        }
        expect("DROP", 1735);
        expect("COLUMN", 905);
        sqlite(sql + " DROP COLUMN " + identifier(name()));
    }

    Session& m_session;
    const std::string& m_text;
};

/// Any other statement is refused before it has ended the transaction.
bool is_definition(const Token& first) {
    return first.is("CREATE") || first.is("DROP") || first.is("ALTER") || first.is("TRUNCATE");
}

} // namespace

void execute_definition(Session& session, const Statement& statement) {
    const Token& first = statement.tokens().front();
    if (!is_definition(first)) throw OracleError(error::invalid_statement, "near \"" + std::string(first.text) + "\"");
    Definition(session, statement).run();
}

} // namespace oci
