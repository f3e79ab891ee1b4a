#include "oci/functions/regexp.h"

#include "oci/functions/function_table.h"

#include <algorithm>
#include <cwctype>

namespace oci {

struct Regexp::Step {
    enum class Kind : std::uint8_t {
        character,
        any,
        set,
        split,
        jump,
        save,
        line_start,
        line_end,
        text_start,
        text_end,
        last_line_end,
        reference,
        mark,
        advanced,
        match
    };
    enum Class : std::uint8_t {
        digit,
        word,
        space,
        alpha,
        capital,
        small,
        punct,
        alnum,
        cntrl,
        graph,
        print,
        xdigit,
        blank
    };
    struct Member {
        char32_t first;
        char32_t last;
        int named = -1; ///< a Class instead of a range
        bool negated = false;
    };

    Kind kind;
    std::size_t x = 0; ///< where to go on first, which group, which register
    std::size_t y = 0; ///< where to go on when that fails
    char32_t c = 0;
    bool negated = false;
    std::vector<Member> members{};

    bool has(char32_t candidate) const {
        const bool found = std::any_of(members.begin(), members.end(), [candidate](const Member& member) {
            if (member.named < 0) return candidate >= member.first && candidate <= member.last;
            return is_of(static_cast<Class>(member.named), candidate) != member.negated;
        });
        return found != negated;
    }

    static bool is_of(Class named, char32_t c) {
        const bool letter = (c < 0x80 ? (c | 32) >= 'a' && (c | 32) <= 'z' : upper_of(c) != c || lower_of(c) != c);
        const bool number = c >= '0' && c <= '9';
        const bool visible = c > ' ' && c != 0x7F;
        switch (named) {
        case digit: return number;
        case word: return letter || number || c == '_';
        case space: return c == ' ' || (c >= 9 && c <= 13);
        case alpha: return letter;
        case capital: return letter && lower_of(c) != c;
        case small: return letter && upper_of(c) != c;
        case punct: return visible && c < 0x80 && !letter && !number;
        case alnum: return letter || number;
        case cntrl: return c < ' ' || c == 0x7F;
        case graph: return visible;
        case print: return visible || c == ' ';
        case xdigit: return number || ((c | 32) >= 'a' && (c | 32) <= 'f');
        default: return c == ' ' || c == '\t';
        }
    }
};

namespace {

constexpr std::size_t longest_program = 100'000;
constexpr int deepest_groups = 200;
constexpr std::int64_t most_steps = 50'000'000;
constexpr std::int64_t steps_counted_together = 1024;

} // namespace

/// Writes the program of a pattern: descends through alternatives, sequences, repeats, single items.
class Regexp::Parser {
  public:
    Parser(std::u32string_view pattern, Regexp& regexp)
        : m_pattern(pattern),
          m_regexp(regexp),
          m_program(regexp.m_program) {}

    void parse() {
        group(0);
        if (m_at < m_pattern.size()) throw OracleError(error::unmatched_parentheses);
        add({Step::Kind::match});
    }

  private:
    using Kind = Step::Kind;

    bool more() const { return m_at < m_pattern.size(); }
    char32_t peek() const { return more() ? m_pattern[m_at] : 0; }
    bool accept(char32_t c) {
        if (!more() || m_pattern[m_at] != c) return false;
        ++m_at;
        return true;
    }
    std::size_t add(Step step) {
        if (m_program.size() >= longest_program) throw OracleError(error::regular_expression_too_long);
        m_program.push_back(std::move(step));
        return m_program.size() - 1;
    }

    void group(std::size_t number) {
        if (++m_depth > deepest_groups) throw OracleError(error::regular_expression_complex);
        add({Kind::save, 2 * number});
        alternatives();
        add({Kind::save, 2 * number + 1});
        --m_depth;
    }

    void alternatives() {
        const std::size_t start = m_program.size();
        sequence();
        if (!accept('|')) return;
        insert(start, {Kind::split, start + 1, 0});
        const std::size_t out = add({Kind::jump});
        m_program[start].y = m_program.size();
        alternatives();
        m_program[out].x = m_program.size();
    }

