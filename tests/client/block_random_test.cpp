#include "tests/client/block_session.h"

#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

/// What the variables of a program hold.
struct State {
    std::array<std::int64_t, 4> numbers{};
    std::map<std::int64_t, std::int64_t> table;
    std::string text;
    std::vector<std::int64_t> counters; ///< of the loops that run, the innermost last

    std::string all() const {
        std::string told;
        for (const std::int64_t number : numbers) told += std::to_string(number) + " ";
        for (const auto& [key, value] : table) told += std::to_string(key) + "=" + std::to_string(value) + " ";
        return told + "<" + text + ">";
    }
};

struct Number {
    std::string block;
    std::function<std::int64_t(const State&)> value;
};
struct Condition {
    std::string block;
    std::function<bool(const State&)> value;
};
enum class Flow : std::uint8_t { next, exit, repeat };
struct Raised {};
struct Action {
    std::string block;
    std::function<Flow(State&)> run;
};

/// Makes up programs, each as the text of a block and as what C++ does for it.
class Author {
  public:
    explicit Author(unsigned seed) : m_random(seed) {}

    Action statements(int depth) {
        std::vector<Action> made;
        for (int i = pick(4) + 1; i > 0; --i) made.push_back(statement(depth));
        std::string block;
        for (const Action& each : made) block += each.block + "\n";
        return {block, [made](State& state) {
                    for (const Action& each : made) {
                        if (const Flow flow = each.run(state); flow != Flow::next) return flow;
                    }
                    return Flow::next;
                }};
    }

  private:
    int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    /// The number kept small, so that no product is too large for either side.
    static Number small(const Number& number, std::int64_t limit) {
        return {"MOD(" + number.block + ", " + std::to_string(limit) + ")",
                [number, limit](const State& state) { return number.value(state) % limit; }};
    }

    Number leaf() {
        switch (pick(4)) {
        case 0: {
            const std::int64_t value = pick(101) - 50;
            return {"(" + std::to_string(value) + ")", [value](const State&) { return value; }};
        }
        case 1:
            return {"NVL(LENGTH(s), 0)",
                    [](const State& state) { return static_cast<std::int64_t>(state.text.size()); }};
        case 2:
            if (m_loops > 0)
                return {"i" + std::to_string(m_loops), [](const State& state) { return state.counters.back(); }};
            [[fallthrough]];
        default: {
            const auto index = static_cast<std::size_t>(pick(4));
            return {"v" + std::to_string(index), [index](const State& state) { return state.numbers[index]; }};
        }
        }
    }

    Number number(int depth) {
        if (depth == 0) return leaf();
        const Number a = small(number(depth - 1), 1000);
        const Number b = small(number(depth - 1), 1000);
        switch (pick(7)) {
        case 0:
            return {"(" + a.block + " + " + b.block + ")", [a, b](const State& s) { return a.value(s) + b.value(s); }};
        case 1:
            return {"(" + a.block + " - " + b.block + ")", [a, b](const State& s) { return a.value(s) - b.value(s); }};
        case 2:
            return {"(" + a.block + " * " + b.block + ")", [a, b](const State& s) { return a.value(s) * b.value(s); }};
        case 3: {
            const std::int64_t by = pick(96) + 2;
            return {"TRUNC(" + a.block + " / " + std::to_string(by) + ")",
                    [a, by](const State& s) { return a.value(s) / by; }};
        }
        case 4:
            return {"GREATEST(" + a.block + ", -" + b.block + ")",
                    [a, b](const State& s) { return std::max(a.value(s), -b.value(s)); }};
        case 5: {
            const Number key = small(a, 8);
            return {"CASE WHEN t.EXISTS(" + key.block + ") THEN t(" + key.block + ") ELSE " + b.block + " END",
                    [key, b](const State& s) {
                        const auto found = s.table.find(key.value(s));
                        return found != s.table.end() ? found->second : b.value(s);
                    }};
        }
        default: {
            const Condition when = condition(depth - 1);
            return {"CASE WHEN " + when.block + " THEN " + a.block + " ELSE " + b.block + " END",
                    [when, a, b](const State& s) { return when.value(s) ? a.value(s) : b.value(s); }};
        }
        }
    }

    Condition condition(int depth) {
        const Number a = number(1);
        const Number b = number(1);
        switch (pick(depth > 0 ? 6 : 3)) {
        case 0: return {a.block + " < " + b.block, [a, b](const State& s) { return a.value(s) < b.value(s); }};
        case 1: return {a.block + " <> " + b.block, [a, b](const State& s) { return a.value(s) != b.value(s); }};
        case 2:
            return {a.block + " BETWEEN " + b.block + " AND 20",
                    [a, b](const State& s) { return a.value(s) >= b.value(s) && a.value(s) <= 20; }};
        case 3: {
            const Condition inner = condition(depth - 1);
            return {"NOT (" + inner.block + ")", [inner](const State& s) { return !inner.value(s); }};
        }
        case 4: {
            const Condition left = condition(depth - 1);
            const Condition right = condition(depth - 1);
            return {"(" + left.block + " AND " + right.block + ")",
                    [left, right](const State& s) { return left.value(s) && right.value(s); }};
        }
        default: {
            const Condition left = condition(depth - 1);
            const Condition right = condition(depth - 1);
            return {"(" + left.block + " OR " + right.block + ")",
                    [left, right](const State& s) { return left.value(s) || right.value(s); }};
        }
        }
    }

