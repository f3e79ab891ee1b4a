#pragma once

#include "oci/values/values.h"

#include <vector>

struct sqlite3_stmt;
struct OCILobLocator;

namespace oci {

/// A caller's buffer for the values of one placeholder or column. Element i lies i * size bytes in (locators: i pointers),
/// its indicator, length and return code at index i.
struct Buffer {
    Buffer() = default;
    /// @throws ORA-03115 for an external type, ORA-01460 for a size, that cannot be converted
    Buffer(void* values, sb4 size_bytes, ub2 external_type, void* indicators, ub2* lengths, ub2* return_codes);

    char* element(ub4 index) const { return static_cast<char*>(value) + index * step; }
    bool is_lob() const { return type == SQLT_BLOB || type == SQLT_CLOB; }

    void* value = nullptr;
    std::size_t step = 0; ///< bytes from one element to the next
    sb4 size = 0;
    ub2 type = 0;
    sb2* indicator = nullptr;
    ub2* length = nullptr;
    ub2* return_code = nullptr;
    bool is_null = false; ///< of a bind: no element has a value to read
};

/// What a read of a buffer may need room for.
struct Scratch {
    char date[iso_size];
    std::string text;
};

/// The value that the caller put into an element. It may point into the buffer or the scratch.
Value read(const Buffer& buffer, ub4 index, Scratch& scratch);

/// What the value of a placeholder is made to fit: the column that it is stored in, or what it is compared with.
struct Target {
    ColumnType type;
    std::string column; ///< empty where nothing is stored
};

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

    // The pairs of buffer and column that nearly all placeholders are. Each returns false when there is no quick way for
    // the value.
    template <class T>
    bool bind_integer(sqlite3_stmt* statement, ub4 index);
    bool bind_real(sqlite3_stmt* statement, ub4 index);
    bool bind_text(sqlite3_stmt* statement, ub4 index);
    bool bind_date(sqlite3_stmt* statement, ub4 index);
    bool bind_other(sqlite3_stmt*, ub4) { return false; }
    const char* lasting(const char* data, std::size_t size);
    void bind_any(sqlite3_stmt* statement, ub4 index);

    const Buffer* buffer = nullptr;
    const Target* target = nullptr;
    Scratch scratch{};
    double limit = 0;         ///< numbers are below it
    double power = 0;         ///< of ten: what makes a number of the column a whole one; 0: any number fits
    std::size_t text_limit = 0;
    int position = 0;
    Lifetime lifetime = Lifetime::iteration;
    Binder bind = end;
};

/// Writes a value into an element in the buffer's type, whatever the two are.
/// @throws the ORA- number of a value that cannot be converted or does not fit
void write(const Buffer& buffer, ub4 index, const Value& value);

/// Would the value be written whole? Of what is written as text it may be too long for an element.
bool has_room(const Buffer& buffer, const Value& value);

/// A buffer of a define with the column that it is for and the way from the one to the other.
class Output {
  public:
    /// Where a row ends: stands behind the outputs of all columns.
    Output() = default;
    /// @param stored  the column's values are what its type says: nothing else has to be looked for
    Output(const Buffer& define, const ColumnType& type, bool stored, int at);

    /// Writes the column of the current row, and the columns of the outputs behind this one, into element `index` of
    /// their buffers.
    void write_row(sqlite3_stmt* row, ub4 index) const { write(this, row, index); }

  private:
    using Fetcher = void (*)(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index);
    using Writer = void (*)(const Output* output, sqlite3_stmt* row, ub4 index);

    static Fetcher choose_fetcher(const Buffer& buffer, const ColumnType& column, bool stored);
    Writer choose_writer() const;

    static void end(const Output*, sqlite3_stmt*, ub4) {}
    template <bool (Output::*quickly)(sqlite3_stmt*, ub4) const>
    static void write_rest(const Output* output, sqlite3_stmt* row, ub4 index);

    // The pairs of column and buffer that nearly all columns are. Each returns false when there is no quick way for the
    // value: NULL, 0, or one that does not fit.
    template <class T>
    bool write_integer(sqlite3_stmt* row, ub4 index) const;
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

} // namespace oci
