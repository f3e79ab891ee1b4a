#pragma once

#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/session/language.h"
#include "oci/plsql/runtime.h"

#include <list>

namespace oci::plsql {

/// Blocks, the user's functions and triggers of one session.
class BlockLanguage final : public Language, public RoutineSource {
  public:
    explicit BlockLanguage(Session& session);
    ~BlockLanguage() override;
    BlockLanguage(const BlockLanguage&) = delete;
    BlockLanguage& operator=(const BlockLanguage&) = delete;

    Source read_source(std::string_view type, std::string_view text) override;
    void execute_block(Cursor& cursor, ub4 iterations, ub4 first, ub4& done) override;
    OwnedValue call(std::string_view name, std::span<const Value> arguments) override;
    void fire(Timing timing, const Change& change, ChangedRow* row) override;

    const sql::RoutineInfo* routine(std::string_view package, std::string_view name) override;
    void forget() override { m_told.clear(); }

  private:
    void run_once(Unit& block, Cursor& cursor, ub4 iteration);
    OwnedValue call_routine(const Routine& routine, Frame* outer, std::span<const std::optional<Value>> arguments);
    OwnedValue call_in_block(std::string_view name, std::span<const Value> arguments);
    void fire_trigger(Unit& trigger, Timing timing, const Change& change, ChangedRow* row);
    void run_trigger(Unit& trigger, Frame& frame, const Body& body, const Change& change, ChangedRow* row);
    void run_section(Unit& trigger, Timing timing, const Change& change, ChangedRow* row);

    Runtime m_runtime;
    std::map<std::string, std::optional<sql::RoutineInfo>, std::less<>> m_told; ///< to SQL, by PACKAGE.NAME or NAME

    /// The variables of a compound trigger while a statement fires it.
    struct Compound {
        const Unit* trigger;
        int depth; ///< of calls, where the statement stands
        Frame frame;
    };
    std::list<Compound> m_compounds;
};

} // namespace oci::plsql
