#include "oci/values/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace oci {
namespace {

struct TypeName {
    std::string_view name;
    Family family;
    int size;      ///< where the declaration gives none; 0: it has to give one, or needs none
    int precision; ///< of numbers declared without one
    int scale;
};

constexpr TypeName type_names[] = {
    {"NUMBER", Family::number, 0, 0, any_scale},
    {"NUMERIC", Family::number, 0, 38, 0},
    {"DECIMAL", Family::number, 0, 38, 0},
    {"DEC", Family::number, 0, 38, 0},
    {"INTEGER", Family::number, 0, 38, 0},
    {"INT", Family::number, 0, 38, 0},
    {"SMALLINT", Family::number, 0, 38, 0},
    {"FLOAT", Family::number, 0, 126, any_scale},
    {"DOUBLE PRECISION", Family::number, 0, 126, any_scale},
    {"REAL", Family::number, 0, 63, any_scale},
    {"VARCHAR2", Family::text, 4000, 0, 0},
    {"NVARCHAR2", Family::text, 4000, 0, 0},
    {"VARCHAR", Family::text, 4000, 0, 0},
    {"CHARACTER VARYING", Family::text, 4000, 0, 0},
    {"CHAR VARYING", Family::text, 4000, 0, 0},
    {"CHAR", Family::fixed_text, 1, 0, 0},
    {"NCHAR", Family::fixed_text, 1, 0, 0},
    {"CHARACTER", Family::fixed_text, 1, 0, 0},
    {"DATE", Family::date, 7, 0, 0},
    {"RAW", Family::raw, 2000, 0, 0},
    {"LONG RAW", Family::long_raw, 0, 0, 0},
    {"LONG TEXT", Family::long_text, 0, 0, 0},
    {"LONG", Family::long_text, 0, 0, 0},
    {"ROWID", Family::rowid, 0, 0, 0},
    {"UROWID", Family::rowid, 0, 0, 0},
    {"BLOB", Family::blob, 0, 0, 0},
    {"CLOB", Family::clob, 0, 0, 0},
    {"NCLOB", Family::clob, 0, 0, 0},
};

/// "NUMBER ( 10 , 2 )" taken apart.
struct Declaration {
    std::string name;
    int numbers[2] = {0, 0};
    int count = 0;
};

std::optional<Declaration> take_apart(std::string_view text) {
    Declaration parts;
    const auto open = text.find('(');
    for (const char c : text.substr(0, open)) {
        if (c == ' ' && (parts.name.empty() || parts.name.back() == ' ')) continue;
        parts.name.push_back(c);
    }
    while (parts.name.ends_with(' ')) parts.name.pop_back();
    parts.name = upper(parts.name);
    if (open == std::string_view::npos) return parts;
    const char* const end = text.data() + text.size();
    bool negative = false;
    for (const char* p = text.data() + open; p < end; ++p) {
        if (*p == '*' && parts.count == 0) parts.numbers[parts.count++] = 38;
        if (*p == '-') negative = true;
        if (*p < '0' || *p > '9') continue;
        if (parts.count == 2) return std::nullopt;
        int& number = parts.numbers[parts.count++];
        const auto read = std::from_chars(p, end, number);
        if (read.ec != std::errc{}) return std::nullopt;
        if (std::exchange(negative, false)) number = -number;
        p = read.ptr - 1;
    }
    return parts;
}

bool is_possible(const TypeName& type, const Declaration& parts) {
    const int size = parts.numbers[0];
    const int scale = parts.numbers[1];
    if (parts.count == 0) return true;
    switch (type.family) {
    case Family::number: return size >= 1 && size <= std::max(type.precision, 38) && scale >= -84 && scale <= 127;
    case Family::text: return size >= 1 && size <= 4000;
    case Family::fixed_text:
    case Family::raw: return size >= 1 && size <= 2000;
    default: return true;
    }
}

/// Rounds half away from zero, as decimal rounding does, whatever error scaling the binary fraction adds.
double round_to(double number, int digits) {
    const double power = power_of_ten(digits);
    const double scaled = number * power;
    if (!(std::fabs(scaled) < 0x1p52)) return number; // greater ones have no fraction
    const double rounded = std::nearbyint(scaled);
    const double tolerance = std::min(std::fabs(scaled) * 4 * std::numeric_limits<double>::epsilon(), 0.05);
    const bool tie = std::fabs(std::fabs(scaled - rounded) - 0.5) <= tolerance;
    return (tie ? std::trunc(scaled + std::copysign(0.5 + tolerance, scaled)) : rounded) / power;
}

/// Has the number no more than so many digits before the point? A double has too few digits to tell of great integers.
bool is_below(const Value& number, int digits) {
    if (number.type == Value::Type::real || digits < 0 || digits > 18) {
        const double real = number.type == Value::Type::real ? number.real : static_cast<double>(number.integer);
        return std::fabs(real) < power_of_ten(digits);
    }
    std::int64_t limit = 1;
    for (int i = 0; i < digits; ++i) limit *= 10;
    return number.integer > -limit && number.integer < limit;
}

[[noreturn]] void value_too_large(std::string_view column, std::size_t actual, std::size_t maximum) {
    throw OracleError(error::value_too_large, "\"" + std::string(column) + "\" (actual: " + std::to_string(actual) +
                                 ", maximum: " + std::to_string(maximum) + ")");
}

Value fit_number(const Value& given, const ColumnType& type) {
    Value number = number_of(given);
    if (number.type == Value::Type::real && !(std::fabs(number.real) < number_limit)) throw OracleError(error::numeric_overflow);
    if (type.scale == any_scale) return number;
    if (number.type == Value::Type::real) {
        const double rounded = round_to(number.real, type.scale);
        const bool whole = std::trunc(rounded) == rounded && std::fabs(rounded) < 9.2e18;
        number = whole ? Value::of(static_cast<std::int64_t>(rounded)) : Value::of(rounded);
    } else if (type.scale < 0) {
        number = Value::of(static_cast<std::int64_t>(round_to(static_cast<double>(number.integer), type.scale)));
    }
    if (!is_below(number, type.precision - type.scale)) throw OracleError(error::precision_exceeded);
    return number;
}

Value fit_text(const Value& given, const ColumnType& type, std::string_view column, std::string& scratch) {
    Value text = given;
    if (given.type == Value::Type::integer || given.type == Value::Type::real) text = Value::of(number_text(given, scratch));
    if (given.type == Value::Type::blob && type.family != Family::clob) text = Value::of(scratch = hex_of(given.text()));
    text.type = Value::Type::text;
    if (type.size != 0 && text.size > type.size) value_too_large(column, text.size, type.size);
    if (type.family == Family::fixed_text && text.size < type.size) {
        std::string padded(text.text());
        padded.resize(type.size, ' ');
        text = Value::of(scratch = std::move(padded));
    }
    return text;
}

Value fit_date(const Value& given, std::string& scratch) {
    if (given.type != Value::Type::text) throw OracleError(error::inconsistent_datatypes, "expected DATE got NUMBER");
    Civil civil{};
    if (given.size == 10) {
        scratch.assign(given.data, given.size).append(" 00:00:00");
        if (!parse_iso(scratch, civil)) throw OracleError(error::literal_does_not_match);
        check_civil(civil);
        return Value::of(scratch);
    }
    if (!parse_iso(given.text(), civil)) throw OracleError(error::literal_does_not_match);
    check_civil(civil);
    return given;
}

Value fit_bytes(const Value& given, const ColumnType& type, std::string_view column, std::string& scratch) {
    Value bytes = given;
    if (given.type == Value::Type::text) {
        scratch = bytes_of_hex(given.text());
        bytes = Value::of_bytes(scratch.data(), scratch.size());
    } else if (given.type != Value::Type::blob) {
        throw OracleError(error::inconsistent_datatypes, "expected BINARY got NUMBER");
    }
    if (type.size != 0 && bytes.size > type.size) value_too_large(column, bytes.size, type.size);
    return bytes;
}

} // namespace

