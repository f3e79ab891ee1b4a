#include "oci/plsql/parser/binder.h"

#include "oci/plsql/library.h"
#include "oci/plsql/runtime.h"
#include "oci/plsql/tree/methods.h"
#include "oci/plsql/tree/sql.h"

#include <algorithm>

namespace oci::plsql {
namespace {

std::vector<std::string_view> parts_of(std::initializer_list<sql::Name> names) {
    std::vector<std::string_view> parts;
    for (const sql::Name& name : names) {
        if (name) parts.push_back(name.text);
    }
    return parts;
}

std::string joined(const std::vector<std::string_view>& parts) {
    std::string text;
    for (const auto part : parts) text.append(text.empty() ? "" : ".").append(part);
    return text;
}

/// The argument that each parameter is given, -1 for none; nothing when the arguments are not this routine's.
std::optional<std::vector<std::ptrdiff_t>> match(const Routine& routine, sql::Expressions arguments,
                                                 std::span<const sql::Name> names) {
    const auto& parameters = routine.parameters;
    std::vector<std::ptrdiff_t> matched(parameters.size(), -1);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::size_t at = i;
        if (i < names.size() && names[i]) {
            const auto found = std::find_if(parameters.begin(), parameters.end(),
                                            [&](const Parameter& p) { return p.name == names[i].text; });
            at = static_cast<std::size_t>(found - parameters.begin());
        }
        if (at >= parameters.size() || matched[at] >= 0) return {};
        matched[at] = static_cast<std::ptrdiff_t>(i);
    }
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (matched[i] < 0 && !parameters[i].initial) return {};
    }
    return matched;
}

/// How well a value's type suits a parameter: overloads are told apart by it.
int suitability(const Type& parameter, const Type& value) {
    if (!Binder::is_assignable(parameter, value)) return -1000;
    if (!parameter.is_scalar()) return 3;
    const auto group = [](Family family) {
        const bool text = family == Family::fixed_text || family == Family::clob;
        return text ? Family::text : family;
    };
    if (group(parameter.column.family) != group(value.column.family)) return 0;
    return parameter.is_integer == value.is_integer ? 3 : 2;
}

} // namespace

ExpressionPtr Binder::name(const sql::ColumnReference& reference) {
    Path path{parts_of({reference.schema, reference.table, reference.column})};
    if (const Found found = find(m_runtime, m_scope, path)) {
        const auto rest = std::vector(path.parts.begin() + static_cast<std::ptrdiff_t>(path.used), path.parts.end());
        switch (found.declaration->kind) {
        case Declaration::Kind::variable: return follow(variable_of(found), rest, {}, false);
        case Declaration::Kind::routine: return follow(routine_call(found, {}, {}, false), rest, {}, false);
        case Declaration::Kind::cursor: return variable_of(found);
        default: fail("PLS-00382: '" + joined(path.parts) + "' is no expression", reference.at);
        }
    }
    const std::string text = joined(path.parts);
    if (ExpressionPtr made = builtin(text, {}, {}, false)) return made;
    refuse_unknown_member(path, reference.at);
    return sql(text, {});
}

/// x.y where x is a block's variable or a package that has no y.
void Binder::refuse_unknown_member(const Path& path, sql::Offset at) const {
    if (path.parts.size() < 2) return;
    Path first{{path.parts[0]}};
    const bool known = static_cast<bool>(find(m_runtime, m_scope, first));
    const Unit* const package = known ? nullptr : m_runtime.library->find(path.parts[0]);
    if (!known && (package == nullptr || package->kind != Unit::Kind::package)) return;
    const auto column = static_cast<sql::Offset>(path.parts[0].size() + 1);
    fail("PLS-00302: component '" + std::string(path.parts[1]) + "' must be declared", at + column);
}

ExpressionPtr Binder::call(const sql::Call& call, bool statement) {
    Path path{parts_of({call.schema, call.package, call.name})};
    if (const Found found = find(m_runtime, m_scope, path)) {
        const auto rest = std::vector(path.parts.begin() + static_cast<std::ptrdiff_t>(path.used), path.parts.end());
        const Declaration& declaration = *found.declaration;
        const bool asks_column = call.name.text == "UPDATING" && call.arguments.size() == 1;
        if (declaration.kind == Declaration::Kind::variable && declaration.type->is_boolean() && asks_column)
            return builtin("UPDATING", call.arguments, {}, false);
        if (declaration.kind == Declaration::Kind::variable)
            return follow(variable_of(found), rest, call.arguments, true);
        if (declaration.kind == Declaration::Kind::type && rest.empty() &&
            declaration.type->kind == Type::Kind::collection)
            return constructor(declaration.type, call.arguments);
        if (declaration.kind == Declaration::Kind::routine && rest.empty())
            return routine_call(found, call.arguments, call.argument_names, statement);
        fail("PLS-00306: '" + joined(path.parts) + "' cannot be called", call.at);
    }
    if (ExpressionPtr made = builtin(joined(path.parts), call.arguments, call.argument_names, statement)) return made;
    if (const auto* function = collection_function(call.name.text); function != nullptr && !call.package)
        return collection_call(*function, call);
    refuse_unknown_member(path, call.at);
    if (statement) undeclared(joined(path.parts), call.at);
    return dialect_call(call);
}

