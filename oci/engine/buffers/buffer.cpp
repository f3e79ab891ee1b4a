#include "oci/engine/buffers/buffer.h"

#include "oci/engine/buffers/large_object.h"
#include "oci/values/dates/date_image.h"
#include "oci/values/decimal.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace oci {
namespace {

constexpr int longest_reported = 32767;

/// In the place of an indicator's address: the value is NULL.
sb2* const null_flag = reinterpret_cast<sb2*>(static_cast<std::intptr_t>(-1));

void write_integer_of_size(const Buffer& buffer, ub4 index, std::int64_t number) {
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

/// The bytes of text that an element has room for.
std::size_t text_capacity(const Buffer& buffer) {
    return static_cast<std::size_t>(std::max(0, buffer.size - (buffer.type == SQLT_STR ? 1 : 0)));
}

void write_large_object(const Buffer& buffer, ub4 index, const Value& value) {
    buffer.large_objects->to_fill(index).assign(value);
    if (value.is_null()) return write_null(buffer, index);
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
    if (!(whole >= -0x1p63 && whole < 0x1p63)) throw OracleError(error::integer_overflow);
    return static_cast<std::int64_t>(whole);
}

Value read_date(const char* from, Scratch& scratch) {
    const auto* image = reinterpret_cast<const unsigned char*>(from);
    const Civil civil{
        (image[0] - 100) * 100 + image[1] - 100, image[2], image[3], image[4] - 1, image[5] - 1, image[6] - 1};
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
    return Decimal(false, load<std::uint64_t>(from), 0).exact();
}

Value read_real(const Buffer& buffer, const char* from) {
    const double number = buffer.size == sizeof(float) ? double{load<float>(from)} : load<double>(from);
    if (!(std::fabs(number) < number_limit)) throw OracleError(error::numeric_overflow);
    return Value::of(number);
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

} // namespace

Buffer::Buffer(void* values, sb4 size_bytes, ub2 external_type, void* indicators, ub2* lengths, ub2* return_codes,
               LargeObjects& objects)
    : value(values),
      size(size_bytes),
      type(external_type),
      indicator(static_cast<sb2*>(indicators)),
      length(lengths),
      return_code(return_codes),
      large_objects(&objects),
      is_null(indicators == null_flag) {
    if (indicator == null_flag) indicator = nullptr;
    step = is_lob() ? sizeof(void*) : static_cast<std::size_t>(size);
    if (!known_type(type)) throw OracleError(error::unsupported_representation);
    if (!possible_size(type, size)) throw OracleError(error::unreasonable_conversion);
}

Value read(const Buffer& buffer, ub4 index, Scratch& scratch) {
    if (buffer.is_null) return {};
    if (buffer.indicator != nullptr && buffer.indicator[index] == -1) return {};
    if (buffer.value == nullptr) throw OracleError(error::invalid_call_argument);
    const char* from = buffer.element(index);
    const auto size = static_cast<std::size_t>(buffer.size);
    switch (buffer.type) {
    case SQLT_INT:
    case SQLT_UIN: return read_integer(buffer, from);
    case SQLT_FLT: return read_real(buffer, from);
    case SQLT_STR: {
        const std::size_t length = strnlen(from, size);
        if (length == size) throw OracleError(error::missing_trailing_null);
        return Value::of(std::string_view(from, length));
    }
    case SQLT_CHR:
    case SQLT_LNG: return Value::of(std::string_view(from, buffer.length != nullptr ? buffer.length[index] : size));
    case SQLT_DAT: return read_date(from, scratch);
    default: return buffer.large_objects->at(index).value();
    }
}

void write_null(const Buffer& buffer, ub4 index) {
    if (buffer.return_code != nullptr) buffer.return_code[index] = error::fetched_null.code;
    if (buffer.indicator == nullptr) throw OracleError(error::fetched_null);
    buffer.indicator[index] = -1;
    if (buffer.length != nullptr) buffer.length[index] = 0;
}

void write_real(const Buffer& buffer, ub4 index, double number) {
    if (buffer.size == sizeof(float)) {
        if (std::fabs(number) > std::numeric_limits<float>::max()) throw OracleError(error::numeric_overflow);
        store(buffer.element(index), static_cast<float>(number));
    } else {
        store(buffer.element(index), number);
    }
    done(buffer, index, static_cast<std::size_t>(buffer.size));
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
    if (buffer.return_code != nullptr) buffer.return_code[index] = error::fetched_truncated.code;
    if (buffer.indicator == nullptr) throw OracleError(error::fetched_truncated);
    buffer.indicator[index] = text.size() > longest_reported ? sb2{-2} : static_cast<sb2>(text.size());
}

void write_date(const Buffer& buffer, ub4 index, std::string_view text) {
    auto* image = reinterpret_cast<unsigned char*>(buffer.element(index));
    if (text.size() != iso_size || !write_date_image(text.data(), image))
        throw OracleError(error::literal_does_not_match);
    done(buffer, index, 7);
}

void write(const Buffer& buffer, ub4 index, const Value& value) {
    if (buffer.value == nullptr) throw OracleError(error::invalid_call_argument);
    if (buffer.is_lob()) return write_large_object(buffer, index, value);
    if (value.is_null() || (value.type == Value::Type::text && value.size == 0)) return write_null(buffer, index);
    std::string scratch;
    switch (buffer.type) {
    case SQLT_INT:
    case SQLT_UIN: return write_integer_of_size(buffer, index, whole_number(value));
    case SQLT_FLT: {
        const Value number = number_of(value);
        return write_real(buffer, index,
                          number.type == Value::Type::real ? number.real : static_cast<double>(number.integer));
    }
    case SQLT_DAT:
        if (value.type != Value::Type::text)
            throw OracleError(error::inconsistent_datatypes, "expected DATE got NUMBER");
        return write_date(buffer, index, value.text());
    default: return write_text(buffer, index, text_of(value, scratch));
    }
}

bool has_room(const Buffer& buffer, const Value& value) {
    std::string scratch;
    return !buffer.is_text() || value.is_null() || text_of(value, scratch).size() <= text_capacity(buffer);
}

} // namespace oci
