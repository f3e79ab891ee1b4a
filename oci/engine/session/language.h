#pragma once

#include "oci/sql/translation.h"

#include <span>

namespace oci {

class Cursor;

/// The procedural language of a session: blocks, the user's functions, triggers. What runs it stands above the engine,
/// which calls it through this.
class Language {
  public:
    using Event = sql::RowAction::Event;
    enum class Timing : std::uint8_t { before_statement, before_row, after_row, after_statement };

    /// What a statement does to a table.
    struct Change {
        std::string_view table; ///< stored name
        Event event{};
        std::span<const int> set; ///< of an update, by column of the table: not -1 where the statement sets it
    };
    /// The values of a row, by column of the table.
    struct ChangedRow {
        std::span<OwnedValue> before; ///< empty of an insertion
        std::span<OwnedValue> after;  ///< empty of a removal; triggers that fire before may assign to it
    };

    /// What a source says of itself.
    struct Source {
        bool complete = true; ///< what it refers to is there
        std::string table;    ///< of a trigger
        bool enabled = true;  ///< likewise
    };

    virtual ~Language() = default;

    /// Reads a source that is to be kept. ORA-06550 where it cannot be carried out.
    /// @param type  as USER_OBJECTS tells it
    /// @param text  from the type on
    virtual Source read_source(std::string_view type, std::string_view text) = 0;

    /// Runs the block that is the cursor's statement once for each iteration from `first` on.
    /// @param done  counts the iterations that succeeded
    virtual void execute_block(Cursor& cursor, ub4 iterations, ub4 first, ub4& done) = 0;

    /// Runs a function of the user's in a statement of SQL.
    /// @param name  PACKAGE.NAME or NAME
    virtual OwnedValue call(std::string_view name, std::span<const Value> arguments) = 0;

    /// Runs the triggers of a table that fire then; there may be none.
    /// @param row  null when the whole statement is meant
    virtual void fire(Timing timing, const Change& change, ChangedRow* row) = 0;
};

} // namespace oci