double power_of_ten(int exponent) {
    static constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                                        1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
    return exponent >= 0 && exponent < 20 ? powers[exponent] : std::pow(10.0, exponent);
}

ColumnType ColumnType::number(int digits, int behind_point) {
    ColumnType type;
    type.family = Family::number;
    type.precision = static_cast<sb2>(digits);
    type.scale = static_cast<sb1>(behind_point);
    return type;
}

ColumnType ColumnType::of_family(Family family, int size) {
    ColumnType type;
    type.family = family;
    type.size = static_cast<ub2>(size);
    type.scale = 0;
    return type;
}

std::optional<ColumnType> ColumnType::parse(std::string_view declaration) {
    const auto parts = take_apart(declaration);
    if (!parts) return std::nullopt;
    for (const auto& known : type_names) {
        if (known.name != parts->name) continue;
        if (!is_possible(known, *parts)) return std::nullopt;
        ColumnType type = of_family(known.family, parts->count > 0 ? parts->numbers[0] : known.size);
        if (known.family == Family::number) {
            type = number(parts->count > 0 ? parts->numbers[0] : known.precision,
                          parts->count == 2 ? parts->numbers[1] : parts->count == 1 && known.scale != any_scale ? 0 : known.scale);
            if (parts->count == 1 && known.name == "NUMBER") type.scale = 0;
        }
        return type;
    }
    return std::nullopt;
}

