#include "oci/plsql/tree/methods.h"

#include "oci/values/decimal.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace oci::plsql {
namespace {

/// @param whole  calculates two whole numbers. @return true when that gives no whole number that can be held
template <class Whole, class Exact>
OwnedValue calculate(const Value& left, const Value& right, Whole&& whole, Exact&& exact) {
    const Value a = number_operand(left);
    const Value b = number_operand(right);
    std::int64_t result = 0;
    const bool both_whole = a.type == Value::Type::integer && b.type == Value::Type::integer;
    if (both_whole && !whole(a.integer, b.integer, result)) return OwnedValue(Value::of(result));
    return OwnedValue(exact(Decimal(a), Decimal(b)));
}

OwnedValue count(std::size_t number) {
    return OwnedValue(Value::of(static_cast<std::int64_t>(number)));
}

void need_content(const Collection& collection) {
    if (collection.is_null) throw OracleError(error::uninitialized_collection);
}

using Position = std::map<Key, Datum>::const_iterator;

Datum key_at(const Collection& collection, const Type& type, Position position) {
    if (position == collection.items.end()) return Datum(OwnedValue());
    return Datum(position->first.value(type));
}

Datum count_items(Collection& collection, const Type&, const std::vector<Value>&) {
    need_content(collection);
    return Datum(count(collection.items.size()));
}

Datum first(Collection& collection, const Type& type, const std::vector<Value>&) {
    need_content(collection);
    return key_at(collection, type, collection.items.begin());
}

Datum last(Collection& collection, const Type& type, const std::vector<Value>&) {
    need_content(collection);
    const auto& items = collection.items;
    return key_at(collection, type, items.empty() ? items.end() : std::prev(items.end()));
}

Datum next(Collection& collection, const Type& type, const std::vector<Value>& arguments) {
    need_content(collection);
    return key_at(collection, type, collection.items.upper_bound(key_of(type, arguments[0])));
}

Datum prior(Collection& collection, const Type& type, const std::vector<Value>& arguments) {
    need_content(collection);
    const auto at = collection.items.lower_bound(key_of(type, arguments[0]));
    return key_at(collection, type, at == collection.items.begin() ? collection.items.end() : std::prev(at));
}

Datum exists(Collection& collection, const Type& type, const std::vector<Value>& arguments) {
    const bool found = !arguments[0].is_null() && collection.items.contains(key_of(type, arguments[0]));
    return Datum(Value::of(std::int64_t{found}));
}

Datum limit(Collection& collection, const Type& type, const std::vector<Value>&) {
    need_content(collection);
    return type.index == Type::Index::varray ? Datum(Value::of(type.limit)) : Datum(OwnedValue());
}

Datum remove(Collection& collection, const Type& type, const std::vector<Value>& arguments) {
    need_content(collection);
    auto& items = collection.items;
    if (arguments.empty()) {
        items.clear();
        collection.top = 0;
        return {};
    }
    if (type.index == Type::Index::varray) refuse("PLS-00306: an element of a VARRAY cannot be deleted");
    if (std::any_of(arguments.begin(), arguments.end(), [](const Value& v) { return v.is_null(); })) return {};
    const Key from = key_of(type, arguments[0]);
    const Key to = key_of(type, arguments.back());
    if (!(to < from)) items.erase(items.lower_bound(from), items.upper_bound(to));
    return {};
}

Datum extend(Collection& collection, const Type& type, const std::vector<Value>& arguments) {
    need_content(collection);
    const std::int64_t more = arguments.empty() ? 1 : key_of(type, arguments[0]).number;
    if (type.index == Type::Index::varray && collection.top + more > type.limit)
        throw OracleError(error::subscript_outside_limit);
    Datum copied(*type.element);
    if (arguments.size() == 2) {
        const auto found = collection.items.find(key_of(type, arguments[1]));
        if (found == collection.items.end()) throw OracleError(error::subscript_beyond_count);
        copied = found->second;
    }
    for (std::int64_t i = 0; i < more; ++i) collection.append(copied);
    return {};
}

Datum trim(Collection& collection, const Type& type, const std::vector<Value>& arguments) {
    need_content(collection);
    const std::int64_t fewer = arguments.empty() ? 1 : key_of(type, arguments[0]).number;
    if (fewer > collection.top) throw OracleError(error::subscript_beyond_count);
    for (std::int64_t i = 0; i < fewer; ++i) collection.items.erase(Key{collection.top--, {}});
    return {};
}

constexpr CollectionMethod methods[] = {
    {"COUNT", 0, 0, false, false, count_items}, {"FIRST", 0, 0, false, false, first},
    {"LAST", 0, 0, false, false, last},         {"NEXT", 1, 1, false, false, next},
    {"PRIOR", 1, 1, false, false, prior},       {"EXISTS", 1, 1, false, false, exists},
    {"LIMIT", 0, 0, false, false, limit},       {"DELETE", 0, 2, true, true, remove},
    {"EXTEND", 0, 2, true, true, extend},       {"TRIM", 0, 1, true, true, trim},
};

/// Equality of elements: nothing when one is NULL.
std::optional<bool> equal(const Datum& left, const Datum& right) {
    if (left.is_scalar()) {
        const Value a = left.value().get();
        const Value b = right.value().get();
        if (a.is_null() || b.is_null()) return {};
        return compare(a, b) == 0;
    }
    if (!left.is_collection()) refuse("PLS-00306: elements of this type cannot be compared");
    const OwnedValue same = same_elements(left, right);
    if (same.get().is_null()) return {};
    return same.get().integer != 0;
}

/// NULLs are the same here.
bool same(const Datum& left, const Datum& right) {
    const bool scalar = left.is_scalar();
    const bool nulls = scalar && left.value().get().is_null() && right.value().get().is_null();
    return nulls || equal(left, right).value_or(false);
}

using Elements = std::vector<const Datum*>;

Elements elements_of(const Collection& collection) {
    Elements found;
    for (const auto& [key, item] : collection.items) found.push_back(&item);
    return found;
}

/// Takes an equal element out. @return whether there was one
bool take_out(Elements& elements, const Datum& wanted) {
    const auto found =
        std::find_if(elements.begin(), elements.end(), [&](const Datum* each) { return same(*each, wanted); });
    if (found == elements.end()) return false;
    elements.erase(found);
    return true;
}

OwnedValue truth(bool value) {
    return OwnedValue(Value::of(std::int64_t{value}));
}

OwnedValue is_member(const Datum& value, const Datum& collection) {
    if (collection.collection().is_null || (value.is_scalar() && value.value().get().is_null())) return {};
    bool unknown = false;
    for (const Datum* element : elements_of(collection.collection())) {
        const auto found = equal(value, *element);
        if (found.value_or(false)) return truth(true);
        unknown = unknown || !found;
    }
    return unknown ? OwnedValue() : truth(false);
}

OwnedValue is_submultiset(const Datum& left, const Datum& right) {
    if (left.collection().is_null || right.collection().is_null) return {};
    Elements rest = elements_of(right.collection());
    const Elements wanted = elements_of(left.collection());
    return truth(std::all_of(wanted.begin(), wanted.end(), [&](const Datum* each) { return take_out(rest, *each); }));
}

OwnedValue is_empty(const Datum& collection, const Datum&) {
    return collection.collection().is_null ? OwnedValue() : truth(collection.collection().items.empty());
}

OwnedValue is_a_set(const Datum& collection, const Datum&) {
    if (collection.collection().is_null) return {};
    Collection distinct = collection.collection();
    make_distinct(distinct);
    return truth(distinct.items.size() == collection.collection().items.size());
}

OwnedValue cardinality(const Datum& collection, const Datum&) {
    return collection.collection().is_null ? OwnedValue() : count(collection.collection().items.size());
}

void unite(Collection& made, const Collection& left, const Collection& right) {
    for (const auto* part : {&left, &right}) {
        for (const Datum* element : elements_of(*part)) made.append(*element);
    }
}

void intersect(Collection& made, const Collection& left, const Collection& right) {
    Elements rest = elements_of(right);
    for (const Datum* element : elements_of(left)) {
        if (take_out(rest, *element)) made.append(*element);
    }
}

void except(Collection& made, const Collection& left, const Collection& right) {
    Elements rest = elements_of(right);
    for (const Datum* element : elements_of(left)) {
        if (!take_out(rest, *element)) made.append(*element);
    }
}

void set_of(Collection& made, const Collection& left, const Collection&) {
    for (const Datum* element : elements_of(left)) made.append(*element);
    make_distinct(made);
}

using Result = CollectionFunction::Result;
constexpr CollectionFunction functions[] = {
    {"MEMBER OF", 2, Result::truth, true, is_member, nullptr},
    {"SUBMULTISET OF", 2, Result::truth, false, is_submultiset, nullptr},
    {"IS EMPTY", 1, Result::truth, false, is_empty, nullptr},
    {"IS A SET", 1, Result::truth, false, is_a_set, nullptr},
    {"CARDINALITY", 1, Result::number, false, cardinality, nullptr},
    {"SET", 1, Result::collection, false, nullptr, set_of},
    {"MULTISET UNION", 2, Result::collection, false, nullptr, unite},
    {"MULTISET INTERSECT", 2, Result::collection, false, nullptr, intersect},
    {"MULTISET EXCEPT", 2, Result::collection, false, nullptr, except},
};

} // namespace

