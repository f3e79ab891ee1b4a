#include "oci/values/dates/date_elements.h"
#include "oci/values/formats.h"
#include "oci/values/scan.h"

#include <array>
#include <utility>

namespace oci {
namespace {

using Kind = DateElement::Kind;
using Field = DateElement::Field;

constexpr std::string_view short_date = "FMMM/DD/FMYYYY";
constexpr std::string_view long_date = "FMDay, Month DD, YYYY";
constexpr std::string_view short_time = "FMHHFM:MI:SS AM";

std::string_view composed_format(const DateElement& element) {
    return element.name == "DS" ? short_date : element.name == "DL" ? long_date : short_time;
}

/// The case of a word is that of the element's first two letters.
enum class Case : std::uint8_t { upper, lower, capital };

Case case_of(std::string_view element) {
    if (element[0] != to_upper(element[0])) return Case::lower;
    const char second = element.size() > 1 ? element[1] : element[0];
    return second != to_upper(second) ? Case::capital : Case::upper;
}

std::string in_case(std::string_view word, Case wanted) {
    std::string text;
    bool inside = false;
    for (const char c : word) {
        text += wanted == Case::upper || (wanted == Case::capital && !inside) ? to_upper(c) : to_lower(c);
        inside = is_letter(c);
    }
    return text;
}

std::string ordinal_word(std::string cardinal) {
    static constexpr std::pair<std::string_view, std::string_view> irregular[] = {
        {"ONE", "FIRST"},    {"TWO", "SECOND"}, {"THREE", "THIRD"},   {"FIVE", "FIFTH"},
        {"EIGHT", "EIGHTH"}, {"NINE", "NINTH"}, {"TWELVE", "TWELFTH"}};
    for (const auto& [ending, ordinal] : irregular) {
        if (cardinal.ends_with(ending))
            return cardinal.replace(cardinal.size() - ending.size(), ending.size(), ordinal);
    }
    if (cardinal.ends_with('Y')) return cardinal.replace(cardinal.size() - 1, 1, "IETH");
    return cardinal + "TH";
}

std::string_view ordinal_ending(int number) {
    if (number % 100 / 10 == 1) return "TH";
    return number % 10 == 1 ? "ST" : number % 10 == 2 ? "ND" : number % 10 == 3 ? "RD" : "TH";
}

std::string year_in_words(int year) {
    const auto century = static_cast<std::uint64_t>(year / 100);
    const auto rest = static_cast<std::uint64_t>(year % 100);
    if (century % 10 == 0 && rest < 10) return spelled(static_cast<std::uint64_t>(year));
    if (rest == 0) return spelled(century) + " HUNDRED";
    if (rest < 10) throw OracleError(error::unimplemented, "YEAR of " + std::to_string(year));
    return spelled(century) + " " + spelled(rest);
}

class DateWriter {
  public:
    DateWriter(const Moment& moment, Family family, int scale, const SessionSettings& settings)
        : m_moment(moment),
          m_family(family),
          m_scale(scale),
          m_settings(settings) {}

    std::string write(std::string_view format) {
        append(format);
        return std::move(m_text);
    }

  private:
    void append(std::string_view format);
    void append(const DatePart& part);
    void number(const DatePart& part);
    void digits(int number, unsigned width);
    void word(std::string_view word, const DatePart& part, std::size_t width);
    void zone(const DatePart& part);
    void require(bool known) const {
        if (!known) throw OracleError(error::date_format_not_recognized);
    }