    void sequence() {
        while (more() && peek() != '|' && !(peek() == ')' && m_depth > 1)) {
            if (m_regexp.m_options.ignore_blanks && Step::is_of(Step::space, peek())) {
                ++m_at;
                continue;
            }
            const std::size_t start = m_program.size();
            item();
            while (repeat(start)) {
            }
        }
    }

    /// Puts a step in front of what a part of the program does, whose jumps stay what they are.
    void insert(std::size_t at, Step step) {
        if (m_program.size() >= longest_program) throw OracleError(error::regular_expression_too_long);
        m_program.insert(m_program.begin() + static_cast<std::ptrdiff_t>(at), std::move(step));
        for (std::size_t i = at + 1; i < m_program.size(); ++i) shift(m_program[i], at, 1);
    }
    static void shift(Step& step, std::size_t from, std::size_t by) {
        if (step.kind != Kind::split && step.kind != Kind::jump) return;
        if (step.x >= from) step.x += by;
        if (step.kind == Kind::split && step.y >= from) step.y += by;
    }

    bool repeat(std::size_t start) {
        int least = 0;
        int most = -1;
        if (accept('*')) {
        } else if (accept('+')) {
            least = 1;
        } else if (accept('?')) {
            most = 1;
        } else if (!bounds(least, most)) {
            return false;
        }
        const bool lazy = accept('?');
        const std::vector<Step> body(m_program.begin() + static_cast<std::ptrdiff_t>(start), m_program.end());
        m_program.resize(start);
        for (int i = 0; i < least; ++i) append(body, start);
        if (most < 0) {
            loop(body, start, lazy);
            return true;
        }
        std::vector<std::size_t> exits;
        for (int i = least; i < most; ++i) {
            exits.push_back(add({Kind::split}));
            append(body, start);
        }
        for (const std::size_t exit : exits) branch(exit, exit + 1, m_program.size(), lazy);
        return true;
    }

    void branch(std::size_t split, std::size_t inside, std::size_t outside, bool lazy) {
        m_program[split].x = lazy ? outside : inside;
        m_program[split].y = lazy ? inside : outside;
    }

    /// Without end, but not again where the body has matched nothing.
    void loop(const std::vector<Step>& body, std::size_t start, bool lazy) {
        const std::size_t counter = m_regexp.m_counters++;
        const std::size_t split = add({Kind::split});
        add({Kind::mark, counter});
        append(body, start);
        add({Kind::advanced, counter});
        add({Kind::jump, split});
        branch(split, split + 1, m_program.size(), lazy);
    }

    /// @param origin  where the part stood when its jumps were written
    void append(const std::vector<Step>& part, std::size_t origin) {
        const std::size_t by = m_program.size() - origin;
        for (Step step : part) {
            shift(step, origin, by);
            add(std::move(step));
        }
    }

    /// {m}, {m,} or {m,n}; anything else between braces is text.
    bool bounds(int& least, int& most) {
        std::size_t at = m_at;
        const auto number = [&](int& result) {
            const std::size_t start = at;
            result = 0;
            for (; at < m_pattern.size() && m_pattern[at] >= '0' && m_pattern[at] <= '9' && result < 100'000; ++at) {
                result = result * 10 + static_cast<int>(m_pattern[at] - '0');
            }
            return at > start;
        };
        const auto is = [&](char32_t c) { return at < m_pattern.size() && m_pattern[at] == c; };
        if (!is('{') || (++at, !number(least))) return false;
        most = least;
        if (is(',') && (++at, !number(most))) most = -1;
        if (!is('}')) return false;
        if (least > 65535 || most > 65535 || (most >= 0 && most < least))
            throw OracleError(error::invalid_interval_bounds);
        m_at = at + 1;
        return true;
    }

