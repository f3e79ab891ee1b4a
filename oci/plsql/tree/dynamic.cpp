#include "oci/plsql/tree/statements.h"

#include "oci/engine/session/other_statements.h"
#include "oci/plsql/library.h"
#include "oci/plsql/runtime.h"

namespace oci::plsql {
namespace {

/// Every occurrence of a placeholder is the next position.
class Positions : public sql::Variables {
  public:
    unsigned placeholder(std::string_view) override { return ++m_count; }
    std::optional<Variable> variable(std::string_view, std::string_view, std::string_view) override { return {}; }
    unsigned count() const { return m_count; }

  private:
    unsigned m_count = 0;
};

/// A text with the values that its placeholders have.
class DynamicText : public SqlSource {
  public:
    DynamicText(Session& session, const std::string& text, std::vector<OwnedValue> values)
        : m_statement(std::make_unique<InnerStatement>(session, text, m_positions)),
          m_values(std::move(values)) {
        if (m_positions.count() > m_values.size()) throw OracleError(error::not_all_bound);
        if (m_positions.count() < m_values.size()) throw OracleError(error::no_such_bind_variable);
    }

    std::unique_ptr<InnerStatement> take() override { return std::move(m_statement); }
    void give_back(std::unique_ptr<InnerStatement> statement) override { m_statement = std::move(statement); }
    std::vector<OwnedValue> bind(InnerStatement& statement, Frame&) const override {
        for (std::size_t i = 0; i < m_values.size(); ++i)
            statement.bind(static_cast<unsigned>(i + 1), m_values[i].get());
        return {};
    }

  private:
    Positions m_positions;
    std::unique_ptr<InnerStatement> m_statement;
    std::vector<OwnedValue> m_values;
};

/// The arguments of USING as the placeholders of a block.
class ArgumentPlaceholders : public Placeholders {
  public:
    ArgumentPlaceholders(const std::vector<Dynamic::Argument>& arguments, Frame& frame)
        : m_arguments(arguments),
          m_frame(frame) {}
    OwnedValue read(unsigned position) override { return m_arguments[position - 1].value->value(m_frame); }
    void write(unsigned position, const Value& value) override {
        if (!m_arguments[position - 1].out) throw OracleError(error::in_bound_to_out);
        m_arguments[position - 1].value->assign(m_frame, Datum(value));
    }

  private:
    const std::vector<Dynamic::Argument>& m_arguments;
    Frame& m_frame;
};

} // namespace

Flow Dynamic::run(Frame& frame) const {
    using Kind = oci::Statement::Kind;
    const OwnedValue given = m_text->value(frame);
    if (given.get().type != Value::Type::text) throw OracleError(error::dynamic_text_is_null, "EXECUTE IMMEDIATE");
    const std::string text(given.get().text());
    const oci::Statement statement(text);
    Runtime& runtime = frame.runtime;
    const auto last = text.find_last_not_of(" \t\r\n");
    const bool sql = statement.kind() == Kind::query || statement.kind() == Kind::dml;
    if (sql && text[last] == ';') throw OracleError(error::invalid_character);
    switch (statement.kind()) {
    case Kind::block: run_block(text, frame); break;
    case Kind::query: run_sql(text, true, frame); break;
    case Kind::dml: run_sql(text, false, frame); break;
    case Kind::other:
        if (!m_arguments.empty()) throw OracleError(error::no_such_bind_variable);
        runtime.prepare_to_control();
        execute_other(runtime.session, statement);
        runtime.transaction_ends();
        break;
    }
    return Flow::next;
}

void Dynamic::run_block(const std::string& text, Frame& frame) const {
    Runtime& runtime = frame.runtime;
    const Unit& block = runtime.library->block(text);
    if (block.placeholders.size() > m_arguments.size()) throw OracleError(error::not_all_bound);
    if (block.placeholders.size() < m_arguments.size()) throw OracleError(error::no_such_bind_variable);
    ArgumentPlaceholders arguments(m_arguments, frame);
    runtime.run_block(block, arguments);
}

void Dynamic::run_sql(const std::string& text, bool query, Frame& frame) const {
    Runtime& runtime = frame.runtime;
    std::vector<OwnedValue> values;
    for (const Argument& argument : m_arguments)
        values.push_back(argument.in ? argument.value->value(frame) : OwnedValue());
    if (!query) values.resize(values.size() + m_into.items.size()); // of RETURNING
    const auto source = std::make_shared<DynamicText>(runtime.session, text, std::move(values));
    if (m_cursor) {
        m_cursor->place(frame).cursor() = std::make_shared<OpenCursor>(runtime, source, frame);
        return;
    }
    if (query && m_into.empty()) return; // what nobody takes is not fetched
    // Outputs of RETURNING ... INTO stand behind USING as well.
    Into into = m_into;
    for (const Argument& argument : m_arguments) {
        if (argument.out) into.items.push_back({argument.value, nullptr, 0});
    }
    SqlStatement(line(), source, query, into).run(frame);
}

} // namespace oci::plsql
