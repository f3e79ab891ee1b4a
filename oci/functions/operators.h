#pragma once

#include "oci/functions/function_entry.h"

#include <optional>

// What the printer calls for operators and conversions of the dialect. Each is a function of SQLite's connections.
namespace oci::operators {

// ---- arithmetic

/// Of two types an operator of the dialect.
struct Arithmetic {
    const char* function;
    Family result;
};

/// @param sign  '+', '-', '*' or '/'
/// @return nothing where the types cannot be combined (ORA-00932; ORA-00975 of two dates that are added). Texts count
/// as
///         numbers beside numbers, unknown types as what the other side asks for. A text beside a date counts as a
///         number too.
std::optional<Arithmetic> arithmetic(char sign, Family left, Family right);

/// ora_chain(signs, a, b, ...): so many operators of numbers, one after the other.
inline constexpr const char* chain = "ora_chain";

/// -x of a number or interval.
inline constexpr const char* negate = "ora_neg";

/// ora_compare(a, b): -1, 0 or 1, of numbers that are spelled too.
inline constexpr const char* compare_numbers = "ora_compare";

// ---- conversions

/// ora_convert(value, from, to): from and to are numbers of Family. From the unknown family the value tells: digits in
/// a text are a text, YYYY-MM-DD HH:MM:SS is a DATE, with nine digits behind it a timestamp.
inline constexpr const char* convert = "ora_convert";
/// ora_fit(value, family, size, precision, scale, name): the value as a column of that type stores it (ORA-12899,
/// ORA-01438 with the name).
inline constexpr const char* fit = "ora_fit";
/// ora_cast(value, from, family, size, precision, scale): as CAST does: a text that is too long is cut.
inline constexpr const char* cast = "ora_cast";

/// Whether values of one type become values of another by themselves; what cannot is ORA-00932.
enum class Conversion : std::uint8_t { none_needed, needed, impossible };
Conversion conversion(Family from, Family to);

// ---- texts

/// ora_concat(a, b, ...) of any number of texts; a CLOB where one is. ora_concat_to(limit, a, b, ...) is ORA-01489
/// (ORA-06502 where the limit is not 4000) beyond so many bytes.
inline constexpr const char* concat = "ora_concat";
inline constexpr const char* concat_limited = "ora_concat_to";
/// ora_like(value, pattern, escape)
inline constexpr const char* like = "ora_like";
/// ora_pad(value): without trailing blanks, so that CHAR values compare as if padded.
inline constexpr const char* without_padding = "ora_unpad";

// ---- moments

/// ora_extract(field, value, family): field is YEAR, MONTH, ..., TIMEZONE_ABBR.
inline constexpr const char* extract = "ora_extract";
/// ora_at_zone(value, family, zone): x AT TIME ZONE zone.
inline constexpr const char* at_zone = "ora_at_zone";
/// ora_compare_key(x): the part of a TIMESTAMP WITH TIME ZONE that tells its place in time.
inline constexpr const char* moment_key = "ora_moment";

} // namespace oci::operators
