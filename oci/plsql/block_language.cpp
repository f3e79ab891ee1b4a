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
        if (!has_room(m_binds.at(position), value))
            throw OracleError(error::value_error, "character string buffer too small");
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
    if (!head.sections.empty()) return true;
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

/// Puts triggers behind those that they follow.
std::vector<Unit*> ordered(std::vector<Unit*> triggers) {
    std::vector<Unit*> made;
    const auto waits = [&triggers](const Unit* trigger) {
        const auto& names = trigger->trigger->follows;
        return std::any_of(triggers.begin(), triggers.end(), [&](const Unit* other) {
            return std::find(names.begin(), names.end(), other->name) != names.end();
        });
    };
    while (!triggers.empty()) {
        auto next = std::find_if_not(triggers.begin(), triggers.end(), waits);
        if (next == triggers.end()) next = triggers.begin(); // they follow each other
        made.push_back(*next);
        triggers.erase(next);
    }
    return made;
}

/// Of several functions of one name, what any of them takes.
void add_function(sql::RoutineInfo& info, const Routine& routine) {
    const bool first = !std::exchange(info.is_function, true);
    if (first) info.result = routine.result->column;
    if (info.result.family != routine.result->column.family) info.result = {};
    std::size_t required = 0;
    for (std::size_t i = 0; i < routine.parameters.size(); ++i) {
        const Parameter& parameter = routine.parameters[i];
        if (!parameter.initial) required = i + 1;
        if (i == info.parameter_names.size()) {
            info.parameter_names.push_back(parameter.name);
            info.parameter_types.push_back(parameter.type->column);
        } else if (info.parameter_types[i].family != parameter.type->column.family) {
            info.parameter_types[i] = {};
        }
    }
    info.required = first ? required : std::min(info.required, required);
}

/// What the server's packages have for queries: these go through a block.
struct QueryFunction {
    std::string_view name;
    Family result;
    std::vector<Family> parameters;
    std::size_t required;
};

const QueryFunction* query_function(std::string_view name) {
    static const QueryFunction functions[] = {
        {"DBMS_RANDOM.VALUE", Family::number, {Family::number, Family::number}, 0},
        {"DBMS_RANDOM.STRING", Family::text, {Family::text, Family::number}, 2},
        {"DBMS_RANDOM.NORMAL", Family::number, {}, 0},
        {"DBMS_RANDOM.RANDOM", Family::number, {}, 0},
        {"DBMS_UTILITY.GET_TIME", Family::number, {}, 0},
    };
    const auto* found = std::find_if(std::begin(functions), std::end(functions),
                                     [&](const QueryFunction& function) { return function.name == name; });
    return found != std::end(functions) ? found : nullptr;
}

sql::RoutineInfo info_of(const QueryFunction& function) {
    sql::RoutineInfo info;
    info.name = function.name;
    info.is_function = true;
    info.required = function.required;
    const auto type = [](Family family) {
        return family == Family::number ? ColumnType::number() : ColumnType::of_family(family);
    };
    info.result = type(function.result);
    for (const Family family : function.parameters) {
        info.parameter_names.emplace_back();
        info.parameter_types.push_back(type(family));
    }
    return info;
}

/// The arguments of such a function, and in the first place its result.
class FunctionPlaceholders : public Placeholders {
  public:
    explicit FunctionPlaceholders(std::span<const Value> arguments) : m_arguments(arguments) {}
    OwnedValue read(unsigned position) override { return OwnedValue(m_arguments[position - 2]); }
    void write(unsigned, const Value& value) override { result.assign(value); }

    OwnedValue result;

  private:
    std::span<const Value> m_arguments;
};

std::optional<sql::RoutineInfo> info_of(Library& library, std::string_view package, std::string_view name) {
    if (const auto* known = query_function(std::string(package) + "." + std::string(name))) return info_of(*known);
    Unit* const unit = library.find(package.empty() ? name : package);
    if (unit == nullptr || (unit->kind == Unit::Kind::package) == package.empty()) return {};
    const auto& names = unit->scopes.front()->names;
    const auto found = names.find(name);
    if (found == names.end() || found->second.kind != Declaration::Kind::routine) return {};
    sql::RoutineInfo info;
    info.name = package.empty() ? std::string(name) : std::string(package) + "." + std::string(name);
    for (const Routine* routine : found->second.routines) {
        if (routine->result) add_function(info, *routine);
    }
    return info;
}

/// The function of a name that takes the arguments, by parameter. The last ones may be named.
struct Chosen {
    const Routine* routine = nullptr;
    std::vector<std::optional<Value>> arguments;
    int score = -1;
};

Chosen match(const Routine& routine, std::span<const Value> arguments, const std::vector<std::string_view>& names) {
    const auto& parameters = routine.parameters;
    Chosen made{&routine, std::vector<std::optional<Value>>(parameters.size()), 0};
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::size_t at = i;
        if (arguments.size() - i <= names.size()) {
            const auto name = names[i + names.size() - arguments.size()];
            const auto named = std::find_if(parameters.begin(), parameters.end(),
                                            [&](const Parameter& parameter) { return parameter.name == name; });
            at = static_cast<std::size_t>(named - parameters.begin());
        }
        if (at >= parameters.size() || made.arguments[at]) return {};
        made.arguments[at] = arguments[i];
        const bool number = parameters[at].type->column.family == Family::number;
        const auto type = arguments[i].type;
        made.score += number == (type == Value::Type::integer || type == Value::Type::real) ? 1 : 0;
    }
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (!made.arguments[i] && !parameters[i].initial) return {};
    }
    return made;
}

