#include "tests/client/tree_dump.h"

using namespace oci::sql;

namespace {

std::string text(std::string_view view) {
    return std::string(view);
}

std::string path(const Name& first, const Name& second, const Name& third = {}) {
    std::string dotted;
    for (const Name* name : {&first, &second, &third}) {
        if (*name) dotted += (dotted.empty() ? "" : ".") + text(name->text);
    }
    return dotted;
}

std::string names(std::span<const Name> given) {
    std::string joined;
    for (const auto& name : given) joined += (joined.empty() ? "" : " ") + text(name.text);
    return "[" + joined + "]";
}

std::string not_if(bool negated) {
    return negated ? "not-" : "";
}

} // namespace

std::string TreeDump::list(Expressions expressions) const {
    std::string joined;
    for (const auto* item : expressions) joined += " " + expression(item);
    return joined;
}

std::string TreeDump::order(std::span<OrderItem> items) const {
    std::string joined;
    for (const auto& item : items) {
        joined += " " + expression(item.key) + (item.descending ? "-" : "") +
                  (item.nulls < 0   ? "<"
                   : item.nulls > 0 ? ">"
                                    : "");
    }
    return joined;
}

std::string TreeDump::clause(const char* name, const Expression* given) const {
    return given == nullptr ? "" : std::string(" (") + name + " " + expression(given) + ")";
}

std::string TreeDump::literal(const Expression& e) const {
    switch (e.kind) {
    case ExpressionKind::null: return "null";
    case ExpressionKind::number: {
        const char suffix = e.as<NumberLiteral>().suffix;
        return text(e.as<NumberLiteral>().text) + (suffix != 0 ? std::string(1, suffix) : "");
    }
    case ExpressionKind::string:
        return (e.as<StringLiteral>().national ? "N'" : "'") + text(e.as<StringLiteral>().text) + "'";
    case ExpressionKind::datetime: {
        const auto& literal = e.as<DatetimeLiteral>();
        const std::string fields = std::to_string(literal.leading) + std::to_string(literal.trailing) + ":" +
                                   std::to_string(literal.leading_precision) + "," +
                                   std::to_string(literal.fractional_precision);
        if (literal.literal >= DatetimeLiteral::Kind::interval_year)
            return "(interval " + text(literal.text) + " " + fields + ")";
        return (literal.literal == DatetimeLiteral::Kind::date ? "(date " : "(timestamp ") + text(literal.text) + ")";
    }
    case ExpressionKind::placeholder:
        return ":" + text(e.as<Placeholder>().name) + "/" + std::to_string(e.as<Placeholder>().position);
    case ExpressionKind::column: {
        const auto& column = e.as<ColumnReference>();
        return path(column.schema, column.table, column.column) + (column.outer ? "(+)" : "");
    }
    case ExpressionKind::star: return path(e.as<Star>().schema, e.as<Star>().table) + "*";
    case ExpressionKind::boolean: return e.as<BooleanLiteral>().value ? "true" : "false";
    default: return "?";
    }
}

std::string TreeDump::operation(const Expression& e) const {
    switch (e.kind) {
    case ExpressionKind::unary:
        return (e.as<Unary>().op == UnaryOperator::minus ? "(neg " : "(pos ") + expression(e.as<Unary>().operand) + ")";
    case ExpressionKind::binary: {
        static constexpr const char* signs[] = {"+", "-", "*", "/", "||", "**"};
        const auto& binary = e.as<Binary>();
        return "(" + text(signs[static_cast<int>(binary.op)]) + " " + expression(binary.left) + " " +
               expression(binary.right) + ")";
    }
    case ExpressionKind::comparison: {
        static constexpr const char* signs[] = {"=", "!=", "<", "<=", ">", ">="};
        static constexpr const char* quantifiers[] = {"", "any", "all"};
        const auto& comparison = e.as<Comparison>();
        return "(" + text(signs[static_cast<int>(comparison.op)]) +
               quantifiers[static_cast<int>(comparison.quantifier)] + " " + expression(comparison.left) + " " +
               expression(comparison.right) + ")";
    }
    case ExpressionKind::logical:
        return (e.as<Logical>().disjunction ? "(or" : "(and") + list(e.as<Logical>().operands) + ")";
    case ExpressionKind::negation: return "(not " + expression(e.as<Negation>().operand) + ")";
    case ExpressionKind::cast:
        return "(cast " + expression(e.as<Cast>().operand) + " " + e.as<Cast>().target.declaration() + ")";
    case ExpressionKind::extract:
        return "(extract " + text(e.as<Extract>().field) + " " + expression(e.as<Extract>().operand) + ")";
    case ExpressionKind::prior:
        return (e.as<Prior>().root ? "(root " : "(prior ") + expression(e.as<Prior>().operand) + ")";
    case ExpressionKind::time_zone: {
        const auto& at = e.as<AtTimeZone>();
        return "(at " + expression(at.operand) + " " + (at.zone == nullptr ? "local" : expression(at.zone)) + ")";
    }
    default: return "?";
    }
}