const CollectionFunction* collection_function(std::string_view name) {
    const auto* found = std::find_if(std::begin(functions), std::end(functions),
                                     [&](const CollectionFunction& function) { return function.name == name; });
    return found != std::end(functions) ? found : nullptr;
}

void make_distinct(Collection& collection) {
    Collection made;
    made.is_null = collection.is_null;
    Elements seen;
    for (const Datum* element : elements_of(collection)) {
        if (std::any_of(seen.begin(), seen.end(), [&](const Datum* each) { return same(*each, *element); })) continue;
        seen.push_back(element);
        made.append(*element);
    }
    collection = std::move(made);
}

OwnedValue same_elements(const Datum& left, const Datum& right) {
    const Collection& a = left.collection();
    const Collection& b = right.collection();
    if (a.is_null || b.is_null) return {};
    if (a.items.size() != b.items.size()) return truth(false);
    for (const auto* part : {&a, &b}) {
        for (const auto& [key, item] : part->items) {
            if (item.is_scalar() && item.value().get().is_null()) return {};
        }
    }
    return is_submultiset(left, right);
}

Value number_operand(const Value& value) {
    try {
        return number_of(value);
    } catch (const OracleError& failure) {
        if (failure.code() != error::invalid_number) throw;
        throw OracleError(error::value_error, "character to number conversion error");
    }
}

