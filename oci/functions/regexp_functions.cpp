#include "oci/functions/function_table.h"
#include "oci/functions/regexp.h"

#include <algorithm>

namespace oci {
namespace {

Regexp::Options options_of(std::string_view letters) {
    Regexp::Options options;
    for (const char letter : letters) {
        switch (letter) {
        case 'i': options.ignore_case = true; break;
        case 'c': options.ignore_case = false; break;
        case 'n': options.dot_matches_newline = true; break;
        case 'm': options.lines = true; break;
        case 'x': options.ignore_blanks = true; break;
        default: throw OracleError(error::illegal_function_argument);
        }
    }
    return options;
}

/// The compiled pattern: SQLite keeps it for as long as the argument is the same.
const Regexp& pattern_of(Arguments& in, int options_index, std::unique_ptr<Regexp>& own) {
    constexpr int pattern_index = 1;
    const bool constant_options = !in.has(options_index);
    if (constant_options) {
        if (const void* kept = sqlite3_get_auxdata(in.context, pattern_index)) return *static_cast<const Regexp*>(kept);
    }
    std::string scratch[2];
    const auto options = constant_options ? Regexp::Options{} : options_of(text_of(in, options_index, scratch[1]));
    own = std::make_unique<Regexp>(text_of(in, pattern_index, scratch[0]), options);
    if (!constant_options) return *own;
    Regexp* kept = own.release();
    sqlite3_set_auxdata(in.context, pattern_index, kept, [](void* regexp) { delete static_cast<Regexp*>(regexp); });
    // Without memory SQLite has thrown it away at once.
    if (sqlite3_get_auxdata(in.context, pattern_index) != kept) throw std::bad_alloc();
    return *kept;
}

/// A text with what is looked for in it.
struct Search {
    Search(Arguments& in, int options_index)
        : regexp(pattern_of(in, options_index, own)),
          m_work(in.function_context().work) {
        std::string scratch;
        text = code_points(text_of(in, 0, scratch));
    }

    std::unique_ptr<Regexp> own;
    const Regexp& regexp;
    std::u32string text;
    Regexp::Groups groups;

    /// @param position  from 1, as a program gives it
    void start_at(std::int64_t position) {
        if (position < 1) throw OracleError(error::argument_out_of_range, std::to_string(position));
        m_next = static_cast<std::size_t>(position - 1);
    }
    /// The next match; behind an empty one the search goes on a character later.
    bool next() {
        if (m_next > text.size() || !regexp.search(text, m_next, groups, m_work)) return false;
        m_next = groups[1] > groups[0] ? groups[1] : groups[1] + 1;
        return true;
    }
    bool next(std::int64_t occurrence) {
        if (occurrence < 1) throw OracleError(error::argument_out_of_range, std::to_string(occurrence));
        while (next()) {
            if (--occurrence == 0) return true;
        }
        return false;
    }

