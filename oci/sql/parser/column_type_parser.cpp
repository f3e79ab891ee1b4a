#include "oci/sql/parser/column_type_parser.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr int number_digits = 38;
constexpr int longest_block_text = 32767;

enum class Form : std::uint8_t {
    number,
    whole_number, ///< NUMERIC and its kin: no digits behind the point unless they are given
    integer,
    binary_precision,
    double_precision,
    real,
    text,
    character,
    national,
    national_clob,
    raw,
    long_type,
    timestamp,
    interval,
    sized_family, ///< UROWID: a size that means nothing here
    family
};

struct TypeWord {
    std::string_view word;
    Form form;
    Family family = Family::unknown;
};

constexpr TypeWord type_words[] = {
    {"BINARY_DOUBLE", Form::family, Family::binary_double},
    {"BINARY_FLOAT", Form::family, Family::binary_float},
    {"BLOB", Form::family, Family::blob},
    {"CHAR", Form::character},
    {"CHARACTER", Form::character},
    {"CLOB", Form::family, Family::clob},
    {"DATE", Form::family, Family::date},
    {"DEC", Form::whole_number},
    {"DECIMAL", Form::whole_number},
    {"DOUBLE", Form::double_precision},
    {"FLOAT", Form::binary_precision},
    {"INT", Form::integer},
    {"INTEGER", Form::integer},
    {"INTERVAL", Form::interval},
    {"LONG", Form::long_type},
    {"NATIONAL", Form::national},
    {"NCHAR", Form::national},
    {"NCLOB", Form::national_clob},
    {"NUMBER", Form::number},
    {"NUMERIC", Form::whole_number},
    {"NVARCHAR2", Form::national},
    {"RAW", Form::raw},
    {"REAL", Form::real},
    {"ROWID", Form::family, Family::rowid},
    {"SMALLINT", Form::integer},
    {"TIMESTAMP", Form::timestamp},
    {"UROWID", Form::sized_family, Family::rowid},
    {"VARCHAR", Form::text},
    {"VARCHAR2", Form::text},
};

const TypeWord* type_word(const Token& token) {
    if (token.kind != Token::Kind::word) return nullptr;
    const auto* const found =
        std::lower_bound(std::begin(type_words), std::end(type_words), token.text,
                         [](const TypeWord& known, std::string_view word) { return known.word < word; });
    return found != std::end(type_words) && found->word == token.text ? found : nullptr;
}

} // namespace

bool ColumnTypeParser::begins(TokenStream& tokens) {
    return type_word(tokens.peek()) != nullptr;
}

ColumnType ColumnTypeParser::type() {
    const TypeWord* const word = type_word(m_tokens.peek());
    if (word == nullptr) m_tokens.fail(error::invalid_datatype);
    const Token first = m_tokens.take();
    switch (word->form) {
    case Form::number: return number(0);
    case Form::whole_number: return number(number_digits);
    case Form::integer: return integer();
    case Form::binary_precision: return binary_precision(126);
    case Form::double_precision: m_tokens.expect("PRECISION", error::invalid_datatype); return ColumnType::number(126);
    case Form::real: return ColumnType::number(63);
    case Form::text: return text(Family::text, true);
    case Form::character: return character();
    case Form::national: return national(first);
    case Form::national_clob: return national_clob();
    case Form::raw: return raw();
    case Form::long_type: return long_type();
    case Form::timestamp: return timestamp();
    case Form::interval: return interval();
    case Form::sized_family: precision(0); return of(word->family);
    case Form::family: break;
    }
    return of(word->family);
}

ColumnType ColumnTypeParser::of(Family family) {
    return ColumnType::of_family(family, family == Family::date ? 7 : 0);
}

/// @param precision  where none is given; 0 is any, and then any digits behind the point
ColumnType ColumnTypeParser::number(int precision) {
    if (!m_tokens.accept("(")) return ColumnType::number(precision, precision == 0 ? any_scale : 0);
    const Offset at = m_tokens.position();
    const bool any = m_tokens.accept("*");
    const std::int64_t digits = any ? number_digits : m_tokens.integer(error::precision_out_of_range);
    if (digits < 1 || digits > number_digits) m_tokens.fail(error::precision_out_of_range, at, {});
    std::int64_t scale = 0;
    const bool scaled = m_tokens.accept(",");
    if (scaled) {
        const Offset scale_at = m_tokens.position();
        const bool negative = m_tokens.accept("-");
        scale = m_tokens.integer(error::scale_out_of_range) * (negative ? -1 : 1);
        if (scale < -84 || scale > 127) m_tokens.fail(error::scale_out_of_range, scale_at, {});
    }
    m_tokens.expect(")", error::missing_right_parenthesis);
    if (any && !scaled) return ColumnType::number();
    return ColumnType::number(static_cast<int>(digits), static_cast<int>(scale));
}