OwnedValue add(const Value& left, const Value& right) {
    return calculate(
        left, right, [](auto a, auto b, auto& c) { return __builtin_add_overflow(a, b, &c); },
        [](const Decimal& a, const Decimal& b) { return (a + b).nearly_exact(); });
}

OwnedValue subtract(const Value& left, const Value& right) {
    return calculate(
        left, right, [](auto a, auto b, auto& c) { return __builtin_sub_overflow(a, b, &c); },
        [](const Decimal& a, const Decimal& b) { return (a - b).nearly_exact(); });
}

OwnedValue multiply(const Value& left, const Value& right) {
    return calculate(
        left, right, [](auto a, auto b, auto& c) { return __builtin_mul_overflow(a, b, &c); },
        [](const Decimal& a, const Decimal& b) { return (a * b).nearly_exact(); });
}

std::int64_t add_integers(std::int64_t left, std::int64_t right) {
    return left + right;
}
std::int64_t subtract_integers(std::int64_t left, std::int64_t right) {
    return left - right;
}
std::int64_t multiply_integers(std::int64_t left, std::int64_t right) {
    return left * right;
}

OwnedValue divide(const Value& left, const Value& right) {
    const auto whole = [](std::int64_t a, std::int64_t b, std::int64_t& c) {
        if (b == 0) throw OracleError(error::divisor_is_zero);
        if (b == -1 || a % b != 0) return true;
        c = a / b;
        return false;
    };
    return calculate(left, right, whole, [](const Decimal& a, const Decimal& b) { return (a / b).approximate(); });
}

OwnedValue power(const Value& left, const Value& right) {
    const auto real = [](const Value& given) {
        const Value number = number_operand(given);
        return number.type == Value::Type::integer ? static_cast<double>(number.integer) : number.real;
    };
    if (real(left) == 0 && real(right) < 0) throw OracleError(error::divisor_is_zero);
    const double result = std::pow(real(left), real(right));
    if (std::isnan(result)) throw OracleError(error::argument_out_of_range, "power");
    return OwnedValue(number_of_real(result));
}

const CollectionMethod* collection_method(std::string_view name) {
    const auto* found = std::find_if(std::begin(methods), std::end(methods),
                                     [&](const CollectionMethod& method) { return method.name == name; });
    return found != std::end(methods) ? found : nullptr;
}

} // namespace oci::plsql
