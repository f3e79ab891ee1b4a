#include "oci/sql/resolver/expressions/literals.h"

#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/values/dates/moments.h"

#include <charconv>

namespace oci::sql {
namespace {

constexpr int most_fraction_digits = 9;

Node* typed_text(Resolution& resolution, std::string_view text, const ColumnType& type) {
    Node* node = resolution.build.string(resolution.arena.text(text));
    node->type = type;
    return node;
}

Civil civil_of(std::string_view text) {
    Civil civil{};
    if (text.size() != iso_size || !parse_iso(text, civil)) throw OracleError(error::literal_does_not_match);
    check_civil(civil);
    return civil;
}

Node* date_literal(Resolution& resolution, std::string_view text) {
    std::string whole(text);
    if (whole.size() == 10) whole += " 00:00:00";
    civil_of(whole);
    return typed_text(resolution, whole, expression_type(Family::date));
}

/// Takes the digits behind a point as nanoseconds.
int take_fraction(std::string_view& text) {
    if (!text.starts_with('.')) return 0;
    text.remove_prefix(1);
    const std::size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
    if (count > most_fraction_digits) throw OracleError(error::fraction_out_of_range);
    std::string digits(text.substr(0, count));
    digits.resize(most_fraction_digits, '0');
    text.remove_prefix(count);
    return std::stoi(digits);
}

Node* timestamp_literal(Resolution& resolution, std::string_view text) {
    Moment moment;
    moment.civil = civil_of(text.substr(0, iso_size));
    text.remove_prefix(iso_size);
    moment.nanosecond = take_fraction(text);
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    ColumnType type = ColumnType::of_family(text.empty() ? Family::timestamp : Family::timestamp_tz);
    type.scale = most_fraction_digits;
    if (!text.empty()) moment = with_zone(moment.civil, moment.nanosecond, text);
    std::string scratch;
    return typed_text(resolution, write_moment(moment, type.family, scratch), type);
}

/// The fields of an interval from the leading to the trailing one.
class IntervalReader {
  public:
    IntervalReader(const DatetimeLiteral& literal) : m_literal(literal), m_rest(literal.text) {
        while (m_rest.starts_with(' ')) m_rest.remove_prefix(1);
        m_negative = m_rest.starts_with('-');
        if (m_negative || m_rest.starts_with('+')) m_rest.remove_prefix(1);
    }

    /// In months, or in nanoseconds.
    std::int64_t read() {
        static constexpr std::int64_t units[] = {12,
                                                 1,
                                                 nanoseconds_per_day,
                                                 3600 * nanoseconds_per_second,
                                                 60 * nanoseconds_per_second,
                                                 nanoseconds_per_second};
        static constexpr std::int64_t limits[] = {0, 12, 0, 24, 60, 60};
        static constexpr const error::Cause* causes[] = {nullptr,
                                                         &error::invalid_month,
                                                         nullptr,
                                                         &error::hour_out_of_range,
                                                         &error::minutes_out_of_range,
                                                         &error::seconds_out_of_range};
        std::int64_t total = 0;
        for (std::uint8_t field = m_literal.leading; field <= m_literal.trailing; ++field) {
            const bool leads = field == m_literal.leading;
            if (!leads) take_separator();
            const std::int64_t number = take_number(leads ? m_literal.leading_precision : 2);
            if (!leads && number >= limits[field]) throw OracleError(*causes[field]);
            std::int64_t part = 0;
            if (__builtin_mul_overflow(number, units[field], &part) || __builtin_add_overflow(total, part, &total))
                throw OracleError(error::interval_precision_too_small);
        }
        if (m_literal.trailing == 5) total += take_fraction(m_rest);
        while (m_rest.starts_with(' ')) m_rest.remove_prefix(1);
        if (!m_rest.empty()) throw OracleError(error::invalid_interval);
        return m_negative ? -total : total;
    }

  private:
    void take_separator() {
        if (m_rest.empty()) throw OracleError(error::invalid_interval);
        m_rest.remove_prefix(1);
    }

    std::int64_t take_number(int most_digits) {
        std::int64_t number = 0;
        const auto [end, status] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), number);
        if (status != std::errc{} || number < 0) throw OracleError(error::invalid_interval);
        const auto digits = static_cast<std::size_t>(end - m_rest.data());
        if (digits > static_cast<std::size_t>(most_digits)) throw OracleError(error::interval_precision_too_small);
        m_rest.remove_prefix(digits);
        return number;
    }

    const DatetimeLiteral& m_literal;
    std::string_view m_rest;
    bool m_negative = false;
};

Node* interval_literal(Resolution& resolution, const DatetimeLiteral& literal) {
    const bool months = literal.literal == DatetimeLiteral::Kind::interval_year;
    Node* node = resolution.build.integer(IntervalReader(literal).read());
    node->type = ColumnType::of_family(months ? Family::interval_ym : Family::interval_ds);
    node->type.precision = static_cast<sb2>(literal.leading_precision);
    if (!months) node->type.scale = static_cast<sb1>(literal.fractional_precision);
    return node;
}

} // namespace

Node* number_literal(Resolution& resolution, const NumberLiteral& literal, bool negative) {
    Node* node = resolution.build.number(literal.text, negative);
    if (literal.suffix != 0)
        node->type = ColumnType::of_family(literal.suffix == 'F' ? Family::binary_float : Family::binary_double);
    return node;
}

Node* datetime_literal(Resolution& resolution, const DatetimeLiteral& literal) {
    switch (literal.literal) {
    case DatetimeLiteral::Kind::date: return date_literal(resolution, literal.text);
    case DatetimeLiteral::Kind::timestamp: return timestamp_literal(resolution, literal.text);
    default: return interval_literal(resolution, literal);
    }
}

} // namespace oci::sql
