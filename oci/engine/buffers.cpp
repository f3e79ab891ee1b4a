#include "oci/engine/buffers.h"

#include "oci/values/date_image.h"
#include "oci/engine/lob.h"

#include <algorithm>
#include <utility>
#include <cmath>
#include <cstring>
#include <limits>
#include <sqlite3.h>

namespace oci {
namespace {

constexpr int longest_reported = 32767;

/// In the place of an indicator's address: the value is NULL.
sb2* const null_flag = reinterpret_cast<sb2*>(static_cast<std::intptr_t>(-1));

template <class T>
T load(const char* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void store(char* to, T value) {
    std::memcpy(to, &value, sizeof value);
}

void set_indicator(const Buffer& buffer, ub4 index, int indicator) {
    if (buffer.indicator != nullptr) buffer.indicator[index] = static_cast<sb2>(indicator);
}

void done(const Buffer& buffer, ub4 index, std::size_t length) {
    set_indicator(buffer, index, 0);
    if (buffer.length == nullptr && buffer.return_code == nullptr) [[likely]] return;
    if (buffer.length != nullptr) buffer.length[index] = static_cast<ub2>(std::min<std::size_t>(length, 65535));
    if (buffer.return_code != nullptr) buffer.return_code[index] = 0;
}

void write_null(const Buffer& buffer, ub4 index) {
    if (buffer.return_code != nullptr) buffer.return_code[index] = 1405;
    if (buffer.indicator == nullptr) throw OracleError(1405);
    buffer.indicator[index] = -1;
    if (buffer.length != nullptr) buffer.length[index] = 0;
}

template <class T>
void write_integer(const Buffer& buffer, ub4 index, std::int64_t number) {
    if (!std::in_range<T>(number)) throw OracleError(1455);
    store(buffer.element(index), static_cast<T>(number));
    done(buffer, index, sizeof(T));
}

void write_integer(const Buffer& buffer, ub4 index, std::int64_t number) {
    const bool is_signed = buffer.type == SQLT_INT;
    switch (buffer.size) {
    case 1: return is_signed ? write_integer<sb1>(buffer, index, number) : write_integer<ub1>(buffer, index, number);
    case 2: return is_signed ? write_integer<sb2>(buffer, index, number) : write_integer<ub2>(buffer, index, number);
    case 4: return is_signed ? write_integer<sb4>(buffer, index, number) : write_integer<ub4>(buffer, index, number);
    default:
        return is_signed ? write_integer<std::int64_t>(buffer, index, number)
                         : write_integer<std::uint64_t>(buffer, index, number);
    }
}

void write_real(const Buffer& buffer, ub4 index, double number) {
    if (buffer.size == sizeof(float)) {
        if (std::fabs(number) > std::numeric_limits<float>::max()) throw OracleError(1426);
        store(buffer.element(index), static_cast<float>(number));
    } else {
        store(buffer.element(index), number);
    }
    done(buffer, index, static_cast<std::size_t>(buffer.size));
}

/// The bytes of text that an element has room for.
std::size_t text_capacity(const Buffer& buffer) {
    return static_cast<std::size_t>(std::max(0, buffer.size - (buffer.type == SQLT_STR ? 1 : 0)));
}

/// Text with its NUL (SQLT_STR), padded with blanks (SQLT_CHR) or bare.
void write_text(const Buffer& buffer, ub4 index, std::string_view text) {
    const bool terminated = buffer.type == SQLT_STR;
    const std::size_t capacity = text_capacity(buffer);
    const std::size_t length = std::min(text.size(), capacity);
    char* element = buffer.element(index);
    std::memcpy(element, text.data(), length);
    if (terminated && buffer.size > 0) element[length] = '\0';
    if (buffer.type == SQLT_CHR && buffer.length == nullptr) std::memset(element + length, ' ', capacity - length);
    done(buffer, index, length);
    if (length == text.size()) return;
    if (buffer.return_code != nullptr) buffer.return_code[index] = 1406;
    if (buffer.indicator == nullptr) throw OracleError(1406);
    set_indicator(buffer, index, text.size() > longest_reported ? -2 : static_cast<int>(text.size()));
}

void write_date(const Buffer& buffer, ub4 index, std::string_view text) {
    auto* image = reinterpret_cast<unsigned char*>(buffer.element(index));
    if (text.size() != iso_size || !write_date_image(text.data(), image)) throw OracleError(1861);
    done(buffer, index, 7);
}

OCILobLocator& locator_of(const Buffer& buffer, ub4 index) {
    OCILobLocator* locator = locator_at(buffer.element(index));
    if (locator == nullptr) throw OracleError(22275);
    return *locator;
}

/// The large object becomes one that is in memory only: what it was before is no concern of this value.
void write_lob(const Buffer& buffer, ub4 index, const Value& value) {
    OCILobLocator& locator = locator_of(buffer, index);
    locator.service = nullptr;
    locator.transaction = 0;
    locator.initialised = !value.is_null();
    if (value.is_null()) {
        locator.bytes.clear();
        return write_null(buffer, index);
    }
    if (value.type != Value::Type::text && value.type != Value::Type::blob) throw OracleError(932, "expected BLOB got NUMBER");
    locator.bytes.assign(value.data, value.size);
    done(buffer, index, value.size);
}

std::string_view text_of(const Value& value, std::string& scratch) {
    switch (value.type) {
    case Value::Type::text: return value.text();
    case Value::Type::blob: return scratch = hex_of(value.text());
    default: return number_text(value, scratch);
    }
}

std::int64_t whole_number(const Value& value) {
    const Value number = number_of(value);
    if (number.type == Value::Type::integer) return number.integer;
    const double whole = std::trunc(number.real);
    if (!(whole >= -0x1p63 && whole < 0x1p63)) throw OracleError(1455);
    return static_cast<std::int64_t>(whole);
}

Value read_date(const char* from, Scratch& scratch) {
    const auto* image = reinterpret_cast<const unsigned char*>(from);
    const Civil civil{(image[0] - 100) * 100 + image[1] - 100, image[2], image[3], image[4] - 1, image[5] - 1, image[6] - 1};
    check_civil(civil);
    write_iso(civil, scratch.date);
    return Value::of(std::string_view(scratch.date, iso_size));
}

Value read_integer(const Buffer& buffer, const char* from) {
    const bool is_signed = buffer.type == SQLT_INT;
    switch (buffer.size) {
    case 1: return Value::of(is_signed ? std::int64_t{load<sb1>(from)} : std::int64_t{load<ub1>(from)});
    case 2: return Value::of(is_signed ? std::int64_t{load<sb2>(from)} : std::int64_t{load<ub2>(from)});
    case 4: return Value::of(is_signed ? std::int64_t{load<sb4>(from)} : std::int64_t{load<ub4>(from)});
    default: break;
    }
    const auto number = load<std::int64_t>(from);
    if (is_signed || number >= 0) return Value::of(number);
    return Value::of(static_cast<double>(load<std::uint64_t>(from)));
}

Value read_real(const Buffer& buffer, const char* from) {
    const double number = buffer.size == sizeof(float) ? double{load<float>(from)} : load<double>(from);
    if (!(std::fabs(number) < number_limit)) throw OracleError(1426);
    return Value::of(number);
}

Value read_lob(const Buffer& buffer, ub4 index) {
    const OCILobLocator& locator = locator_of(buffer, index);
    if (!locator.initialised) throw OracleError(22275);
    return Value::of_bytes(locator.bytes.data(), locator.bytes.size());
}

// ---- fetchers: SQLite is asked for a value's type only where its value alone does not tell

/// Columns whose numbers are stored as 64-bit integers.
template <class T>
void fetch_integer(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index) {
    const std::int64_t number = sqlite3_column_int64(row, column);
    if (number == 0 && sqlite3_column_type(row, column) == SQLITE_NULL) return write_null(buffer, index);
    write_integer<T>(buffer, index, number);
}

template <class T>
void fetch_real(const Buffer& buffer, sqlite3_stmt* row, int column, ub4 index) {
    const double number = sqlite3_column_double(row, column);
    if (number == 0 && sqlite3_column_type(row, column) == SQLITE_NULL) return write_null(buffer, index);
    if constexpr (sizeof(T) == sizeof(float)) return write_real(buffer, index, number);
    store(buffer.element(index), number);
    done(buffer, index, sizeof(T));
}

/// Asked twice, a value answers sooner than its column. It is this statement's alone, so its unprotected state does no harm.
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

bool known_type(ub2 type) {
    switch (type) {
    case SQLT_INT:
    case SQLT_UIN:
    case SQLT_FLT:
    case SQLT_DAT:
    case SQLT_STR:
    case SQLT_CHR:
    case SQLT_LNG:
    case SQLT_BLOB:
    case SQLT_CLOB: return true;
    default: return false;
    }
}

bool possible_size(ub2 type, sb4 size) {
    switch (type) {
    case SQLT_INT:
    case SQLT_UIN: return size == 1 || size == 2 || size == 4 || size == 8;
    case SQLT_FLT: return size == 4 || size == 8;
    case SQLT_DAT: return size == 7;
    case SQLT_BLOB:
    case SQLT_CLOB: return true; // -1 is usual
    default: return size >= 0;
    }
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

Buffer::Buffer(void* values, sb4 size_bytes, ub2 external_type, void* indicators, ub2* lengths, ub2* return_codes)
    : value(values), size(size_bytes), type(external_type), indicator(static_cast<sb2*>(indicators)), length(lengths),
      return_code(return_codes), is_null(indicators == null_flag) {
    if (indicator == null_flag) indicator = nullptr;
    step = is_lob() ? sizeof(void*) : static_cast<std::size_t>(size);
    if (!known_type(type)) throw OracleError(3115);
    if (!possible_size(type, size)) throw OracleError(1460);
}

Value read(const Buffer& buffer, ub4 index, Scratch& scratch) {
    if (buffer.is_null) return {};
    if (buffer.indicator != nullptr && buffer.indicator[index] == -1) return {};
    if (buffer.value == nullptr) throw OracleError(1084);
    const char* from = buffer.element(index);
    const auto size = static_cast<std::size_t>(buffer.size);
    switch (buffer.type) {
    case SQLT_INT:
    case SQLT_UIN: return read_integer(buffer, from);
    case SQLT_FLT: return read_real(buffer, from);
    case SQLT_STR: {
        const std::size_t length = strnlen(from, size);
        if (length == size) throw OracleError(1480);
        return Value::of(std::string_view(from, length));
    }
    case SQLT_CHR:
    case SQLT_LNG: return Value::of(std::string_view(from, buffer.length != nullptr ? buffer.length[index] : size));
    case SQLT_DAT: return read_date(from, scratch);
    default: return read_lob(buffer, index);
    }
}

void write(const Buffer& buffer, ub4 index, const Value& value) {
    if (buffer.value == nullptr) throw OracleError(1084);
    if (buffer.type == SQLT_BLOB || buffer.type == SQLT_CLOB) return write_lob(buffer, index, value);
    if (value.is_null() || (value.type == Value::Type::text && value.size == 0)) return write_null(buffer, index);
    std::string scratch;
    switch (buffer.type) {
    case SQLT_INT:
    case SQLT_UIN: return write_integer(buffer, index, whole_number(value));
    case SQLT_FLT: {
        const Value number = number_of(value);
        return write_real(buffer, index,
                          number.type == Value::Type::real ? number.real : static_cast<double>(number.integer));
    }
    case SQLT_DAT:
        if (value.type != Value::Type::text) throw OracleError(932, "expected DATE got NUMBER");
        return write_date(buffer, index, value.text());
    default: return write_text(buffer, index, text_of(value, scratch));
    }
}

bool has_room(const Buffer& buffer, const Value& value) {
    const bool text = buffer.type == SQLT_STR || buffer.type == SQLT_CHR || buffer.type == SQLT_LNG;
    std::string scratch;
    return !text || value.is_null() || text_of(value, scratch).size() <= text_capacity(buffer);
}

Output::Fetcher Output::choose_fetcher(const Buffer& buffer, const ColumnType& column, bool stored) {
    const bool as_text = buffer.type == SQLT_STR || buffer.type == SQLT_CHR || buffer.type == SQLT_LNG;
    if (as_text && column.family == Family::blob) throw OracleError(932, "expected CHAR got BLOB");
    if (!stored) return fetch_any;
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

Output::Output(const Buffer& define, const ColumnType& type, bool stored, int at)
    : buffer(&define), value(static_cast<char*>(define.value)), indicator(define.indicator), step(define.step),
      fetch(choose_fetcher(define, type, stored)), column(at), write(choose_writer()) {}

Output::Writer Output::choose_writer() const {
    if (buffer->length != nullptr || buffer->return_code != nullptr) return write_rest<&Output::write_other>;
    if (fetch == fetch_integer<std::int64_t>) return write_rest<&Output::write_integer<std::int64_t>>;
    if (fetch == fetch_integer<sb4>) return write_rest<&Output::write_integer<sb4>>;
    if (fetch == fetch_real<double>) return write_rest<&Output::write_real>;
    if (fetch == fetch_text && buffer->type == SQLT_STR) return write_rest<&Output::write_text>;
    if (fetch == fetch_date) return write_rest<&Output::write_date>;
    return write_rest<&Output::write_other>;
}

// Each output calls the next one last of all, which the compiler makes a jump: a loop would take two more for every value.
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

template <class T>
inline bool Output::write_integer(sqlite3_stmt* row, ub4 index) const {
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

Input::Input(const Buffer& values, const Target* stored_in, int at, Lifetime needed)
    : buffer(&values),
      target(stored_in),
      position(at),
      lifetime(needed) {
    const Family family = target != nullptr ? target->type.family : Family::unknown;
    const bool any_value = family == Family::unknown;
    const bool number = family == Family::number;
    if (number && target->type.scale != any_scale && target->type.scale >= 0) {
        power = power_of_ten(target->type.scale);
        limit = power_of_ten(target->type.precision - target->type.scale);
    }
    const bool any_size = any_value || target->type.size == 0;
    text_limit = any_size ? std::numeric_limits<std::size_t>::max() : target->type.size;
    bind = choose_binder();
}

Input::Binder Input::choose_binder() const {
    const Family family = target != nullptr ? target->type.family : Family::unknown;
    const bool any_value = family == Family::unknown;
    const bool scaled_down = family == Family::number && target->type.scale < 0 && target->type.scale != any_scale;
    if (buffer->value == nullptr || buffer->is_null || scaled_down) return bind_rest<&Input::bind_other>;
    const bool number = family == Family::number || any_value;
    if (number && buffer->type == SQLT_INT && buffer->size == sizeof(sb4)) return bind_rest<&Input::bind_integer<sb4>>;
    if (number && buffer->type == SQLT_INT && buffer->size == sizeof(std::int64_t))
        return bind_rest<&Input::bind_integer<std::int64_t>>;
    if (number && buffer->type == SQLT_FLT && buffer->size == sizeof(double)) return bind_rest<&Input::bind_real>;
    if (buffer->type == SQLT_STR && (family == Family::text || any_value)) return bind_rest<&Input::bind_text>;
    if (buffer->type == SQLT_DAT && (family == Family::date || any_value)) return bind_rest<&Input::bind_date>;
    return bind_rest<&Input::bind_other>;
}

// Calls the next one last of all, as outputs do.
template <bool (Input::*quickly)(sqlite3_stmt*, ub4)>
void Input::bind_rest(Input* input, sqlite3_stmt* statement, ub4 index) {
    const Buffer& buffer = *input->buffer;
    const bool null = buffer.indicator != nullptr && buffer.indicator[index] == -1;
    if (null || !(input->*quickly)(statement, index)) [[unlikely]] input->bind_any(statement, index);
    ++input;
    return input->bind(input, statement, index);
}

template <class T>
inline bool Input::bind_integer(sqlite3_stmt* statement, ub4 index) {
    const std::int64_t number = load<T>(buffer->element(index));
    if (power != 0 && !(std::fabs(static_cast<double>(number)) < limit)) return false;
    return sqlite3_bind_int64(statement, position, number) == SQLITE_OK;
}

/// SQLite itself stores a whole number as an integer.
inline bool Input::bind_real(sqlite3_stmt* statement, ub4 index) {
    auto number = load<double>(buffer->element(index));
    if (power != 0) {
        const double scaled = number * power;
        const double whole = std::nearbyint(scaled);
        const double rounded = whole / power;
        const bool clear_of_a_tie = std::fabs(scaled - whole) < 0.45 && std::fabs(scaled) < 0x1p52;
        if ((rounded != number && !clear_of_a_tie) || !(std::fabs(rounded) < limit)) return false;
        number = rounded;
    } else if (!(std::fabs(number) < number_limit)) {
        return false;
    }
    return sqlite3_bind_double(statement, position, number) == SQLITE_OK;
}

inline bool Input::bind_text(sqlite3_stmt* statement, ub4 index) {
    const char* const element = buffer->element(index);
    const std::size_t size = strnlen(element, static_cast<std::size_t>(buffer->size));
    if (size == 0 || size > text_limit || size == buffer->step) return false;
    return sqlite3_bind_text64(statement, position, lasting(element, size), size, SQLITE_STATIC, SQLITE_UTF8) == SQLITE_OK;
}

inline bool Input::bind_date(sqlite3_stmt* statement, ub4 index) {
    const auto* const image = reinterpret_cast<const unsigned char*>(buffer->element(index));
    if (!write_image_text(image, scratch.date)) return false;
    return sqlite3_bind_text(statement, position, scratch.date, iso_size, SQLITE_STATIC) == SQLITE_OK;
}

const char* Input::lasting(const char* data, std::size_t size) {
    return lifetime == Lifetime::cursor ? scratch.text.assign(data, size).data() : data;
}

void Input::bind_any(sqlite3_stmt* statement, ub4 index) {
    Value bound = read(*buffer, index, scratch);
    if (target != nullptr) bound = fit(bound, target->type, target->column, scratch.text);
    if (bound.type == Value::Type::text || bound.type == Value::Type::blob)
        bound.data = lasting(bound.data, bound.size);
    bound.bind(statement, position);
}

} // namespace oci
