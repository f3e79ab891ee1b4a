#include "oci/plsql/tree/statements.h"

#include "oci/engine/session/session.h"
#include "oci/plsql/runtime.h"

#include <limits>

namespace oci::plsql {
namespace {

constexpr std::int64_t steps_of_turn = 50; ///< about what one costs, in steps of SQLite's machine

} // namespace

std::size_t Into::width() const {
    if (items.size() != 1) return items.size();
    const Type* type = items[0].target->type().get();
    if (bulk) type = type->element.get();
    return type->kind == Type::Kind::record ? type->fields.size() : 1;
}

void Into::assign(const Row& row, Frame& frame) const {
    if (items.size() == 1 && items[0].target->type()->kind == Type::Kind::record) {
        const Type& type = *items[0].target->type();
        if (type.fields.size() != row.size()) throw OracleError(error::not_in_select_list);
        Datum record(type);
        for (std::size_t i = 0; i < row.size(); ++i) record.fields()[i] = Datum(row[i]);
        return items[0].target->assign(frame, std::move(record));
    }
    if (items.size() != row.size()) throw OracleError(error::not_in_select_list);
    for (std::size_t i = 0; i < row.size(); ++i) {
        const Item& item = items[i];
        if (!item.converted) {
            item.target->assign(frame, Datum(row[i]));
        } else {
            frame.slots[item.slot] = Datum(row[i]);
            item.target->assign(frame, item.converted->datum(frame));
        }
    }
}

void Into::clear(Frame& frame) const {
    for (const Item& item : items) item.target->place(frame).collection() = Collection{};
}

void Into::append(const Row& row, Frame& frame) const {
    if (items.size() == 1 && items[0].target->type()->element->kind == Type::Kind::record) {
        const Type& type = *items[0].target->type()->element;
        Datum record(type);
        if (type.fields.size() != row.size()) throw OracleError(error::not_in_select_list);
        for (std::size_t i = 0; i < row.size(); ++i) store(record.fields()[i], Datum(row[i]), *type.fields[i].type);
        items[0].target->place(frame).collection().append(std::move(record));
        return;
    }
    if (items.size() != row.size()) throw OracleError(error::not_in_select_list);
    for (std::size_t i = 0; i < row.size(); ++i) {
        const Type& type = *items[i].target->type()->element;
        store(items[i].target->place(frame).collection().append(Datum(type)), Datum(row[i]), type);
    }
}

Flow Assignment::run(Frame& frame) const {
    m_target->assign(frame, m_value->datum(frame));
    return Flow::next;
}

Flow If::run(Frame& frame) const {
    for (const Branch& branch : m_branches) {
        if (is_true(*branch.condition, frame)) return run_all(branch.statements, frame);
    }
    if (m_otherwise == Otherwise::case_not_found) throw OracleError(error::case_not_found);
    return run_all(m_last, frame);
}

Flow Goto::run(Frame& frame) const {
    frame.runtime.session.work().count(steps_of_turn);
    frame.target = m_label;
    return Flow::jump;
}

bool Loop::turn(Frame& frame, Flow& ended) const {
    frame.runtime.session.work().count(steps_of_turn);
    ended = run_all(statements, frame);
    if (ended == Flow::next) return true;
    if (ended == Flow::leave || ended == Flow::jump) return false;
    const bool meant = frame.target == 0 || frame.target == m_number;
    if (!meant) return false;
    const bool goes_on = ended == Flow::repeat;
    frame.target = 0;
    ended = Flow::next;
    return goes_on;
}

Flow ConditionLoop::run(Frame& frame) const {
    Flow ended = Flow::next;
    while (!m_condition || is_true(*m_condition, frame)) {
        if (!turn(frame, ended)) break;
        frame.line = line();
    }
    return ended;
}

Flow RangeLoop::run(Frame& frame) const {
    const std::int64_t low = integer_value(*m_low, frame);
    const std::int64_t high = integer_value(*m_high, frame);
    Flow ended = Flow::next;
    for (std::int64_t i = 0; low + i <= high; ++i) {
        frame.slots[m_slot] = Datum(Value::of(m_reverse ? high - i : low + i));
        if (!turn(frame, ended)) break;
    }
    return ended;
}

Frame& Opening::home(Frame& frame) const {
    return package != nullptr ? frame.runtime.state_of(*package) : frame.up(levels_up);
}

std::shared_ptr<OpenCursor> Opening::open(Frame& frame) const {
    if (!declared) return std::make_shared<OpenCursor>(frame.runtime, query, frame);
    Frame& where = home(frame);
    for (std::size_t i = 0; i < declared->parameters.size(); ++i) {
        const Parameter& parameter = declared->parameters[i];
        Datum value = arguments[i] ? arguments[i]->datum(frame) : parameter.initial->datum(where);
        Datum& slot = where.slots[declared->first_slot + i] = Datum(*parameter.type);
        store(slot, std::move(value), *parameter.type);
    }
    return std::make_shared<OpenCursor>(frame.runtime, declared->query, where);
}

Flow QueryLoop::run(Frame& frame) const {
    const auto cursor = m_opening.open(frame);
    Datum* variable = m_opening.variable ? &m_opening.variable->place(frame) : nullptr;
    if (variable != nullptr && variable->cursor()) throw OracleError(error::cursor_already_open);
    if (variable != nullptr) variable->cursor() = cursor;
    const struct Closer {
        ~Closer() {
            if (variable != nullptr) variable->cursor().reset();
        }
        Datum* variable;
    } closer{variable};
    Flow ended = Flow::next;
    for (Row row; cursor->fetch(row);) {
        Datum record(*m_row);
        for (std::size_t i = 0; i < row.size(); ++i) record.fields()[i] = Datum(row[i]);
        frame.slots[m_slot] = std::move(record);
        if (!turn(frame, ended)) break;
        frame.line = line();
    }
    return ended;
}

Flow LeaveLoop::run(Frame& frame) const {
    if (m_condition && !is_true(*m_condition, frame)) return Flow::next;
    frame.target = m_loop;
    return m_flow;
}

Flow Return::run(Frame& frame) const {
    if (m_value) {
        frame.result = Datum(*frame.routine.result);
        store(frame.result, m_value->datum(frame), *frame.routine.result);
    }
    return Flow::leave;
}

Flow Raise::run(Frame& frame) const {
    if (m_exception != nullptr) throw Failure(*m_exception);
    throw Failure::again(*frame.handled);
}

Flow SqlStatement::run(Frame& frame) const {
    frame.runtime.bulk_row_counts.clear();
    if (m_into.bulk) m_into.clear(frame);
    frame.runtime.row_count = 0;
    frame.runtime.row_count = run_once(frame);
    if (m_query && !m_into.bulk && frame.runtime.row_count == 0) throw OracleError(error::no_data_found);
    return Flow::next;
}

std::int64_t SqlStatement::run_once(Frame& frame) const {
    if (!m_query) frame.runtime.prepare_to_write();
    Row first;
    std::int64_t rows = 0;
    std::int64_t changes = 0;
    {
        const Running running(*m_text, frame);
        if (running->locks_rows()) frame.runtime.prepare_to_write();
        const std::size_t columns = m_query ? running->columns().size() : running->into().size();
        for (; running->step(); ++rows) {
            if (rows > 0 && !m_into.bulk) throw OracleError(error::too_many_rows);
            Row row;
            for (std::size_t i = 0; i < columns; ++i) row.emplace_back(running->column(i));
            if (m_into.bulk) m_into.append(row, frame);
            first = std::move(row);
        }
        changes = m_query ? rows : running->changes();
    }
    if (rows == 1 && !m_into.bulk) m_into.assign(first, frame);
    return changes;
}

std::vector<std::int64_t> ForAllIndexes::find(Frame& frame) const {
    const std::int64_t first = low ? integer_value(*low, frame) : std::numeric_limits<std::int64_t>::min();
    const std::int64_t last = high ? integer_value(*high, frame) : std::numeric_limits<std::int64_t>::max();
    std::vector<std::int64_t> found;
    if (!collection) {
        for (std::int64_t i = first; i <= last; ++i) found.push_back(i);
        return found;
    }
    for (const auto& [key, item] : collection->stored(frame).collection().items) {
        OwnedValue index(Value::of(key.number));
        if (values) store(index, item.value().get(), *integer_type());
        const bool inside = !index.get().is_null() && index.get().integer >= first && index.get().integer <= last;
        if (inside) found.push_back(index.get().integer);
    }
    return found;
}

Flow ForAll::run(Frame& frame) const {
    Runtime& runtime = frame.runtime;
    const auto indexes = m_indexes.find(frame);
    runtime.bulk_row_counts.clear();
    runtime.bulk_failures.clear();
    runtime.row_count = 0;
    if (m_statement->into().bulk) m_statement->into().clear(frame);
    std::int64_t iteration = 0;
    for (const std::int64_t index : indexes) {
        ++iteration;
        std::int64_t changed = 0;
        frame.slots[m_slot] = Datum(Value::of(index));
        try {
            changed = m_statement->run_once(frame);
        } catch (...) {
            const int code = current_failure().code();
            if (!m_saves_exceptions) throw;
            runtime.bulk_failures.push_back({iteration, code});
        }
        runtime.bulk_row_counts[index] = changed;
        runtime.row_count += changed;
    }
    if (!runtime.bulk_failures.empty()) throw OracleError(error::errors_in_bulk);
    return Flow::next;
}

Flow Open::run(Frame& frame) const {
    auto& cursor = m_cursor->place(frame).cursor();
    if (cursor && m_opening.declared) throw OracleError(error::cursor_already_open);
    cursor = m_opening.open(frame);
    return Flow::next;
}

Flow Fetch::run(Frame& frame) const {
    const auto cursor = m_cursor->place(frame).cursor();
    if (!cursor) throw OracleError(error::invalid_cursor);
    if (cursor->columns().size() != m_into.width()) throw OracleError(error::rowtype_mismatch);
    Row row;
    if (!m_into.bulk) {
        if (cursor->fetch(row)) m_into.assign(row, frame);
        return Flow::next;
    }
    const std::int64_t most = m_limit ? integer_value(*m_limit, frame) : -1;
    m_into.clear(frame);
    for (std::int64_t count = 0; count != most && cursor->fetch(row); ++count) m_into.append(row, frame);
    return Flow::next;
}

Flow Close::run(Frame& frame) const {
    auto& cursor = m_cursor->place(frame).cursor();
    if (!cursor) throw OracleError(error::invalid_cursor);
    cursor.reset();
    return Flow::next;
}

Flow TransactionControl::run(Frame& frame) const {
    Runtime& runtime = frame.runtime;
    runtime.prepare_to_control();
    Session& session = runtime.session;
    switch (m_action) {
    case Action::commit:
        session.commit();
        runtime.transaction_ends();
        break;
    case Action::rollback:
        session.rollback();
        runtime.transaction_ends();
        break;
    case Action::savepoint:
        runtime.savepoints = true;
        session.begin();
        session.run("SAVEPOINT \"" + m_name + "\"");
        break;
    case Action::rollback_to:
        runtime.savepoints = true;
        session.run("ROLLBACK TO \"" + m_name + "\"");
        break;
    }
    return Flow::next;
}

} // namespace oci::plsql