ColumnType ColumnTypeParser::binary_precision(int greatest) {
    const Offset at = m_tokens.position();
    const int digits = precision(greatest);
    if (digits < 1 || digits > greatest) m_tokens.fail(error::precision_out_of_range, at, {});
    return ColumnType::number(digits);
}

/// (n), (n BYTE) or (n CHAR)
ColumnType ColumnTypeParser::text(Family family, bool sized) {
    const bool fixed = family == Family::fixed_text;
    const int greatest = m_tokens.in_block() ? longest_block_text : fixed ? longest_fixed_text : longest_text;
    if (!m_tokens.at("(")) {
        if (sized && !m_tokens.in_block()) m_tokens.fail(error::missing_left_parenthesis);
        return ColumnType::of_family(family, fixed ? 1 : greatest);
    }
    m_tokens.take();
    ColumnType type = ColumnType::of_family(family, size(greatest));
    type.in_characters = m_tokens.accept("CHAR");
    type.unit_given = type.in_characters || m_tokens.accept("BYTE");
    m_tokens.expect(")", error::missing_right_parenthesis);
    return type;
}

ColumnType ColumnTypeParser::character() {
    const bool varying = m_tokens.accept("VARYING");
    return text(varying ? Family::text : Family::fixed_text, varying);
}

/// The national forms count characters, of two bytes each on a server.
ColumnType ColumnTypeParser::national(const Token& first) {
    if (first.is("NATIONAL") && !m_tokens.accept("CHAR")) m_tokens.expect("CHARACTER", error::invalid_datatype);
    const Offset at = m_tokens.position();
    ColumnType type = first.is("NVARCHAR2") ? text(Family::text, true) : character();
    const int longest = (type.family == Family::text ? longest_text : longest_fixed_text) / 2;
    if (type.size > longest && !m_tokens.in_block()) m_tokens.fail(error::length_too_long, at, {});
    type.national = type.in_characters = type.unit_given = true;
    return type;
}

ColumnType ColumnTypeParser::national_clob() {
    ColumnType type = of(Family::clob);
    type.national = true;
    return type;
}

ColumnType ColumnTypeParser::integer() {
    ColumnType type = ColumnType::number(number_digits, 0);
    type.integer = true;
    return type;
}

ColumnType ColumnTypeParser::raw() {
    const int greatest = m_tokens.in_block() ? longest_block_text : longest_fixed_text;
    if (!m_tokens.accept("(")) {
        if (!m_tokens.in_block()) m_tokens.fail(error::missing_left_parenthesis);
        return ColumnType::of_family(Family::raw, greatest);
    }
    const ColumnType type = ColumnType::of_family(Family::raw, size(greatest));
    m_tokens.expect(")", error::missing_right_parenthesis);
    return type;
}

ColumnType ColumnTypeParser::long_type() {
    return of(m_tokens.accept("RAW") ? Family::long_raw : Family::long_text);
}

ColumnType ColumnTypeParser::timestamp() {
    const Offset at = m_tokens.position();
    const int digits = precision(6);
    if (digits > 9) m_tokens.fail(error::datetime_precision, at, {});
    Family family = Family::timestamp;
    if (m_tokens.at("WITH") && (m_tokens.peek(1).is("TIME") || m_tokens.peek(1).is("LOCAL"))) {
        m_tokens.take();
        family = m_tokens.accept("LOCAL") ? Family::timestamp_ltz : Family::timestamp_tz;
        m_tokens.expect("TIME", error::missing_keyword);
        m_tokens.expect("ZONE", error::missing_keyword);
    }
    ColumnType type = of(family);
    type.scale = static_cast<sb1>(digits);
    return type;
}

ColumnType ColumnTypeParser::interval() {
    const bool years = m_tokens.accept("YEAR");
    if (!years) m_tokens.expect("DAY", error::missing_datetime_field);
    ColumnType type = of(years ? Family::interval_ym : Family::interval_ds);
    const Offset at = m_tokens.position();
    type.precision = static_cast<sb2>(precision(2));
    m_tokens.expect("TO", error::missing_keyword);
    m_tokens.expect(years ? "MONTH" : "SECOND", error::missing_datetime_field);
    if (!years) type.scale = static_cast<sb1>(std::min(precision(6), 10));
    if (type.precision > 9 || type.scale > 9) m_tokens.fail(error::datetime_precision, at, {});
    return type;
}

/// (n), where it stands.
int ColumnTypeParser::precision(int otherwise) {
    if (!m_tokens.accept("(")) return otherwise;
    const auto digits = m_tokens.integer(error::precision_out_of_range);
    m_tokens.expect(")", error::missing_right_parenthesis);
    return static_cast<int>(std::min<std::int64_t>(digits, longest_block_text));
}

int ColumnTypeParser::size(int greatest) {
    const Offset at = m_tokens.position();
    const auto size = m_tokens.integer(error::missing_right_parenthesis);
    if (size == 0) m_tokens.fail(error::zero_length_column, at, {});
    if (size > greatest) m_tokens.fail(error::length_too_long, at, {});
    return static_cast<int>(size);
}

} // namespace oci::sql
