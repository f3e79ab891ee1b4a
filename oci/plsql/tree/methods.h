#pragma once

#include "oci/plsql/tree/expressions.h"

namespace oci::plsql {

// Arithmetic of decimals: exact where the result can be held, else rounded to 15 digits.
/// The number that an operand is or spells: ORA-06502 when it spells none.
Value number_operand(const Value& value);
OwnedValue add(const Value& left, const Value& right);
OwnedValue subtract(const Value& left, const Value& right);
OwnedValue multiply(const Value& left, const Value& right);
OwnedValue divide(const Value& left, const Value& right);
OwnedValue power(const Value& left, const Value& right);

/// A method of a collection: COUNT, FIRST, EXISTS(i), DELETE(i) ...
struct CollectionMethod {
    std::string_view name;
    std::size_t least; ///< arguments
    std::size_t most;
    bool changes; ///< the collection
    bool is_procedure;
    Datum (*apply)(Collection& collection, const Type& type, const std::vector<Value>& arguments);
};

/// Null when there is none of that name.
const CollectionMethod* collection_method(std::string_view name);

} // namespace oci::plsql
