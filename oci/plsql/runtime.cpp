#include "oci/plsql/runtime.h"

#include "oci/engine/session/session.h"
#include "oci/plsql/library.h"
#include "oci/plsql/tree/sql.h"

#include <algorithm>
#include <utility>

namespace oci::plsql {
namespace {

constexpr int deepest_call = 200;

/// Counts a call as long as it lasts.
class Depth {
  public:
    explicit Depth(int& depth) : m_depth(depth) {
        if (++m_depth <= deepest_call) return;
        --m_depth;
        throw OracleError(error::storage_error);
    }
    ~Depth() { --m_depth; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

  private:
    int& m_depth;
};

} // namespace

unsigned Unit::line_of(sql::Offset at) const {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(at, text.size()));
    return static_cast<unsigned>(std::count(text.begin(), end, '\n')) + 1;
}

std::string compile_message(const Unit& unit, std::uint32_t at, std::string_view text) {
    const std::string_view before = std::string_view(unit.text).substr(0, at);
    const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    return "line " + std::to_string(unit.line_of(at)) + ", column " + std::to_string(column) + ":\n" +
           std::string(text);
}

Flow run_all(const Statements& statements, Frame& frame) {
    for (auto next = statements.begin(); next != statements.end(); ++next) {
        frame.line = (*next)->line();
        const Flow flow = (*next)->run(frame);
        if (flow == Flow::next) [[likely]]
            continue;
        if (flow != Flow::jump) return flow;
        next = std::find_if(statements.begin(), statements.end(),
                            [&](const auto& statement) { return statement->label() == frame.target; });
        if (next == statements.end()) return flow;
        frame.target = 0;
    }
    return Flow::next;
}

namespace {

void set_up_fields(Datum& record, const Type& type, Frame& frame) {
    for (std::size_t i = 0; i < type.fields.size(); ++i) {
        const Field& field = type.fields[i];
        set_up_fields(record.fields()[i], *field.type, frame);
        if (field.initial) store(record.fields()[i], field.initial->datum(frame), *field.type);
    }
}

} // namespace

Flow Body::run(Frame& frame) const {
    for (const VariableSetup& variable : variables) {
        frame.line = variable.line;
        Datum& place = frame.slots[variable.slot] = Datum(*variable.type);
        set_up_fields(place, *variable.type, frame);
        if (variable.initial) store(place, variable.initial->datum(frame), *variable.type);
    }
    if (handlers.empty()) return run_all(statements, frame);
    try {
        return run_all(statements, frame);
    } catch (...) {
        Failure failure = current_failure();
        return handle(frame, failure);
    }
}

Flow Body::handle(Frame& frame, Failure& failure) const {
    for (const Handler& handler : handlers) {
        const bool meant = handler.names.empty() || std::any_of(handler.names.begin(), handler.names.end(),
                                                                [&](const auto* name) { return failure.is(*name); });
        if (!meant) continue;
        frame.runtime.session.failed();
        const struct Handling {
            Handling(Frame& where, const Failure* what)
                : frame(where),
                  of_frame(std::exchange(where.handled, what)),
                  of_runtime(std::exchange(where.runtime.handled, what)) {}
            ~Handling() {
                frame.handled = of_frame;
                frame.runtime.handled = of_runtime;
            }
            Frame& frame;
            const Failure* of_frame;
            const Failure* of_runtime;
        } handling(frame, &failure);
        failure.caught(frame.runtime.name_of(*frame.routine.unit), frame.line);
        try {
            return run_all(handler.statements, frame);
        } catch (...) {
            Failure next = current_failure();
            next.leaves_handler_of(failure);
            throw next;
        }
    }
    throw failure;
}

void OutputBuffer::end_line() {
    constexpr std::size_t most = 1 << 20;
    if (enabled) m_lines.push_back(m_line);
    m_size += enabled ? m_line.size() : 0;
    m_line.clear();
    for (std::string oldest; m_size > most && take(oldest);) {
    }
}

void OutputBuffer::clear() {
    m_lines.clear();
    m_line.clear();
    m_size = 0;
}

bool OutputBuffer::take(std::string& line) {
    if (m_lines.empty()) return false;
    line = std::move(m_lines.front());
    m_size -= line.size();
    m_lines.pop_front();
    return true;
}

Runtime::Runtime(Session& owner) : session(owner), library(std::make_unique<Library>(*this)) {}
Runtime::~Runtime() = default;

Datum Runtime::call(const Routine& routine, Frame* outer, const ExpressionList& arguments, Frame& caller) {
    if (!routine.defined) {
        const std::string name = name_of(*routine.unit);
        std::string text =
            OracleError(error::body_missing, name).text() + OracleError(error::program_unit_not_found).text();
        text.insert(text.size() - 1, ": \"" + name + "\"");
        throw OracleError::from_text(text);
    }
    Frame frame(*this, routine, outer);
    frame.line = caller.line;
    for (std::size_t i = 0; i < routine.parameters.size(); ++i) {
        const Parameter& parameter = routine.parameters[i];
        frame.slots[i] = Datum(*parameter.type);
        if (parameter.in && arguments[i]) store(frame.slots[i], arguments[i]->datum(caller), *parameter.type);
        if (!arguments[i]) store(frame.slots[i], default_of(routine, i, outer), *parameter.type);
    }
    Datum result = run(frame);
    for (std::size_t i = 0; i < routine.parameters.size(); ++i) {
        if (routine.parameters[i].out && arguments[i]) arguments[i]->assign(caller, std::move(frame.slots[i]));
    }
    return result;
}

Datum Runtime::default_of(const Routine& routine, std::size_t parameter, Frame* outer) {
    const Expression& initial = *routine.parameters[parameter].initial;
    if (outer != nullptr) return initial.datum(*outer);
    Frame around(*this, routine.unit->routines.front(), nullptr);
    return initial.datum(around);
}

Datum Runtime::run(Frame& frame, const Body& body) {
    const Depth counted(depth);
    const Routine& routine = frame.routine;
    try {
        const Flow flow = routine.autonomous ? run_autonomous(frame, body) : body.run(frame);
        if (routine.result && flow != Flow::leave) throw OracleError(error::function_without_value);
    } catch (...) {
        Failure failure = current_failure();
        failure.passes(name_of(*routine.unit), frame.line);
        throw failure;
    }
    return std::move(frame.result);
}

/// The database takes changes of one transaction at a time: the routine's own one can only begin when the caller's has
/// changed nothing.
Flow Runtime::run_autonomous(Frame& frame, const Body& body) {
    if (session.transaction() != 0)
        throw OracleError(error::unimplemented, "an autonomous transaction inside one that has changed rows");
    const auto query = std::exchange(in_query, false);
    const auto trigger = std::exchange(in_trigger, false);
    const struct Restore {
        ~Restore() {
            runtime.in_query = query;
            runtime.in_trigger = trigger;
        }
        Runtime& runtime;
        bool query;
        bool trigger;
    } restore{*this, query, trigger};
    try {
        const Flow flow = body.run(frame);
        if (session.transaction() == 0) return flow;
    } catch (...) {
        session.rollback();
        throw;
    }
    session.rollback();
    throw OracleError(error::active_autonomous_transaction);
}

std::string Runtime::name_of(const Unit& unit) const {
    return unit.kind == Unit::Kind::block ? std::string() : upper(session.user()) + "." + unit.name;
}

Frame& Runtime::state_of(Unit& package) {
    if (const auto known = m_states.find(&package); known != m_states.end()) return *known->second;
    library->load_body(package);
    Frame& state = *(m_states[&package] = std::make_unique<Frame>(*this, package.routines.front(), nullptr));
    try {
        run(state);
    } catch (...) {
        m_states.erase(&package);
        throw;
    }
    return state;
}

void Runtime::run_block(const Unit& block, Placeholders& values) {
    Frame frame(*this, block.routines.front(), nullptr);
    const struct Exchange {
        ~Exchange() { place = before; }
        Placeholders*& place;
        Placeholders* before;
    } exchange{placeholders, std::exchange(placeholders, &values)};
    run(frame);
}

void Runtime::prepare_to_write() {
    if (in_query) throw OracleError(error::change_inside_query);
    for (OpenCursor* cursor : cursors) cursor->detach();
}

void Runtime::prepare_to_control() {
    if (in_query) throw OracleError(error::commit_inside_query);
    if (in_trigger) throw OracleError(error::cannot_commit_in_trigger);
    for (OpenCursor* cursor : cursors) cursor->detach();
}

void Runtime::transaction_ends() {
    for (OpenCursor* cursor : cursors) cursor->transaction_ends();
}

void Runtime::forget(const Unit& package) {
    m_states.erase(&package);
}

} // namespace oci::plsql