ExpressionPtr Binder::call_statement(const sql::Expression& expression) {
    m_at = expression.at;
    ExpressionPtr made;
    if (expression.kind == sql::ExpressionKind::call) {
        made = call(expression.as<sql::Call>(), true);
    } else if (expression.kind == sql::ExpressionKind::column) {
        const auto& reference = expression.as<sql::ColumnReference>();
        sql::Call call{};
        call.kind = sql::ExpressionKind::call;
        call.at = reference.at;
        call.schema = reference.schema;
        call.package = reference.table;
        call.name = reference.column;
        made = this->call(call, true);
    } else if (expression.kind == sql::ExpressionKind::member) {
        made = member(expression.as<sql::Member>());
    } else {
        fail("PLS-00103: Encountered an expression when expecting a statement", expression.at);
    }
    return made;
}

ExpressionPtr Binder::follow(ExpressionPtr object, std::vector<std::string_view> members, sql::Expressions arguments,
                             bool called) {
    for (std::size_t i = 0; i < members.size(); ++i) {
        const auto name = members[i];
        if (object->type()->kind == Type::Kind::collection && i + 1 == members.size())
            return method(std::move(object), name, arguments);
        ExpressionPtr field = object->type()->kind == Type::Kind::record ? field_of(object, name) : nullptr;
        if (!field) fail("PLS-00302: component '" + std::string(name) + "' must be declared", m_at);
        object = std::move(field);
    }
    if (!called) return object;
    if (object->type()->kind != Type::Kind::collection || arguments.size() != 1)
        fail("PLS-00224: the object must be a function or an array", m_at);
    const TypePtr key = object->type()->index == Type::Index::text ? scalar_type(Family::text) : integer_type();
    return std::make_shared<Element>(std::move(object), value_for(*arguments[0], key));
}

ExpressionPtr Binder::member(const sql::Member& member) {
    ExpressionPtr object = bind(*member.object);
    std::vector<std::string_view> members;
    if (member.member) members.push_back(member.member.text);
    const bool method = member.member && object->type()->kind == Type::Kind::collection;
    return follow(std::move(object), members, member.arguments, member.called && !method);
}

ExpressionPtr Binder::method(ExpressionPtr collection, std::string_view name, sql::Expressions arguments) {
    const CollectionMethod* method = collection_method(name);
    if (method == nullptr) fail("PLS-00302: component '" + std::string(name) + "' must be declared", m_at);
    if (arguments.size() < method->least || arguments.size() > method->most)
        fail("PLS-00306: wrong number or types of arguments in call to '" + std::string(name) + "'", m_at);
    if (method->changes && !collection->is_variable())
        fail("PLS-00363: expression cannot be used as an assignment target", m_at);
    ExpressionList bound;
    for (const auto* argument : arguments) bound.push_back(bind(*argument));
    const TypePtr type =
        name == "EXISTS" ? boolean_type()
        : name == "FIRST" || name == "LAST" || name == "NEXT" || name == "PRIOR"
            ? scalar_type(collection->type()->index == Type::Index::text ? Family::text : Family::number)
            : integer_type();
    return std::make_shared<Computed>(type, [collection, method, bound](Frame& frame) {
        std::vector<OwnedValue> owned;
        std::vector<Value> values;
        for (const auto& argument : bound) owned.push_back(argument->value(frame));
        for (const auto& value : owned) values.push_back(value.get());
        if (method->changes) return method->apply(collection->place(frame).collection(), *collection->type(), values);
        Datum copy;
        if (!collection->is_stored()) copy = collection->datum(frame);
        const Datum& looked_at = collection->is_stored() ? collection->stored(frame) : copy;
        auto& content = const_cast<Collection&>(looked_at.collection()); // such a method changes nothing
        return method->apply(content, *collection->type(), values);
    });
}