std::string ColumnType::declaration() const {
    const auto sized = [this](const char* name) { return name + ("(" + std::to_string(size) + ")"); };
    switch (family) {
    case Family::number:
        if (scale == any_scale) return precision == 0 ? "NUMBER" : "FLOAT(" + std::to_string(precision) + ")";
        return "NUMBER(" + std::to_string(precision) + "," + std::to_string(scale) + ")";
    case Family::text: return sized("VARCHAR2");
    case Family::fixed_text: return sized("CHAR");
    case Family::date: return "DATE";
    case Family::raw: return sized("RAW");
    case Family::long_raw: return "LONG RAW";
    case Family::long_text: return "LONG TEXT"; // the word TEXT keeps SQLite from storing digits as a number
    case Family::rowid: return "ROWID";
    case Family::blob: return "BLOB";
    case Family::clob: return "CLOB";
    case Family::binary_float: return "BINARY_FLOAT";
    case Family::binary_double: return "BINARY_DOUBLE";
    case Family::timestamp: return "TIMESTAMP(" + std::to_string(scale) + ")";
    case Family::timestamp_tz: return "TIMESTAMP(" + std::to_string(scale) + ") WITH TIME ZONE";
    case Family::timestamp_ltz: return "TIMESTAMP(" + std::to_string(scale) + ") WITH LOCAL TIME ZONE";
    case Family::interval_ym: return "INTERVAL YEAR(" + std::to_string(precision) + ") TO MONTH";
    case Family::interval_ds:
        return "INTERVAL DAY(" + std::to_string(precision) + ") TO SECOND(" + std::to_string(scale) + ")";
    case Family::boolean: return "BOOLEAN";
    case Family::unknown: break;
    }
    return {};
}

ub2 ColumnType::external() const {
    switch (family) {
    case Family::number: return SQLT_NUM;
    case Family::fixed_text: return SQLT_AFC;
    case Family::date: return SQLT_DAT;
    case Family::raw: return SQLT_BIN;
    case Family::long_raw: return SQLT_LBI;
    case Family::long_text: return SQLT_LNG;
    case Family::rowid: return SQLT_RDD;
    case Family::blob: return SQLT_BLOB;
    case Family::clob: return SQLT_CLOB;
    case Family::binary_float: return SQLT_IBFLOAT;
    case Family::binary_double: return SQLT_IBDOUBLE;
    case Family::timestamp: return SQLT_TIMESTAMP;
    case Family::timestamp_tz: return SQLT_TIMESTAMP_TZ;
    case Family::timestamp_ltz: return SQLT_TIMESTAMP_LTZ;
    case Family::interval_ym: return SQLT_INTERVAL_YM;
    case Family::interval_ds: return SQLT_INTERVAL_DS;
    case Family::text:
    case Family::boolean:
    case Family::unknown: break;
    }
    return SQLT_CHR;
}

ub2 ColumnType::described_size() const {
    switch (family) {
    case Family::number: return 22;
    case Family::rowid: return 18;
    case Family::blob:
    case Family::clob: return 4000;
    case Family::unknown: return 4000;
    case Family::binary_float: return 4;
    case Family::binary_double: return 8;
    case Family::timestamp:
    case Family::timestamp_ltz:
    case Family::interval_ds: return 11;
    case Family::timestamp_tz: return 13;
    case Family::interval_ym: return 5;
    default: return size;
    }
}

Value fit(const Value& value, const ColumnType& type, std::string_view column, std::string& scratch) {
    if (value.is_null()) return value;
    switch (type.family) {
    case Family::number: return fit_number(value, type);
    case Family::text:
    case Family::fixed_text:
    case Family::long_text:
    case Family::rowid:
    case Family::clob: return fit_text(value, type, column, scratch);
    case Family::date: return fit_date(value, scratch);
    case Family::raw:
    case Family::long_raw:
    case Family::blob: return fit_bytes(value, type, column, scratch);
    default: return value;
    }
}

} // namespace oci
