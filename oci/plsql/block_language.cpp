#include "oci/plsql/block_language.h"

#include "oci/engine/definitions/triggers.h"
#include "oci/engine/statements/cursor.h"
#include "oci/plsql/library.h"
#include "oci/plsql/tree/expressions.h"

#include <algorithm>
#include <utility>

namespace oci::plsql {
namespace {

/// The caller's buffers: read when a value is needed, written when the block has succeeded.
class BoundPlaceholders : public Placeholders {
  public:
    BoundPlaceholders(const Binds& binds, ub4 iteration, std::size_t count)
        : m_binds(binds),
          m_iteration(iteration),
          m_values(count) {
        for (unsigned position = 1; position <= count; ++position) m_binds.at(position);
    }

    OwnedValue read(unsigned position) override {
        State& state = m_values[position - 1];
        if (!state.known) {
            Scratch scratch;
            state.value.assign(oci::read(m_binds.at(position), m_iteration, scratch));
            state.known = true;
        }
        return state.value;
    }

    void write(unsigned position, const Value& value) override {
        if (!has_room(m_binds.at(position), value)) throw OracleError(6502, "character string buffer too small");
        State& state = m_values[position - 1];
        state.value.assign(value);
        state.known = state.assigned = true;
    }

    void hand_out() const {
        for (std::size_t i = 0; i < m_values.size(); ++i) {
            if (!m_values[i].assigned) continue;
            oci::write(m_binds.at(static_cast<unsigned>(i + 1)), m_iteration, m_values[i].value.get());
        }
    }

  private:
    struct State {
        OwnedValue value;
        bool known = false;
        bool assigned = false;
    };
    const Binds& m_binds;
    ub4 m_iteration;
    std::vector<State> m_values;
};

/// A flag that is set as long as something runs.
class While {
  public:
    explicit While(bool& flag) : m_flag(flag), m_before(std::exchange(flag, true)) {}
    ~While() { m_flag = m_before; }
    While(const While&) = delete;
    While& operator=(const While&) = delete;

