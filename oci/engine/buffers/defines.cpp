#include "oci/engine/buffers/defines.h"

#include "oci/values/dates/date_image.h"

#include <cstring>
#include <sqlite3.h>

namespace oci {
namespace {

// ---- fetchers: SQLite is asked for a value's type only where its value alone does not tell

/// Columns whose numbers are stored as 64-bit integers.
template <class T> void fetch_integer(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index) {
    const std::int64_t number = sqlite3_column_int64(row, column);
    if (number == 0 && sqlite3_column_type(row, column) == SQLITE_NULL) return write_null(buffer, index);
    write_integer<T>(buffer, index, number);
}

template <class T> void fetch_real(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index) {
    const double number = sqlite3_column_double(row, column);
    if (number == 0 && sqlite3_column_type(row, column) == SQLITE_NULL) return write_null(buffer, index);
    if constexpr (sizeof(T) == sizeof(float)) return write_real(buffer, index, number);
    store(buffer.element(index), number);
    done(buffer, index, sizeof(T));
}

/// Asked twice, a value answers sooner than its column. It is this statement's alone, so its unprotected state does no
/// harm.
inline std::string_view stored_text(sqlite3_stmt* row, int column) {
    sqlite3_value* const value = sqlite3_column_value(row, column);
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (text == nullptr) return {};
    return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

/// The empty text is NULL.
void fetch_text(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index) {
    const auto text = stored_text(row, column);
    if (text.empty()) return write_null(buffer, index);
    write_text(buffer, index, text);
}

void fetch_date(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index) {
    const auto text = stored_text(row, column);
    if (text.empty()) return write_null(buffer, index);
    write_date(buffer, index, text);
}

/// Any column to any buffer.
void fetch_any(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index) {
    write(buffer, index, Value::of(sqlite3_column_value(row, column)));
}

auto integer_fetcher(const Buffer& buffer) -> void (*)(const Buffer&, sqlite3_stmt*, int, ub4) {
    const bool is_signed = buffer.type == SQLT_INT;
    switch (buffer.size) {
    case 1: return is_signed ? fetch_integer<sb1> : fetch_integer<ub1>;
    case 2: return is_signed ? fetch_integer<sb2> : fetch_integer<ub2>;
    case 4: return is_signed ? fetch_integer<sb4> : fetch_integer<ub4>;
    default: return is_signed ? fetch_integer<std::int64_t> : fetch_integer<std::uint64_t>;
    }
}

} // namespace

Output::Fetcher Output::choose_fetcher(const Buffer& buffer, const FetchedColumn& source) {
    const ColumnType& column = source.type;
    if (buffer.is_text() && column.family == Family::blob)
        throw OracleError(error::inconsistent_datatypes, "expected CHAR got BLOB");
    if (!source.stored) return fetch_any;
    switch (buffer.type) {
    case SQLT_INT:
    case SQLT_UIN: return column.is_int64() ? integer_fetcher(buffer) : fetch_any;
    case SQLT_FLT:
        if (column.family != Family::number) return fetch_any;
        return buffer.size == sizeof(float) ? fetch_real<float> : fetch_real<double>;
    case SQLT_DAT: return column.family == Family::date ? fetch_date : fetch_any;
    default: break;
    }
    return column.family == Family::text || column.family == Family::date ? fetch_text : fetch_any;
}

Output::Output(const Buffer& define, const FetchedColumn& source, int at)
    : buffer(&define),
      value(static_cast<char*>(define.value)),
      indicator(define.indicator),
      step(define.step),
      fetch(choose_fetcher(define, source)),
      column(at),
      write(choose_writer()) {}

Output::Writer Output::choose_writer() const {
    if (buffer->length != nullptr || buffer->return_code != nullptr) return write_rest<&Output::write_other>;
    if (fetch == fetch_integer<std::int64_t>) return write_rest<&Output::write_integer<std::int64_t>>;
    if (fetch == fetch_integer<sb4>) return write_rest<&Output::write_integer<sb4>>;
    if (fetch == fetch_real<double>) return write_rest<&Output::write_real>;
    if (fetch == fetch_text && buffer->type == SQLT_STR) return write_rest<&Output::write_text>;
    if (fetch == fetch_date) return write_rest<&Output::write_date>;
    return write_rest<&Output::write_other>;
}

// Each output calls the next one last of all, which the compiler makes a jump: a loop would take two more for every
// value.
template <bool (Output::*quickly)(sqlite3_stmt*, ub4) const>
void Output::write_rest(const Output* output, sqlite3_stmt* row, ub4 index) {
    if ((output->*quickly)(row, index)) [[likely]] {
        if (output->indicator != nullptr) output->indicator[index] = 0;
    } else {
        output->fetch(*output->buffer, row, output->column, index);
    }
    ++output;
    return output->write(output, row, index);
}

template <class T> inline bool Output::write_integer(sqlite3_stmt* row, ub4 index) const {
    const std::int64_t number = sqlite3_column_int64(row, column);
    if (number == 0 || number != static_cast<T>(number)) return false;
    store(value + index * step, static_cast<T>(number));
    return true;
}

inline bool Output::write_real(sqlite3_stmt* row, ub4 index) const {
    const double number = sqlite3_column_double(row, column);
    if (number == 0) return false;
    store(value + index * step, number);
    return true;
}

inline bool Output::write_text(sqlite3_stmt* row, ub4 index) const {
    const std::string_view text = stored_text(row, column);
    if (text.empty() || text.size() >= step) return false;
    std::memcpy(value + index * step, text.data(), text.size() + 1);
    return true;
}

inline bool Output::write_date(sqlite3_stmt* row, ub4 index) const {
    const std::string_view text = stored_text(row, column);
    auto* const image = reinterpret_cast<unsigned char*>(value + index * step);
    return text.size() == iso_size && write_date_image(text.data(), image);
}

void Defines::set(unsigned position, const Buffer& buffer) {
    if (m_buffers.size() < position) m_buffers.resize(position);
    m_buffers[position - 1] = buffer;
    forget_outputs();
}

void Defines::make_outputs(const std::vector<FetchedColumn>& columns) {
    if (m_buffers.size() > columns.size()) throw OracleError(error::not_in_select_list);
    std::vector<Output> outputs;
    std::vector<unsigned> large_objects;
    for (unsigned i = 0; i < m_buffers.size(); ++i) {
        const Buffer& buffer = m_buffers[i];
        if (buffer.value == nullptr) continue;
        if (buffer.is_lob()) {
            large_objects.push_back(i);
        } else {
            outputs.emplace_back(buffer, columns[i], static_cast<int>(i));
        }
    }
    outputs.emplace_back();
    m_outputs = std::move(outputs);
    m_large_objects = std::move(large_objects);
}

} // namespace oci
