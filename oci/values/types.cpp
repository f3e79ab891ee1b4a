#include "oci/values/dates/moments.h"
#include "oci/values/decimal.h"
#include "oci/values/scan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

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
    {"BINARY_FLOAT", Family::binary_float, 0, 0, 0},
    {"BINARY_DOUBLE", Family::binary_double, 0, 0, 0},
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
    bool in_characters = false; ///< (n CHAR)
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
    parts.in_characters = upper(text.substr(open)).find("CHAR") != std::string::npos;
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

/// "TIMESTAMP(3) WITH TIME ZONE", "INTERVAL DAY(2) TO SECOND(6)".
std::optional<ColumnType> parse_moment_type(std::string_view declaration) {
    std::string name;
    std::vector<int> numbers;
    for (std::size_t i = 0; i < declaration.size(); ++i) {
        const char c = declaration[i];
        if (c == '(') {
            int number = 0;
            for (++i; i < declaration.size() && declaration[i] != ')'; ++i) {
                if (is_digit(declaration[i]) && number < 100) number = number * 10 + (declaration[i] - '0');
            }
            numbers.push_back(number);
            name += '#';
        } else if (c != ' ' || (!name.empty() && name.back() != ' ')) {
            if (c == ' ' && !name.empty() && name.back() == '#') continue;
            name += to_upper(c);
        }
    }
    while (name.ends_with(' ')) name.pop_back();
    const auto has = [&](std::string_view word) { return name.find(word) != std::string::npos; };
    const auto of = [](Family family, int precision, int scale) {
        ColumnType type = ColumnType::of_family(family);
        type.precision = static_cast<sb2>(precision);
        type.scale = static_cast<sb1>(scale);
        return precision <= 9 && scale <= 9 ? std::optional(type) : std::nullopt;
    };
    const auto number = [&](std::size_t index, int otherwise) {
        return index < numbers.size() ? numbers[index] : otherwise;
    };
    if (name.starts_with("TIMESTAMP")) {
        return of(has("LOCAL")  ? Family::timestamp_ltz
                  : has("ZONE") ? Family::timestamp_tz
                                : Family::timestamp,
                  0, number(0, 6));
    }
    if (!name.starts_with("INTERVAL")) return std::nullopt;
    if (has("YEAR")) return of(Family::interval_ym, number(0, 2), 0);
    const bool precision = has("DAY#");
    return of(Family::interval_ds, precision ? number(0, 2) : 2, number(precision ? 1 : 0, 6));
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

[[noreturn]] void value_too_large(std::string_view column, std::size_t actual, std::size_t maximum) {
    throw OracleError(error::value_too_large, "\"" + std::string(column) + "\" (actual: " + std::to_string(actual) +
                                                  ", maximum: " + std::to_string(maximum) + ")");
}

Value fit_number(const Value& given, const ColumnType& type) {
    const Value number = number_of(given);
    if (number.type == Value::Type::real && !(std::fabs(number.real) < number_limit)) {
        throw OracleError(error::numeric_overflow);
    }
    if (type.scale == any_scale) return number;
    constexpr std::int64_t sure = 1'000'000'000'000'000'000; // has 18 digits at most, of which none is lost
    const int whole_digits = type.precision - type.scale;
    if (number.type == Value::Type::integer && type.scale >= 0 && whole_digits >= 18 && number.integer > -sure &&
        number.integer < sure) {
        return number;
    }
    const Decimal rounded = Decimal(number).rounded(type.scale);
    if (rounded.whole_digits() > whole_digits) throw OracleError(error::precision_exceeded);
    return rounded.exact();
}

Value fit_text(const Value& given, const ColumnType& type, std::string_view column, std::string& scratch) {
    Value text = given;
    if (given.type == Value::Type::integer || given.type == Value::Type::real)
        text = Value::of(number_text(given, scratch));
    if (given.type == Value::Type::blob && type.family != Family::clob)
        text = Value::of(scratch = hex_of(given.text()));
    text.type = Value::Type::text;
    if (type.size == 0 || (text.size <= type.size && type.family != Family::fixed_text)) return text;
    const std::size_t length = type.length_of(text.text());
    if (length > type.size) value_too_large(column, length, type.size);
    if (type.size <= longest_text && text.size > longest_text) value_too_large(column, text.size, longest_text);
    if (type.family == Family::fixed_text && length < type.size) {
        std::string padded(text.text());
        padded.append(type.size - length, ' ');
        text = Value::of(scratch = std::move(padded));
    }
    return text;
}

/// Half of the last digit that is kept is rounded up.
Moment rounded(const Moment& moment, int digits) {
    std::int64_t unit = 1;
    for (int i = digits; i < 9; ++i) unit *= 10;
    const std::int64_t nanoseconds = (moment.nanosecond + unit / 2) / unit * unit;
    return plus_nanoseconds(moment, nanoseconds - moment.nanosecond);
}

Value fit_moment(const Value& given, const ColumnType& type, std::string& scratch) {
    if (given.type != Value::Type::text) throw OracleError(error::inconsistent_datatypes, "expected DATE got NUMBER");
    Moment moment;
    Family family = read_moment(given.text(), moment);
    if (family == Family::unknown && given.size == 10) {
        scratch.assign(given.data, given.size).append(" 00:00:00");
        family = read_moment(scratch, moment);
    }
    if (family == Family::unknown) throw OracleError(error::literal_does_not_match);
    check_civil(moment.civil);
    if (type.family == Family::date)
        return given.size == iso_size ? given : Value::of(write_moment(moment, Family::date, scratch));
    const bool same = family == Family::timestamp && type.family != Family::timestamp_tz;
    if (type.scale >= 9 && (same || family == type.family)) return given;
    if (type.family == Family::timestamp_tz && !moment.has_zone) throw OracleError(error::invalid_time_zone);
    return Value::of(write_moment(rounded(moment, type.scale), type.family, scratch));
}

Value fit_interval(const Value& given, const ColumnType& type) {
    const Value number = number_of(given);
    if (number.type != Value::Type::integer) throw OracleError(error::invalid_interval);
    const bool months = type.family == Family::interval_ym;
    std::int64_t value = number.integer;
    if (!months) {
        std::int64_t unit = 1;
        for (int i = type.scale; i < 9; ++i) unit *= 10;
        const std::int64_t half = value < 0 ? -unit / 2 : unit / 2;
        if (__builtin_add_overflow(value, half, &value)) throw OracleError(error::interval_precision_too_small);
        value -= value % unit;
    }
    const std::int64_t leading = value / (months ? 12 : nanoseconds_per_day);
    std::int64_t limit = 1;
    for (int i = 0; i < type.precision; ++i) limit *= 10;
    if (leading <= -limit || leading >= limit) throw OracleError(error::interval_precision_too_small);
    return Value::of(value);
}

Value fit_binary(const Value& given, const ColumnType& type) {
    const Value number = number_of(given);
    double real = number.type == Value::Type::integer ? static_cast<double>(number.integer) : number.real;
    if (type.family == Family::binary_float) real = static_cast<float>(real);
    if (!std::isfinite(real)) throw OracleError(error::numeric_overflow);
    return Value::of(real);
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
    if (const auto type = parse_moment_type(declaration)) return type;
    const auto parts = take_apart(declaration);
    if (!parts) return std::nullopt;
    for (const auto& known : type_names) {
        if (known.name != parts->name) continue;
        if (!is_possible(known, *parts)) return std::nullopt;
        ColumnType type = of_family(known.family, parts->count > 0 ? parts->numbers[0] : known.size);
        if (known.family == Family::number) {
            type = number(parts->count > 0 ? parts->numbers[0] : known.precision,
                          parts->count == 2                               ? parts->numbers[1]
                          : parts->count == 1 && known.scale != any_scale ? 0
                                                                          : known.scale);
            if (parts->count == 1 && known.name == "NUMBER") type.scale = 0;
            type.integer = known.name == "INTEGER";
        }
        type.national = known.name.front() == 'N' && known.family != Family::number;
        type.in_characters = type.national || parts->in_characters;
        type.unit_given = true; // whatever unit a session has when it copies the type
        return type;
    }
    return std::nullopt;
}

std::string ColumnType::declaration() const {
    const auto sized = [this](const char* name) {
        const char* const unit = in_characters && !national ? " CHAR)" : ")";
        return (national ? "N" : "") + std::string(name) + "(" + std::to_string(size) + unit;
    };
    switch (family) {
    case Family::number:
        if (integer) return "INTEGER";
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
    case Family::clob: return national ? "NCLOB" : "CLOB";
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
    case Family::text:
    case Family::fixed_text:
        if (!in_characters) return size;
        return std::min<ub2>(size * longest_character, family == Family::text ? longest_text : longest_fixed_text);
    default: return size;
    }
}

std::size_t ColumnType::length_of(std::string_view text) const {
    return in_characters ? static_cast<std::size_t>(characters(text)) : text.size();
}

void ColumnType::set_signed_size(int signed_size) {
    in_characters = signed_size < 0;
    size = static_cast<ub2>(std::abs(signed_size));
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
    case Family::date:
    case Family::timestamp:
    case Family::timestamp_tz:
    case Family::timestamp_ltz: return fit_moment(value, type, scratch);
    case Family::interval_ym:
    case Family::interval_ds: return fit_interval(value, type);
    case Family::binary_float:
    case Family::binary_double: return fit_binary(value, type);
    case Family::raw:
    case Family::long_raw:
    case Family::blob: return fit_bytes(value, type, column, scratch);
    default: return value;
    }
}

} // namespace oci