ExpressionPtr Binder::collection_call(const CollectionFunction& function, const sql::Call& call) {
    ExpressionList operands;
    for (const auto* argument : call.arguments) operands.push_back(bind(*argument));
    const auto is_nested = [](const ExpressionPtr& operand) {
        const Type& type = *operand->type();
        return type.kind == Type::Kind::collection && type.index == Type::Index::nested_table;
    };
    const std::size_t first = function.takes_value ? 1 : 0;
    const bool fits = operands.size() == function.arguments &&
                      std::all_of(operands.begin() + static_cast<std::ptrdiff_t>(first), operands.end(), is_nested);
    if (!fits)
        fail("PLS-00306: wrong number or types of arguments in call to '" + std::string(function.name) + "'", call.at);
    if (operands.size() == 1) operands.push_back(operands.front());
    if (function.result == CollectionFunction::Result::collection) {
        const TypePtr type = operands[0]->type();
        return std::make_shared<Computed>(type, [&function, type, operands, distinct = call.distinct](Frame& frame) {
            const Datum left = operands[0]->datum(frame);
            const Datum right = operands[1]->datum(frame);
            Datum made(*type);
            made.collection().is_null = left.collection().is_null || right.collection().is_null;
            if (made.collection().is_null) return made;
            function.make(made.collection(), left.collection(), right.collection());
            if (distinct) make_distinct(made.collection());
            return made;
        });
    }
    const bool truth = function.result == CollectionFunction::Result::truth;
    return std::make_shared<Computed>(truth ? boolean_type() : integer_type(), [&function, operands](Frame& frame) {
        return Datum(function.tell(operands[0]->datum(frame), operands[1]->datum(frame)));
    });
}

ExpressionPtr Binder::constructor(const TypePtr& type, sql::Expressions arguments) {
    ExpressionList items;
    for (const auto* argument : arguments) items.push_back(value_for(*argument, type->element));
    return std::make_shared<Computed>(type, [type, items](Frame& frame) {
        Datum made(*type);
        Collection& collection = made.collection();
        collection.is_null = false;
        if (type->index == Type::Index::varray && static_cast<std::int64_t>(items.size()) > type->limit)
            throw OracleError(error::subscript_outside_limit);
        for (const auto& item : items)
            store(collection.append(Datum(*type->element)), item->datum(frame), *type->element);
        return made;
    });
}

ExpressionPtr Binder::routine_call(const Found& found, sql::Expressions arguments, std::span<const sql::Name> names,
                                   bool statement) {
    const auto at = m_at;
    ExpressionList values;
    for (const auto* argument : arguments) values.push_back(bind(*argument));
    const Routine* chosen = nullptr;
    std::vector<std::ptrdiff_t> matched;
    int best = -1;
    for (const Routine* routine : found.declaration->routines) {
        if (statement != (routine->result == nullptr)) continue;
        auto candidate = match(*routine, arguments, names);
        if (!candidate) continue;
        int score = 0;
        for (std::size_t i = 0; i < candidate->size(); ++i) {
            const std::ptrdiff_t given = (*candidate)[i];
            if (given >= 0)
                score += suitability(*routine->parameters[i].type, *values[static_cast<std::size_t>(given)]->type());
        }
        if (score <= best) continue;
        best = score;
        chosen = routine;
        matched = std::move(*candidate);
    }
    const std::string& name = found.declaration->routines.front()->name;
    const auto& routines = found.declaration->routines;
    const bool other_kind = std::all_of(routines.begin(), routines.end(),
                                        [&](const Routine* r) { return statement != (r->result == nullptr); });
    if (other_kind)
        fail(statement ? "PLS-00221: '" + name + "' is not a procedure or is undefined"
                       : "PLS-00222: no function with name '" + name + "' exists in this scope",
             at);
    if (chosen == nullptr) fail("PLS-00306: wrong number or types of arguments in call to '" + name + "'", at);
    ExpressionList bound;
    for (std::size_t i = 0; i < matched.size(); ++i) {
        const Parameter& parameter = chosen->parameters[i];
        ExpressionPtr value = matched[i] < 0 ? nullptr : values[static_cast<std::size_t>(matched[i])];
        if (value && !is_assignable(*parameter.type, *value->type()))
            fail("PLS-00306: wrong number or types of arguments in call to '" + name + "'", at);
        if (value && parameter.out && !value->is_variable())
            not_a_target(*arguments[static_cast<std::size_t>(matched[i])]);
        bound.push_back(value && !parameter.out ? convert(std::move(value), *parameter.type) : std::move(value));
    }
    std::optional<unsigned> levels_up;
    if (!found.outside) levels_up = found.levels_up;
    return std::make_shared<RoutineCall>(*chosen, levels_up, found.package, std::move(bound));
}