std::string TreeDump::predicate(const Expression& e) const {
    switch (e.kind) {
    case ExpressionKind::between: {
        const auto& between = e.as<Between>();
        return "(" + not_if(between.negated) + "between " + expression(between.operand) + " " +
               expression(between.low) + " " + expression(between.high) + ")";
    }
    case ExpressionKind::in: {
        const auto& in = e.as<In>();
        return "(" + not_if(in.negated) + "in " + expression(in.operand) +
               (in.query != nullptr ? " " + query(*in.query) : list(in.values)) + ")";
    }
    case ExpressionKind::like: {
        const auto& like = e.as<Like>();
        return "(" + not_if(like.negated) + "like " + expression(like.operand) + " " + expression(like.pattern) +
               clause("escape", like.escape) + ")";
    }
    case ExpressionKind::is_null: {
        static constexpr const char* tests[] = {"null", "nan", "infinite"};
        const auto& is = e.as<IsNull>();
        return "(is-" + not_if(is.negated) + tests[static_cast<int>(is.test)] + " " + expression(is.operand) + ")";
    }
    case ExpressionKind::exists: return "(exists " + query(*e.as<Exists>().query) + ")";
    default: return "?";
    }
}

std::string TreeDump::expression(const Expression* given) const {
    if (given == nullptr) return "default";
    const Expression& e = *given;
    switch (e.kind) {
    case ExpressionKind::null:
    case ExpressionKind::number:
    case ExpressionKind::string:
    case ExpressionKind::datetime:
    case ExpressionKind::placeholder:
    case ExpressionKind::column:
    case ExpressionKind::star:
    case ExpressionKind::boolean: return literal(e);
    case ExpressionKind::unary:
    case ExpressionKind::binary:
    case ExpressionKind::comparison:
    case ExpressionKind::logical:
    case ExpressionKind::negation:
    case ExpressionKind::prior:
    case ExpressionKind::time_zone:
    case ExpressionKind::cast:
    case ExpressionKind::extract: return operation(e);
    case ExpressionKind::between:
    case ExpressionKind::in:
    case ExpressionKind::like:
    case ExpressionKind::is_null:
    case ExpressionKind::exists: return predicate(e);
    case ExpressionKind::call: return call(e.as<Call>());
    case ExpressionKind::conditional: return conditional(e.as<Conditional>());
    case ExpressionKind::subquery: return query(*e.as<Subquery>().query);
    case ExpressionKind::list: return "(list" + list(e.as<ExpressionList>().items) + ")";
    case ExpressionKind::cursor: return "(cursor " + query(*e.as<CursorExpression>().query) + ")";
    case ExpressionKind::attribute: {
        const auto& attribute = e.as<Attribute>();
        return "(% " + expression(attribute.cursor) + " " + text(attribute.attribute) + clause("of", attribute.index) +
               ")";
    }
    case ExpressionKind::member: {
        const auto& member = e.as<Member>();
        return "(. " + expression(member.object) + " " + text(member.member.text) +
               (member.called ? "(" + list(member.arguments) + ")" : "") + ")";
    }
    }
    return "?";
}

std::string TreeDump::conditional(const Conditional& conditional) const {
    std::string joined = "(case" + clause("of", conditional.operand);
    for (const auto& branch : conditional.branches)
        joined += " " + expression(branch.when) + "->" + expression(branch.then);
    return joined + clause("else", conditional.otherwise) + ")";
}