  private:
    bool& m_flag;
    const bool m_before;
};

/// What leaves the language is an OracleError.
template <class Work> auto reported(Work&& work) {
    try {
        return work();
    } catch (const Failure& failure) {
        throw failure.error();
    } catch (const CompileError& error) {
        throw error.error();
    }
}

bool concerns(const TriggerHead& head, const Language::Change& change, const std::vector<Field>& columns) {
    using Event = Language::Event;
    if (change.event == Event::insert) return head.inserts;
    if (change.event == Event::remove) return head.removes;
    if (!head.updates || head.columns.empty()) return head.updates;
    for (std::size_t i = 0; i < std::min(columns.size(), change.set.size()); ++i) {
        const auto& names = head.columns;
        if (change.set[i] >= 0 && std::find(names.begin(), names.end(), columns[i].name) != names.end()) return true;
    }
    return false;
}

bool fires_at(const TriggerHead& head, Language::Timing timing) {
    using Timing = Language::Timing;
    const bool row = timing == Timing::before_row || timing == Timing::after_row;
    const bool before = timing == Timing::before_row || timing == Timing::before_statement;
    return head.for_each_row == row && (head.timing == TriggerHead::Timing::before) == before;
}

void set_record(Frame& frame, unsigned slot, const TypePtr& type, std::span<const OwnedValue> values) {
    Datum record(*type);
    for (std::size_t i = 0; i < std::min(values.size(), record.fields().size()); ++i)
        record.fields()[i] = Datum(values[i]);
    frame.slots[slot] = std::move(record);
}

std::optional<sql::RoutineInfo> info_of(Library& library, std::string_view package, std::string_view name) {
    Unit* const unit = library.find(package.empty() ? name : package);
    if (unit == nullptr || (unit->kind == Unit::Kind::package) == package.empty()) return {};
    const auto& names = unit->scopes.front()->names;
    const auto found = names.find(name);
    if (found == names.end() || found->second.kind != Declaration::Kind::routine) return {};
    const auto& routines = found->second.routines;
    const auto function =
        std::find_if(routines.begin(), routines.end(), [](const Routine* r) { return r->result != nullptr; });
    const Routine& routine = function != routines.end() ? **function : *routines.front();
    sql::RoutineInfo info;
    info.name = package.empty() ? std::string(name) : std::string(package) + "." + std::string(name);
    info.is_function = routine.result != nullptr;
    if (routine.result) info.result = routine.result->column;
    for (const Parameter& parameter : routine.parameters) {
        info.parameter_names.push_back(parameter.name);
        info.parameter_types.push_back(parameter.type->column);
        if (!parameter.initial) info.required = info.parameter_names.size();
    }
    return info;
}

} // namespace

BlockLanguage::BlockLanguage(Session& session) : m_runtime(session) {
    session.dictionary().set_routines(this);
}
BlockLanguage::~BlockLanguage() {
    m_runtime.session.dictionary().set_routines(nullptr);
}

const sql::RoutineInfo* BlockLanguage::routine(std::string_view package, std::string_view name) {
    std::string key(package);
    key.append(package.empty() ? "" : ".").append(name);
    auto told = m_told.find(key);
    if (told == m_told.end()) {
        auto info = reported([&] { return info_of(*m_runtime.library, package, name); });
        told = m_told.emplace(std::move(key), std::move(info)).first;
    }
    return told->second ? &*told->second : nullptr;
}

Language::Source BlockLanguage::read_source(std::string_view type, std::string_view text) {
    return reported([&] { return m_runtime.library->check(type, text); });
}

void BlockLanguage::execute_block(Cursor& cursor, ub4 iterations, ub4 first, ub4& done) {
    m_runtime.session.check_connected_lately();
    if (iterations == 0) throw OracleError(24333);
    reported([&] {
        if (m_runtime.depth == 0) m_runtime.library->clean();
        Unit& block = m_runtime.library->block(cursor.statement().text());
        for (ub4 i = first; i < iterations; ++i) {
            run_once(block, cursor, i);
            ++done;
        }
    });
}

void BlockLanguage::run_once(Unit& block, Cursor& cursor, ub4 iteration) {
    BoundPlaceholders values(cursor.binds(), iteration, block.placeholders.size());
    Savepoint savepoint(m_runtime.session);
    m_runtime.savepoints = false;
    try {
        m_runtime.run_block(block, values);
        values.hand_out();
        if (!m_runtime.savepoints) savepoint.keep();
    } catch (...) {
        savepoint.undo();
        throw;
    }
}

OwnedValue BlockLanguage::call(std::string_view name, std::span<const Value> arguments) {
    return reported([&]() -> OwnedValue {
        const auto dot = name.find('.');
        Unit* const unit = m_runtime.library->find(name.substr(0, dot));
        if (unit == nullptr) throw OracleError(904, name);
        const auto member = dot == std::string_view::npos ? name : name.substr(dot + 1);
        const auto& names = unit->scopes.front()->names;
        const auto found = names.find(member);
        if (found == names.end()) throw OracleError(904, name);
        for (const Routine* routine : found->second.routines) {
            const auto& parameters = routine->parameters;
            const bool enough =
                arguments.size() >= parameters.size() || parameters[arguments.size()].initial != nullptr;
            if (!routine->result || arguments.size() > parameters.size() || !enough) continue;
            Frame* const outer = unit->kind == Unit::Kind::package ? &m_runtime.state_of(*unit) : nullptr;
            return call_routine(*routine, outer, arguments);
        }
        throw OracleError(6553, "PLS-306: wrong number or types of arguments in call to '" + std::string(member) + "'");
    });
}

OwnedValue BlockLanguage::call_routine(const Routine& routine, Frame* outer, std::span<const Value> arguments) {
    const While querying(m_runtime.in_query);
    Frame frame(m_runtime, routine, outer);
    for (std::size_t i = 0; i < routine.parameters.size(); ++i) {
        const Parameter& parameter = routine.parameters[i];
        if (parameter.out) throw OracleError(6572, routine.name);
        Datum& slot = frame.slots[i] = Datum(*parameter.type);
        const bool given = i < arguments.size();
        store(slot, given ? Datum(arguments[i]) : m_runtime.default_of(routine, i, outer), *parameter.type);
    }
    try {
        return m_runtime.run(frame).value();
    } catch (const Failure& failure) {
        constexpr int no_data_found = 1403; // ends the function, and is NULL to the query
        if (failure.code() != no_data_found) throw;
        return {};
    }
}

void BlockLanguage::fire(Timing timing, const Change& change, ChangedRow* row) {
    reported([&] {
        std::vector<Unit*> firing;
        for (const TriggerSource& source : triggers_of(m_runtime.session, change.table)) {
            Unit& trigger = m_runtime.library->trigger(source.name, source.text);
            const auto columns = columns_of_table(m_runtime.session, trigger.trigger->table);
            if (fires_at(*trigger.trigger, timing) && concerns(*trigger.trigger, change, columns))
                firing.push_back(&trigger);
        }
        const bool mutates = row != nullptr && !(timing == Timing::before_row && change.event == Event::insert);
        for (Unit* trigger : firing) {
            if (mutates) m_runtime.changing.push_back(trigger->trigger->table);
            try {
                fire_trigger(*trigger, change, row);
            } catch (...) {
                if (mutates) m_runtime.changing.pop_back();
                throw;
            }
            if (mutates) m_runtime.changing.pop_back();
        }
    });
}

void BlockLanguage::fire_trigger(Unit& trigger, const Change& change, ChangedRow* row) {
    const TriggerHead& head = *trigger.trigger;
    const Routine& routine = trigger.routines.front();
    Frame frame(m_runtime, routine, nullptr);
    if (row != nullptr) {
        const TypePtr type = trigger.scopes.front()->names.at(head.new_name).type;
        set_record(frame, TriggerHead::new_slot, type, row->after);
        set_record(frame, TriggerHead::old_slot, type, row->before);
    }
    for (unsigned i = 0; i < 3; ++i) {
        const bool event = static_cast<unsigned>(change.event) == i;
        frame.slots[TriggerHead::event_slot + i] = Datum(Value::of(std::int64_t{event}));
    }
    m_runtime.updated.clear();
    const auto columns = columns_of_table(m_runtime.session, head.table);
    for (std::size_t i = 0; i < std::min(columns.size(), change.set.size()); ++i) {
        if (change.event == Event::update && change.set[i] >= 0) m_runtime.updated.insert(columns[i].name);
    }
    const While firing(m_runtime.in_trigger);
    try {
        if (head.when && !is_true(*head.when, frame)) return;
        m_runtime.run(frame);
    } catch (Failure& failure) {
        failure.add_line("ORA-04088: error during execution of trigger '" + upper(m_runtime.session.user()) + "." +
                         trigger.name + "'");
        throw;
    }
    if (row == nullptr || head.timing != TriggerHead::Timing::before) return;
    const auto& fields = frame.slots[TriggerHead::new_slot].fields();
    for (std::size_t i = 0; i < row->after.size(); ++i) row->after[i] = fields[i].value();
}

} // namespace oci::plsql