  private:
    Work& m_work;
    std::size_t m_next = 0;
};

std::int64_t number_at(const Arguments& in, int index, std::int64_t otherwise) {
    return in.has(index) ? integer_of(in[index]) : otherwise;
}

bool any_null(const Arguments& in, std::initializer_list<int> but = {}) {
    for (int i = 0; i < in.count; ++i) {
        const bool may_be = std::find(but.begin(), but.end(), i) != but.end();
        if (!may_be && sqlite3_value_type(in.values[i]) == SQLITE_NULL) return true;
    }
    return false;
}

/// Match options may be NULL: then there are none.
void drop_null_options(Arguments& in, int index) {
    if (in.count == index + 1 && sqlite3_value_type(in.values[index]) == SQLITE_NULL) --in.count;
}

void append(std::string& text, const std::u32string& codes, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) append_code_point(text, codes[i]);
}

Value like(Arguments& in) {
    drop_null_options(in, 2);
    if (any_null(in)) return {};
    Search search(in, 2);
    return Value::of(std::int64_t{search.next()});
}

Value count(Arguments& in) {
    drop_null_options(in, 3);
    if (any_null(in)) return {};
    Search search(in, 3);
    search.start_at(number_at(in, 2, 1));
    std::int64_t matches = 0;
    while (search.next()) ++matches;
    return Value::of(matches);
}

/// The group that a program asks for. @return false when it took no part in the match.
bool group_at(const Arguments& in, int index, const Search& search, std::size_t& group) {
    const std::int64_t number = number_at(in, index, 0);
    if (number < 0) throw OracleError(error::argument_out_of_range, std::to_string(number));
    group = static_cast<std::size_t>(number);
    return group <= search.regexp.groups() && search.groups[2 * group + 1] != Regexp::npos;
}

Value substring(Arguments& in) {
    if (any_null(in, {4})) return {};
    if (in.count == 5) drop_null_options(in, 4);
    Search search(in, 4);
    search.start_at(number_at(in, 2, 1));
    std::size_t group = 0;
    if (!search.next(number_at(in, 3, 1)) || !group_at(in, 5, search, group)) return {};
    append(in.scratch, search.text, search.groups[2 * group], search.groups[2 * group + 1]);
    return Value::of(in.scratch);
}

/// REGEXP_INSTR(text, pattern, position, occurrence, behind, options, group)
Value position(Arguments& in) {
    if (any_null(in, {5})) return {};
    if (in.count == 6) drop_null_options(in, 5);
    Search search(in, 5);
    search.start_at(number_at(in, 2, 1));
    std::size_t group = 0;
    if (!search.next(number_at(in, 3, 1)) || !group_at(in, 6, search, group)) return Value::of(std::int64_t{0});
    const bool behind = number_at(in, 4, 0) != 0;
    return Value::of(static_cast<std::int64_t>(search.groups[2 * group + (behind ? 1 : 0)]) + 1);
}

/// The text that takes a match's place: \1 to \9 are its groups.
void append_replacement(std::string& result, const std::u32string& replacement, const Search& search) {
    for (std::size_t i = 0; i < replacement.size(); ++i) {
        const char32_t c = replacement[i];
        const char32_t next = i + 1 < replacement.size() ? replacement[i + 1] : 0;
        if (c != '\\' || (next != '\\' && !(next >= '1' && next <= '9'))) {
            append_code_point(result, c);
            continue;
        }
        ++i;
        if (next == '\\') {
            result += '\\';
            continue;
        }
        const auto group = static_cast<std::size_t>(next - '0');
        if (group > search.regexp.groups() || search.groups[2 * group + 1] == Regexp::npos) continue;
        append(result, search.text, search.groups[2 * group], search.groups[2 * group + 1]);
    }
}

/// REGEXP_REPLACE(text, pattern, replacement, position, occurrence, options)
Value replaced(Arguments& in) {
    drop_null_options(in, 5);
    if (in[1].is_null()) return in[0];
    if (any_null(in, {2})) return {};
    Search search(in, 5);
    const std::int64_t start = number_at(in, 3, 1);
    const std::int64_t occurrence = number_at(in, 4, 0);
    if (occurrence < 0) throw OracleError(error::argument_out_of_range, std::to_string(occurrence));
    search.start_at(start);
    std::string scratch;
    const std::u32string replacement = in.has(2) ? code_points(text_of(in, 2, scratch)) : std::u32string();
    std::size_t done = 0;
    for (std::int64_t i = 1; search.next(); ++i) {
        if (occurrence != 0 && i < occurrence) continue;
        append(in.scratch, search.text, done, search.groups[0]);
        append_replacement(in.scratch, replacement, search);
        done = search.groups[1];
        if (i == occurrence) break;
    }
    append(in.scratch, search.text, done, search.text.size());
    return Value::of(in.scratch);
}

using enum ArgumentRule;
using R = ResultRule;

constexpr FunctionEntry entries[] = {
    with_nulls({"REGEXP_LIKE", 2, 3, {text}, R::unknown, "ora_regexp_like", {call<like>}}),
    with_nulls({"REGEXP_COUNT", 2, 4, {text, text, number, text}, R::number, "ora_regexp_count", {call<count>}}),
    with_nulls({"REGEXP_SUBSTR", 2, 6, {text, text, any}, R::text_or_clob, "ora_regexp_substr", {call<substring>}}),
    with_nulls({"REGEXP_INSTR", 2, 7, {text, text, any}, R::number, "ora_regexp_instr", {call<position>}}),
    with_nulls(
        {"REGEXP_REPLACE", 2, 6, {text, text, text, any}, R::text_or_clob, "ora_regexp_replace", {call<replaced>}}),
};

} // namespace

constinit const std::span<const FunctionEntry> regexp_functions = entries;

} // namespace oci
