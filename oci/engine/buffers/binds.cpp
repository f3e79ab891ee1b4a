#include "oci/engine/buffers/binds.h"

#include "oci/values/dates/date_image.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <sqlite3.h>

namespace oci {

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
    if (null || !(input->*quickly)(statement, index)) [[unlikely]]
        input->bind_any(statement, index);
    ++input;
    return input->bind(input, statement, index);
}

template <class T> inline bool Input::bind_integer(sqlite3_stmt* statement, ub4 index) {
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
    return sqlite3_bind_text64(statement, position, lasting(element, size), size, SQLITE_STATIC, SQLITE_UTF8) ==
           SQLITE_OK;
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

void Binds::set(unsigned position, const Buffer& buffer) {
    if (m_binds.size() < position) m_binds.resize(position);
    m_binds[position - 1] = {buffer, true};
    forget_inputs();
}

const Buffer& Binds::at(unsigned position) const {
    if (position > m_binds.size() || !m_binds[position - 1].is_set) throw OracleError(error::not_all_bound);
    return m_binds[position - 1].buffer;
}

void Binds::make_inputs(const std::vector<unsigned>& positions, const std::vector<std::optional<Target>>& targets,
                        Input::Lifetime needed) {
    std::vector<Input> inputs;
    inputs.reserve(positions.size() + 1);
    for (const unsigned position : positions) {
        const auto& target = targets[position - 1];
        inputs.emplace_back(at(position), target ? &*target : nullptr, static_cast<int>(position), needed);
    }
    inputs.emplace_back();
    m_inputs = std::move(inputs);
}

} // namespace oci
