#include "oci/functions/function_table.h"

#include <algorithm>
#include <deque>
#include <map>
#include <utility>
#include <vector>

namespace oci {
namespace {

/// What a row is put in order by, for aggregates that look at an order.
class OrderKey {
  public:
    /// @param first  the first of the arguments that are keys
    OrderKey(const Arguments& in, int first) {
        for (int i = first; in.has(i); ++i) m_values.emplace_back(in[i]);
    }

    /// @param directions  for each key 'a' or 'd' for ascending or descending, then 'f' or 'l' for NULLs first or last
    int compare(const OrderKey& other, std::string_view directions) const {
        for (std::size_t i = 0; i < m_values.size(); ++i) {
            const Value a = m_values[i].get();
            const Value b = other.m_values[i].get();
            const bool nulls_first = directions[2 * i + 1] == 'f';
            if (a.is_null() != b.is_null()) return a.is_null() == nulls_first ? -1 : 1;
            if (a.is_null()) continue;
            const int order = compare_values(a, b);
            if (order != 0) return directions[2 * i] == 'd' ? -order : order;
        }
        return 0;
    }

  private:
    static int compare_values(const Value& a, const Value& b) {
        if (is_number(a) && is_number(b)) return compare_numbers(a, b);
        if (is_number(a) != is_number(b)) return is_number(a) ? -1 : 1;
        const int order = a.text().compare(b.text());
        return (order > 0) - (order < 0);
    }

    std::vector<OwnedValue> m_values;
};

std::string_view directions_of(const Arguments& in, std::size_t skipped, int first_key) {
    const std::string_view options = in[0].text();
    const auto keys = static_cast<std::size_t>(std::max(in.count - first_key, 0));
    if (options.size() < skipped + 2 * keys) throw OracleError(error::internal, "order of an aggregate");
    return options.substr(skipped, 2 * keys);
}

/// ora_listagg(options, value, separator, key...): 'D' of DISTINCT or '-', then the directions of the keys.
class ListAggregate {
  public:
    void add(Arguments& in) {
        const Value value = in[1];
        if (value.is_null()) return;
        std::string scratch;
        if (m_items.empty()) {
            m_directions = directions_of(in, 1, 3);
            m_distinct = in[0].text()[0] == 'D';
            m_separator = text_of(in, 2, scratch);
        }
        m_items.push_back({OrderKey(in, 3), std::string(text_of(in, 1, scratch))});
    }
    void remove(Arguments&) { throw OracleError(error::unimplemented, "LISTAGG over a moving window"); }

    Value value(std::string& scratch) const {
        std::vector<const Item*> items;
        for (const Item& item : m_items) items.push_back(&item);
        std::stable_sort(items.begin(), items.end(),
                         [this](const Item* a, const Item* b) { return a->key.compare(b->key, m_directions) < 0; });
        std::map<std::string_view, bool> seen;
        bool first = true;
        for (const Item* item : items) {
            if (m_distinct && !seen.emplace(item->text, true).second) continue;
            if (!std::exchange(first, false)) scratch += m_separator;
            scratch += item->text;
            if (scratch.size() > longest_text) throw OracleError(error::concatenation_too_long);
        }
        return Value::of(scratch);
    }

  private:
    struct Item {
        OrderKey key;
        std::string text;
    };

    std::vector<Item> m_items;
    std::string m_directions;
    std::string m_separator;
    bool m_distinct = false;
};

/// ora_keep(options, value, key...): of the rows that come first ('F') or last ('L') in the order of the keys, the
/// sum 's', average 'a', least 'n', greatest 'x' or number 'c' of the values.
class KeepAggregate {
  public:
    void add(Arguments& in) {
        const OrderKey key(in, 2);
        const std::string_view directions = directions_of(in, 2, 2);
        m_last = in[0].text()[0] == 'L';
        m_function = in[0].text()[1];
        if (!m_best.empty()) {
            const int order = key.compare(m_best.front(), directions);
            if (order != 0 && (order > 0) != m_last) return;
            if (order != 0) {
                m_best.clear();
                m_values.clear();
            }
        }
        if (m_best.empty()) m_best.push_back(key);
        if (!in[1].is_null()) m_values.emplace_back(in[1]);
    }
    void remove(Arguments&) { throw OracleError(error::unimplemented, "KEEP over a moving window"); }

    Value value(std::string& scratch) const {
        if (m_function == 'c') return Value::of(static_cast<std::int64_t>(m_values.size()));
        if (m_values.empty()) return {};
        return m_function == 's' || m_function == 'a' ? total() : extreme(scratch);
    }