ExpressionPtr Binder::dialect_call(const sql::Call& call) {
    static constexpr std::string_view of_queries[] = {"DECODE", "COUNT", "SUM", "AVG", "MIN", "MAX", "LISTAGG"};
    if (std::find(std::begin(of_queries), std::end(of_queries), call.name.text) != std::end(of_queries))
        fail("PLS-00204: function or pseudo-column '" + std::string(call.name.text) +
                 "' may be used inside a SQL statement only",
             call.at);
    if (!call.within_group.empty() || call.over != nullptr || call.distinct)
        fail("PLS-00103: Encountered an aggregate that a block cannot carry out", call.at);
    std::string text = joined(parts_of({call.schema, call.package, call.name})) + "(";
    ExpressionList operands;
    const bool trims = call.trim_leading != call.trim_trailing;
    if (trims) text += call.trim_leading ? "LEADING " : "TRAILING ";
    const bool from = call.name.text == "TRIM" && (trims || call.arguments.size() == 2);
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
        if (i > 0) text += from ? " FROM " : ", ";
        if (i < call.argument_names.size() && call.argument_names[i])
            text.append(call.argument_names[i].text).append(" => ");
        const sql::Expression& argument = *call.arguments[i];
        if (argument.kind == sql::ExpressionKind::string) {
            text += "'";
            for (const char c : argument.as<sql::StringLiteral>().text)
                text.append(c == '\'' ? "''" : std::string(1, c));
            text += "'";
        } else {
            operands.push_back(bind(argument));
            if (!operands.back()->type()->is_scalar() || operands.back()->type()->is_boolean())
                fail("PLS-00306: wrong number or types of arguments in call to '" + std::string(call.name.text) + "'",
                     call.at);
            text += "{}";
        }
    }
    m_at = call.at;
    if (call.name.text != "REGEXP_LIKE") return sql(text + ")", operands);
    ExpressionPtr matched = sql("CASE WHEN " + text + ") THEN 1 ELSE 0 END", operands);
    const auto as_it_is = [](const Value& value, const Value&) { return OwnedValue(value); };
    return std::make_shared<Operation>(boolean_type(), as_it_is, std::move(matched), nullptr);
}

ExpressionPtr Binder::bulk_exceptions() {
    static const TypePtr type = [] {
        Type record;
        record.kind = Type::Kind::record;
        record.fields = {{"ERROR_INDEX", integer_type(), nullptr}, {"ERROR_CODE", integer_type(), nullptr}};
        Type collection;
        collection.kind = Type::Kind::collection;
        collection.element = std::make_shared<Type>(std::move(record));
        return std::make_shared<Type>(std::move(collection));
    }();
    return std::make_shared<Computed>(type, [](Frame& frame) {
        Datum made(*type);
        for (const auto& failure : frame.runtime.bulk_failures) {
            Datum& record = made.collection().append(Datum(*type->element));
            record.fields()[0] = Datum(Value::of(failure.iteration));
            record.fields()[1] = Datum(Value::of(std::int64_t{failure.code}));
        }
        return made;
    });
}

ExpressionPtr Binder::attribute(const sql::Attribute& attribute) {
    const auto wanted = attribute.attribute;
    const bool row_count = wanted == "ROWCOUNT";
    const TypePtr type = row_count || wanted == "BULK_ROWCOUNT" ? integer_type() : boolean_type();
    const auto* reference =
        attribute.cursor->kind == sql::ExpressionKind::column ? &attribute.cursor->as<sql::ColumnReference>() : nullptr;
    const auto truth = [](bool value) { return Datum(Value::of(std::int64_t{value})); };
    if (reference != nullptr && !reference->table && reference->column.text == "SQL") {
        if (attribute.index != nullptr) {
            ExpressionPtr index = bind(*attribute.index);
            if (wanted == "BULK_EXCEPTIONS") return std::make_shared<Element>(bulk_exceptions(), std::move(index));
            return std::make_shared<Computed>(type, [index](Frame& frame) {
                const auto at = integer_value(*index, frame);
                const auto& counts = frame.runtime.bulk_row_counts;
                const auto found = counts.find(at);
                if (found == counts.end()) throw OracleError(error::no_data_found);
                return Datum(Value::of(found->second));
            });
        }
        if (wanted == "BULK_EXCEPTIONS") return bulk_exceptions();
        return std::make_shared<Computed>(type, [row_count, truth, wanted = std::string(wanted)](Frame& frame) {
            const std::int64_t count = frame.runtime.row_count;
            if (wanted == "ISOPEN") return truth(false);
            if (count < 0) return Datum(OwnedValue());
            return row_count ? Datum(Value::of(count)) : truth((count > 0) == (wanted == "FOUND"));
        });
    }
    ExpressionPtr cursor = bind(*attribute.cursor);
    if (cursor->type()->kind != Type::Kind::cursor)
        fail("PLS-00324: cursor attribute may not be applied to non-cursor", attribute.at);
    return std::make_shared<Computed>(type, [cursor, row_count, truth, wanted = std::string(wanted)](Frame& frame) {
        const auto open = cursor->place(frame).cursor();
        if (wanted == "ISOPEN") return truth(open != nullptr);
        if (!open) throw OracleError(error::invalid_cursor);
        if (row_count) return Datum(Value::of(open->row_count));
        return open->found ? truth(*open->found == (wanted == "FOUND")) : Datum(OwnedValue());
    });
}

} // namespace oci::plsql
