#include "oci/plsql/parser/parser.h"

#include "oci/plsql/library.h"
#include "oci/plsql/runtime.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace oci::plsql {
namespace {

struct IntegerType {
    std::string_view name;
    std::int64_t least;
    std::int64_t greatest;
    bool not_null;
};

constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
constexpr IntegerType integer_types[] = {
    {"PLS_INTEGER", lowest, highest, false},
    {"BINARY_INTEGER", lowest, highest, false},
    {"SIMPLE_INTEGER", lowest, highest, true},
    {"NATURAL", 0, highest, false},
    {"NATURALN", 0, highest, true},
    {"POSITIVE", 1, highest, false},
    {"POSITIVEN", 1, highest, true},
    {"SIGNTYPE", -1, 1, false},
};

} // namespace

Scope& Parser::open_scope(std::string label) {
    m_unit.scopes.push_back(std::make_shared<Scope>());
    Scope& scope = *m_unit.scopes.back();
    scope.outer = m_scope;
    scope.unit = &m_unit;
    scope.routine = m_routine;
    scope.label = std::move(label);
    m_scope = &scope;
    return scope;
}

Declaration& Parser::declare(const sql::Name& name, Declaration::Kind kind) {
    const auto [at, fresh] = m_scope->names.try_emplace(text(name));
    if (!fresh) fail("PLS-00371: at most one declaration for '" + text(name) + "' is permitted", name.at);
    at->second.kind = kind;
    return at->second;
}

void Parser::declarations(Body& body) {
    while (!m_tokens.at("BEGIN") && !m_tokens.at("END")) {
        if (m_tokens.at_end()) unexpected("BEGIN");
        declaration(body);
    }
}

void Parser::declaration(Body& body) {
    if (m_tokens.at("PROCEDURE") || m_tokens.at("FUNCTION")) return subprogram();
    if (m_tokens.at("TYPE")) return type_declaration();
    if (m_tokens.at("SUBTYPE")) return subtype();
    if (m_tokens.at("CURSOR")) return cursor_declaration(body);
    if (m_tokens.at("PRAGMA")) return pragma();
    variable(body);
}

void Parser::variable(Body& body) {
    const unsigned at_line = line();
    const sql::Name declared = name();
    if (m_tokens.accept("EXCEPTION")) {
        m_unit.exceptions.push_back({text(declared), 0});
        declare(declared, Declaration::Kind::exception).exception = &m_unit.exceptions.back();
        return expect(";");
    }
    const bool constant = m_tokens.accept("CONSTANT");
    TypePtr of = declared_type();
    ExpressionPtr initial = default_value(of);
    if (!initial && constant)
        fail("PLS-00322: declaration of a constant '" + text(declared) + "' must contain an initialization assignment",
             declared.at);
    if (!initial && of->not_null)
        fail("PLS-00218: a variable declared NOT NULL must have an initialization assignment", declared.at);
    expect(";");
    Declaration& made = declare(declared, Declaration::Kind::variable);
    made.type = of;
    made.slot = m_routine->slots++;
    made.writable = !constant;
    body.variables.push_back({made.slot, std::move(of), std::move(initial), at_line});
}

/// A type with NOT NULL, if that stands behind it.
TypePtr Parser::declared_type() {
    const auto at = m_tokens.position();
    try {
        const bool sized = m_tokens.peek(1).is("(");
        const bool one = !sized && m_tokens.at("CHAR"); // a variable has a size, a parameter has none
        if (!sized && (m_tokens.at("VARCHAR2") || m_tokens.at("VARCHAR") || m_tokens.at("NVARCHAR2")))
            fail("PLS-00215: String length constraints must be in range (1 .. 32767)", at);
        TypePtr of = type();
        if (one) of = scalar_type(Family::fixed_text, 1);
        const bool required = m_tokens.accept("NOT");
        if (required) expect("NULL");
        if (!required) {
            m_tokens.accept("NULL");
            return of;
        }
        auto made = std::make_shared<Type>(*of);
        made->not_null = true;
        return made;
    } catch (CompileError& error) {
        error.leaves_out(compile_message(m_unit, at, {}), "Item");
        throw;
    }
}

ExpressionPtr Parser::default_value(const TypePtr& type) {
    if (!m_tokens.accept(":=") && !m_tokens.accept("DEFAULT")) return nullptr;
    return expression_for(type);
}