    void item() {
        const char32_t c = m_pattern[m_at++];
        switch (c) {
        case '(': {
            const std::size_t number = ++m_regexp.m_groups;
            group(number);
            if (!accept(')')) throw OracleError(error::unmatched_parentheses);
            return;
        }
        case '.': add({Kind::any}); return;
        case '^': add({Kind::line_start}); return;
        case '$': add({Kind::line_end}); return;
        case '[': set(); return;
        case '\\': escape(); return;
        default: add({Kind::character, 0, 0, c});
        }
    }

    void escape() {
        if (!more()) {
            add({Kind::character, 0, 0, '\\'});
            return;
        }
        const char32_t c = m_pattern[m_at++];
        static constexpr std::u32string_view classes = U"dws";
        if (c >= '1' && c <= '9') {
            const auto number = static_cast<std::size_t>(c - '0');
            if (number > m_regexp.m_groups) throw OracleError(error::invalid_back_reference);
            add({Kind::reference, number});
        } else if (const auto named = classes.find(lower_of(c)); named != std::u32string_view::npos) {
            Step step{Kind::set};
            step.negated = c != lower_of(c);
            step.members.push_back({0, 0, static_cast<int>(named)});
            add(std::move(step));
        } else if (c == 'A') {
            add({Kind::text_start});
        } else if (c == 'Z' || c == 'z') {
            add({c == 'z' ? Kind::text_end : Kind::last_line_end});
        } else {
            add({Kind::character, 0, 0, c});
        }
    }

    void set() {
        Step step{Kind::set};
        step.negated = accept('^');
        for (bool first = true; first || peek() != ']'; first = false) {
            if (!more()) throw OracleError(error::unmatched_bracket);
            if (m_pattern.substr(m_at, 2) == U"[:") {
                named_class(step);
                continue;
            }
            const char32_t low = member();
            char32_t high = low;
            if (peek() == '-' && m_at + 1 < m_pattern.size() && m_pattern[m_at + 1] != ']') {
                ++m_at;
                high = member();
                if (high < low) throw OracleError(error::invalid_range);
            }
            step.members.push_back({low, high});
        }
        ++m_at;
        add(std::move(step));
    }

    /// One character, also as [.x.] or [=x=].
    char32_t member() {
        const auto mark = m_pattern.substr(m_at, 2);
        if (mark != U"[." && mark != U"[=") return m_pattern[m_at++];
        if (m_at + 4 >= m_pattern.size() || m_pattern[m_at + 3] != mark[1] || m_pattern[m_at + 4] != ']') {
            throw OracleError(mark[1] == '.' ? error::invalid_collation_class : error::invalid_equivalence_class);
        }
        m_at += 5;
        return m_pattern[m_at - 3];
    }

    void named_class(Step& step) {
        static constexpr std::u32string_view names[] = {U"digit", U"",       U"space", U"alpha", U"upper",
                                                        U"lower", U"punct",  U"alnum", U"cntrl", U"graph",
                                                        U"print", U"xdigit", U"blank"};
        const auto end = m_pattern.find(U":]", m_at);
        if (end == std::u32string_view::npos) throw OracleError(error::unmatched_bracket);
        const auto name = m_pattern.substr(m_at + 2, end - m_at - 2);
        const auto* found = std::find(std::begin(names), std::end(names), name);
        if (name.empty() || found == std::end(names)) throw OracleError(error::invalid_character_class);
        step.members.push_back({0, 0, static_cast<int>(found - std::begin(names))});
        m_at = end + 2;
    }

    const std::u32string_view m_pattern;
    Regexp& m_regexp;
    std::vector<Step>& m_program;
    std::size_t m_at = 0;
    int m_depth = 0;
};

/// Runs the program from one place on. What may have to be taken back stands on a stack of its own.
class Regexp::Run {
  public:
    Run(const Regexp& regexp, const std::u32string& text, std::int64_t& steps, Work& work)
        : m_regexp(regexp),
          m_text(text),
          m_steps(steps),
          m_work(work),
          m_groups(2 * (regexp.m_groups + 1), npos),
          m_marks(regexp.m_counters, npos) {}

    bool at(std::size_t start) {
        m_pc = 0;
        m_at = start;
        for (;;) {
            if (++m_steps % steps_counted_together == 0) count_steps();
            const Step& step = m_regexp.m_program[m_pc];
            if (step.kind == Step::Kind::match) return true;
            if (!advance(step) && !back()) return false;
        }
    }
    const Groups& groups() const { return m_groups; }

