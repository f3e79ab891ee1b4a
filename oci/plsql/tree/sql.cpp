#include "oci/plsql/tree/sql.h"

#include "oci/engine/session/session.h"
#include "oci/plsql/runtime.h"

#include <algorithm>
#include <charconv>

namespace oci::plsql {

std::string SqlText::name_of(ExpressionPtr expression) {
    m_named.push_back(std::move(expression));
    return "\"" + std::to_string(m_named.size()) + "$\"";
}

std::string SqlText::output() {
    return ":OUT$";
}

SqlText::Variable SqlText::input(ExpressionPtr expression) {
    const ColumnType type = expression->type()->column;
    m_inputs.push_back(std::move(expression));
    return {static_cast<unsigned>(m_inputs.size()), type};
}

std::optional<SqlText::Variable> SqlText::variable(std::string_view first, std::string_view second,
                                                   std::string_view third) {
    Path path;
    for (const auto part : {first, second, third}) {
        if (!part.empty()) path.parts.push_back(part);
    }
    if (path.parts.size() == 1 && path.parts[0].back() == '$') {
        std::size_t number = 0;
        std::from_chars(path.parts[0].data(), path.parts[0].data() + path.parts[0].size(), number);
        if (number > 0 && number <= m_named.size()) return input(m_named[number - 1]);
    }
    ExpressionPtr value = find_variable(m_runtime, m_scope, path);
    if (!value || path.used < path.parts.size() || !value->type()->is_scalar()) return {};
    return input(std::move(value));
}

unsigned SqlText::placeholder(std::string_view name) {
    const auto& names = m_scope.unit->placeholders;
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end())
        return input(std::make_shared<BlockPlaceholder>(static_cast<unsigned>(found - names.begin()) + 1)).position;
    m_inputs.push_back(nullptr);
    return static_cast<unsigned>(m_inputs.size());
}

std::unique_ptr<InnerStatement> SqlText::take() {
    if (m_idle && !m_idle->is_outdated()) return std::move(m_idle);
    m_idle.reset();
    m_inputs.clear();
    return std::make_unique<InnerStatement>(m_runtime.session, text, *this);
}

void SqlText::give_back(std::unique_ptr<InnerStatement> statement) {
    m_idle = std::move(statement);
}

std::vector<OwnedValue> SqlText::bind(InnerStatement& statement, Frame& frame) const {
    for (const std::string& table : frame.runtime.changing) {
        if (words.contains(table)) throw OracleError(4091, upper(m_runtime.session.user()) + "." + table);
    }
    std::vector<OwnedValue> values(m_inputs.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!m_inputs[i]) continue;
        values[i] = m_inputs[i]->value(frame);
        statement.bind(static_cast<unsigned>(i + 1), values[i].get());
    }
    return values;
}

Running::Running(SqlSource& text, Frame& frame) : m_text(text), m_statement(text.take()) {
    try {
        m_inputs = text.bind(*m_statement, frame);
    } catch (...) {
        text.give_back(std::move(m_statement));
        throw;
    }
}

Running::~Running() {
    m_statement->reset();
    m_text.give_back(std::move(m_statement));
}

OpenCursor::OpenCursor(Runtime& runtime, std::shared_ptr<SqlSource> text, Frame& frame)
    : m_runtime(runtime),
      m_text(std::move(text)),
      m_running(std::make_unique<Running>(*m_text, frame)),
      m_columns((*m_running)->columns()),
      m_locks((*m_running)->locks_rows()) {
    if (m_locks) detach();
    m_runtime.cursors.insert(this);
}

OpenCursor::~OpenCursor() {
    m_runtime.cursors.erase(this);
}

bool OpenCursor::step(Row& row) {
    if (!(*m_running)->step()) return false;
    row.clear();
    for (std::size_t i = 0; i < m_columns.size(); ++i) row.emplace_back((*m_running)->column(i));
    if (m_locks) row.emplace_back(Value::of((*m_running)->locked_row()));
    return true;
}

void OpenCursor::detach() {
    if (!m_running) return;
    for (Row row; step(row);) m_rest.push_back(std::move(row));
    m_running.reset();
}

bool OpenCursor::fetch(Row& row) {
    if (m_ended) throw OracleError(1002);
    found = m_running ? step(row) : !m_rest.empty();
    if (!*found) return false;
    if (!m_running) {
        row = std::move(m_rest.front());
        m_rest.pop_front();
    }
    if (m_locks) {
        locked_row = row.back().get().integer;
        row.pop_back();
    }
    ++row_count;
    return true;
}

OwnedValue SqlExpression::value(Frame& frame) const {
    const Running running(*m_text, frame);
    if (!running->step()) return {};
    return OwnedValue(running->column(0));
}

} // namespace oci::plsql