void Parser::type_declaration() {
    m_tokens.take();
    const sql::Name declared = name();
    if (!m_tokens.accept("IS")) return expect(";"); // declared further on
    TypePtr made;
    if (m_tokens.accept("RECORD")) {
        made = record_type();
    } else if (m_tokens.accept("TABLE")) {
        made = table_type(Type::Index::nested_table);
    } else if (m_tokens.accept("VARRAY") || m_tokens.accept("VARYING", "ARRAY")) {
        made = table_type(Type::Index::varray);
    } else if (m_tokens.accept("REF", "CURSOR")) {
        auto cursor = std::make_shared<Type>();
        cursor->kind = Type::Kind::cursor;
        if (m_tokens.accept("RETURN")) type();
        made = std::move(cursor);
    } else {
        unsupported("this kind of type");
    }
    expect(";");
    declare(declared, Declaration::Kind::type).type = std::move(made);
}

TypePtr Parser::record_type() {
    auto record = std::make_shared<Type>();
    record->kind = Type::Kind::record;
    expect("(");
    do {
        Field field;
        field.name = text(name());
        field.type = declared_type();
        field.initial = default_value(field.type);
        record->fields.push_back(std::move(field));
    } while (m_tokens.accept(","));
    expect(")");
    return record;
}

TypePtr Parser::table_type(Type::Index index) {
    auto table = std::make_shared<Type>();
    table->kind = Type::Kind::collection;
    table->index = index;
    if (index == Type::Index::varray) {
        expect("(");
        table->limit = m_tokens.integer(error::block_error);
        expect(")");
    }
    expect("OF");
    table->element = type();
    if (m_tokens.accept("NOT")) expect("NULL");
    if (index == Type::Index::varray || !m_tokens.accept("INDEX")) return table;
    expect("BY");
    const TypePtr key = type();
    table->index = key->column.family == Family::text ? Type::Index::text : Type::Index::integer;
    return table;
}

void Parser::subtype() {
    m_tokens.take();
    const sql::Name declared = name();
    expect("IS");
    auto made = std::make_shared<Type>(*type());
    if (m_tokens.accept("RANGE")) {
        const auto bound = [&] {
            const bool negative = m_tokens.accept("-");
            const std::int64_t number = m_tokens.integer(error::block_error);
            return negative ? -number : number;
        };
        made->least = bound();
        expect("..");
        made->greatest = bound();
    }
    if (m_tokens.accept("NOT")) {
        expect("NULL");
        made->not_null = true;
    }
    expect(";");
    declare(declared, Declaration::Kind::type).type = std::move(made);
}

void Parser::cursor_declaration(Body& body) {
    m_tokens.take();
    const unsigned at_line = line();
    const sql::Name declared = name();
    auto cursor = std::make_shared<CursorDeclaration>();
    cursor->name = text(declared);
    Scope& inner = open_scope(cursor->name);
    cursor->parameters = parameters(true);
    cursor->first_slot = m_routine->slots;
    m_routine->slots += static_cast<unsigned>(cursor->parameters.size());
    for (std::size_t i = 0; i < cursor->parameters.size(); ++i) {
        Declaration& parameter = inner.names[cursor->parameters[i].name];
        parameter.type = cursor->parameters[i].type;
        parameter.slot = cursor->first_slot + static_cast<unsigned>(i);
    }
    TypePtr returned;
    if (m_tokens.accept("RETURN")) returned = type();
    if (m_tokens.accept("IS")) {
        const auto at = m_tokens.position();
        Into none;
        cursor->query = sql(";", none);
        cursor->row = check(*cursor->query, at);
        if (returned) cursor->row = returned;
    } else {
        unsupported("a cursor whose query is declared elsewhere");
    }
    close_scope();
    expect(";");
    Declaration& made = declare(declared, Declaration::Kind::cursor);
    auto type = std::make_shared<Type>();
    type->kind = Type::Kind::cursor;
    made.type = type;
    made.slot = m_routine->slots++;
    made.cursor = std::move(cursor);
    body.variables.push_back({made.slot, std::move(type), nullptr, at_line});
}

void Parser::pragma() {
    m_tokens.take();
    const sql::Name kind = name();
    if (kind.text == "AUTONOMOUS_TRANSACTION") m_routine->autonomous = true;
    if (kind.text == "EXCEPTION_INIT") {
        expect("(");
        const sql::Name declared = name();
        const auto found = m_scope->names.find(declared.text);
        if (found == m_scope->names.end() || found->second.kind != Declaration::Kind::exception)
            fail("PLS-00109: unknown exception name '" + text(declared) + "' in PRAGMA EXCEPTION_INIT", declared.at);
        expect(",");
        const bool negative = m_tokens.accept("-");
        const auto code = static_cast<int>(m_tokens.integer(error::block_error));
        if (!negative && code != 100)
            fail("PLS-00701: illegal ORACLE error number " + std::to_string(code) + " for PRAGMA EXCEPTION_INIT",
                 declared.at);
        const_cast<ExceptionName*>(found->second.exception)->code = negative ? code : int{error::no_data_found};
        expect(")");
    }
    while (!m_tokens.at(";") && !m_tokens.at_end()) m_tokens.take();
    expect(";");
}

