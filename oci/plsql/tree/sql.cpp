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

void SqlText::share() {
    std::string key = text;
    for (const auto& operand : m_named) {
        const ColumnType& type = operand->type()->column;
        key.append(" ").append(std::to_string(static_cast<int>(type.family)));
        for (const int part : {int{type.size}, int{type.precision}, int{type.scale}}) key += "," + std::to_string(part);
    }
    auto& known = m_runtime.shared_sql;
    constexpr std::size_t many = 500;
    if (known.size() > many) std::erase_if(known, [](const auto& each) { return each.second.expired(); });
    auto& shared = known[key];
    m_shared = shared.lock();
    if (m_shared == nullptr) shared = m_shared = std::make_shared<SharedSql>();
}

std::unique_ptr<InnerStatement> SqlText::compile() {
    m_inputs.clear();
    auto made = std::make_unique<InnerStatement>(m_runtime.session, text, *this);
    if (m_shared == nullptr) return made;
    m_shared->order.clear();
    for (const auto& input : m_inputs)
        m_shared->order.push_back(
            static_cast<std::size_t>(std::find(m_named.begin(), m_named.end(), input) - m_named.begin()));
    return made;
}

std::unique_ptr<InnerStatement> SqlText::take() {
    auto& idle = m_shared != nullptr && !m_shared->idle.empty() ? m_shared->idle.back() : m_idle;
    std::unique_ptr<InnerStatement> found = std::move(idle);
    if (m_shared != nullptr && &idle != &m_idle) m_shared->idle.pop_back();
    if (!found || found->is_outdated()) return compile();
    if (m_shared != nullptr && m_inputs.empty()) {
        for (const std::size_t operand : m_shared->order) m_inputs.push_back(m_named[operand]);
    }
    return found;
}

void SqlText::give_back(std::unique_ptr<InnerStatement> statement) {
    if (m_shared == nullptr) {
        m_idle = std::move(statement);
    } else {
        m_shared->idle.push_back(std::move(statement));
    }
}

std::vector<OwnedValue> SqlText::bind(InnerStatement& statement, Frame& frame) const {
    for (const std::string& table : frame.runtime.changing) {
        if (words.contains(table))
            throw OracleError(error::mutating_table, upper(m_runtime.session.user()) + "." + table);
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
    if (m_ended) throw OracleError(error::fetch_out_of_sequence);
    found = m_running ? step(row) : !m_rest.empty();
    if (!*found) {
        m_running.reset(); // another step would begin anew
        return false;
    }
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
    try {
        const Running running(*m_text, frame);
        if (!running->step()) return {};
        return OwnedValue(running->column(0));
    } catch (const OracleError& error) {
        if (error.code() != error::invalid_number) throw;
        throw OracleError(error::value_error, "character to number conversion error"); // as a block calls it
    }
}

} // namespace oci::plsql
