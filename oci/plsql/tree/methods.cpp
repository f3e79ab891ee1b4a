#include "oci/plsql/tree/methods.h"

#include "oci/values/decimal.h"

#include <algorithm>
#include <cmath>

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
    if (collection.is_null) throw OracleError(6531);
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
    if (type.index == Type::Index::varray && collection.top + more > type.limit) throw OracleError(6532);
    Datum copied(*type.element);
    if (arguments.size() == 2) {
        const auto found = collection.items.find(key_of(type, arguments[1]));
        if (found == collection.items.end()) throw OracleError(6533);
        copied = found->second;
    }
    for (std::int64_t i = 0; i < more; ++i) collection.append(copied);
    return {};
}

Datum trim(Collection& collection, const Type& type, const std::vector<Value>& arguments) {
    need_content(collection);
    const std::int64_t fewer = arguments.empty() ? 1 : key_of(type, arguments[0]).number;
    if (fewer > collection.top) throw OracleError(6533);
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

} // namespace

Value number_operand(const Value& value) {
    try {
        return number_of(value);
    } catch (const OracleError& failure) {
        constexpr int no_number = 1722;
        if (failure.code() != no_number) throw;
        throw OracleError(6502, "character to number conversion error");
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

OwnedValue divide(const Value& left, const Value& right) {
    const auto whole = [](std::int64_t a, std::int64_t b, std::int64_t& c) {
        if (b == 0) throw OracleError(1476);
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
    if (real(left) == 0 && real(right) < 0) throw OracleError(1476);
    const double result = std::pow(real(left), real(right));
    if (std::isnan(result)) throw OracleError(1428, "power");
    return OwnedValue(number_of_real(result));
}

const CollectionMethod* collection_method(std::string_view name) {
    const auto* found = std::find_if(std::begin(methods), std::end(methods),
                                     [&](const CollectionMethod& method) { return method.name == name; });
    return found != std::end(methods) ? found : nullptr;
}

} // namespace oci::plsql
