#include "oci/plsql/parser/scope.h"

#include "oci/plsql/library.h"
#include "oci/plsql/runtime.h"

#include <algorithm>

namespace oci::plsql {
namespace {

const Declaration* lookup(const Scope& scope, std::string_view name) {
    const auto found = scope.names.find(name);
    return found != scope.names.end() ? &found->second : nullptr;
}

/// A name of a package, or of its schema and the package, or a routine of its own.
Found find_outside(Runtime& runtime, Scope& from, Path& path) {
    for (std::size_t at = 0; at < std::min<std::size_t>(path.parts.size(), 2); ++at) {
        Unit* const unit = runtime.library->find(path.parts[at]);
        if (unit == nullptr) continue;
        if (unit != from.unit) from.unit->uses.insert(unit->name);
        const Scope& names = *unit->scopes.front();
        const bool package = unit->kind == Unit::Kind::package;
        path.used = at + (package ? 2 : 1);
        if (path.used > path.parts.size()) return {};
        return {lookup(names, path.parts[path.used - 1]), 0, package ? unit : nullptr, true};
    }
    return {};
}

TypePtr table_of(const TypePtr& element, Type::Index index) {
    Type type;
    type.kind = Type::Kind::collection;
    type.index = index;
    type.element = element;
    type.limit = 32767;
    return std::make_shared<Type>(std::move(type));
}

/// Types that packages of the server bring along.
const Declaration* builtin_type(const Path& path) {
    static const auto types = [] {
        const TypePtr text = scalar_type(Family::text, 32767);
        const TypePtr number = scalar_type(ColumnType::number());
        std::map<std::string, Declaration, std::less<>> made;
        const auto add = [&made](std::string_view name, TypePtr type) {
            Declaration& declaration = made[std::string(name)];
            declaration.kind = Declaration::Kind::type;
            declaration.type = std::move(type);
        };
        add("DBMS_OUTPUT.CHARARR", table_of(text, Type::Index::integer));
        add("DBMSOUTPUT_LINESARRAY", table_of(text, Type::Index::varray));
        add("DBMS_SQL.VARCHAR2_TABLE", table_of(text, Type::Index::integer));
        add("DBMS_SQL.VARCHAR2A", table_of(text, Type::Index::integer));
        add("DBMS_SQL.NUMBER_TABLE", table_of(number, Type::Index::integer));
        add("DBMS_SQL.DATE_TABLE", table_of(scalar_type(Family::date), Type::Index::integer));
        add("ODCINUMBERLIST", table_of(number, Type::Index::varray));
        add("ODCIVARCHAR2LIST", table_of(scalar_type(Family::text, longest_text), Type::Index::varray));
        return made;
    }();
    std::string name;
    for (const auto part : path.parts) {
        if (name.empty() && part == "SYS") continue;
        name.append(name.empty() ? "" : ".").append(part);
    }
    const auto found = types.find(name);
    return found != types.end() ? &found->second : nullptr;
}

} // namespace

Found find(Runtime& runtime, Scope& from, Path& path) {
    for (Scope* scope = &from; scope != nullptr; scope = scope->outer) {
        const unsigned levels_up = from.routine->level - scope->routine->level;
        path.used = 1;
        if (const auto* declaration = lookup(*scope, path.parts[0])) return {declaration, levels_up, nullptr};
        if (path.parts.size() < 2 || scope->label != path.parts[0]) continue;
        path.used = 2;
        if (const auto* declaration = lookup(*scope, path.parts[1])) return {declaration, levels_up, nullptr};
    }
    if (const Declaration* type = builtin_type(path)) {
        path.used = path.parts.size();
        return {type, 0, nullptr, true};
    }
    return find_outside(runtime, from, path);
}

ExpressionPtr variable_of(const Found& found) {
    const Declaration& declaration = *found.declaration;
    if (found.package != nullptr)
        return std::make_shared<PackageVariable>(declaration.type, *found.package, declaration.slot,
                                                 declaration.writable);
    return std::make_shared<Variable>(declaration.type, found.levels_up, declaration.slot, declaration.writable);
}

ExpressionPtr field_of(ExpressionPtr record, std::string_view name) {
    const auto& fields = record->type()->fields;
    const auto found = std::find_if(fields.begin(), fields.end(), [&](const Field& f) { return f.name == name; });
    if (found == fields.end()) return nullptr;
    return std::make_shared<FieldAccess>(std::move(record), static_cast<std::size_t>(found - fields.begin()));
}

ExpressionPtr find_variable(Runtime& runtime, Scope& from, Path& path) {
    const Found found = find(runtime, from, path);
    if (!found || found.declaration->kind != Declaration::Kind::variable) return nullptr;
    ExpressionPtr value = variable_of(found);
    for (; value && path.used < path.parts.size() && value->type()->kind == Type::Kind::record; ++path.used)
        value = field_of(value, path.parts[path.used]);
    return value;
}

} // namespace oci::plsql