std::string TreeDump::call(const Call& call) const {
    std::string joined = "(" + path(call.schema, call.package, call.name);
    if (call.name.text == "TRIM") joined += text(call.trim_leading ? "<" : "") + (call.trim_trailing ? ">" : "");
    joined += text(call.distinct ? " distinct" : "") + list(call.arguments);
    if (!call.argument_names.empty()) joined += " " + names(call.argument_names);
    if (!call.within_group.empty()) joined += " (within" + order(call.within_group) + ")";
    if (!call.keep.empty()) joined += text(call.keep_last ? " (last" : " (first") + order(call.keep) + ")";
    joined += text(call.from_last ? " from-last" : "") + (call.ignore_nulls ? " ignore-nulls" : "");
    return joined + (call.over != nullptr ? window(*call.over) : "") + ")";
}

std::string TreeDump::window(const Window& window) const {
    const auto bound = [this](const Window::Bound& of) {
        static constexpr const char* kinds[] = {"<<", "<", "0", ">", ">>"};
        return text(kinds[static_cast<int>(of.kind)]) + (of.offset != nullptr ? expression(of.offset) : "");
    };
    std::string joined = " (over";
    if (!window.partition.empty()) joined += " (by" + list(window.partition) + ")";
    joined += order(window.order);
    if (window.unit == Window::Unit::none) return joined + ")";
    return joined + (window.unit == Window::Unit::rows ? " rows " : " range ") + bound(window.from) + " " +
           bound(window.to) + ")";
}

std::string TreeDump::source(const Source& source) const {
    static constexpr const char* joins[] = {"join", "left", "right", "full", "cross"};
    const std::string alias = source.alias ? " " + text(source.alias.text) : "";
    switch (source.kind) {
    case Source::Kind::table:
        return path(source.table.schema, source.table.name) + (alias.empty() ? "" : ":" + alias.substr(1));
    case Source::Kind::query: return (source.lateral ? "(lateral " : "(from ") + query(*source.query) + alias + ")";
    case Source::Kind::function: return "(table " + expression(source.function) + alias + ")";
    case Source::Kind::join: break;
    }
    return "(" + text(source.natural ? "natural-" : "") + joins[static_cast<int>(source.join)] + " " +
           this->source(*source.left) + " " + this->source(*source.right) + clause("on", source.condition) +
           (source.using_columns.empty() ? "" : " " + names(source.using_columns)) + ")";
}

std::string TreeDump::group(const GroupItem& item) const {
    static constexpr const char* kinds[] = {"", "rollup", "cube", "sets"};
    if (item.kind == GroupItem::Kind::expression) return " " + expression(item.keys[0]);
    std::string joined = " (" + text(kinds[static_cast<int>(item.kind)]) + list(item.keys);
    for (const auto& nested : item.nested) joined += group(nested);
    return joined + ")";
}

std::string TreeDump::block(const Block& block) const {
    std::string joined = block.distinct ? "(select-distinct" : "(select";
    for (const auto& item : block.items) {
        joined += " " + expression(item.value) + (item.alias ? ":" + text(item.alias.text) : "");
    }
    if (!block.into.empty()) joined += (block.bulk_into ? " (bulk" : " (into") + list(block.into) + ")";
    for (const auto* from : block.from) joined += " " + source(*from);
    joined += clause("where", block.where) + clause("start", block.start_with);
    joined += clause(block.nocycle ? "connect-nocycle" : "connect", block.connect_by);
    if (block.grouped) {
        joined += " (group";
        for (const auto& item : block.group_by) joined += group(item);
        joined += ")";
    }
    return joined + clause("having", block.having) + ")";
}

std::string TreeDump::query(const Query& query) const {
    static constexpr const char* operators[] = {"union", "union-all", "intersect", "minus"};
    static constexpr const char* waits[] = {"", " nowait", " wait", " skip"};
    std::string joined;
    for (const auto& with : query.with) {
        joined += "(with " + text(with.name.text) + (with.columns.empty() ? "" : names(with.columns)) + " " +
                  this->query(*with.query) + ") ";
    }
    if (query.block != nullptr) {
        joined += block(*query.block);
    } else {
        joined += "(" + text(operators[static_cast<int>(query.op)]) + " " + this->query(*query.left) + " " +
                  this->query(*query.right) + ")";
    }
    if (!query.order_by.empty()) joined += (query.siblings ? " (siblings" : " (order") + order(query.order_by) + ")";
    joined += clause("offset", query.limit.offset);
    if (query.limit.count != nullptr) {
        joined += " (fetch " + expression(query.limit.count) + (query.limit.percent ? "%" : "") +
                  (query.limit.with_ties ? " ties" : "") + ")";
    }
    if (!query.lock.locks) return joined;
    const std::string seconds = query.lock.wait == RowLock::Wait::seconds ? std::to_string(query.lock.seconds) : "";
    return joined + " (lock" + list(query.lock.of) + waits[static_cast<int>(query.lock.wait)] + seconds + ")";
}

