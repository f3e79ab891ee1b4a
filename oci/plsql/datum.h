#pragma once

#include "oci/values/values.h"

#include <compare>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace oci::plsql {

class Expression;
class OpenCursor;
struct Type;
using TypePtr = std::shared_ptr<const Type>;

struct Field {
    std::string name;
    TypePtr type;
    std::shared_ptr<const Expression> initial; ///< null without a default
};

/// What a variable, parameter or expression is declared as. Types are shared by all that is declared with them.
struct Type {
    enum class Kind : std::uint8_t { scalar, record, collection, cursor };
    enum class Index : std::uint8_t { integer, text, nested_table, varray };

    Kind kind = Kind::scalar;
    std::string name;
    bool not_null = false;

    ColumnType column;         ///< of a scalar; of unknown family where only the value tells
    bool is_integer = false;   ///< PLS_INTEGER and its subtypes
    bool wraps = false;        ///< SIMPLE_INTEGER: what is too large begins anew at the other end
    std::int64_t least = 0;    ///< of an integer or of RANGE
    std::int64_t greatest = 0; ///< likewise; 0 and 0: any

    std::vector<Field> fields; ///< of a record

    TypePtr element; ///< of a collection
    Index index = Index::integer;
    std::int64_t limit = 0; ///< of a VARRAY

    bool is_scalar() const { return kind == Kind::scalar; }
    bool is_boolean() const { return is_scalar() && column.family == Family::boolean; }
    bool is_indexed_by() const { return index == Index::integer || index == Index::text; }
};

TypePtr scalar_type(const ColumnType& column);
TypePtr scalar_type(Family family, int size = 0);
TypePtr boolean_type();
TypePtr integer_type();

/// The subscript of a collection's element.
struct Key {
    std::int64_t number = 0;
    std::string text;

    auto operator<=>(const Key&) const = default;
    OwnedValue value(const Type& collection) const;
};

struct Collection;

/// What a variable holds: a scalar, the fields of a record, a collection or a cursor. Copies are whole copies, but of a
/// cursor.
class Datum {
  public:
    Datum() = default;
    explicit Datum(OwnedValue value) : m_content(std::move(value)) {}
    explicit Datum(const Value& value) : m_content(OwnedValue(value)) {}
    /// The initial content of a variable of this type: NULL, NULL in all fields, no elements, no cursor.
    explicit Datum(const Type& type);
    Datum(const Datum& other);
    Datum& operator=(const Datum& other);
    Datum(Datum&&) noexcept = default;
    Datum& operator=(Datum&&) noexcept = default;
    ~Datum();

    OwnedValue& value() { return std::get<OwnedValue>(m_content); }
    const OwnedValue& value() const { return std::get<OwnedValue>(m_content); }
    std::vector<Datum>& fields() { return std::get<std::vector<Datum>>(m_content); }
    const std::vector<Datum>& fields() const { return std::get<std::vector<Datum>>(m_content); }
    Collection& collection() { return *std::get<std::unique_ptr<Collection>>(m_content); }
    const Collection& collection() const { return *std::get<std::unique_ptr<Collection>>(m_content); }
    std::shared_ptr<OpenCursor>& cursor() { return std::get<std::shared_ptr<OpenCursor>>(m_content); }

    bool is_scalar() const { return std::holds_alternative<OwnedValue>(m_content); }
    bool is_record() const { return std::holds_alternative<std::vector<Datum>>(m_content); }
    bool is_collection() const { return std::holds_alternative<std::unique_ptr<Collection>>(m_content); }

  private:
    std::variant<OwnedValue, std::vector<Datum>, std::unique_ptr<Collection>, std::shared_ptr<OpenCursor>> m_content;
};

struct Collection {
    bool is_null = false; ///< a nested table or VARRAY that no constructor has made: ORA-06531
    std::int64_t top = 0; ///< of these: the highest subscript that was given out
    std::map<Key, Datum> items;

    /// Takes one more element behind the last one.
    Datum& append(Datum item);
};

/// Makes the value of a scalar fit a variable: what does not is ORA-06502 with its reason, or ORA-01426.
void store(OwnedValue& target, const Value& value, const Type& type);
/// The same for any kind of variable.
void store(Datum& target, Datum value, const Type& type);

} // namespace oci::plsql