TypePtr Parser::type() {
    bool found = false;
    if (TypePtr made = named_type(found); found) return made;
    if (TypePtr made = builtin_type()) return made;
    const auto at = m_tokens.position();
    try {
        return scalar_type(sql::parse_column_type(m_tokens));
    } catch (const OracleError&) {
        m_tokens.rewind(at);
        Path missing = path();
        fail("PLS-00201: identifier '" + std::string(missing.parts.back()) + "' must be declared", at, true);
    }
}

TypePtr Parser::builtin_type() {
    for (const IntegerType& known : integer_types) {
        if (!m_tokens.accept(known.name)) continue;
        Type type;
        type.column = ColumnType::number();
        type.is_integer = true;
        type.least = known.least;
        type.greatest = known.greatest;
        type.not_null = known.not_null;
        type.wraps = known.not_null && known.least == lowest;
        return std::make_shared<Type>(type);
    }
    if (m_tokens.accept("BOOLEAN")) return boolean_type();
    if (m_tokens.accept("SYS_REFCURSOR")) {
        Type type;
        type.kind = Type::Kind::cursor;
        return std::make_shared<Type>(type);
    }
    for (const auto text : {"VARCHAR2", "VARCHAR", "CHAR", "STRING", "NVARCHAR2", "RAW", "LONG"}) {
        if (!m_tokens.at(text)) continue;
        const bool sized = m_tokens.peek(1).is("(");
        const bool character = m_tokens.at("CHAR");
        if (sized && !m_tokens.at("STRING")) return nullptr;
        const bool raw = m_tokens.at("RAW");
        m_tokens.take();
        if (m_tokens.accept("RAW")) return scalar_type(Family::raw);
        if (raw) return scalar_type(Family::raw);
        int size = 0;
        if (m_tokens.accept("(")) {
            size = static_cast<int>(m_tokens.integer(error::block_error));
            expect(")");
        }
        return scalar_type(character ? Family::fixed_text : Family::text, size);
    }
    return nullptr;
}

TypePtr Parser::named_type(bool& found) {
    const auto at = m_tokens.position();
    if (!m_tokens.at_name()) return nullptr;
    Path path = this->path();
    found = true;
    if (m_tokens.accept("%")) {
        if (m_tokens.accept("ROWTYPE")) return row_type(path, at);
        expect("TYPE");
        if (ExpressionPtr variable = find_variable(m_runtime, *m_scope, path);
            variable && path.used == path.parts.size())
            return variable->type();
        const auto column = path.parts.back();
        path.parts.pop_back();
        if (path.parts.empty()) fail("PLS-00201: identifier '" + std::string(column) + "' must be declared", at, true);
        const TypePtr row = row_type(path, at, column);
        for (const Field& field : row->fields) {
            if (field.name == column) return field.type;
        }
        fail("PLS-00302: component '" + std::string(column) + "' must be declared", at, true);
    }
    const Found declared = find(m_runtime, *m_scope, path);
    if (declared && declared.declaration->kind == Declaration::Kind::type && path.used == path.parts.size())
        return declared.declaration->type;
    found = false;
    m_tokens.rewind(at);
    return nullptr;
}

TypePtr Parser::row_type(Path path, sql::Offset at, std::string_view column) {
    const Found declared = find(m_runtime, *m_scope, path);
    if (declared && declared.declaration->kind == Declaration::Kind::cursor) return declared.declaration->cursor->row;
    if (declared && declared.declaration->kind == Declaration::Kind::variable) return declared.declaration->type;
    auto columns = columns_of_table(m_runtime.session, path.parts.back());
    if (columns.empty()) {
        const std::string name = std::string(path.parts.back()) + (column.empty() ? "" : ".") + std::string(column);
        fail("PLS-00201: identifier '" + name + "' must be declared", at, true);
    }
    m_unit.tables[std::string(path.parts.back())] = columns;
    auto record = std::make_shared<Type>();
    record->kind = Type::Kind::record;
    record->fields = std::move(columns);
    return record;
}

