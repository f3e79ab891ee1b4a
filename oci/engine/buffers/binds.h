#pragma once

#include "oci/engine/buffers/buffer.h"
#include "oci/sql/translation.h"

#include <vector>

namespace oci {

using sql::Target;

/// The buffer of a bind with what its values are made to fit, and the way from the one to the other.
class Input {
  public:
    /// How long what is bound has to last: the caller may change its buffer when the call that read it has returned.
    enum class Lifetime : std::uint8_t { iteration, cursor };

    /// Where the values of an iteration end: stands behind the inputs of all placeholders.
    Input() = default;
    /// @param target  null: the value is used as it is
    Input(const Buffer& values, const Target* target, int position, Lifetime needed);

    /// Binds element `index` of the buffer, and of the inputs behind this one. What is bound may lie in the buffers or
    /// in these objects.
    void bind_values(sqlite3_stmt* statement, ub4 index) { bind(this, statement, index); }

  private:
    using Binder = void (*)(Input* input, sqlite3_stmt* statement, ub4 index);

    Binder choose_binder() const;
    static void end(Input*, sqlite3_stmt*, ub4) {}
    template <bool (Input::*quickly)(sqlite3_stmt*, ub4)>
    static void bind_rest(Input* input, sqlite3_stmt* statement, ub4 index);

    // The pairs of buffer and column that nearly all placeholders are. Each returns false when there is no quick way
    // for the value.
    template <class T> bool bind_integer(sqlite3_stmt* statement, ub4 index);
    bool bind_real(sqlite3_stmt* statement, ub4 index);
    bool bind_text(sqlite3_stmt* statement, ub4 index);
    bool bind_date(sqlite3_stmt* statement, ub4 index);
    bool bind_other(sqlite3_stmt*, ub4) { return false; }
    const char* lasting(const char* data, std::size_t size);
    void bind_any(sqlite3_stmt* statement, ub4 index);

    const Buffer* buffer = nullptr;
    const Target* target = nullptr;
    Scratch scratch{};
    double limit = 0; ///< numbers are below it
    double power = 0; ///< of ten: what makes a number of the column a whole one; 0: any number fits
    std::size_t text_limit = 0;
    int position = 0;
    Lifetime lifetime = Lifetime::iteration;
    Binder bind = end;
};

/// What the placeholders of a statement are bound to, by position from 1.
class Binds {
  public:
    void set(unsigned position, const Buffer& buffer);
    /// ORA-01008 when the position is not bound.
    const Buffer& at(unsigned position) const;
    /// To be called when what the placeholders are made to fit has changed.
    void forget_inputs() { m_inputs.clear(); }

    /// Binds the values of one iteration.
    /// @param positions  those that SQLite is given a value for
    /// @param targets    what the values are made to fit, by position - 1; they outlive the inputs
    void bind(sqlite3_stmt* statement, ub4 iteration, const std::vector<unsigned>& positions,
              const std::vector<std::optional<Target>>& targets, Input::Lifetime needed) {
        if (m_inputs.empty()) make_inputs(positions, targets, needed);
        m_inputs.front().bind_values(statement, iteration);
    }

  private:
    void make_inputs(const std::vector<unsigned>& positions, const std::vector<std::optional<Target>>& targets,
                     Input::Lifetime needed);

    struct Bind {
        Buffer buffer;
        bool is_set = false;
    };

    std::vector<Bind> m_binds;
    std::vector<Input> m_inputs; ///< of the binds; empty until they are made
};

} // namespace oci
