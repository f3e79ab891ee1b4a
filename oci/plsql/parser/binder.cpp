#include "oci/plsql/parser/binder.h"

#include "oci/plsql/runtime.h"
#include "oci/plsql/tree/methods.h"
#include "oci/plsql/tree/sql.h"

#include <algorithm>
#include <cmath>

namespace oci::plsql {
namespace {

using sql::BinaryOperator;
using sql::ComparisonOperator;
using sql::ExpressionKind;

bool is_text(Family family) {
    return family == Family::text || family == Family::fixed_text || family == Family::clob ||
           family == Family::long_text || family == Family::rowid;
}
bool is_datetime(Family family) {
    return family == Family::date || family >= Family::timestamp;
}

OwnedValue truth(bool value) {
    return OwnedValue(Value::of(std::int64_t{value}));
}

Operation::Function comparing(ComparisonOperator op) {
    switch (op) {
    case ComparisonOperator::equal: return [](const Value& a, const Value& b) { return truth(compare(a, b) == 0); };
    case ComparisonOperator::unequal: return [](const Value& a, const Value& b) { return truth(compare(a, b) != 0); };
    case ComparisonOperator::less: return [](const Value& a, const Value& b) { return truth(compare(a, b) < 0); };
    case ComparisonOperator::less_equal:
        return [](const Value& a, const Value& b) { return truth(compare(a, b) <= 0); };
    case ComparisonOperator::greater: return [](const Value& a, const Value& b) { return truth(compare(a, b) > 0); };
    default: return [](const Value& a, const Value& b) { return truth(compare(a, b) >= 0); };
    }
}

std::string_view sign_of(ComparisonOperator op) {
    static constexpr std::string_view signs[] = {"=", "<>", "<", "<=", ">", ">="};
    return signs[static_cast<std::size_t>(op)];
}

/// Blanks at the end of a CHAR do not count.
OwnedValue without_blanks(const Value& text, const Value&) {
    if (text.type != Value::Type::text) return OwnedValue(text);
    const auto last = text.text().find_last_not_of(' ');
    return OwnedValue(Value::of(text.text().substr(0, last == std::string_view::npos ? 0 : last + 1)));
}

OwnedValue concatenate(const Value& left, const Value& right) {
    std::string scratch;
    const auto text = [&scratch](const Value& v) {
        const bool number = v.type == Value::Type::integer || v.type == Value::Type::real;
        return v.is_null() ? std::string_view() : number ? number_text(v, scratch) : v.text();
    };
    std::string result(text(left));
    result += text(right);
    if (result.size() > 32767) throw OracleError(error::value_error, "character string buffer too small");
    return OwnedValue(Value::of(std::string_view(result)));
}

} // namespace

void Binder::fail(std::string_view text, sql::Offset at, bool missing_object) const {
    throw CompileError(compile_message(*m_scope.unit, at, text), missing_object);
}

void Binder::undeclared(std::string_view name, sql::Offset at) const {
    fail("PLS-00201: identifier '" + std::string(name) + "' must be declared", at, true);
}

ExpressionPtr Binder::bind(const sql::Expression& expression) {
    constexpr int deepest = 1000;
    if (m_depth > deepest) fail("PLS-00123: program too large", expression.at);
    const struct Depth {
        explicit Depth(int& depth) : count(depth) { ++count; }
        ~Depth() { --count; }
        int& count;
    } depth(m_depth);
    m_at = expression.at;
    switch (expression.kind) {
    case ExpressionKind::null:
    case ExpressionKind::number:
    case ExpressionKind::string:
    case ExpressionKind::boolean: return literal(expression);
    case ExpressionKind::datetime: return datetime(expression.as<sql::DatetimeLiteral>());
    case ExpressionKind::placeholder: {
        const auto& names = m_scope.unit->placeholders;
        const auto found = std::find(names.begin(), names.end(), expression.as<sql::Placeholder>().name);
        if (found == names.end()) fail("PLS-00049: bad bind variable", expression.at);
        return std::make_shared<BlockPlaceholder>(static_cast<unsigned>(found - names.begin()) + 1);
    }
    case ExpressionKind::column: return name(expression.as<sql::ColumnReference>());
    case ExpressionKind::call: return call(expression.as<sql::Call>(), false);
    case ExpressionKind::member: return member(expression.as<sql::Member>());
    case ExpressionKind::attribute: return attribute(expression.as<sql::Attribute>());
    case ExpressionKind::unary: return unary(expression.as<sql::Unary>());
    case ExpressionKind::binary: return binary(expression.as<sql::Binary>());
    case ExpressionKind::comparison: {
        const auto& comparing = expression.as<sql::Comparison>();
        if (comparing.quantifier != sql::Quantifier::none) break;
        ExpressionPtr left = bind(*comparing.left);
        return comparison(comparing.op, std::move(left), bind(*comparing.right));
    }
    case ExpressionKind::logical: {
        const auto& logical = expression.as<sql::Logical>();
        ExpressionList operands;
        for (const auto* operand : logical.operands) operands.push_back(condition(*operand));
        return std::make_shared<LogicalChain>(logical.disjunction, std::move(operands));
    }
    case ExpressionKind::negation: return std::make_shared<Not>(condition(*expression.as<sql::Negation>().operand));
    case ExpressionKind::between: return between(expression.as<sql::Between>());
    case ExpressionKind::in: return in(expression.as<sql::In>());
    case ExpressionKind::like: return like(expression.as<sql::Like>());
    case ExpressionKind::is_null: {
        const auto& test = expression.as<sql::IsNull>();
        if (test.test != sql::IsNull::Test::null) break;
        return std::make_shared<NullTest>(bind(*test.operand), test.negated);
    }
    case ExpressionKind::conditional: return conditional(expression.as<sql::Conditional>());
    case ExpressionKind::cast: {
        const auto& cast = expression.as<sql::Cast>();
        return sql("CAST({} AS " + cast.target.declaration() + ")", {bind(*cast.operand)});
    }
    case ExpressionKind::extract: {
        const auto& extract = expression.as<sql::Extract>();
        return sql("EXTRACT(" + std::string(extract.field) + " FROM {})", {bind(*extract.operand)});
    }
    case ExpressionKind::time_zone: {
        const auto& at = expression.as<sql::AtTimeZone>();
        if (at.zone == nullptr) return sql("{} AT LOCAL", {bind(*at.operand)});
        return sql("{} AT TIME ZONE {}", {bind(*at.operand), bind(*at.zone)});
    }
    case ExpressionKind::subquery:
    case ExpressionKind::exists: fail("PLS-00405: subquery not allowed in this context", expression.at);
    default: break;
    }
    fail("PLS-00103: Encountered an expression that a block cannot carry out", expression.at);
}

ExpressionPtr Binder::condition(const sql::Expression& expression) {
    ExpressionPtr made = bind(expression);
    const Type& type = *made->type();
    const bool null = type.is_scalar() && type.column.family == Family::unknown;
    if (!type.is_boolean() && !(null && expression.kind == ExpressionKind::null))
        fail("PLS-00382: expression is of wrong type", expression.at);
    return made;
}

ExpressionPtr Binder::target(const sql::Expression& expression) {
    ExpressionPtr made = bind(expression);
    if (!made->is_variable()) not_a_target(expression);
    return made;
}

void Binder::not_a_target(const sql::Expression& expression) const {
    std::string name = "expression";
    if (expression.kind == ExpressionKind::number) name = expression.as<sql::NumberLiteral>().text;
    if (expression.kind == ExpressionKind::string) name = expression.as<sql::StringLiteral>().text;
    if (expression.kind == ExpressionKind::column) {
        const auto& reference = expression.as<sql::ColumnReference>();
        name = reference.table ? std::string(reference.table.text) + "." : std::string();
        name += reference.column.text;
    }
    fail("PLS-00363: expression '" + name + "' cannot be used as an assignment target", expression.at);
}

bool Binder::is_assignable(const Type& to, const Type& from) {
    const bool from_unknown = from.is_scalar() && from.column.family == Family::unknown;
    if (from_unknown) return true;
    if (to.kind != from.kind) return false;
    if (to.kind == Type::Kind::scalar)
        return to.column.family == Family::unknown || to.is_boolean() == from.is_boolean();
    if (to.kind == Type::Kind::record) return to.fields.size() == from.fields.size();
    if (to.kind == Type::Kind::collection) return &to == &from;
    return true;
}

ExpressionPtr Binder::value_for(const sql::Expression& expression, const TypePtr& type) {
    ExpressionPtr made = bind(expression);
    if (!is_assignable(*type, *made->type())) fail("PLS-00382: expression is of wrong type", expression.at);
    return convert(std::move(made), *type);
}

ExpressionPtr Binder::convert(ExpressionPtr value, const Type& type) {
    if (!value->type()->is_scalar() || !type.is_scalar()) return value;
    const Family from = value->type()->column.family;
    const Family to = type.column.family;
    const bool known = from != Family::unknown && to != Family::unknown;
    if (!known || from == to || (!is_datetime(from) && !is_datetime(to))) return value;
    if (is_text(to)) return sql("TO_CHAR({})", {std::move(value)});
    return sql("CAST({} AS " + type.column.declaration() + ")", {std::move(value)});
}

ExpressionPtr Binder::literal(const sql::Expression& expression) {
    switch (expression.kind) {
    case ExpressionKind::number: {
        const auto& number = expression.as<sql::NumberLiteral>();
        const Family family = number.suffix == 0 ? Family::number : Family::binary_double;
        const Value value = number_of(number.text);
        const bool whole = value.type == Value::Type::integer && family == Family::number &&
                           number.text.find_first_not_of("0123456789") == std::string_view::npos;
        if (whole && value.integer <= integer_type()->greatest) return std::make_shared<Literal>(value, integer_type());
        return std::make_shared<Literal>(
            value, scalar_type(family == Family::number ? ColumnType::number() : ColumnType::of_family(family)));
    }
    case ExpressionKind::string:
        return std::make_shared<Literal>(Value::of(expression.as<sql::StringLiteral>().text),
                                         scalar_type(Family::fixed_text));
    case ExpressionKind::boolean:
        return std::make_shared<Literal>(Value::of(std::int64_t{expression.as<sql::BooleanLiteral>().value}),
                                         boolean_type());
    default: return std::make_shared<Literal>(Value(), scalar_type(Family::unknown));
    }
}

ExpressionPtr Binder::datetime(const sql::DatetimeLiteral& literal) {
    static constexpr std::string_view fields[] = {"YEAR", "MONTH", "DAY", "HOUR", "MINUTE", "SECOND"};
    using Kind = sql::DatetimeLiteral::Kind;
    const std::string text = " '" + std::string(literal.text) + "'";
    if (literal.literal == Kind::date) return sql("DATE" + text, {});
    if (literal.literal == Kind::timestamp) return sql("TIMESTAMP" + text, {});
    std::string range = text + " " + std::string(fields[literal.leading]);
    range += "(" + std::to_string(literal.leading_precision);
    if (literal.leading == 5) range += "," + std::to_string(literal.fractional_precision);
    range += ")";
    if (literal.trailing != literal.leading) range += " TO " + std::string(fields[literal.trailing]);
    return sql("INTERVAL" + range, {});
}

ExpressionPtr Binder::unary(const sql::Unary& unary) {
    ExpressionPtr operand = bind(*unary.operand);
    if (is_datetime(operand->type()->column.family))
        return sql(unary.op == sql::UnaryOperator::minus ? "-{}" : "{}", {operand});
    const auto change = unary.op == sql::UnaryOperator::minus
                            ? [](const Value& v, const Value&) { return subtract(Value::of(std::int64_t{0}), v); }
                            : [](const Value& v, const Value&) { return OwnedValue(number_operand(v)); };
    return std::make_shared<Operation>(scalar_type(ColumnType::number()), change, std::move(operand), nullptr);
}

ExpressionPtr Binder::binary(const sql::Binary& binary) {
    static constexpr std::string_view signs[] = {"{} + {}", "{} - {}", "{} * {}", "{} / {}"};
    static constexpr Operation::Function functions[] = {add, subtract, multiply, divide, concatenate, power};
    ExpressionPtr left = bind(*binary.left);
    ExpressionPtr right = bind(*binary.right);
    for (const auto& operand : {left, right}) {
        if (!operand->type()->is_scalar() || operand->type()->is_boolean())
            fail("PLS-00306: wrong number or types of arguments in call to an operator", binary.at);
    }
    const auto function = functions[static_cast<std::size_t>(binary.op)];
    if (binary.op == BinaryOperator::concatenate) {
        left = text_of(std::move(left));
        right = text_of(std::move(right));
        return std::make_shared<Operation>(scalar_type(Family::text), function, std::move(left), std::move(right),
                                           Operation::Nulls::are_handed_on);
    }
    const Family first = left->type()->column.family;
    const Family second = right->type()->column.family;
    const bool additive = binary.op == BinaryOperator::add || binary.op == BinaryOperator::subtract;
    const bool multiplies = binary.op == BinaryOperator::multiply;
    if ((additive || multiplies) && left->type()->is_integer && right->type()->is_integer) {
        static constexpr IntegerOperation::Function whole[] = {add_integers, subtract_integers, multiply_integers};
        const auto may_wrap = [](const ExpressionPtr& operand) {
            return operand->type()->wraps || dynamic_cast<const Literal*>(operand.get()) != nullptr;
        };
        const bool wraps = (left->type()->wraps || right->type()->wraps) && may_wrap(left) && may_wrap(right);
        return std::make_shared<IntegerOperation>(whole[static_cast<std::size_t>(binary.op)], wraps, std::move(left),
                                                  std::move(right));
    }
    const bool unknown = additive && (first == Family::unknown || second == Family::unknown);
    if ((unknown || is_datetime(first) || is_datetime(second)) && binary.op != BinaryOperator::power)
        return sql(signs[static_cast<std::size_t>(binary.op)], {std::move(left), std::move(right)});
    return std::make_shared<Operation>(scalar_type(ColumnType::number()), function, std::move(left), std::move(right));
}

ExpressionPtr Binder::text_of(ExpressionPtr value) {
    if (is_datetime(value->type()->column.family)) return sql("TO_CHAR({})", {std::move(value)});
    if (value->type()->column.family == Family::raw) return sql("RAWTOHEX({})", {std::move(value)});
    return value;
}

ExpressionPtr Binder::equality(ExpressionPtr left, ExpressionPtr right) {
    return comparison(ComparisonOperator::equal, std::move(left), std::move(right));
}

ExpressionPtr Binder::comparison(ComparisonOperator op, ExpressionPtr left, ExpressionPtr right) {
    const Type& a = *left->type();
    const Type& b = *right->type();
    const bool equality = op == ComparisonOperator::equal || op == ComparisonOperator::unequal;
    if (a.kind == Type::Kind::collection && &a == &b && a.index == Type::Index::nested_table && equality) {
        ExpressionPtr same = std::make_shared<Computed>(boolean_type(), [left, right](Frame& frame) {
            return Datum(same_elements(left->datum(frame), right->datum(frame)));
        });
        return negated(std::move(same), op == ComparisonOperator::unequal);
    }
    if (!a.is_scalar() || !b.is_scalar())
        fail("PLS-00306: wrong number or types of arguments in call to '" + std::string(sign_of(op)) + "'", m_at);
    const Family first = a.column.family;
    const Family second = b.column.family;
    if (a.is_boolean() != b.is_boolean() && first != Family::unknown && second != Family::unknown)
        fail("PLS-00306: wrong number or types of arguments in call to '='", m_at);
    const bool mixed =
        (is_datetime(first) || is_datetime(second) || first == Family::raw || second == Family::raw) && first != second;
    if (mixed) {
        const std::string sign(sign_of(op));
        const Binder::Kept kept = keep(left->type());
        const Binder::Kept other = keep(right->type());
        ExpressionPtr compared = sql("CASE WHEN {} " + sign + " {} THEN 1 WHEN NOT ({} " + sign + " {}) THEN 0 END",
                                     {kept.variable, other.variable, kept.variable, other.variable});
        compared = std::make_shared<Let>(other.slot, std::move(right), std::move(compared));
        compared = std::make_shared<Let>(kept.slot, std::move(left), std::move(compared));
        return std::make_shared<Operation>(
            boolean_type(), [](const Value& v, const Value&) { return OwnedValue(v); }, std::move(compared), nullptr);
    }
    if (first == Family::fixed_text && second == Family::fixed_text) {
        left = std::make_shared<Operation>(left->type(), without_blanks, std::move(left), nullptr);
        right = std::make_shared<Operation>(right->type(), without_blanks, std::move(right), nullptr);
    }
    return std::make_shared<Operation>(boolean_type(), comparing(op), std::move(left), std::move(right));
}

Binder::Kept Binder::keep(const TypePtr& type) {
    const unsigned slot = m_scope.routine->slots++;
    return {slot, std::make_shared<plsql::Variable>(type, 0, slot, false)};
}

ExpressionPtr Binder::negated(ExpressionPtr value, bool negated) {
    return negated ? std::make_shared<Not>(std::move(value)) : std::move(value);
}

ExpressionPtr Binder::between(const sql::Between& between) {
    ExpressionPtr operand = bind(*between.operand);
    const Kept kept = keep(operand->type());
    ExpressionPtr low = comparison(ComparisonOperator::greater_equal, kept.variable, bind(*between.low));
    ExpressionPtr high = comparison(ComparisonOperator::less_equal, kept.variable, bind(*between.high));
    ExpressionPtr both = std::make_shared<LogicalChain>(false, ExpressionList{std::move(low), std::move(high)});
    return std::make_shared<Let>(kept.slot, std::move(operand), negated(std::move(both), between.negated));
}

ExpressionPtr Binder::in(const sql::In& in) {
    if (in.query != nullptr) fail("PLS-00405: subquery not allowed in this context", in.at);
    ExpressionPtr operand = bind(*in.operand);
    const Kept kept = keep(operand->type());
    ExpressionList tests;
    for (const auto* value : in.values) tests.push_back(equality(kept.variable, bind(*value)));
    ExpressionPtr any = std::make_shared<LogicalChain>(true, std::move(tests));
    return std::make_shared<Let>(kept.slot, std::move(operand), negated(std::move(any), in.negated));
}

ExpressionPtr Binder::like(const sql::Like& like) {
    ExpressionList operands{bind(*like.operand), bind(*like.pattern)};
    std::string test = "{} LIKE {}";
    if (like.escape != nullptr) {
        test += " ESCAPE {}";
        operands.push_back(bind(*like.escape));
    }
    std::vector<Choice::Branch> branches;
    for (std::size_t i = 0; i < 2; ++i)
        branches.push_back(
            {std::make_shared<NullTest>(operands[i], false), std::make_shared<Literal>(Value(), boolean_type())});
    ExpressionPtr matched = sql("CASE WHEN " + test + " THEN 1 ELSE 0 END", operands);
    ExpressionPtr answer = std::make_shared<Choice>(boolean_type(), std::move(branches), std::move(matched));
    return negated(std::move(answer), like.negated);
}

ExpressionPtr Binder::conditional(const sql::Conditional& conditional) {
    std::optional<Kept> kept;
    ExpressionPtr operand;
    if (conditional.operand != nullptr) {
        operand = bind(*conditional.operand);
        kept = keep(operand->type());
    }
    TypePtr type = scalar_type(Family::unknown);
    const auto result = [&](const sql::Expression& expression) {
        ExpressionPtr made = bind(expression);
        if (type->column.family == Family::unknown) type = made->type();
        const bool number = type->column.family == Family::number && !type->is_boolean();
        if (number && (!type->is_integer || !made->type()->is_integer)) type = scalar_type(ColumnType::number());
        if (number && type->is_integer) type = integer_type();
        if (type->column.family == Family::fixed_text) type = scalar_type(Family::text);
        return convert(std::move(made), *type);
    };
    std::vector<Choice::Branch> branches;
    for (const auto& branch : conditional.branches) {
        ExpressionPtr when = kept ? equality(kept->variable, bind(*branch.when)) : condition(*branch.when);
        branches.push_back({std::move(when), result(*branch.then)});
    }
    ExpressionPtr otherwise = conditional.otherwise != nullptr ? result(*conditional.otherwise) : nullptr;
    ExpressionPtr choice = std::make_shared<Choice>(type, std::move(branches), std::move(otherwise));
    if (!kept) return choice;
    return std::make_shared<Let>(kept->slot, std::move(operand), std::move(choice));
}

ExpressionPtr Binder::sql(std::string_view text, const ExpressionList& operands) {
    for (const auto& operand : operands) {
        if (!operand->type()->is_scalar() || operand->type()->is_boolean())
            fail("PLS-00306: wrong number or types of arguments in call", m_at);
    }
    auto query = std::make_shared<SqlText>(m_runtime, m_scope);
    std::size_t next = 0;
    query->text = "SELECT ";
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.substr(at, 2) == "{}") {
            query->text += query->name_of(operands[next++]);
            ++at;
        } else {
            query->text += text[at];
        }
    }
    query->text += " FROM DUAL";
    query->share();
    ColumnType type;
    try {
        auto compiled = query->take();
        type = compiled->columns().front().type;
        query->give_back(std::move(compiled));
    } catch (const OracleError& error) {
        if (error.code() == error::invalid_identifier || error.code() == error::no_such_sequence)
            undeclared(text.substr(0, text.find('(')), m_at);
        const auto message = error.text().substr(0, error.text().size() - 1);
        fail("PL/SQL: " + message, m_at);
    }
    if (type.family != Family::number) type.size = 0;
    return std::make_shared<SqlExpression>(scalar_type(type), std::move(query));
}

} // namespace oci::plsql