std::vector<Parameter> Parser::parameters(bool of_cursor) {
    std::vector<Parameter> made;
    if (!m_tokens.accept("(")) return made;
    do {
        Parameter parameter;
        parameter.name = text(name());
        const bool in = m_tokens.accept("IN");
        parameter.out = !of_cursor && m_tokens.accept("OUT");
        parameter.in = in || !parameter.out;
        m_tokens.accept("NOCOPY");
        const TypePtr declared = type();
        auto of = std::make_shared<Type>(*declared); // a parameter has no size of its own
        if (declared->is_scalar() && !declared->is_integer && of_cursor) of->column.size = 0;
        parameter.type = declared->is_scalar() ? TypePtr(of) : declared;
        parameter.initial = default_value(parameter.type);
        made.push_back(std::move(parameter));
    } while (m_tokens.accept(","));
    expect(")");
    return made;
}

void Parser::subprogram() {
    const bool function = m_tokens.take().is("FUNCTION");
    const bool with_schema = m_scope->outer == nullptr && m_tokens.peek(1).is(".");
    if (with_schema) {
        m_tokens.take();
        m_tokens.take();
    }
    const sql::Name declared = name();
    // In the body of a package stands what its head has declared.
    Scope* const head = m_unit.kind == Unit::Kind::package_body && m_routine->level == 0 ? m_scope->outer : nullptr;
    const bool announced = head != nullptr && head->names.contains(declared.text);
    const auto [at, fresh] = (announced ? head : m_scope)->names.try_emplace(text(declared));
    Declaration& declaration = at->second;
    if (fresh) declaration.kind = Declaration::Kind::routine;
    if (declaration.kind != Declaration::Kind::routine)
        fail("PLS-00371: at most one declaration for '" + text(declared) + "' is permitted", declared.at);
    Routine made;
    made.name = text(declared);
    made.unit = &m_unit;
    made.level = m_routine->level + 1;
    made.parameters = parameters(false);
    if (function) {
        expect("RETURN");
        made.result = type();
    }
    while (m_tokens.accept("DETERMINISTIC") || m_tokens.accept("RESULT_CACHE") || m_tokens.accept("PARALLEL_ENABLE") ||
           m_tokens.accept("AUTHID", "DEFINER") || m_tokens.accept("AUTHID", "CURRENT_USER")) {
    }
    if (m_tokens.at("PIPELINED")) unsupported("PIPELINED functions");
    Routine* routine = nullptr;
    for (Routine* known : declaration.routines) {
        if (!known->defined && known->parameters.size() == made.parameters.size() && !known->result == !made.result &&
            std::equal(known->parameters.begin(), known->parameters.end(), made.parameters.begin(),
                       [](const auto& a, const auto& b) {
                           return a.name == b.name && a.type->column.family == b.type->column.family;
                       }))
            routine = known;
    }
    if (routine == nullptr) {
        m_unit.routines.push_back(std::move(made));
        routine = &m_unit.routines.back();
        declaration.routines.push_back(routine);
    } else {
        routine->unit = &m_unit; // of a package: its body's lines count
        for (std::size_t i = 0; i < routine->parameters.size(); ++i) {
            if (!routine->parameters[i].initial) routine->parameters[i].initial = made.parameters[i].initial;
        }
    }
    if (m_tokens.accept(";")) return;
    if (!m_tokens.accept("IS")) expect("AS");
    define(*routine, m_scope);
    expect(";");
}

void Parser::define(Routine& routine, Scope* outer) {
    Routine* const around = m_routine;
    Scope* const scope_around = m_scope;
    auto loops = std::exchange(m_loops, {});
    auto gotos = std::exchange(m_gotos, {});
    const bool in_handler = std::exchange(m_in_handler, false);
    m_scope = outer;
    m_routine = &routine;
    Scope& scope = open_scope(routine.name);
    routine.slots = std::max(routine.slots, static_cast<unsigned>(routine.parameters.size()));
    for (unsigned i = 0; i < routine.parameters.size(); ++i) {
        const Parameter& parameter = routine.parameters[i];
        Declaration& declared = scope.names[parameter.name];
        declared.type = parameter.type;
        declared.slot = i;
        declared.writable = parameter.out;
    }
    if (m_tokens.at("LANGUAGE") || m_tokens.at("EXTERNAL")) unsupported("routines in another language");
    declarations(routine.body);
    body(routine.body, routine.name);
    refuse_pending_gotos();
    routine.defined = true;
    m_loops = std::move(loops);
    m_gotos = std::move(gotos);
    m_in_handler = in_handler;
    m_routine = around;
    m_scope = scope_around;
}

} // namespace oci::plsql
