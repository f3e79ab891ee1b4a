#include "oci/functions/formats.h"

#include "oci/values/decimal.h"
#include "oci/values/scan.h"

#include <bit>

namespace oci {
namespace {

/// A number format, taken apart.
struct NumberFormat {
    enum class Sign : std::uint8_t { only_minus, in_front, behind, minus_behind };

    Sign sign = Sign::only_minus;
    bool fill = true;
    bool dollar = false;
    bool point = false;
    int before = 0; ///< digits before the point, and behind it
    int after = 0;
    int shown = 0;            ///< digits before the point that are shown even where they lead with zero
    int kept = 0;             ///< digits behind the point that are shown in fill mode even where they end in zero
    std::uint64_t groups = 0; ///< bit n: a group mark stands before the last n digits of the whole part

    explicit NumberFormat(std::string_view format);
    void add_digit(char c);
    int width() const { return before + after + std::popcount(groups) + (point ? 1 : 0) + 1 + (dollar ? 1 : 0); }
};

NumberFormat::NumberFormat(std::string_view format) {
    if (take(format, "FM")) fill = false;
    if (take(format, "S")) sign = Sign::in_front;
    while (!format.empty()) {
        if (sign == Sign::behind || sign == Sign::minus_behind) throw OracleError(error::invalid_number_format);
        if (is_digit(format[0])) {
            add_digit(format[0]);
            format.remove_prefix(1);
        } else if (before != 0 && !point && (take(format, ",") || take(format, "G"))) {
            groups |= 1;
        } else if (!point && (take(format, ".") || take(format, "D"))) {
            point = true;
        } else if (!dollar && take(format, "$")) {
            dollar = true;
        } else if (sign == Sign::only_minus && take(format, "S")) {
            sign = Sign::behind;
        } else if (sign == Sign::only_minus && take(format, "MI")) {
            sign = Sign::minus_behind;
        } else {
            throw OracleError(error::invalid_number_format);
        }
    }
    if (before + after == 0 || (groups & 1) != 0) throw OracleError(error::invalid_number_format);
}

void NumberFormat::add_digit(char c) {
    if ((c != '0' && c != '9') || before + after >= 63) throw OracleError(error::invalid_number_format);
    if (point) {
        ++after;
        if (c == '0') kept = after;
    } else {
        ++before;
        groups <<= 1;
        if (c == '0' || shown != 0) ++shown;
    }
}

/// The digits, with group marks and point and without the sign.
void put_digits(std::string& text, const Decimal& number, const NumberFormat& format) {
    int after = format.after;
    while (!format.fill && after > format.kept && number.digit(-after) == '0') --after;
    int before = std::max({number.whole_digits(), format.shown, 0});
    if (before == 0 && after == 0) before = 1;
    for (int power = before - 1; power >= -after; --power) {
        if (power == -1) text.push_back('.');
        text.push_back(number.digit(power));
        if (power > 0 && (format.groups >> power & 1) != 0) text.push_back(',');
    }
    if (format.point && after == 0) text.push_back('.');
}

} // namespace

std::string format_number(const Value& number, std::string_view format_text) {
    using Sign = NumberFormat::Sign;
    const NumberFormat format(format_text);
    Decimal decimal(number);
    decimal.round(format.after, Rounding::half_up);
    const auto width = static_cast<std::size_t>(format.width());
    if (decimal.whole_digits() > format.before) return std::string(width, '#');
    std::string text;
    const char sign = decimal.is_negative() ? '-' : '+';
    const bool leads = format.sign == Sign::in_front || (format.sign == Sign::only_minus && sign == '-');
    if (leads) text.push_back(sign);
    if (format.dollar) text.push_back('$');
    put_digits(text, decimal, format);
    if (format.sign == Sign::behind || (format.sign == Sign::minus_behind && sign == '-')) {
        text.push_back(sign);
    } else if (format.sign == Sign::minus_behind && format.fill) {
        text.push_back(' ');
    }
    if (format.fill) text.insert(0, width - text.size(), ' ');
    return text;
}

Value parse_number(std::string_view text, std::string_view format_text) {
    using Sign = NumberFormat::Sign;
    const NumberFormat format(format_text);
    const bool sign_behind = format.sign == Sign::behind || format.sign == Sign::minus_behind;
    std::string plain = " ";
    skip_blanks(text);
    if (!sign_behind && take(text, "-")) plain[0] = '-';
    if (!sign_behind && plain[0] == ' ') take(text, "+");
    if (format.dollar) take(text, "$");

    const auto size = std::min(text.find_first_not_of("0123456789,"), text.size());
    auto digits = std::count_if(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size), is_digit);
    if (digits > format.before) throw OracleError(error::invalid_number);
    for (const char c : text.substr(0, size)) {
        if (c == ',' && (format.groups >> digits & 1) == 0) throw OracleError(error::invalid_number);
        if (c == ',') continue;
        plain.push_back(c);
        --digits;
    }
    text.remove_prefix(size);
    if (format.point && take(text, ".")) {
        plain.push_back('.');
        for (int after = format.after; after > 0 && !text.empty() && is_digit(text[0]); --after) {
            plain.push_back(text[0]);
            text.remove_prefix(1);
        }
    }
    if (sign_behind && take(text, "-")) plain[0] = '-';
    if (format.sign == Sign::behind && plain[0] == ' ') take(text, "+");
    skip_blanks(text);
    if (!text.empty()) throw OracleError(error::invalid_number);
    return number_of(plain);
}

} // namespace oci