std::string TreeDump::assignments(std::span<const Assignment> assignments) const {
    std::string joined;
    for (const auto& assignment : assignments) {
        joined += " (set";
        for (const auto* column : assignment.columns) joined += " " + expression(column);
        joined += " = " + expression(assignment.value) + ")";
    }
    return joined;
}

std::string TreeDump::insert(const Insert& insert) const {
    std::string joined = insert.first_match ? "(insert-first" : insert.multiple ? "(insert-all" : "(insert";
    for (const auto& target : insert.targets) {
        joined += clause("when", target.when) + (target.otherwise ? " else" : "");
        joined += " " + path(target.table.table.schema, target.table.table.name);
        if (!target.columns.empty()) joined += " " + names(target.columns);
        if (!target.values.empty()) joined += " (values" + list(target.values) + ")";
        joined += clause("record", target.record);
    }
    if (insert.query != nullptr) joined += " " + query(*insert.query);
    if (!insert.returning.values.empty()) {
        joined += " (returning" + list(insert.returning.values) + (insert.returning.bulk ? " bulk" : "") + " into" +
                  list(insert.returning.into) + ")";
    }
    return joined + ")";
}

std::string TreeDump::merge(const Merge& merge) const {
    std::string joined =
        "(merge " + text(merge.table.table.name.text) + " " + source(*merge.source) + clause("on", merge.condition);
    if (merge.updates) {
        joined += " (matched" + assignments(merge.assignments) + clause("where", merge.update_where) +
                  clause("delete", merge.delete_where) + ")";
    }
    if (merge.inserts) {
        joined += " (unmatched " + names(merge.insert_columns) + list(merge.insert_values) +
                  clause("where", merge.insert_where) + ")";
    }
    return joined + ")";
}

std::string TreeDump::statement(const Statement& given) const {
    switch (given.kind) {
    case StatementKind::query: return query(*given.as<QueryStatement>().query);
    case StatementKind::insert: return insert(given.as<Insert>());
    case StatementKind::update: {
        const auto& update = given.as<Update>();
        return "(update " + text(update.table.table.name.text) + assignments(update.assignments) +
               clause("row", update.row) + clause("where", update.where) +
               (update.current_of ? " of " + text(update.current_of.text) : "") + ")";
    }
    case StatementKind::remove: {
        const auto& remove = given.as<Remove>();
        const auto& table = remove.table;
        return "(delete " + (table.query != nullptr ? query(*table.query) : text(table.table.name.text)) +
               (table.alias ? ":" + text(table.alias.text) : "") + clause("where", remove.where) + ")";
    }
    case StatementKind::merge: return merge(given.as<Merge>());
    case StatementKind::call:
        return "(call " + call(*given.as<CallStatement>().call) + clause("into", given.as<CallStatement>().into) + ")";
    case StatementKind::explain: return "(explain " + statement(*given.as<Explain>().explained) + ")";
    case StatementKind::transaction: {
        static constexpr const char* actions[] = {"commit",    "rollback",   "savepoint",    "rollback-to",
                                                  "read-only", "read-write", "serializable", "read-committed",
                                                  "named",     "lock"};
        const auto& transaction = given.as<Transaction>();
        std::string joined = text("(") + actions[static_cast<int>(transaction.action)];
        for (const auto& table : transaction.tables) joined += " " + path(table.schema, table.name);
        if (transaction.exclusive) joined += " exclusive";
        if (transaction.wait == RowLock::Wait::nowait) joined += " nowait";
        return joined + (transaction.savepoint ? " " + text(transaction.savepoint.text) : "") + ")";
    }
    default: return "?";
    }
}