    Action assignment() {
        const auto index = static_cast<std::size_t>(pick(4));
        const Number value = small(number(3), 10007);
        return {"v" + std::to_string(index) + " := " + value.block + ";", [index, value](State& state) {
                    state.numbers[index] = value.value(state);
                    return Flow::next;
                }};
    }

    Action table_change() {
        const Number key = small(number(1), 8);
        const Number value = small(number(2), 10007);
        if (pick(4) == 0)
            return {"t.DELETE(" + key.block + ");", [key](State& state) {
                        state.table.erase(key.value(state));
                        return Flow::next;
                    }};
        return {"t(" + key.block + ") := " + value.block + ";", [key, value](State& state) {
                    const std::int64_t stored = value.value(state);
                    state.table[key.value(state)] = stored;
                    return Flow::next;
                }};
    }

    Action text_change() {
        const Number letter = small(number(1), 26);
        return {"s := s || CHR(97 + ABS(" + letter.block +
                    ")); IF LENGTH(s) > 20 THEN s := SUBSTR(s, 5, 9) || UPPER(SUBSTR(s, -3)); END IF;",
                [letter](State& state) {
                    state.text += static_cast<char>('a' + std::abs(letter.value(state)));
                    if (state.text.size() <= 20) return Flow::next;
                    std::string last = state.text.substr(state.text.size() - 3);
                    for (char& c : last) c = static_cast<char>(std::toupper(c));
                    state.text = state.text.substr(4, 9) + last;
                    return Flow::next;
                }};
    }

    Action choice(int depth) {
        const Condition when = condition(1);
        const Action yes = statements(depth - 1);
        const Action no = statements(depth - 1);
        return {"IF " + when.block + " THEN\n" + yes.block + "ELSE\n" + no.block + "END IF;",
                [when, yes, no](State& state) { return when.value(state) ? yes.run(state) : no.run(state); }};
    }

    Action loop(int depth) {
        const std::int64_t low = pick(5) - 2;
        const std::int64_t high = low + pick(6) - 1;
        const bool reverse = pick(3) == 0;
        const std::string name = "i" + std::to_string(++m_loops);
        const Condition ends = condition(0);
        const bool exits = pick(2) == 0;
        const Action body = statements(depth - 1);
        --m_loops;
        return {"FOR " + name + " IN " + (reverse ? "REVERSE " : "") + std::to_string(low) + ".." +
                    std::to_string(high) + " LOOP\n" + (exits ? "EXIT" : "CONTINUE") + " WHEN " + ends.block + ";\n" +
                    body.block + "END LOOP;",
                [low, high, reverse, ends, exits, body](State& state) {
                    state.counters.push_back(0);
                    for (std::int64_t i = low; i <= high; ++i) {
                        state.counters.back() = reverse ? high - (i - low) : i;
                        if (ends.value(state)) {
                            if (exits) break;
                            continue;
                        }
                        if (body.run(state) == Flow::exit) break;
                    }
                    state.counters.pop_back();
                    return Flow::next;
                }};
    }

    Action guarded(int depth) {
        const Condition when = condition(1);
        const Action body = statements(depth - 1);
        const Action handler = statements(depth - 1);
        return {"BEGIN\nIF " + when.block + " THEN RAISE e; END IF;\n" + body.block + "EXCEPTION WHEN e THEN\n" +
                    handler.block + "END;",
                [when, body, handler](State& state) {
                    try {
                        if (when.value(state)) throw Raised();
                        return body.run(state);
                    } catch (const Raised&) {
                        return handler.run(state);
                    }
                }};
    }

    Action statement(int depth) {
        switch (pick(depth > 0 ? 6 : 3)) {
        case 0: return assignment();
        case 1: return table_change();
        case 2: return text_change();
        case 3: return choice(depth);
        case 4: return loop(depth);
        default: return guarded(depth);
        }
    }

    std::mt19937 m_random;
    int m_loops = 0;
};

TEST(RandomBlocks, computeWhatTheSameProgramInCppDoes) {
    const BlockSession session("memory:random");
    for (unsigned seed = 1; seed <= 60; ++seed) {
        Author author(seed);
        const Action program = author.statements(3);
        const std::string block =
            "DECLARE TYPE numbers IS TABLE OF NUMBER INDEX BY PLS_INTEGER; t numbers; k PLS_INTEGER; e EXCEPTION;\n"
            "v0 NUMBER := 0; v1 PLS_INTEGER := 0; v2 NUMBER := 0; v3 NUMBER(5) := 0; s VARCHAR2(40); BEGIN\n" +
            program.block +
            "DBMS_OUTPUT.PUT(v0 || ' ' || v1 || ' ' || v2 || ' ' || v3 || ' '); k := t.FIRST;\n"
            "WHILE k IS NOT NULL LOOP DBMS_OUTPUT.PUT(k || '=' || t(k) || ' '); k := t.NEXT(k); END LOOP;\n"
            "DBMS_OUTPUT.PUT_LINE('<' || s || '>'); END;";
        State state;
        program.run(state);
        ASSERT_EQ(session.outcome(block), state.all()) << "seed " << seed << "\n" << block;
    }
}

} // namespace
