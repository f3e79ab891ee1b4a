#pragma once

#include "oci/values/errors.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3_context;
struct sqlite3_stmt;
struct sqlite3_value;

namespace oci {

/// One value on its way between the caller and SQLite. Text and bytes are seen, not owned: they live with their source.
/// A DATE is the text YYYY-MM-DD HH:MM:SS.
struct Value {
    enum class Type : std::uint8_t { null, integer, real, text, blob };

    Type type = Type::null;
    union {
        std::int64_t integer = 0;
        double real;
        const char* data;
    };
    std::size_t size = 0;

    static Value of(std::int64_t number);
    static Value of(double number);
    /// The empty text is NULL.
    static Value of(std::string_view text);
    static Value of_bytes(const void* bytes, std::size_t size);
    /// An empty text stays one: it is the value of EMPTY_CLOB().
    static Value of(sqlite3_value* value);

    bool is_null() const { return type == Type::null; }
    std::string_view text() const { return {data, size}; }

    /// Nothing is copied: the value's source lives until the statement is reset.
    void bind(sqlite3_stmt* statement, int position) const;
    /// SQLite takes a copy.
    void result(sqlite3_context* context) const;
};

/// A value with storage of its own.
class OwnedValue {
  public:
    OwnedValue() = default;
    explicit OwnedValue(const Value& value) { assign(value); }

    void assign(const Value& value);
    Value get() const;

  private:
    Value m_value;
    std::string m_storage;
};

enum class Family : std::uint8_t {
    unknown,
    number,
    text,
    fixed_text,
    date,
    raw,
    long_text,
    long_raw,
    rowid,
    blob,
    clob,
    binary_float,
    binary_double,
    timestamp,    ///< scale: digits of the fraction of a second
    timestamp_tz, ///< with the offset or region it was written in
    timestamp_ltz,
    interval_ym, ///< precision: digits of the years
    interval_ds, ///< precision: digits of the days, scale: of the fraction of a second
    boolean      ///< of a block only
};

constexpr sb1 any_scale = -127;          ///< of a number with any digits behind the point
constexpr int longest_text = 4000;       ///< bytes of a VARCHAR2
constexpr int longest_fixed_text = 2000; ///< bytes of a CHAR
constexpr int longest_character = 4;     ///< bytes of a character
constexpr double number_limit = 1e126;   ///< numbers are below it

/// What a column, a parameter or an expression is declared as.
struct ColumnType {
    Family family = Family::unknown;
    ub2 size = 0;          ///< of text and raw types; of a text in bytes, or in characters
    sb2 precision = 0;     ///< decimal digits of numbers; 0: any
    sb1 scale = any_scale; ///< digits behind the point
    bool nullable = true;
    bool in_characters = false; ///< the size of a text counts characters
    bool unit_given = false;    ///< BYTE or CHAR was written behind it
    bool national = false;      ///< NVARCHAR2, NCHAR, NCLOB
    bool integer = false;       ///< INTEGER and its kin: NUMBER(38) that tells no precision

    static ColumnType number(int digits = 0, int behind_point = any_scale);
    static ColumnType of_family(Family family, int size = 0);

    /// The type that a declaration such as NUMBER(10,2) or VARCHAR2(20 BYTE) names; nothing when it names none.
    static std::optional<ColumnType> parse(std::string_view declaration);
    /// The declaration that SQLite is given, in Oracle's spelling.
    std::string declaration() const;
    /// The type code that describing such a column reports.
    ub2 external() const;
    /// The data size that describing such a column reports.
    ub2 described_size() const;
    /// How long a text is in what the size counts.
    std::size_t length_of(std::string_view text) const;
    /// The size as functions of SQL are handed it: negative where it counts characters.
    int signed_size() const { return in_characters ? -int{size} : int{size}; }
    void set_signed_size(int signed_size);
    /// Integers of this type always fit 64 bits and are stored as such.
    bool is_int64() const { return family == Family::number && scale == 0 && precision > 0 && precision <= 18; }
};

/// The value as a column of this type stores it: rounded, converted, checked for size.
/// @param scratch  holds what a conversion makes; the result may point into it.
/// @param column   names the column in error texts.
Value fit(const Value& value, const ColumnType& type, std::string_view column, std::string& scratch);

/// Date and time of day in the proleptic Gregorian calendar.
struct Civil {
    int year, month, day, hour, minute, second;
};

constexpr int iso_size = 19; ///< YYYY-MM-DD HH:MM:SS

/// @return false when the text is not of the ISO form; ranges are not checked.
bool parse_iso(std::string_view text, Civil& civil);
/// Writes iso_size characters.
void write_iso(const Civil& civil, char* text);
/// ORA-018nn when a field is outside its range.
void check_civil(const Civil& civil);
/// Days since 1970-01-01, and back.
std::int64_t days_from_civil(int year, int month, int day);
void civil_from_days(std::int64_t days, Civil& civil);
int days_in_month(int year, int month);

/// A number as Oracle prints it: no exponent below 40 digits, no zero before the point.
std::string_view number_text(const Value& number, std::string& scratch);
/// 10 to this power.
double power_of_ten(int exponent);
/// The number that a text spells (ORA-01722 when it spells none, ORA-01426 when no value is that number exactly), of
/// integer type when it is whole.
Value number_of(std::string_view text);
/// The number that a value is or spells; NULL stays NULL.
Value number_of(const Value& value);
/// Hexadecimal text to bytes (ORA-01465) and back, in capitals.
std::string bytes_of_hex(std::string_view hex);
std::string hex_of(std::string_view bytes);

std::string upper(std::string_view text);

} // namespace oci