  private:
    /// A place to go on from, or with a slot what it held before.
    struct Undo {
        std::size_t* slot;
        std::size_t value;
        std::size_t pc;
    };

    void count_steps() {
        m_work.count(steps_counted_together);
        if (m_steps >= most_steps) throw OracleError(error::regular_expression_complex);
    }

    void set(std::size_t& slot) {
        m_undo.push_back({&slot, slot, 0});
        slot = m_at;
    }

    bool back() {
        while (!m_undo.empty()) {
            const Undo undo = m_undo.back();
            m_undo.pop_back();
            if (undo.slot != nullptr) {
                *undo.slot = undo.value;
                continue;
            }
            m_pc = undo.pc;
            m_at = undo.value;
            return true;
        }
        return false;
    }

    bool advance(const Step& step) {
        using Kind = Step::Kind;
        ++m_pc;
        switch (step.kind) {
        case Kind::split:
            m_undo.push_back({nullptr, m_at, step.y});
            m_pc = step.x;
            return true;
        case Kind::jump: m_pc = step.x; return true;
        case Kind::save: set(m_groups[step.x]); return true;
        case Kind::mark: set(m_marks[step.x]); return true;
        case Kind::advanced: return m_marks[step.x] != m_at;
        case Kind::reference: return same_as_group(step.x);
        case Kind::text_start: return m_at == 0;
        case Kind::text_end: return m_at == m_text.size();
        case Kind::last_line_end: return m_at == m_text.size() || (m_at + 1 == m_text.size() && m_text[m_at] == '\n');
        case Kind::line_start: return m_at == 0 || (options().lines && m_text[m_at - 1] == '\n');
        case Kind::line_end: return m_at == m_text.size() || (options().lines && m_text[m_at] == '\n');
        default: return m_at < m_text.size() && matches(step, m_text[m_at++]);
        }
    }

    bool matches(const Step& step, char32_t c) const {
        if (step.kind == Step::Kind::any) return c != '\n' || options().dot_matches_newline;
        const bool fold = options().ignore_case;
        if (step.kind == Step::Kind::character) return c == step.c || (fold && lower_of(c) == lower_of(step.c));
        if (!fold) return step.has(c);
        return step.negated ? step.has(lower_of(c)) && step.has(upper_of(c))
                            : step.has(lower_of(c)) || step.has(upper_of(c));
    }

    bool same_as_group(std::size_t group) {
        const std::size_t start = m_groups[2 * group];
        const std::size_t end = m_groups[2 * group + 1];
        if (start == npos || end == npos) return false;
        for (std::size_t i = start; i < end; ++i, ++m_at) {
            if (m_at >= m_text.size()) return false;
            const bool same =
                m_text[i] == m_text[m_at] || (options().ignore_case && lower_of(m_text[i]) == lower_of(m_text[m_at]));
            if (!same) return false;
        }
        return true;
    }

    const Options& options() const { return m_regexp.m_options; }

    const Regexp& m_regexp;
    const std::u32string& m_text;
    std::int64_t& m_steps;
    Work& m_work;
    Groups m_groups;
    std::vector<std::size_t> m_marks;
    std::vector<Undo> m_undo;
    std::size_t m_pc = 0;
    std::size_t m_at = 0;
};

Regexp::Regexp(std::string_view pattern, const Options& options) : m_options(options) {
    const std::u32string codes = code_points(pattern);
    Parser(codes, *this).parse();
}

Regexp::~Regexp() = default;

bool Regexp::search(const std::u32string& text, std::size_t from, Groups& groups, Work& work) const {
    std::int64_t steps = 0;
    bool found = false;
    for (std::size_t start = from; start <= text.size() && !found; ++start) {
        Run run(*this, text, steps, work);
        found = run.at(start);
        if (found) groups = run.groups();
    }
    work.count(steps % steps_counted_together);
    return found;
}

} // namespace oci
