#include "oci/values/formats.h"

#include "oci/values/scan.h"

#include <bit>
#include <charconv>
#include <cstdlib>

namespace oci {
namespace {

/// A number format, taken apart.
struct NumberFormat {
    enum class Sign : std::uint8_t { only_minus, in_front, behind, minus_behind, angles };
    enum class Form : std::uint8_t { plain, scientific, hexadecimal, roman, shortest, shortest_scientific };

    Form form = Form::plain;
    Sign sign = Sign::only_minus;
    bool fill = true;
    bool lower = false;             ///< of hexadecimal and Roman digits
    std::string currency;           ///< in front
    std::size_t currency_width = 0; ///< that is kept for it
    bool currency_behind = false;
    bool point = false;
    bool blank_zero = false; ///< B
    int shift = 0;           ///< V: powers of ten
    bool shifted = false;
    int before = 0; ///< digits before the point, and behind it
    int after = 0;
    int shown = 0;            ///< digits before the point that are shown even where they lead with zero
    int kept = 0;             ///< digits behind the point that are shown in fill mode even where they end in zero
    std::uint64_t groups = 0; ///< bit n: a group mark stands before the last n digits of the whole part
    char group_mark = ',';
    char decimal_mark = '.';

    NumberFormat(std::string_view format, const SessionSettings& settings);
    std::size_t width() const;

