#pragma once

#include "oci/engine/language.h"
#include "oci/plsql/runtime.h"

namespace oci::plsql {

/// Blocks, the user's functions and triggers of one session.
class BlockLanguage final : public Language {
  public:
    explicit BlockLanguage(Session& session) : m_runtime(session) {}

    Source read_source(std::string_view type, std::string_view text) override;
    void execute_block(Cursor& cursor, ub4 iterations, ub4 first, ub4& done) override;
    OwnedValue call(std::string_view name, std::span<const Value> arguments) override;
    void fire(Timing timing, const Change& change, ChangedRow* row) override;

  private:
    void run_once(Unit& block, Cursor& cursor, ub4 iteration);
    OwnedValue call_routine(const Routine& routine, Frame* outer, std::span<const Value> arguments);
    void fire_trigger(Unit& trigger, const Change& change, ChangedRow* row);

    Runtime m_runtime;
};

} // namespace oci::plsql
