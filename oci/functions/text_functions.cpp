#include "oci/functions/function_table.h"

#include "oci/values/scan.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <span>
#include <vector>

namespace oci {
namespace {

std::string_view first_character(std::string_view text) {
    return text.substr(0, offset_behind(text, 1));
}

std::string_view last_character(std::string_view text) {
    std::size_t offset = text.size() - 1;
    while (offset > 0 && (text[offset] & 0xC0) == 0x80) --offset;
    return text.substr(offset);
}

Value concatenate(Arguments& in) {
    std::string scratch;
    for (int i = 0; i < in.count; ++i) in.scratch += text_of(in, i, scratch);
    return Value::of(in.scratch);
}

/// A function of texts, with before its arguments the most bytes that its result may have. Where an argument is longer
/// than that, it is a large object whatever its type told, and so is the result.
template <Function function> Value limited(Arguments& in) {
    const auto limit = static_cast<std::size_t>(integer_of(in[0]));
    ++in.values;
    --in.count;
    const Value result = function(in);
    if (result.size <= limit) return result;
    for (int i = 0; in.has(i); ++i) {
        if (in[i].size > limit) return result;
    }
    throw limit == longest_text ? OracleError(error::concatenation_too_long)
                                : OracleError(error::value_error, "character string buffer too small");
}

std::int64_t bytes(std::string_view text) {
    return static_cast<std::int64_t>(text.size());
}

template <std::int64_t (*measure)(std::string_view)> Value length(Arguments& in) {
    const Value value = in[0];
    return Value::of(value.type == Value::Type::blob ? bytes(value.text()) : measure(text_of(in, 0, in.scratch)));
}

/// How texts are counted.
struct InCharacters {
    static std::int64_t count(std::string_view text) { return characters(text); }
    static std::size_t offset(std::string_view text, std::int64_t count) { return offset_behind(text, count); }
};
struct InBytes {
    static std::int64_t count(std::string_view text) { return bytes(text); }
    static std::size_t offset(std::string_view text, std::int64_t count) {
        return std::min<std::size_t>(text.size(), static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    }
};

/// Start counts from 1, or from the end when it is negative.
template <class Count> std::string_view part_of(std::string_view text, std::int64_t start, std::int64_t count) {
    if (start > 0) --start;
    if (start < 0) start += Count::count(text);
    if (start < 0) return {};
    text.remove_prefix(Count::offset(text, start));
    return text.substr(0, Count::offset(text, count));
}

constexpr std::int64_t to_the_end = std::numeric_limits<std::int64_t>::max();

template <class Count> Value part_of_text(Arguments& in) {
    const std::int64_t count = in.has(2) ? integer_of(in[2]) : to_the_end;
    return Value::of(part_of<Count>(text_of(in, 0, in.scratch), integer_of(in[1]), count));
}

template <class Count> Value position(Arguments& in) {
    std::string scratch;
    const std::string_view text = text_of(in, 0, in.scratch);
    const std::string_view part = text_of(in, 1, scratch);
    const std::int64_t start = in.has(2) ? integer_of(in[2]) : 1;
    std::int64_t occurrence = in.has(3) ? integer_of(in[3]) : 1;
    if (occurrence < 1) throw OracleError(error::argument_out_of_range, std::to_string(occurrence));
    const bool forward = start > 0;
    const std::int64_t from = start < 0 ? Count::count(text) + 1 + start : start;
    const Value nowhere = Value::of(std::int64_t{0});
    if (from < 1) return nowhere;
    std::size_t at = Count::offset(text, from - 1);
    for (;;) {
        at = forward ? text.find(part, at) : text.rfind(part, at);
        if (at == std::string_view::npos) return nowhere;
        if (--occurrence == 0) return Value::of(Count::count(text.substr(0, at)) + 1);
        if (!forward && at == 0) return nowhere;
        at += forward ? 1 : std::size_t(-1);
    }
}

template <char32_t (*change)(char32_t)> Value in_case(Arguments& in) {
    std::string scratch;
    for (std::string_view text = text_of(in, 0, scratch); !text.empty();) {
        append_code_point(in.scratch, change(take_code_point(text)));
    }
    return Value::of(in.scratch);
}

Value capitalised(Arguments& in) {
    std::string scratch;
    bool inside_word = false;
    for (std::string_view text = text_of(in, 0, scratch); !text.empty();) {
        const char32_t c = take_code_point(text);
        append_code_point(in.scratch, inside_word ? lower_of(c) : upper_of(c));
        inside_word = c >= 0x80 || is_letter(static_cast<char>(c)) || is_digit(static_cast<char>(c));
    }
    return Value::of(in.scratch);
}

enum class Side : std::uint8_t { left, right, both };

template <Side side> Value padded(Arguments& in) {
    std::string scratch[2];
    const std::string_view text = text_of(in, 0, scratch[0]);
    const std::string_view fill = in.has(2) ? text_of(in, 2, scratch[1]) : " ";
    const std::int64_t width = std::min<std::int64_t>(integer_of(in[1]), longest_text);
    const std::string_view kept = text.substr(0, offset_behind(text, width));
    const std::size_t room = longest_text - std::min<std::size_t>(kept.size(), longest_text);
    std::int64_t missing = width - characters(kept);
    for (const std::int64_t step = std::max<std::int64_t>(characters(fill), 1); missing > 0; missing -= step) {
        in.scratch += fill.substr(0, offset_behind(fill, missing));
    }
    if (in.scratch.size() > room) {
        in.scratch.resize(room + 1);
        in.scratch.resize(in.scratch.size() - last_character(in.scratch).size());
    }
    in.scratch.insert(side == Side::left ? in.scratch.size() : 0, kept);
    return Value::of(in.scratch);
}

template <Side side> Value trimmed(Arguments& in) {
    std::string scratch;
    std::string_view text = text_of(in, 0, in.scratch);
    const std::string_view set = in.has(1) ? text_of(in, 1, scratch) : " ";
    const auto in_set = [set](std::string_view c) { return set.find(c) != std::string_view::npos; };
    if (side != Side::right) {
        while (!text.empty() && in_set(first_character(text))) text.remove_prefix(first_character(text).size());
    }
    if (side != Side::left) {
        while (!text.empty() && in_set(last_character(text))) text.remove_suffix(last_character(text).size());
    }
    return Value::of(text);
}

Value replaced(Arguments& in) {
    std::string scratch[3];
    std::string_view text = text_of(in, 0, scratch[0]);
    const std::string_view search = text_of(in, 1, scratch[1]);
    const std::string_view replacement = in.has(2) ? text_of(in, 2, scratch[2]) : std::string_view();
    if (search.empty()) return Value::of(in.scratch = text);
    for (auto at = text.find(search); at != std::string_view::npos; at = text.find(search)) {
        in.scratch.append(text, 0, at).append(replacement);
        text.remove_prefix(at + search.size());
    }
    return Value::of(in.scratch += text);
}

Value translated(Arguments& in) {
    std::string scratch[3];
    const std::string_view from = text_of(in, 1, scratch[1]);
    const std::string_view to = text_of(in, 2, scratch[2]);
    for (std::string_view text = text_of(in, 0, scratch[0]); !text.empty();) {
        const std::string_view c = first_character(text);
        const auto at = from.find(c);
        const auto place = at == std::string_view::npos ? at : offset_behind(to, characters(from.substr(0, at)));
        in.scratch += at == std::string_view::npos ? c : first_character(to.substr(place));
        text.remove_prefix(c.size());
    }
    return Value::of(in.scratch);
}

/// Like Oracle's, a character's number is that of its bytes.
Value character(Arguments& in) {
    const std::int64_t code = integer_of(in[0]);
    if (code < 0 || code > 0xFFFFFFFF) throw OracleError(error::argument_out_of_range, std::to_string(code));
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (shift == 0 || code >> shift != 0) in.scratch.push_back(static_cast<char>(code >> shift & 0xFF));
    }
    return Value::of(in.scratch);
}

Value character_code(Arguments& in) {
    std::int64_t code = 0;
    for (const char c : first_character(text_of(in, 0, in.scratch))) code = code << 8 | static_cast<unsigned char>(c);
    return Value::of(code);
}

Value reversed(Arguments& in) {
    std::string scratch;
    std::string_view text = text_of(in, 0, scratch);
    for (; !text.empty(); text.remove_suffix(last_character(text).size())) in.scratch += last_character(text);
    return Value::of(in.scratch);
}

/// The letter and three digits of what the word sounds like.
Value sound(Arguments& in) {
    static constexpr std::string_view digits = "01230120022455012623010202"; // of A to Z
    std::string scratch;
    char last = '0';
    for (const char c : text_of(in, 0, scratch)) {
        if (!is_letter(c)) continue;
        const char letter = to_upper(c);
        const char digit = digits[static_cast<std::size_t>(letter - 'A')];
        if (in.scratch.empty())
            in.scratch += letter;
        else if (digit != '0' && digit != last)
            in.scratch += digit;
        if (letter != 'H' && letter != 'W') last = digit;
        if (in.scratch.size() == 4) break;
    }
    if (in.scratch.empty()) return {};
    in.scratch.resize(4, '0');
    return Value::of(in.scratch);
}

void append_escape(std::string& text, unsigned unit) {
    char digits[8];
    std::snprintf(digits, sizeof digits, "\\%04X", unit & 0xFFFFU);
    text += digits;
}

/// Characters beyond ASCII as \XXXX of UTF-16.
Value in_ascii(Arguments& in) {
    std::string scratch;
    for (std::string_view text = text_of(in, 0, scratch); !text.empty();) {
        const char32_t c = take_code_point(text);
        if (c >= 0x10000) {
            append_escape(in.scratch, 0xD800 + (static_cast<unsigned>(c - 0x10000) >> 10));
            append_escape(in.scratch, 0xDC00 + (static_cast<unsigned>(c - 0x10000) & 0x3FF));
        } else if (c >= 0x80 || c == '\\') {
            append_escape(in.scratch, static_cast<unsigned>(c));
        } else {
            in.scratch += static_cast<char>(c);
        }
    }
    return Value::of(in.scratch);
}

char32_t take_escape(std::string_view& text) {
    unsigned unit = 0;
    const auto read = std::from_chars(text.data(), text.data() + std::min<std::size_t>(text.size(), 4), unit, 16);
    if (read.ptr != text.data() + 4) throw OracleError(error::bad_unicode_escape);
    text.remove_prefix(4);
    return unit;
}

Value from_escapes(Arguments& in) {
    std::string scratch;
    for (std::string_view text = text_of(in, 0, scratch); !text.empty();) {
        if (!take(text, "\\")) {
            in.scratch += text[0];
            text.remove_prefix(1);
        } else if (take(text, "\\")) {
            in.scratch += '\\';
        } else {
            char32_t code = take_escape(text);
            if (code >= 0xD800 && code < 0xDC00 && take(text, "\\")) {
                code = 0x10000 + ((code - 0xD800) << 10) + (take_escape(text) - 0xDC00);
            }
            append_code_point(in.scratch, code);
        }
    }
    return Value::of(in.scratch);
}

// ---- bytes

Value raw_to_hex(Arguments& in) {
    const Value value = in[0];
    std::string scratch;
    return Value::of(in.scratch = hex_of(value.type == Value::Type::blob ? value.text() : text_of(in, 0, scratch)));
}

Value bytes_result(Arguments& in) {
    return Value::of_bytes(in.scratch.data(), in.scratch.size());
}

Value hex_to_raw(Arguments& in) {
    std::string scratch;
    in.scratch = bytes_of_hex(text_of(in, 0, scratch));
    return bytes_result(in);
}

/// The bytes of a RAW, which a program may also give as a text of hexadecimal digits.
std::string_view raw_of(const Arguments& in, int index, std::string& scratch) {
    const Value value = in[index];
    if (value.type == Value::Type::blob) return value.text();
    return scratch = bytes_of_hex(text_of(in, index, scratch));
}

Value cast_to_raw(Arguments& in) {
    std::string scratch;
    in.scratch = text_of(in, 0, scratch);
    return bytes_result(in);
}

Value cast_to_text(Arguments& in) {
    std::string scratch;
    in.scratch = raw_of(in, 0, scratch);
    return Value::of(in.scratch);
}

Value raw_length(Arguments& in) {
    return Value::of(bytes(raw_of(in, 0, in.scratch)));
}

Value part_of_raw(Arguments& in) {
    std::string scratch;
    const std::string_view raw = raw_of(in, 0, scratch);
    in.scratch = part_of<InBytes>(raw, integer_of(in[1]), in.has(2) ? integer_of(in[2]) : to_the_end);
    return bytes_result(in);
}

Value joined_raws(Arguments& in) {
    std::string scratch;
    for (int i = 0; in.has(i); ++i) {
        if (!in[i].is_null()) in.scratch += raw_of(in, i, scratch);
    }
    if (in.scratch.empty()) return {};
    return bytes_result(in);
}

/// DBMS_LOB.SUBSTR(lob, amount, offset): amount comes first.
Value part_of_lob(Arguments& in) {
    const Value lob = in[0];
    const std::int64_t amount = in.has(1) ? integer_of(in[1]) : 32767;
    const std::int64_t offset = in.has(2) ? integer_of(in[2]) : 1;
    if (amount < 1 || offset < 1) return {};
    if (lob.type != Value::Type::blob) {
        return Value::of(part_of<InCharacters>(text_of(in, 0, in.scratch), offset, amount));
    }
    const std::string_view part = part_of<InBytes>(lob.text(), offset, amount);
    return part.empty() ? Value() : Value::of_bytes(part.data(), part.size());
}

Value position_in_lob(Arguments& in) {
    const Value lob = in[0];
    if (lob.type != Value::Type::blob) return position<InCharacters>(in);
    std::string scratch;
    const std::string_view pattern = raw_of(in, 1, scratch);
    const auto start = static_cast<std::size_t>(std::max<std::int64_t>(in.has(2) ? integer_of(in[2]) : 1, 1)) - 1;
    std::int64_t occurrence = in.has(3) ? integer_of(in[3]) : 1;
    for (auto at = lob.text().find(pattern, start); at != std::string_view::npos;
         at = lob.text().find(pattern, at + 1)) {
        if (--occurrence == 0) return Value::of(static_cast<std::int64_t>(at) + 1);
    }
    return Value::of(std::int64_t{0});
}

// ---- how a server stores a value

/// An exponent and digits to the base of 100; of negative numbers complements.
std::string stored_number(const Decimal& number) {
    if (number.is_zero()) return "\x80";
    std::string digits = number.digit_text();
    int point = number.whole_digits();
    if (point % 2 != 0) {
        digits.insert(0, 1, '0');
        ++point;
    }
    if (digits.size() % 2 != 0) digits += '0';
    const int exponent = point / 2 + 64;
    const bool negative = number.is_negative();
    std::string bytes(1, static_cast<char>(negative ? 127 - exponent : exponent + 128));
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int pair = (digits[i] - '0') * 10 + digits[i + 1] - '0';
        bytes += static_cast<char>(negative ? 101 - pair : pair + 1);
    }
    if (negative && bytes.size() < 21) bytes += 102;
    return bytes;
}

struct Stored {
    int type; ///< the server's number of it
    std::string bytes;
};

Stored stored(const Arguments& in, Family declared = Family::unknown) {
    const Value value = in[0];
    if (declared == Family::fixed_text) return {96, std::string(value.text())};
    if (declared == Family::text) return {1, std::string(value.text())};
    if (is_number(value)) return {2, stored_number(Decimal(value))};
    if (value.type == Value::Type::blob) return {23, std::string(value.text())};
    Moment moment;
    const Family family = read_moment(value.text(), moment);
    if (family == Family::unknown) return {1, std::string(value.text())};
    if (family != Family::date) throw OracleError(error::unimplemented, "DUMP of a timestamp");
    const Civil& date = moment.civil;
    std::string bytes;
    for (const int byte : {date.year / 100 + 100, date.year % 100 + 100, date.month, date.day, date.hour + 1,
                           date.minute + 1, date.second + 1}) {
        bytes += static_cast<char>(byte);
    }
    return {12, bytes};
}

Value stored_size(Arguments& in) {
    return Value::of(bytes(stored(in).bytes));
}

/// DUMP(value, notation, start, length); a notation with 1000 added names the character set too.
Value dumped(Arguments& in) {
    const auto declared = static_cast<Family>(in.take_families()[0] - 'A');
    if (in[0].is_null()) return Value::of(std::string_view("NULL"));
    const Stored value = stored(in, declared);
    const std::int64_t notation = in.has(1) ? integer_of(in[1]) : 10;
    const std::int64_t base = notation % 1000;
    if ((base != 8 && base != 10 && base != 16 && base != 17) || notation >= 2000)
        throw OracleError(error::unimplemented, "DUMP in this notation");
    in.scratch = "Typ=" + std::to_string(value.type) + " Len=" + std::to_string(value.bytes.size());
    const bool text = value.type == 1 || value.type == 96;
    in.scratch += notation >= 1000 && text ? " CharacterSet=AL32UTF8: " : ": ";
    const std::int64_t start = in.has(2) ? integer_of(in[2]) : 1;
    const std::int64_t length = in.has(3) ? integer_of(in[3]) : bytes(value.bytes);
    const char* mark = "";
    for (const char c : part_of<InBytes>(value.bytes, start, length)) {
        char digits[8];
        const bool letter = base == 17 && c >= ' ' && c < 0x7F;
        std::snprintf(digits, sizeof digits,
                      letter       ? "%c"
                      : base == 8  ? "%o"
                      : base == 10 ? "%d"
                                   : "%x",
                      static_cast<unsigned char>(c));
        in.scratch.append(mark).append(digits);
        mark = ",";
    }
    return Value::of(in.scratch);
}

using enum ArgumentRule;
using R = ResultRule;
constexpr std::uint8_t many = FunctionEntry::any_number;
constexpr auto text_or_clob = R::text_or_clob;

std::size_t character_size(std::string_view text) {
    std::size_t size = 1;
    while (size < text.size() && (text[size] & 0xC0) == 0x80) ++size;
    return size;
}

/// One step of a pattern of LIKE: a character, or what % and _ stand for.
struct PatternPart {
    enum class Kind : std::uint8_t { character, any_one, any_number };
    Kind kind;
    std::string_view character;
};

std::vector<PatternPart> pattern_parts(std::string_view pattern, std::string_view escape) {
    std::vector<PatternPart> parts;
    while (!pattern.empty()) {
        const bool escaped = pattern.starts_with(escape);
        if (escaped) pattern.remove_prefix(escape.size());
        const bool special = pattern.starts_with('%') || pattern.starts_with('_');
        if (escaped && !special && !pattern.starts_with(escape)) throw OracleError(error::illegal_escaped_character);
        const std::string_view character = pattern.substr(0, character_size(pattern));
        const bool literal = escaped || !special;
        parts.push_back({literal                  ? PatternPart::Kind::character
                         : pattern.front() == '%' ? PatternPart::Kind::any_number
                                                  : PatternPart::Kind::any_one,
                         character});
        pattern.remove_prefix(character.size());
    }
    return parts;
}

/// Goes back to the last % alone: what stands before it has matched in the earliest place, and no later one is better.
bool matches(std::string_view text, std::span<const PatternPart> parts) {
    using Kind = PatternPart::Kind;
    std::size_t at = 0;
    std::size_t behind_any = std::string_view::npos;
    std::string_view retry;
    while (!text.empty() || at < parts.size()) {
        const std::string_view character = text.substr(0, text.empty() ? 0 : character_size(text));
        if (at < parts.size() && parts[at].kind == Kind::any_number) {
            behind_any = ++at;
            retry = text;
        } else if (at < parts.size() && !text.empty() &&
                   (parts[at].kind == Kind::any_one || parts[at].character == character)) {
            ++at;
            text.remove_prefix(character.size());
        } else {
            if (behind_any == std::string_view::npos || retry.empty()) return false;
            retry.remove_prefix(character_size(retry));
            text = retry;
            at = behind_any;
        }
    }
    return true;
}

/// LIKE with ESCAPE; without one, SQLite's own operator does.
Value like(Arguments& in) {
    std::string scratch[3];
    const std::string_view escape = text_of(in[2], scratch[2]);
    if (escape.empty() || character_size(escape) != escape.size()) throw OracleError(error::escape_not_one_character);
    const auto parts = pattern_parts(text_of(in[1], scratch[1]), escape);
    return Value::of(std::int64_t{matches(text_of(in[0], scratch[0]), parts)});
}

constexpr FunctionEntry entries[] = {
    with_nulls({"", 0, many, {text}, text_or_clob, "ora_concat", {call<concatenate>}}),
    with_nulls({"", 1, many, {number, text}, R::text, "ora_concat_to", {call<limited<concatenate>>}}),
    {"LENGTH", 1, 1, {text}, R::number, "ora_length", {call<strict<length<characters>>>}},
    {"LENGTHC", 1, 1, {text}, R::number, "ora_length"},
    {"LENGTHB", 1, 1, {text}, R::number, "ora_lengthb", {call<strict<length<bytes>>>}},
    {"SUBSTR", 2, 3, {text, number}, text_or_clob, "ora_substr", {call<strict<part_of_text<InCharacters>>>}},
    {"SUBSTRC", 2, 3, {text, number}, text_or_clob, "ora_substr"},
    {"SUBSTRB", 2, 3, {text, number}, text_or_clob, "ora_substrb", {call<strict<part_of_text<InBytes>>>}},
    {"INSTR", 2, 4, {text, text, number}, R::number, "ora_instr", {call<strict<position<InCharacters>>>}},
    {"INSTRC", 2, 4, {text, text, number}, R::number, "ora_instr"},
    {"INSTRB", 2, 4, {text, text, number}, R::number, "ora_instrb", {call<strict<position<InBytes>>>}},
    {"INITCAP", 1, 1, {text}, text_or_clob, "ora_initcap", {call<strict<capitalised>>}},
    {"UPPER", 1, 1, {text}, text_or_clob, "ora_upper", {call<strict<in_case<upper_of>>>}},
    {"LOWER", 1, 1, {text}, text_or_clob, "ora_lower", {call<strict<in_case<lower_of>>>}},
    {"NLS_INITCAP", 1, 2, {text}, text_or_clob, "ora_nls_initcap", {call<strict<capitalised>>}},
    {"NLS_UPPER", 1, 2, {text}, text_or_clob, "ora_nls_upper", {call<strict<in_case<upper_of>>>}},
    {"NLS_LOWER", 1, 2, {text}, text_or_clob, "ora_nls_lower", {call<strict<in_case<lower_of>>>}},
    {"LPAD", 2, 3, {text, number, text}, text_or_clob, "ora_lpad", {call<strict<padded<Side::left>>>}},
    {"RPAD", 2, 3, {text, number, text}, text_or_clob, "ora_rpad", {call<strict<padded<Side::right>>>}},
    {"LTRIM", 1, 2, {text}, text_or_clob, "ora_ltrim", {call<strict<trimmed<Side::left>>>}},
    {"RTRIM", 1, 2, {text}, text_or_clob, "ora_rtrim", {call<strict<trimmed<Side::right>>>}},
    {"TRIM", 1, 2, {text}, text_or_clob, "ora_trim", {call<strict<trimmed<Side::both>>>}},
    {"", 3, 3, {text}, R::number, "ora_like", {call<strict<like>>}},
    {"", 1, 1, {text}, text_or_clob, "ora_unpad", {call<strict<trimmed<Side::right>>>}},
    with_nulls({"REPLACE", 2, 3, {text}, text_or_clob, "ora_replace", {call<replaced>}}),
    with_nulls({"", 3, 4, {number, text}, R::text, "ora_replace_to", {call<limited<replaced>>}}),
    {"TRANSLATE", 3, 3, {text}, text_or_clob, "ora_translate", {call<strict<translated>>}},
    {"", 4, 4, {number, text}, R::text, "ora_translate_to", {call<limited<strict<translated>>>}},
    with_nulls({"CONCAT", 2, 2, {text}, text_or_clob, "ora_concat"}),
    {"REVERSE", 1, 1, {text}, R::text, "ora_reverse", {call<strict<reversed>>}},
    {"SOUNDEX", 1, 1, {text}, R::text, "ora_soundex", {call<strict<sound>>}},
    {"CHR", 1, 1, {number}, R::text, "ora_chr", {call<strict<character>>}},
    {"NCHR", 1, 1, {number}, R::text, "ora_chr"},
    {"ASCII", 1, 1, {text}, R::number, "ora_ascii", {call<strict<character_code>>}},
    {"ASCIISTR", 1, 1, {text}, R::text, "ora_asciistr", {call<strict<in_ascii>>}},
    {"UNISTR", 1, 1, {text}, R::text, "ora_unistr", {call<strict<from_escapes>>}},
    {"RAWTOHEX", 1, 1, {any}, R::text, "ora_rawtohex", {call<strict<raw_to_hex>>}},
    {"HEXTORAW", 1, 1, {text}, R::raw, "ora_hextoraw", {call<strict<hex_to_raw>>}},
    {"UTL_RAW.CAST_TO_RAW", 1, 1, {text}, R::raw, "ora_cast_to_raw", {call<strict<cast_to_raw>>}},
    {"UTL_RAW.CAST_TO_VARCHAR2", 1, 1, {raw}, R::text, "ora_cast_to_varchar2", {call<strict<cast_to_text>>}},
    {"UTL_RAW.LENGTH", 1, 1, {raw}, R::number, "ora_raw_length", {call<strict<raw_length>>}},
    {"UTL_RAW.SUBSTR", 2, 3, {raw, number}, R::raw, "ora_raw_substr", {call<strict<part_of_raw>>}},
    with_nulls({"UTL_RAW.CONCAT", 1, 12, {raw}, R::raw, "ora_raw_concat", {call<joined_raws>}}),
    {"DBMS_LOB.GETLENGTH", 1, 1, {any}, R::number, "ora_length"},
    {"DBMS_LOB.SUBSTR", 1, 3, {any, number}, R::part_of_lob, "ora_lob_substr", {call<strict<part_of_lob>>}},
    {"DBMS_LOB.INSTR", 2, 4, {any, any, number}, R::number, "ora_lob_instr", {call<strict<position_in_lob>>}},
    {"VSIZE", 1, 1, {any}, R::number, "ora_vsize", {call<strict<stored_size>>}},
    knowing(HiddenArgument::families, with_nulls({"DUMP", 1, 4, {any, number}, R::text, "ora_dump", {call<dumped>}})),
};

} // namespace

constinit const std::span<const FunctionEntry> text_functions = entries;

} // namespace oci
