#include "oci/functions/function_table.h"

#include "oci/values/scan.h"

#include <algorithm>

namespace oci {
namespace {

// Texts are UTF-8, counted in characters.

std::int64_t characters(std::string_view text) {
    return std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; });
}

/// The offset behind so many characters; the text's end when it has fewer.
std::size_t offset_behind(std::string_view text, std::int64_t count) {
    std::size_t offset = 0;
    for (; count > 0 && offset < text.size(); --count) {
        do ++offset;
        while (offset < text.size() && (text[offset] & 0xC0) == 0x80);
    }
    return offset;
}

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
    for (int i = 0; i < in.count; ++i) in.scratch += text_of(in[i], scratch);
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
    return Value::of(value.type == Value::Type::blob ? bytes(value.text()) : measure(text_of(value, in.scratch)));
}

Value part_of_text(Arguments& in) {
    std::string_view text = text_of(in[0], in.scratch);
    std::int64_t start = integer_of(in[1]);
    if (start > 0) --start;
    if (start < 0) start += characters(text);
    if (start < 0) return {};
    text.remove_prefix(offset_behind(text, start));
    return Value::of(in.has(2) ? text.substr(0, offset_behind(text, integer_of(in[2]))) : text);
}

Value position(Arguments& in) {
    std::string scratch;
    const std::string_view text = text_of(in[0], in.scratch);
    const std::string_view part = text_of(in[1], scratch);
    const std::int64_t start = in.has(2) ? integer_of(in[2]) : 1;
    std::int64_t occurrence = in.has(3) ? integer_of(in[3]) : 1;
    if (occurrence < 1) throw OracleError(error::argument_out_of_range, std::to_string(occurrence));
    const bool forward = start > 0;
    const std::int64_t from = start < 0 ? characters(text) + 1 + start : start;
    const Value nowhere = Value::of(std::int64_t{0});
    if (from < 1) return nowhere;
    std::size_t at = offset_behind(text, from - 1);
    for (;;) {
        at = forward ? text.find(part, at) : text.rfind(part, at);
        if (at == std::string_view::npos) return nowhere;
        if (--occurrence == 0) return Value::of(characters(text.substr(0, at)) + 1);
        if (!forward && at == 0) return nowhere;
        at += forward ? 1 : std::size_t(-1);
    }
}

Value capitalised(Arguments& in) {
    std::string scratch;
    bool inside_word = false;
    for (const char c : text_of(in[0], scratch)) {
        in.scratch.push_back(inside_word ? to_lower(c) : to_upper(c));
        inside_word = is_letter(c) || is_digit(c) || (c & 0x80) != 0;
    }
    return Value::of(in.scratch);
}

enum class Side : std::uint8_t { left, right, both };

template <Side side> Value padded(Arguments& in) {
    std::string scratch[2];
    const std::string_view text = text_of(in[0], scratch[0]);
    const std::string_view fill = in.has(2) ? text_of(in[2], scratch[1]) : " ";
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
    std::string_view text = text_of(in[0], in.scratch);
    const std::string_view set = in.has(1) ? text_of(in[1], scratch) : " ";
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
    std::string_view text = text_of(in[0], scratch[0]);
    const std::string_view search = text_of(in[1], scratch[1]);
    const std::string_view replacement = in.has(2) ? text_of(in[2], scratch[2]) : std::string_view();
    if (search.empty()) return Value::of(in.scratch = text);
    for (auto at = text.find(search); at != std::string_view::npos; at = text.find(search)) {
        in.scratch.append(text, 0, at).append(replacement);
        text.remove_prefix(at + search.size());
    }
    return Value::of(in.scratch += text);
}

Value translated(Arguments& in) {
    std::string scratch[3];
    const std::string_view from = text_of(in[1], scratch[1]);
    const std::string_view to = text_of(in[2], scratch[2]);
    for (std::string_view text = text_of(in[0], scratch[0]); !text.empty();) {
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
    for (const char c : first_character(text_of(in[0], in.scratch))) code = code << 8 | static_cast<unsigned char>(c);
    return Value::of(code);
}

using enum ArgumentRule;

constexpr std::uint8_t any_number = FunctionEntry::any_number;

constexpr FunctionEntry entries[] = {
    {.name = "",
     .least = 0,
     .most = any_number,
     .arguments = {text},
     .result = ResultRule::text_or_clob,
     .sqlite_name = "ora_concat",
     .callbacks = {call<concatenate>},
     .null_from_null = false},
    {.name = "",
     .least = 1,
     .most = any_number,
     .arguments = {number, text},
     .result = ResultRule::text,
     .sqlite_name = "ora_concat_to",
     .callbacks = {call<limited<concatenate>>},
     .null_from_null = false},
    {"LENGTH", 1, 1, {text}, ResultRule::number, "ora_length", {call<strict<length<characters>>>}},
    {"LENGTHB", 1, 1, {text}, ResultRule::number, "ora_lengthb", {call<strict<length<bytes>>>}},
    {"SUBSTR", 2, 3, {text, number}, ResultRule::text_or_clob, "ora_substr", {call<strict<part_of_text>>}},
    {"INSTR", 2, 4, {text, text, number}, ResultRule::number, "ora_instr", {call<strict<position>>}},
    {"INITCAP", 1, 1, {text}, ResultRule::text_or_clob, "ora_initcap", {call<strict<capitalised>>}},
    {"UPPER", 1, 1, {text}, ResultRule::text_or_clob, "upper"},
    {"LOWER", 1, 1, {text}, ResultRule::text_or_clob, "lower"},
    {"LPAD", 2, 3, {text, number, text}, ResultRule::text_or_clob, "ora_lpad", {call<strict<padded<Side::left>>>}},
    {"RPAD", 2, 3, {text, number, text}, ResultRule::text_or_clob, "ora_rpad", {call<strict<padded<Side::right>>>}},
    {"LTRIM", 1, 2, {text}, ResultRule::text_or_clob, "ora_ltrim", {call<strict<trimmed<Side::left>>>}},
    {"RTRIM", 1, 2, {text}, ResultRule::text_or_clob, "ora_rtrim", {call<strict<trimmed<Side::right>>>}},
    {"TRIM", 1, 2, {text}, ResultRule::text_or_clob, "ora_trim", {call<strict<trimmed<Side::both>>>}},
    {.name = "REPLACE",
     .least = 2,
     .most = 3,
     .arguments = {text},
     .result = ResultRule::text_or_clob,
     .sqlite_name = "ora_replace",
     .callbacks = {call<replaced>},
     .null_from_null = false},
    {.name = "",
     .least = 3,
     .most = 4,
     .arguments = {number, text},
     .result = ResultRule::text,
     .sqlite_name = "ora_replace_to",
     .callbacks = {call<limited<replaced>>},
     .null_from_null = false},
    {"TRANSLATE", 3, 3, {text}, ResultRule::text_or_clob, "ora_translate", {call<strict<translated>>}},
    {"", 4, 4, {number, text}, ResultRule::text, "ora_translate_to", {call<limited<strict<translated>>>}},
    {.name = "CONCAT",
     .least = 2,
     .most = 2,
     .arguments = {text},
     .result = ResultRule::text_or_clob,
     .sqlite_name = "ora_concat",
     .null_from_null = false},
    {"CHR", 1, 1, {number}, ResultRule::text, "ora_chr", {call<strict<character>>}},
    {"ASCII", 1, 1, {text}, ResultRule::number, "ora_ascii", {call<strict<character_code>>}},
};

} // namespace

constinit const std::span<const FunctionEntry> text_functions = entries;

} // namespace oci