    const Moment& m_moment;
    const Family m_family;
    const int m_scale;
    const SessionSettings& m_settings;
    bool m_fill = true;
    std::string m_text;
};

void DateWriter::append(std::string_view format) {
    while (!format.empty()) {
        const DatePart part = take_date_part(format);
        if (part.element == nullptr)
            m_text += part.text;
        else
            append(part);
    }
}

void DateWriter::append(const DatePart& part) {
    const DateElement& element = *part.element;
    const Civil& date = m_moment.civil;
    const bool dotted = element.width == 4;
    switch (element.kind) {
    case Kind::fill_mode: m_fill = !m_fill; return;
    case Kind::exact_mode: return;
    case Kind::composed: {
        const bool fill = std::exchange(m_fill, true);
        append(composed_format(element));
        m_fill = fill;
        return;
    }
    case Kind::month_name: return word(month_names[date.month - 1], part, element.width);
    case Kind::weekday_name: return word(weekday_names[weekday_of(date)], part, element.width);
    case Kind::roman_month: return word(roman_months[date.month - 1], part, element.width);
    case Kind::spelled_year: return word(year_in_words(date.year), part, 0);
    case Kind::half_day: return word(date.hour < 12 ? (dotted ? "A.M." : "AM") : (dotted ? "P.M." : "PM"), part, 0);
    case Kind::era: return word(dotted ? "A.D." : "AD", part, 0);
    case Kind::decimal_mark:
        require(m_family != Family::date);
        m_text += m_settings.decimal_mark;
        return;
    case Kind::fraction: {
        require(m_family != Family::date);
        std::string fraction = std::to_string(1'000'000'000 + m_moment.nanosecond).substr(1);
        const int count = part.text.size() == 3 ? part.text[2] - '0' : m_scale;
        m_text += fraction.substr(0, static_cast<std::size_t>(count));
        return;
    }
    case Kind::zone_hour:
    case Kind::zone_minute:
    case Kind::zone_region:
    case Kind::zone_abbreviation: return zone(part);
    default: number(part);
    }
}

void DateWriter::number(const DatePart& part) {
    const DateElement& element = *part.element;
    int number = element.written(m_moment.civil);
    if (element.name[0] == 'S' && (element.name[1] == 'Y' || element.name[1] == 'C') && m_fill) m_text += ' ';
    if (part.spelled) {
        std::string text = spelled(static_cast<std::uint64_t>(number));
        if (part.ordinal) text = ordinal_word(text);
        m_text += in_case(text, case_of(part.text));
        return;
    }
    if (element.kind == Kind::comma_year) {
        digits(number / 1000, 1);
        m_text += ',';
        const bool fill = std::exchange(m_fill, true);
        digits(number % 1000, 3);
        m_fill = fill;
    } else {
        int most = 1;
        for (unsigned i = 0; i < element.width; ++i) most *= 10;
        digits(number % most, element.width);
    }
    if (part.ordinal)
        m_text += in_case(ordinal_ending(number), case_of(part.text) == Case::upper ? Case::upper : Case::lower);
}

void DateWriter::digits(int number, unsigned width) {
    std::string text = std::to_string(number);
    if (m_fill && text.size() < width) text.insert(0, width - text.size(), '0');
    m_text += text;
}

void DateWriter::word(std::string_view word, const DatePart& part, std::size_t width) {
    if (width != 0) word = word.substr(0, width);
    m_text += in_case(word, case_of(part.text));
    if (m_fill && width > word.size()) m_text.append(width - word.size(), ' ');
}

void DateWriter::zone(const DatePart& part) {
    require(m_family == Family::timestamp_tz || m_family == Family::timestamp_ltz);
    const std::string offset = offset_text(m_moment.offset);
    switch (part.element->kind) {
    case Kind::zone_hour: m_text += offset.substr(0, 3); return;
    case Kind::zone_minute: m_text += offset.substr(4); return;
    case Kind::zone_region: m_text += m_moment.zone; return;
    default: m_text += zone_abbreviation(m_moment);
    }
}

/// Reads a text by a format.
class DateReader {
  public:
    DateReader(std::string_view text, Family family, const SessionSettings& settings)
        : m_text(text),
          m_family(family),
          m_settings(settings) {}

    Moment read(std::string_view format);

  private:
    static constexpr int missing = -1;

    /// @return false when the text has ended where it may.
    bool take(std::string_view format);
    void mark(const DatePart& part);
    void take(const DatePart& part, bool stands_alone);
    void once(const DatePart& part);
    void number(const DatePart& part);
    void year(const DateElement& element, bool stands_alone);
    void fraction(const DatePart& part);
    void zone(const DateElement& element);
    template <std::size_t Count> int one_of(const std::string_view (&names)[Count], const error::Cause& cause);
    int digits(std::size_t width, bool exact);
    Civil date() const;
    Moment moment() const;
    bool has(Field field) const { return (m_fields >> static_cast<unsigned>(field) & 1) != 0; }

    std::string_view m_text;
    const Family m_family;
    const SessionSettings& m_settings;
    std::uint32_t m_fields = 0;
    std::array<const DateElement*, 32> m_taken{}; ///< for each field
    bool m_exact = false;
    bool m_mark_missing = false;
    bool m_fill = true;
    int m_year = missing, m_month = missing, m_day = 1, m_hour = 0, m_minute = 0, m_second = 0;
    int m_day_of_year = missing, m_julian = missing, m_weekday = missing, m_second_of_day = missing;
    bool m_afternoon = false, m_half_days = false;
    int m_nanosecond = 0;
    int m_zone_hour = 0, m_zone_minute = 0;
    bool m_west = false;
    std::string m_zone;
};

Moment DateReader::read(std::string_view format) {
    if (take(format)) {
        skip_blanks(m_text);
        if (!m_text.empty()) throw OracleError(error::format_ends_early);
    }
    return moment();
}

bool DateReader::take(std::string_view format) {
    while (!format.empty()) {
        const DatePart part = take_date_part(format);
        if (part.element == nullptr) {
            mark(part);
            continue;
        }
        const DateElement& element = *part.element;
        if (element.kind == Kind::fill_mode)
            m_fill = !m_fill;
        else if (element.kind == Kind::exact_mode)
            m_exact = true;
        else if (element.kind == Kind::composed) {
            if (!take(composed_format(element))) return false;
        } else {
            if (!m_exact) skip_blanks(m_text);
            if (m_text.empty() && element.time_of_day) {
                once(part);
                continue;
            }
            if (m_text.empty() && element.kind != Kind::decimal_mark) throw OracleError(error::input_too_short);
            take(part, format.empty() || (!is_letter(format[0]) && !is_digit(format[0])));
        }
    }
    return true;
}

/// Any mark stands for any other, and may be left out.
void DateReader::mark(const DatePart& part) {
    if (part.quoted || m_exact) {
        if (!m_text.starts_with(part.text)) throw OracleError(error::literal_does_not_match);
        m_text.remove_prefix(part.text.size());
    } else if (!m_text.empty() && !is_digit(m_text[0]) && !is_letter(m_text[0])) {
        m_text.remove_prefix(1);
    } else {
        m_mark_missing = !m_text.empty() && is_digit(m_text[0]);
    }
}

void DateReader::once(const DatePart& part) {
    const Field field = part.element->field;
    if (field == Field::output_only || part.spelled) throw OracleError(error::format_code_not_for_input);
    if (field == Field::none) return;
    if (has(field)) {
        const bool same = m_taken[static_cast<std::size_t>(field)] == part.element;
        throw OracleError(same                    ? error::format_code_twice
                          : field == Field::year  ? error::year_only_once
                          : field == Field::month ? error::month_only_once
                          : field == Field::hour  ? error::hour_only_once
                                                  : error::format_code_twice);
    }
    m_fields |= 1U << static_cast<unsigned>(field);
    m_taken[static_cast<std::size_t>(field)] = part.element;
    if (part.element->name == "HH24" && has(Field::half_day)) throw OracleError(error::hh24_precludes_meridian);
    if (field == Field::half_day && has(Field::hour) && !m_half_days) throw OracleError(error::hh24_precludes_meridian);
    if (field == Field::hour) m_half_days = part.element->name != "HH24";
}

void DateReader::take(const DatePart& part, bool stands_alone) {
    once(part);
    const DateElement& element = *part.element;
    const bool name = element.kind == Kind::month_name || element.kind == Kind::weekday_name;
    if (std::exchange(m_mark_missing, false) && name) throw OracleError(error::literal_does_not_match);
    switch (element.kind) {
    case Kind::year:
    case Kind::comma_year:
    case Kind::round_year: return year(element, stands_alone);
    case Kind::month_name: m_month = one_of(month_names, error::invalid_month) + 1; return;
    case Kind::weekday_name: m_weekday = one_of(weekday_names, error::invalid_weekday); return;
    case Kind::roman_month:
        // Longer names come before those that they begin with.
        for (const int month : {12, 11, 8, 7, 6, 4, 9, 3, 2, 10, 5, 1}) {
            if (!oci::take(m_text, roman_months[month - 1])) continue;
            m_month = month;
            return;
        }
        throw OracleError(error::invalid_month);
    case Kind::half_day:
        m_afternoon = oci::take(m_text, "PM") || oci::take(m_text, "P.M.");
        if (!m_afternoon && !oci::take(m_text, "AM") && !oci::take(m_text, "A.M."))
            throw OracleError(error::meridian_required);
        return;
    case Kind::era:
        if (oci::take(m_text, "AD") || oci::take(m_text, "A.D.")) return;
        if (oci::take(m_text, "BC") || oci::take(m_text, "B.C."))
            throw OracleError(error::year_out_of_range, "years before 1");
        throw OracleError(error::era_required);
    case Kind::decimal_mark:
        if (!m_text.empty() && !is_digit(m_text[0]) && !is_letter(m_text[0])) m_text.remove_prefix(1);
        return;
    case Kind::fraction: return fraction(part);
    case Kind::zone_hour:
    case Kind::zone_minute:
    case Kind::zone_region:
    case Kind::zone_abbreviation: return zone(element);
    default: number(part);
    }
}

int DateReader::digits(std::size_t width, bool exact) {
    if (m_text.empty() || !is_digit(m_text[0])) throw OracleError(error::not_numeric);
    int number = 0;
    std::size_t count = 0;
    for (; count < width && !m_text.empty() && is_digit(m_text[0]); ++count) {
        number = number * 10 + (m_text[0] - '0');
        m_text.remove_prefix(1);
    }
    if (exact && count < width) throw OracleError(error::wrong_digit_count);
    return number;
}

void DateReader::number(const DatePart& part) {
    const DateElement& element = *part.element;
    if (element.field == Field::month && !m_exact && is_letter(m_text[0])) {
        m_month = one_of(month_names, error::invalid_month) + 1;
        return;
    }
    const int number = digits(element.width, m_exact && m_fill);
    if (number < element.least || number > element.most) throw OracleError(*element.cause);
    switch (element.field) {
    case Field::month: m_month = number; break;
    case Field::day: m_day = number; break;
    case Field::day_of_year: m_day_of_year = number; break;
    case Field::julian: m_julian = number; break;
    case Field::hour: m_hour = number; break;
    case Field::minute: m_minute = number; break;
    case Field::second: m_second = number; break;
    default: m_second_of_day = number;
    }
}

/// @param stands_alone  what follows is no element: four digits are a full year even where the format has two.
void DateReader::year(const DateElement& element, bool stands_alone) {
    if (element.kind == Kind::comma_year) {
        m_year = digits(1, false) * 1000;
        oci::take(m_text, ",");
        m_year += digits(3, true);
        return;
    }
    if (element.name == "SYYYY") {
        if (m_text[0] == '-') throw OracleError(error::year_out_of_range, "years before 1");
        oci::take(m_text, "+");
    }
    const auto count = std::find_if_not(m_text.begin(), m_text.end(), is_digit) - m_text.begin();
    if (count == 0 && element.width == 4) throw OracleError(error::year_out_of_range);
    const std::size_t width = element.width == 2 && stands_alone && count == 4 && !m_exact ? 4 : element.width;
    const int number = digits(width, m_exact && m_fill);
    const bool round = element.kind == Kind::round_year && (width == 2 || count <= 2);
    m_year = number;
    if (width == 4 && !round) return;
    const int span = width == 1 ? 10 : width == 3 ? 1000 : 100;
    const int this_year = local_time().year;
    m_year = this_year - this_year % span + number;
    if (!round || (number < 50) == (this_year % 100 < 50)) return;
    m_year += number < 50 ? 100 : -100;
}

template <std::size_t Count> int DateReader::one_of(const std::string_view (&names)[Count], const error::Cause& cause) {
    for (std::size_t i = 0; i < Count; ++i) {
        if (oci::take(m_text, names[i]) || oci::take(m_text, names[i].substr(0, 3))) return static_cast<int>(i);
    }
    throw OracleError(cause);
}

void DateReader::fraction(const DatePart& part) {
    if (m_family == Family::date) throw OracleError(error::date_format_not_recognized);
    const std::size_t most = part.text.size() == 3 ? static_cast<std::size_t>(part.text[2] - '0') : 9;
    if (m_text.empty() || !is_digit(m_text[0])) throw OracleError(error::not_numeric);
    int scale = 100'000'000;
    for (std::size_t i = 0; i < most && !m_text.empty() && is_digit(m_text[0]); ++i, scale /= 10) {
        m_nanosecond += (m_text[0] - '0') * scale;
        m_text.remove_prefix(1);
    }
}

void DateReader::zone(const DateElement& element) {
    if (m_family != Family::timestamp_tz && m_family != Family::timestamp_ltz) {
        throw OracleError(error::date_format_not_recognized);
    }
    if (element.kind == Kind::zone_minute) {
        m_zone_minute = digits(2, false);
        if (m_zone_minute > 59) throw OracleError(error::time_zone_minute_out_of_range);
        return;
    }
    if (element.kind == Kind::zone_hour) {
        m_west = m_text.starts_with('-');
        if (m_west || m_text.starts_with('+')) m_text.remove_prefix(1);
        m_zone_hour = digits(2, false);
        if (m_zone_hour > 15) throw OracleError(error::time_zone_hour_out_of_range);
        return;
    }
    const std::string_view word = m_text.substr(0, m_text.find(' '));
    if (element.kind == Kind::zone_region) m_zone = word;
    m_text.remove_prefix(word.size());
}

Civil DateReader::date() const {
    Civil date{m_year, m_month, m_day, m_hour, m_minute, m_second};
    if (m_year == missing || m_month == missing) {
        const Civil now = local_time();
        if (m_year == missing) date.year = now.year;
        if (m_month == missing) date.month = now.month;
    }
    if (date.year < 1) throw OracleError(error::year_out_of_range);
    if (m_julian > 0) {
        civil_from_days(m_julian - julian_of_1970, date);
        if (date.year < 1) throw OracleError(error::year_out_of_range, "years before 1");
    } else if (m_day_of_year > 0) {
        if (m_day_of_year == 366 && days_in_month(date.year, 2) == 28)
            throw OracleError(error::day_of_year_out_of_range);
        civil_from_days(days_from_civil(date.year, 1, 1) + m_day_of_year - 1, date);
    }
    if (m_half_days) date.hour = m_hour % 12 + (m_afternoon ? 12 : 0);
    if (m_second_of_day >= 0) {
        date.hour = m_second_of_day / 3600;
        date.minute = m_second_of_day / 60 % 60;
        date.second = m_second_of_day % 60;
    }
    check_civil(date);
    if (m_weekday >= 0 && weekday_of(date) != m_weekday) throw OracleError(error::weekday_conflicts);
    return date;
}

Moment DateReader::moment() const {
    const Civil civil = date();
    if (m_family != Family::timestamp_tz && m_family != Family::timestamp_ltz)
        return {civil, m_nanosecond, false, 0, {}};
    if (!m_zone.empty()) return with_zone(civil, m_nanosecond, m_zone);
    if (has(Field::zone_hour)) {
        const int seconds = m_zone_hour * 3600 + m_zone_minute * 60;
        return with_zone(civil, m_nanosecond, offset_text(m_west ? -seconds : seconds));
    }
    return with_zone(civil, m_nanosecond, session_zone(m_settings));
}

} // namespace

std::string format_moment(const Moment& moment, Family family, int scale, std::string_view format,
                          const SessionSettings& settings) {
    return DateWriter(moment, family, scale, settings).write(format);
}

Moment parse_moment(std::string_view text, std::string_view format, Family family, const SessionSettings& settings) {
    return DateReader(text, family, settings).read(format);
}

const std::string& default_format(Family family, const SessionSettings& settings) {
    return family == Family::date           ? settings.date_format
           : family == Family::timestamp_tz ? settings.timestamp_tz_format
                                            : settings.timestamp_format;
}

int parse_weekday(std::string_view name) {
    for (int i = 0; i < 7; ++i) {
        if (take(name, weekday_names[i]) || take(name, weekday_names[i].substr(0, 3))) return i;
    }
    throw OracleError(error::invalid_weekday);
}

} // namespace oci