  private:
    Value total() const {
        Decimal sum;
        for (const OwnedValue& value : m_values) sum = sum + decimal_of(value.get());
        if (m_function == 's') return sum.nearly_exact();
        return (sum / Decimal(Value::of(static_cast<std::int64_t>(m_values.size())))).approximate();
    }

    Value extreme(std::string& scratch) const {
        Value best = m_values.front().get();
        for (const OwnedValue& candidate : m_values) {
            const Value value = candidate.get();
            const int order =
                is_number(value) && is_number(best) ? compare_numbers(value, best) : value.text().compare(best.text());
            if (m_function == 'x' ? order > 0 : order < 0) best = value;
        }
        if (is_number(best)) return best;
        const auto type = best.type;
        best = Value::of(scratch = best.text());
        best.type = type;
        return best;
    }

    std::vector<OrderKey> m_best; ///< none or one
    std::vector<OwnedValue> m_values;
    bool m_last = false;
    char m_function = 0;
};

/// ora_nth_of_frame(options, value, n): 'i' leaves NULLs out, 'l' counts from the frame's last row.
class NthOfFrame {
  public:
    void add(Arguments& in) {
        m_from_last = in[0].text()[1] == 'l';
        const Value count = number_of(in[2]);
        m_place = count.is_null() ? 0 : integer_of(count);
        if (m_place < 1) throw OracleError(error::argument_out_of_range, std::to_string(m_place));
        if (counts(in)) m_values.emplace_back(in[1]);
    }
    void remove(Arguments& in) {
        if (counts(in)) m_values.pop_front();
    }
    Value value(std::string& scratch) const {
        const auto place = static_cast<std::size_t>(m_place);
        if (place > m_values.size()) return {};
        const Value found = m_values[m_from_last ? m_values.size() - place : place - 1].get();
        if (found.is_null() || is_number(found)) return found;
        Value copy = Value::of_bytes(nullptr, 0);
        scratch = found.text();
        copy.type = found.type;
        copy.data = scratch.data();
        copy.size = scratch.size();
        return copy;
    }

  private:
    static bool counts(const Arguments& in) { return in[0].text()[0] != 'i' || !in[1].is_null(); }

    std::deque<OwnedValue> m_values;
    std::int64_t m_place = 1;
    bool m_from_last = false;
};

using enum ArgumentRule;
using R = ResultRule;
constexpr std::uint8_t many = FunctionEntry::any_number;
constexpr auto both = FunctionRole::aggregate_or_window;

constexpr FunctionEntry entries[] = {
    of_role(both, with_nulls({"LISTAGG", 1, 2, {text}, R::text, "ora_listagg"})),
    of_role(both, with_nulls({"", 3, many, {any}, R::text, "ora_listagg", window_callbacks<ListAggregate>()})),
    of_role(both, with_nulls({"", 3, many, {any}, R::unknown, "ora_keep", window_callbacks<KeepAggregate>()})),
    of_role(both, with_nulls({"", 3, 3, {any}, R::unknown, "ora_nth_of_frame", window_callbacks<NthOfFrame>()})),
};

// SQLite's own.
constexpr FunctionEntry window_entries[] = {
    of_role(FunctionRole::window, with_nulls({"ROW_NUMBER", 0, 0, {any}, R::number, "row_number"})),
    of_role(FunctionRole::window, with_nulls({"RANK", 0, 0, {any}, R::number, "rank"})),
    of_role(FunctionRole::window, with_nulls({"DENSE_RANK", 0, 0, {any}, R::number, "dense_rank"})),
    of_role(FunctionRole::window, with_nulls({"PERCENT_RANK", 0, 0, {any}, R::number, "percent_rank"})),
    of_role(FunctionRole::window, with_nulls({"CUME_DIST", 0, 0, {any}, R::number, "cume_dist"})),
    of_role(FunctionRole::window, with_nulls({"NTILE", 1, 1, {number}, R::number, "ntile"})),
    of_role(FunctionRole::window, with_nulls({"LAG", 1, 3, {any, number, any}, R::like_argument, "lag"})),
    of_role(FunctionRole::window, with_nulls({"LEAD", 1, 3, {any, number, any}, R::like_argument, "lead"})),
    of_role(FunctionRole::window, with_nulls({"FIRST_VALUE", 1, 1, {any}, R::like_argument, "first_value"})),
    of_role(FunctionRole::window, with_nulls({"LAST_VALUE", 1, 1, {any}, R::like_argument, "last_value"})),
    of_role(FunctionRole::window, with_nulls({"NTH_VALUE", 2, 2, {any, number}, R::like_argument, "nth_value"})),
};

} // namespace

constinit const std::span<const FunctionEntry> list_functions = entries;
constinit const std::span<const FunctionEntry> window_functions = window_entries;

} // namespace oci
