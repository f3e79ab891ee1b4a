#pragma once

#include "oci/engine/buffers/buffer.h"

#include <vector>

namespace oci {

/// A column of a select list, as far as fetching from it goes.
struct FetchedColumn {
    ColumnType type;
    bool by_value = false; ///< its type is that of the first row's value
    bool stored = false;   ///< it comes from a table, so that its values are what its type says
};

/// A buffer of a define with the column that it is for and the way from the one to the other.
class Output {
  public:
    /// Where a row ends: stands behind the outputs of all columns.
    Output() = default;
    Output(const Buffer& define, const FetchedColumn& source, int at);

    /// Writes the column of the current row, and the columns of the outputs behind this one, into element `index` of
    /// their buffers.
    void write_row(sqlite3_stmt* row, ub4 index) const { write(this, row, index); }

  private:
    using Fetcher = void (*)(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index);
    using Writer = void (*)(const Output* output, sqlite3_stmt* row, ub4 index);

    static Fetcher choose_fetcher(const Buffer& buffer, const FetchedColumn& source);
    Writer choose_writer() const;

    static void end(const Output*, sqlite3_stmt*, ub4) {}
    template <bool (Output::*quickly)(sqlite3_stmt*, ub4) const>
    static void write_rest(const Output* output, sqlite3_stmt* row, ub4 index);

    // The pairs of column and buffer that nearly all columns are. Each returns false when there is no quick way for the
    // value: NULL, 0, or one that does not fit.
    template <class T> bool write_integer(sqlite3_stmt* row, ub4 index) const;
    bool write_real(sqlite3_stmt* row, ub4 index) const;
    bool write_text(sqlite3_stmt* row, ub4 index) const;
    bool write_date(sqlite3_stmt* row, ub4 index) const;
    bool write_other(sqlite3_stmt*, ub4) const { return false; }

    const Buffer* buffer = nullptr;
    char* value = nullptr;
    sb2* indicator = nullptr;
    std::size_t step = 0;
    Fetcher fetch = nullptr;
    int column = 0;
    Writer write = end;
};

/// Where the columns of a query are fetched into, by position from 1.
class Defines {
  public:
    void set(unsigned position, const Buffer& buffer);
    bool ready() const { return !m_outputs.empty(); }
    /// To be called when the columns have changed.
    void forget_outputs() { m_outputs.clear(); }
    /// ORA-01007 when there are fewer columns than defines.
    void make_outputs(const std::vector<FetchedColumn>& columns);

    /// Writes the current row into element `index` of the buffers, but for its large objects.
    /// @pre ready()
    void write_row(sqlite3_stmt* row, ub4 index) const { m_outputs.front().write_row(row, index); }
    /// The columns that are fetched into large objects, from 0.
    const std::vector<unsigned>& large_objects() const { return m_large_objects; }
    const Buffer& buffer_of(unsigned column) const { return m_buffers[column]; }

  private:
    std::vector<Buffer> m_buffers; ///< without a value where the column is not defined
    std::vector<Output> m_outputs; ///< of the defines but those of large objects; empty until they are made
    std::vector<unsigned> m_large_objects;
};

} // namespace oci
