#pragma once

#include "oci/plsql/tree/expressions.h"

#include <map>

namespace oci::plsql {

class SqlText;

/// CURSOR c(p NUMBER) IS query
struct CursorDeclaration {
    std::string name;
    std::vector<Parameter> parameters;
    unsigned first_slot = 0; ///< of the parameters, in the frame that the cursor is declared in
    std::shared_ptr<SqlText> query;
    TypePtr row;
};

/// What a name means.
struct Declaration {
    enum class Kind : std::uint8_t { variable, type, exception, cursor, routine };

    Kind kind = Kind::variable;
    TypePtr type; ///< of a variable; what a type's name stands for
    unsigned slot = 0;
    bool writable = true;
    const ExceptionName* exception = nullptr;
    std::shared_ptr<CursorDeclaration> cursor;
    std::vector<Routine*> routines; ///< of one name
};

/// The names of a block, routine or package. Scopes live as long as their unit: SQL is looked up in them when it is
/// compiled.
struct Scope {
    Scope* outer = nullptr;
    Unit* unit = nullptr;
    Routine* routine = nullptr; ///< whose frame has the variables
    std::string label;          ///< of the block, or the routine's name: qualifies names
    std::map<std::string, Declaration, std::less<>> names;
};

struct Found {
    const Declaration* declaration = nullptr;
    unsigned levels_up = 0;
    Unit* package = nullptr; ///< the package that the name is of, from outside of it
    bool outside = false;    ///< it stands in another unit

    explicit operator bool() const { return declaration != nullptr; }
};

/// A name of up to three parts, as it is written. Unused parts are empty.
struct Path {
    std::vector<std::string_view> parts;
    std::size_t used = 0; ///< parts that name the declaration; fields follow
};

/// What the first parts of a path mean. Other units are read for it.
Found find(Runtime& runtime, Scope& from, Path& path);

/// A variable or constant, or a field of one. Null when the path names none.
ExpressionPtr find_variable(Runtime& runtime, Scope& from, Path& path);
ExpressionPtr variable_of(const Found& found);
/// @return null when the record has no such field
ExpressionPtr field_of(ExpressionPtr record, std::string_view name);

} // namespace oci::plsql
