#pragma once

#include "oci/plsql/parser/binder.h"
#include "oci/plsql/tree/statements.h"
#include "oci/sql/parser.h"

namespace oci::plsql {

/// Reads a unit from front to end and makes what runs it. Names have to be declared before they are used, so that they
/// are given their meaning as they are read.
class Parser {
  public:
    Parser(Runtime& runtime, Unit& unit);

    /// A block or CALL.
    void block();
    /// PROCEDURE ..., FUNCTION ...: what stands behind CREATE.
    void routine();
    void package();
    /// @param scope  of the head of the package
    void package_body(Scope& scope);
    void trigger();
    /// What stands behind the type, without a schema.
    std::string name_of_unit();

  private:
    struct LoopLabel {
        std::string label;
        unsigned number;
    };
    struct PendingGoto {
        std::string label;
        sql::Offset at;
    };

    void trigger_head(TriggerHead& head);
    void trigger_order(TriggerHead& head);
    void trigger_rows(TriggerHead& head, bool before);
    void trigger_block();
    void compound_trigger(TriggerHead& head);
    void trigger_event(TriggerHead& head);
    void trigger_scope(TriggerHead& head);

    // declarations
    Scope& open_scope(std::string label);
    void close_scope() { m_scope = m_scope->outer; }
    Declaration& declare(const sql::Name& name, Declaration::Kind kind);
    void declarations(Body& body);
    void declaration(Body& body);
    void variable(Body& body);
    void type_declaration();
    void subtype();
    void cursor_declaration(Body& body);
    void pragma();
    void subprogram();
    TypePtr type();
    TypePtr named_type(bool& found);
    TypePtr builtin_type();
    /// @param column  that is wanted of it; none: all
    TypePtr row_type(Path path, sql::Offset at, std::string_view column = {});
    TypePtr declared_type();
    TypePtr record_type();
    TypePtr table_type(Type::Index index);
    std::vector<Parameter> parameters(bool of_cursor);
    ExpressionPtr default_value(const TypePtr& type);
    void define(Routine& routine, Scope* outer);

    // statements
    void body(Body& body, std::string_view label);
    void handlers(Body& body);
    Statements statements();
    bool ends_statements();
    StatementPtr statement(std::string label);
    StatementPtr simple_statement();
    StatementPtr labelled(std::string label);
    std::string labels(Statements& into, std::vector<std::string>& names);
    StatementPtr goto_statement();
    unsigned number_of_label(const std::string& label);
    void resolve_gotos(std::size_t from, const std::vector<std::string>& labels);
    void refuse_pending_gotos();
    StatementPtr if_statement();
    StatementPtr case_statement();
    StatementPtr loop(std::string label);
    StatementPtr for_loop(std::string label);
    StatementPtr nested_block(std::string label);
    StatementPtr leave_loop(Flow flow);
    StatementPtr return_statement();
    StatementPtr raise_statement();
    StatementPtr for_all();
    StatementPtr open_statement();
    StatementPtr fetch_statement();
    StatementPtr execute_immediate();
    StatementPtr transaction_statement();
    StatementPtr sql_statement();
    StatementPtr other_statement();
    void skip_head();
    void end_of_unit();
    void end_of_loop(Loop& loop, const std::string& label);
    std::vector<Dynamic::Argument> using_arguments();
    Opening opening(const Found& found);
    const ExceptionName* exception();

    // SQL
    /// Reads a statement up to `end`, which stays; what stands behind INTO is taken out.
    std::shared_ptr<SqlText> sql(std::string_view end, Into& into);
    void sql_token(SqlText& text, sql::Offset& copied);
    void note_words(SqlText& text, std::string_view end);
    bool sql_record(SqlText& text, sql::Offset& copied);
    Into into();
    /// Compiles a query, whose columns tell the types of its rows. @return a type of a record
    TypePtr check(SqlText& text, sql::Offset at, Into* into = nullptr);
    TypePtr row_of(const std::vector<sql::ResultColumn>& columns);
    sql::Offset place_of(std::string_view error, sql::Offset from);

    ExpressionPtr expression();
    ExpressionPtr scalar();
    ExpressionPtr condition();
    ExpressionPtr expression_for(const TypePtr& type);
    const sql::Expression& tree();
    /// A name of up to three parts.
    Path path();

    /// Of the next token.
    unsigned line();
    void expect(std::string_view wanted);
    bool at_end_of_text();
    sql::Name name();
    std::string text(const sql::Name& name) { return std::string(name.text); }
    [[noreturn]] void unexpected(std::string_view wanted);
    [[noreturn]] void fail(std::string_view text, sql::Offset at, bool missing_object = false);
    [[noreturn]] void unsupported(std::string_view what);
    Binder binder() { return {m_runtime, *m_scope}; }

    Runtime& m_runtime;
    Unit& m_unit;
    sql::Arena m_arena;
    sql::TokenStream m_tokens;
    Scope* m_scope = nullptr;
    Routine* m_routine = nullptr;
    std::vector<LoopLabel> m_loops;
    unsigned m_loop_count = 0;
    sql::Offset m_line_at = 0;                             ///< where line() has counted to, ...
    unsigned m_line = 1;                                   ///< ... and what it has come to
    std::map<std::string, unsigned, std::less<>> m_labels; ///< numbers for GOTO
    std::vector<PendingGoto> m_gotos;                      ///< whose labels no list of statements had yet
    bool m_in_handler = false;
};

} // namespace oci::plsql