  private:
    void take_element(std::string_view& format, const SessionSettings& settings);
    void take_group(std::string_view& format);
    bool take_special(std::string_view& format);
    bool take_currency(std::string_view& format, const SessionSettings& settings);
    bool take_sign(std::string_view& format);
    void add_digit(char c);
    void require(bool condition) const {
        if (!condition) throw OracleError(error::invalid_number_format);
    }
};

NumberFormat::NumberFormat(std::string_view format, const SessionSettings& settings) {
    if (take(format, "FM")) fill = false;
    if (take_special(format)) return;
    if (take(format, "S")) sign = Sign::in_front;
    while (!format.empty()) take_element(format, settings);
    require(before + after != 0 && (groups & 1) == 0);
    require(form != Form::scientific || (groups == 0 && !shifted));
}

bool NumberFormat::take_special(std::string_view& format) {
    const std::string_view whole = format;
    lower = !format.empty() && format[0] != to_upper(format[0]);
    if (take(format, "RN")) {
        form = Form::roman;
    } else if (take(format, "TM9") || take(format, "TME") || take(format, "TM")) {
        form = to_upper(whole[whole.size() - 1]) == 'E' ? Form::shortest_scientific : Form::shortest;
    } else if (const auto zeros = std::min(format.find_first_not_of('0'), format.size());
               zeros < format.size() && to_upper(format[zeros]) == 'X') {
        form = Form::hexadecimal;
        lower = format[zeros] == 'x';
        shown = static_cast<int>(zeros);
        format.remove_prefix(zeros);
        before = shown;
        while (take(format, "X")) ++before;
        if (shown != 0) shown = before;
        require(before <= 63);
    } else {
        return false;
    }
    require(format.empty());
    return true;
}

void NumberFormat::take_element(std::string_view& format, const SessionSettings& settings) {
    require(sign != Sign::behind && sign != Sign::minus_behind && sign != Sign::angles);
    if (is_digit(format[0])) {
        add_digit(format[0]);
        format.remove_prefix(1);
    } else if (format[0] == ',' || to_upper(format[0]) == 'G') {
        if (format[0] != ',') group_mark = settings.group_mark;
        take_group(format);
    } else if (format[0] == '.' || to_upper(format[0]) == 'D') {
        if (format[0] != '.') decimal_mark = settings.decimal_mark;
        require(!point && !shifted);
        point = true;
        format.remove_prefix(1);
    } else if (take(format, "EEEE")) {
        require(form == Form::plain && before + after != 0);
        form = Form::scientific;
    } else if (take(format, "V")) {
        require(!shifted && !point);
        shifted = true;
    } else if (take(format, "B")) {
        require(!blank_zero);
        blank_zero = true;
    } else {
        require(take_sign(format) || take_currency(format, settings));
    }
}

/// Of a territory.
std::string iso_currency(std::string_view territory) {
    static constexpr std::pair<std::string_view, const char*> known[] = {
        {"AMERICA", "USD"}, {"UNITED KINGDOM", "GBP"}, {"JAPAN", "JPY"},  {"SWITZERLAND", "CHF"}, {"GERMANY", "EUR"},
        {"FRANCE", "EUR"},  {"ITALY", "EUR"},          {"SPAIN", "EUR"},  {"AUSTRIA", "EUR"},     {"IRELAND", "EUR"},
        {"CANADA", "CAD"},  {"AUSTRALIA", "AUD"},      {"SWEDEN", "SEK"}, {"DENMARK", "DKK"},     {"NORWAY", "NOK"}};
    for (const auto& [name, code] : known) {
        if (name == territory) return code;
    }
    throw OracleError(error::unimplemented, "the currency of " + std::string(territory));
}

void NumberFormat::take_group(std::string_view& format) {
    require(before != 0 && !point && !shifted);
    groups |= 1;
    format.remove_prefix(1);
}

bool NumberFormat::take_sign(std::string_view& format) {
    if (sign != Sign::only_minus) return false;
    const bool ends = format.size() == 1;
    if (ends && take(format, "S"))
        sign = Sign::behind;
    else if (take(format, "MI"))
        sign = Sign::minus_behind;
    else if (take(format, "PR"))
        sign = Sign::angles;
    else
        return false;
    require(format.empty());
    return true;
}

bool NumberFormat::take_currency(std::string_view& format, const SessionSettings& settings) {
    if (!currency.empty()) return false;
    currency_behind = before + after != 0 || point;
    if (take(format, "$")) {
        currency = "$";
        currency_width = 1;
        currency_behind = false;
    } else if (take(format, "L")) {
        currency = settings.currency;
        currency_width = 10;
    } else if (take(format, "C")) {
        currency = iso_currency(settings.iso_currency);
        currency_width = 7;
    } else if (take(format, "U")) {
        currency = settings.dual_currency;
        currency_width = 10;
    }
    return !currency.empty();
}

void NumberFormat::add_digit(char c) {
    require((c == '0' || c == '9') && before + after < 63 && form == Form::plain);
    if (shifted) ++shift;
    if (point) {
        ++after;
        if (c == '0') kept = after;
    } else {
        ++before;
        groups <<= 1;
        if (c == '0' || shown != 0) ++shown;
    }
}

std::size_t NumberFormat::width() const {
    const int sign_width = sign == Sign::angles ? 2 : 1;
    return static_cast<std::size_t>(before + after + std::popcount(groups) + (point ? 1 : 0) + sign_width) +
           currency_width + (form == Form::scientific ? 4 : 0);
}

/// The digits, with group marks and point and without the sign.
std::string digits_of(const Decimal& number, const NumberFormat& format) {
    const std::string digits = number.digit_text();
    const auto digit = [&](int power) {
        const int place = static_cast<int>(digits.size()) - 1 - (power - number.exponent());
        return place >= 0 && place < static_cast<int>(digits.size()) ? digits[static_cast<std::size_t>(place)] : '0';
    };
    std::string text;
    int after = format.after;
    while (!format.fill && after > format.kept && digit(-after) == '0') --after;
    int before = std::max({number.whole_digits(), format.shown, 0});
    if (before == 0 && after == 0) before = 1;
    for (int power = before - 1; power >= -after; --power) {
        if (power == -1) text.push_back(format.decimal_mark);
        text.push_back(digit(power));
        if (power > 0 && power < 64 && (format.groups >> power & 1) != 0) text.push_back(format.group_mark);
    }
    if (format.point && after == 0) text.push_back(format.decimal_mark);
    return text;
}

std::string scientific(const Decimal& number, int places, char mark) {
    const Decimal rounded = number.is_zero() ? number : number.to_digits(places + 1);
    std::string digits = rounded.digit_text();
    const int power = rounded.is_zero() ? 0 : rounded.whole_digits() - 1;
    digits.resize(static_cast<std::size_t>(places) + 1, '0');
    if (places > 0) digits.insert(1, 1, mark);
    digits += power < 0 ? "E-" : "E+";
    if (std::abs(power) < 10) digits += '0';
    return digits + std::to_string(std::abs(power));
}

std::string roman(const Decimal& number, bool lower) {
    static constexpr std::pair<int, std::string_view> numerals[] = {
        {1000, "M"}, {900, "CM"}, {500, "D"}, {400, "CD"}, {100, "C"}, {90, "XC"}, {50, "L"},
        {40, "XL"},  {10, "X"},   {9, "IX"},  {5, "V"},    {4, "IV"},  {1, "I"}};
    const Decimal whole = number.rounded(0);
    if (whole.is_negative() || whole.is_zero() || whole.whole_digits() > 4) return std::string(15, '#');
    auto rest = std::atoi(whole.text().c_str());
    if (rest > 3999) return std::string(15, '#');
    std::string text;
    for (const auto& [value, numeral] : numerals) {
        for (; rest >= value; rest -= value) text += numeral;
    }
    if (lower) std::transform(text.begin(), text.end(), text.begin(), to_lower);
    return text;
}

std::string hexadecimal(const Decimal& number, const NumberFormat& format) {
    const auto width = static_cast<std::size_t>(format.before) + 1;
    const Decimal whole = number.rounded(0);
    if (whole.is_negative() || whole.whole_digits() > 19) return std::string(width, '#');
    std::uint64_t value = 0;
    const std::string plain = whole.text();
    std::from_chars(plain.data(), plain.data() + plain.size(), value);
    char digits[16];
    std::string text(digits, std::to_chars(digits, std::end(digits), value, 16).ptr);
    if (!format.lower) text = upper(text);
    if (text.size() >= width) return std::string(width, '#');
    if (const auto shown = static_cast<std::size_t>(format.shown); text.size() < shown)
        text.insert(0, shown - text.size(), '0');
    return text;
}

/// The number with what its format puts around it, not yet as wide as the format.
std::string decorated(std::string digits, bool negative, const NumberFormat& format) {
    using Sign = NumberFormat::Sign;
    const char sign = negative ? '-' : '+';
    std::string text;
    if (format.sign == Sign::in_front || (format.sign == Sign::only_minus && negative)) text += sign;
    if (format.sign == Sign::angles && negative) text += '<';
    if (!format.currency_behind) text += format.currency;
    text += digits;
    if (format.currency_behind) text += format.currency;
    if (format.sign == Sign::behind || (format.sign == Sign::minus_behind && negative))
        text += sign;
    else if (format.sign == Sign::minus_behind && format.fill)
        text += ' ';
    if (format.sign == Sign::angles) text += negative ? ">" : format.fill ? " " : "";
    return text;
}

constexpr std::string_view small_numbers[] = {
    "ZERO", "ONE",    "TWO",    "THREE",    "FOUR",     "FIVE",    "SIX",     "SEVEN",     "EIGHT",    "NINE",
    "TEN",  "ELEVEN", "TWELVE", "THIRTEEN", "FOURTEEN", "FIFTEEN", "SIXTEEN", "SEVENTEEN", "EIGHTEEN", "NINETEEN"};
constexpr std::string_view tens[] = {"",      "",      "TWENTY",  "THIRTY", "FORTY",
                                     "FIFTY", "SIXTY", "SEVENTY", "EIGHTY", "NINETY"};

} // namespace

std::string format_number(const Decimal& given, std::string_view format_text, const SessionSettings& settings) {
    using Form = NumberFormat::Form;
    const NumberFormat format(format_text, settings);
    std::string text;
    std::size_t width = format.width();
    switch (format.form) {
    case Form::roman:
        text = roman(given, format.lower);
        width = 15;
        break;
    case Form::hexadecimal:
        text = hexadecimal(given, format);
        width = static_cast<std::size_t>(format.before) + 1;
        break;
    case Form::shortest: return given.text();
    case Form::shortest_scientific:
        return (given.is_negative() ? "-" : "") + scientific(given, std::max(given.digits() - 1, 0), '.');
    case Form::scientific:
        text = decorated(scientific(given, format.after, format.decimal_mark), given.is_negative(), format);
        ++width;
        break;
    case Form::plain: {
        const Decimal shifted(given.is_negative(), given.coefficient(), given.exponent() + format.shift);
        const Decimal number = (given.is_zero() ? given : shifted).rounded(format.after);
        if (number.whole_digits() > format.before) return std::string(width, '#');
        if (format.blank_zero && number.is_zero())
            text = "";
        else
            text = decorated(digits_of(number, format), given.is_negative() && !number.is_zero(), format);
    }
    }
    if (format.fill && text.size() < width) text.insert(0, width - text.size(), ' ');
    return text;
}

Decimal parse_number(std::string_view text, std::string_view format_text, const SessionSettings& settings) {
    using Sign = NumberFormat::Sign;
    const NumberFormat format(format_text, settings);
    const auto require = [](bool condition) {
        if (!condition) throw OracleError(error::invalid_number);
    };
    skip_blanks(text);
    if (format.form == NumberFormat::Form::hexadecimal) {
        std::uint64_t value = 0;
        const auto read = std::from_chars(text.data(), text.data() + text.size(), value, 16);
        require(read.ec == std::errc{} && read.ptr == text.data() + text.size() &&
                static_cast<int>(text.size()) <= format.before);
        return {false, value, 0};
    }
    require(format.form == NumberFormat::Form::plain || format.form == NumberFormat::Form::scientific);
    std::string plain;
    const bool sign_behind = format.sign == Sign::behind || format.sign == Sign::minus_behind;
    bool negative = !sign_behind && format.sign != Sign::angles && take(text, "-");
    if (!sign_behind && !negative) take(text, "+");
    const bool angles = format.sign == Sign::angles && take(text, "<");
    if (!format.currency.empty() && !format.currency_behind) take(text, format.currency);

    const auto is_whole = [&](char c) { return is_digit(c) || (c == format.group_mark && format.groups != 0); };
    const auto size = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_whole) - text.begin());
    auto digits = std::count_if(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size), is_digit);
    require(digits <= format.before);
    for (const char c : text.substr(0, size)) {
        require(c != format.group_mark || (format.groups >> digits & 1) != 0);
        if (c == format.group_mark) continue;
        plain.push_back(c);
        --digits;
    }
    text.remove_prefix(size);
    if (format.point && text.starts_with(format.decimal_mark)) {
        text.remove_prefix(1);
        plain.push_back('.');
        for (int after = format.after; after > 0 && !text.empty() && is_digit(text[0]);
             --after, text.remove_prefix(1)) {
            plain.push_back(text[0]);
        }
    }
    if (format.form == NumberFormat::Form::scientific) {
        plain += text;
        text = {};
    }
    if (format.currency_behind) take(text, format.currency);
    if (sign_behind) negative = take(text, "-");
    if (format.sign == Sign::behind && !negative) take(text, "+");
    if (angles) require(take(text, ">"));
    skip_blanks(text);
    Decimal number;
    require(text.empty() && Decimal::parse(plain, number));
    return negative || angles ? -number : number;
}

std::string spelled(std::uint64_t number) {
    if (number < 20) return std::string(small_numbers[number]);
    if (number < 100) {
        return std::string(tens[number / 10]) + (number % 10 == 0 ? "" : "-" + std::string(small_numbers[number % 10]));
    }
    static constexpr std::pair<std::uint64_t, std::string_view> units[] = {
        {1'000'000, " MILLION"}, {1000, " THOUSAND"}, {100, " HUNDRED"}};
    for (const auto& [unit, name] : units) {
        if (number < unit) continue;
        const std::string front = spelled(number / unit) + std::string(name);
        return number % unit == 0 ? front : front + " " + spelled(number % unit);
    }
    return {};
}

} // namespace oci