/// What stands between "=>".
std::vector<std::string_view> names_in(std::string_view text) {
    std::vector<std::string_view> names;
    for (auto at = text.find("=>"); at != std::string_view::npos; at = text.find("=>")) {
        text.remove_prefix(at + 2);
        names.push_back(text.substr(0, text.find("=>")));
    }
    return names;
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
    if (iterations == 0) throw OracleError(error::zero_iterations);
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
        const auto given_names = names_in(name);
        name = name.substr(0, name.find("=>"));
        if (query_function(name) != nullptr) return call_in_block(name, arguments);
        const auto dot = name.find('.');
        Unit* const unit = m_runtime.library->find(name.substr(0, dot));
        if (unit == nullptr) throw OracleError(error::invalid_identifier, name);
        const auto member = dot == std::string_view::npos ? name : name.substr(dot + 1);
        const auto& names = unit->scopes.front()->names;
        const auto found = names.find(member);
        if (found == names.end()) throw OracleError(error::invalid_identifier, name);
        Chosen chosen;
        for (const Routine* routine : found->second.routines) {
            Chosen next = routine->result ? match(*routine, arguments, given_names) : Chosen{};
            if (next.score > chosen.score) chosen = std::move(next);
        }
        if (chosen.routine == nullptr)
            throw OracleError(error::block_compilation,
                              "306: wrong number or types of arguments in call to '" + std::string(member) + "'");
        Frame* const outer = unit->kind == Unit::Kind::package ? &m_runtime.state_of(*unit) : nullptr;
        return call_routine(*chosen.routine, outer, chosen.arguments);
    });
}

OwnedValue BlockLanguage::call_in_block(std::string_view name, std::span<const Value> arguments) {
    std::string text = "BEGIN :0 := " + std::string(name);
    for (std::size_t i = 0; i < arguments.size(); ++i)
        text += (i == 0 ? "(:" : ", :") + std::to_string(i + 1) + (i + 1 == arguments.size() ? ")" : "");
    FunctionPlaceholders values(arguments);
    m_runtime.run_block(m_runtime.library->block(text + "; END;"), values);
    return values.result;
}

OwnedValue BlockLanguage::call_routine(const Routine& routine, Frame* outer,
                                       std::span<const std::optional<Value>> arguments) {
    const While querying(m_runtime.in_query);
    Frame frame(m_runtime, routine, outer);
    for (std::size_t i = 0; i < routine.parameters.size(); ++i) {
        const Parameter& parameter = routine.parameters[i];
        if (parameter.out) throw OracleError(error::function_has_out_arguments, routine.name);
        Datum& slot = frame.slots[i] = Datum(*parameter.type);
        store(slot, arguments[i] ? Datum(*arguments[i]) : m_runtime.default_of(routine, i, outer), *parameter.type);
    }
    try {
        return m_runtime.run(frame).value();
    } catch (const Failure& failure) {
        if (failure.code() != error::no_data_found) throw; // ends the function, and is NULL to the query
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
        for (Unit* trigger : ordered(std::move(firing))) {
            if (mutates) m_runtime.changing.push_back(trigger->trigger->table);
            try {
                fire_trigger(*trigger, timing, change, row);
            } catch (...) {
                if (mutates) m_runtime.changing.pop_back();
                throw;
            }
            if (mutates) m_runtime.changing.pop_back();
        }
    });
}

void BlockLanguage::fire_trigger(Unit& trigger, Timing timing, const Change& change, ChangedRow* row) {
    if (!trigger.trigger->sections.empty()) return run_section(trigger, timing, change, row);
    Frame frame(m_runtime, trigger.routines.front(), nullptr);
    run_trigger(trigger, frame, trigger.routines.front().body, change, row);
}

void BlockLanguage::run_section(Unit& trigger, Timing timing, const Change& change, ChangedRow* row) {
    const int depth = m_runtime.depth;
    const auto is_left = [&](const Compound& state) {
        const bool again = state.trigger == &trigger && timing == Timing::before_statement;
        return state.depth > depth || (state.depth == depth && again); // its statement has failed
    };
    while (!m_compounds.empty() && is_left(m_compounds.back())) m_compounds.pop_back();
    if (timing == Timing::before_statement) {
        const Routine& routine = trigger.routines.front();
        m_compounds.push_back({&trigger, depth, Frame(m_runtime, routine, nullptr)});
        run_trigger(trigger, m_compounds.back().frame, routine.body, change, nullptr);
    }
    const auto state = std::find_if(m_compounds.rbegin(), m_compounds.rend(),
                                    [&](const Compound& each) { return each.trigger == &trigger; });
    if (state == m_compounds.rend()) return;
    const auto& section = trigger.trigger->sections[static_cast<std::size_t>(timing)];
    if (section) run_trigger(trigger, state->frame, *section, change, row);
    if (timing == Timing::after_statement) m_compounds.erase(std::next(state).base());
}

void BlockLanguage::run_trigger(Unit& trigger, Frame& frame, const Body& body, const Change& change, ChangedRow* row) {
    const TriggerHead& head = *trigger.trigger;
    if (row != nullptr) {
        set_record(frame, TriggerHead::new_slot, head.row, row->after);
        set_record(frame, TriggerHead::old_slot, head.row, row->before);
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
        m_runtime.run(frame, body);
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
