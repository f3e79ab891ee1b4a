#include "oci/sql/parser/query_parser.h"

#include "oci/sql/parser/call_parser.h"
#include "oci/sql/parser/expression_parser.h"
#include "oci/sql/parser/source_parser.h"
#include "oci/sql/parser/transaction_parser.h"

namespace oci::sql {
namespace {

/// A chain of set operators is as deep as it is long, and what reads the tree goes down into it.
constexpr int longest_chain = 1000;

bool has_own_ending(const Query& query) {
    return !query.with.empty() || !query.order_by.empty() || query.limit.count != nullptr ||
           query.limit.offset != nullptr || query.lock.locks;
}

bool is_set_operator(const Token& token) {
    return token.is("UNION") || token.is("INTERSECT") || token.is("MINUS") || token.is("EXCEPT");
}

} // namespace

Query* QueryParser::query() {
    const Nesting nesting(m_tokens);
    const SqlPart sql(m_tokens);
    const Offset at = m_tokens.position();
    const auto with = m_tokens.at("WITH") ? this->with() : std::span<WithQuery>();
    Query* found = combined(set_operand());
    if (!with.empty() && !found->with.empty()) found = wrapped(found);
    if (!with.empty()) found->with = with;
    found->at = at;
    if (has_ending() && (!found->order_by.empty() || found->limit.count != nullptr)) found = wrapped(found);
    ending(*found);
    return found;
}

Query* QueryParser::continued(Query* first) {
    const SqlPart sql(m_tokens);
    if (is_set_operator(m_tokens.peek())) first = combined(first);
    if (!has_ending()) return first;
    if (has_own_ending(*first)) first = wrapped(first);
    ending(*first);
    return first;
}

Query* QueryParser::subquery() {
    Query* const found = query();
    const bool chooses = found->limit.count != nullptr || found->limit.offset != nullptr;
    if (!found->order_by.empty() && !chooses)
        m_tokens.fail(error::missing_right_parenthesis, found->order_by[0].key->at, {});
    return found;
}

std::span<WithQuery> QueryParser::with() {
    m_tokens.take();
    if ((m_tokens.at("FUNCTION") || m_tokens.at("PROCEDURE")) && TokenStream::is_name(m_tokens.peek(1)) &&
        !m_tokens.peek(1).is("AS")) {
        m_tokens.unsupported("functions in WITH");
    }
    ListBuilder<WithQuery> queries(m_tokens.arena());
    do {
        queries.add(with_query());
    } while (m_tokens.accept(","));
    return queries.list();
}

WithQuery QueryParser::with_query() {
    WithQuery found{m_tokens.name(error::missing_keyword), {}, nullptr};
    if (m_tokens.accept("(")) {
        ListBuilder<Name> columns(m_tokens.arena());
        do {
            columns.add(m_tokens.name(error::invalid_identifier));
        } while (m_tokens.accept(","));
        m_tokens.expect(")", error::missing_right_parenthesis);
        found.columns = columns.list();
    }
    m_tokens.expect("AS", error::missing_keyword);
    m_tokens.expect("(", error::missing_left_parenthesis);
    if (!begins(m_tokens) && !m_tokens.at("(")) m_tokens.fail(error::missing_select);
    found.query = query();
    m_tokens.expect(")", error::missing_right_parenthesis);
    if (m_tokens.at("SEARCH") || m_tokens.at("CYCLE")) m_tokens.unsupported("SEARCH and CYCLE of recursive queries");
    return found;
}

Query* QueryParser::set_operand() {
    const Offset at = m_tokens.position();
    if (m_tokens.accept("(")) {
        Query* const found = query();
        m_tokens.expect(")", error::missing_right_parenthesis);
        return found;
    }
    auto* const found = m_tokens.make<Query>(at);
    found->block = block();
    return found;
}

/// All set operators stand on one level and are read from the left.
Query* QueryParser::combined(Query* left) {
    for (int length = 0; is_set_operator(m_tokens.peek()); ++length) {
        if (length == longest_chain) m_tokens.unsupported("more than 1000 set operators in a row");
        auto* const found = m_tokens.make<Query>(left->at);
        const Token op = m_tokens.take();
        const bool all = m_tokens.accept("ALL");
        if (all && !op.is("UNION")) m_tokens.unsupported("ALL behind another set operator than UNION");
        found->op = op.is("INTERSECT") ? SetOperator::intersect
                    : !op.is("UNION")  ? SetOperator::minus
                    : all              ? SetOperator::union_all
                                       : SetOperator::union_distinct;
        if (!m_tokens.at("SELECT") && !m_tokens.at("(")) m_tokens.fail(error::missing_select);
        found->left = left;
        found->right = set_operand();
        left = found;
    }
    return left;
}

/// SELECT * FROM (inner): what stands behind the parentheses is not the inner query's.
Query* QueryParser::wrapped(Query* inner) {
    auto* const source = m_tokens.make<Source>(inner->at);
    source->kind = Source::Kind::query;
    source->query = inner;
    ListBuilder<Source*> sources(m_tokens.arena());
    sources.add(source);
    ListBuilder<SelectItem> items(m_tokens.arena());
    items.add({m_tokens.make<Star>(inner->at), {}});
    auto* const found = m_tokens.make<Query>(inner->at);
    found->block = m_tokens.make<Block>(inner->at);
    found->block->items = items.list();
    found->block->from = sources.list();
    return found;
}

bool QueryParser::has_ending() {
    return m_tokens.at("ORDER") || m_tokens.at("OFFSET") || m_tokens.at("FETCH") || m_tokens.at("FOR", "UPDATE");
}

void QueryParser::ending(Query& query) {
    if (m_tokens.at("FOR", "UPDATE")) lock(query.lock);
    if (m_tokens.at("ORDER")) order(query);
    limit(query.limit);
    if (m_tokens.at("LIMIT"))
        m_tokens.fail(error::not_properly_ended, m_tokens.position(), "write FETCH FIRST n ROWS ONLY");
    if (m_tokens.at("FOR", "UPDATE")) lock(query.lock);
}

void QueryParser::order(Query& query) {
    m_tokens.take();
    query.siblings = m_tokens.accept("SIBLINGS");
    m_tokens.expect("BY", error::missing_by);
    query.order_by = ExpressionParser(m_tokens).order_items();
}

void QueryParser::limit(RowLimit& limit) {
    ExpressionParser expressions(m_tokens);
    const auto rows = [this] {
        if (!m_tokens.accept("ROWS")) m_tokens.expect("ROW", error::missing_keyword);
    };
    if (m_tokens.accept("OFFSET")) {
        limit.offset = expressions.value();
        rows();
    }
    if (!m_tokens.accept("FETCH")) return;
    if (!m_tokens.accept("FIRST")) m_tokens.expect("NEXT", error::missing_keyword);
    if (m_tokens.at("ROW") || m_tokens.at("ROWS")) {
        auto* const one = m_tokens.make<NumberLiteral>(m_tokens.position());
        one->text = "1";
        limit.count = one;
    } else {
        limit.count = expressions.value();
        limit.percent = m_tokens.accept("PERCENT");
    }
    rows();
    limit.with_ties = m_tokens.accept("WITH", "TIES");
    if (!limit.with_ties) m_tokens.expect("ONLY", error::missing_keyword);
}

void QueryParser::lock(RowLock& lock) {
    m_tokens.take();
    m_tokens.take();
    lock.locks = true;
    if (m_tokens.accept("OF")) {
        ListBuilder<Expression*> columns(m_tokens.arena());
        do {
            columns.add(CallParser(m_tokens).column());
        } while (m_tokens.accept(","));
        lock.of = columns.list();
    }
    parse_wait(m_tokens, lock.wait, lock.seconds);
}

Block* QueryParser::block() {
    ExpressionParser expressions(m_tokens);
    auto* const found = m_tokens.make<Block>(m_tokens.position());
    m_tokens.expect("SELECT", error::missing_select);
    found->distinct = m_tokens.accept("DISTINCT") || m_tokens.accept("UNIQUE");
    if (!found->distinct) m_tokens.accept("ALL");
    found->items = items();
    if (m_tokens.in_block()) into(*found);
    m_tokens.expect("FROM", error::missing_from);
    found->from = SourceParser(m_tokens).sources();
    if (m_tokens.accept("WHERE")) found->where = expressions.condition();
    hierarchy(*found);
    grouping(*found);
    if (m_tokens.at("MODEL")) m_tokens.unsupported("MODEL");
    if (m_tokens.at("WINDOW")) m_tokens.unsupported("the WINDOW clause");
    return found;
}

std::span<SelectItem> QueryParser::items() {
    ListBuilder<SelectItem> items(m_tokens.arena());
    do {
        items.add(item(items.size() == 0));
        // A bare star stands alone.
        if (m_tokens.at(",") && items.size() == 1 && items.back().value->kind == ExpressionKind::star &&
            !items.back().value->as<Star>().table) {
            m_tokens.fail(error::missing_from);
        }
    } while (m_tokens.accept(","));
    return items.list();
}

SelectItem QueryParser::item(bool first) {
    if (first && m_tokens.at("*")) return {m_tokens.make<Star>(m_tokens.take().at), {}};
    if (at_star()) return {star(), {}};
    SelectItem item{ExpressionParser(m_tokens).value(), {}};
    if (m_tokens.accept("AS")) {
        item.alias = m_tokens.name(error::missing_from);
    } else if (m_tokens.at_name() && !m_tokens.at("BULK", "COLLECT")) {
        item.alias = m_tokens.name(error::missing_from);
    }
    return item;
}

/// table.* or schema.table.*
bool QueryParser::at_star() {
    if (!m_tokens.peek().is_name() || !m_tokens.peek(1).is(".")) return false;
    return m_tokens.peek(2).is("*") || (m_tokens.peek(3).is(".") && m_tokens.peek(4).is("*"));
}

Expression* QueryParser::star() {
    auto* const found = m_tokens.make<Star>(m_tokens.position());
    found->table = m_tokens.name(error::invalid_column_specification);
    m_tokens.take();
    if (!m_tokens.at("*")) {
        found->schema = found->table;
        found->table = m_tokens.name(error::invalid_column_specification);
        m_tokens.take();
    }
    m_tokens.take();
    return found;
}

void QueryParser::into(Block& block) {
    block.bulk_into = m_tokens.accept("BULK", "COLLECT");
    if (m_tokens.accept("INTO")) block.into = ExpressionParser(m_tokens).values();
}

void QueryParser::hierarchy(Block& block) {
    ExpressionParser expressions(m_tokens);
    for (;;) {
        if (m_tokens.accept("CONNECT")) {
            m_tokens.expect("BY", error::missing_by);
            block.nocycle = m_tokens.accept("NOCYCLE");
            block.connect_by = expressions.condition();
        } else if (m_tokens.accept("START", "WITH")) {
            block.start_with = expressions.condition();
        } else {
            break;
        }
    }
    if (block.start_with != nullptr && block.connect_by == nullptr) m_tokens.fail(error::missing_keyword);
}

void QueryParser::grouping(Block& block) {
    if (m_tokens.accept("HAVING")) block.having = ExpressionParser(m_tokens).condition();
    if (m_tokens.accept("GROUP")) {
        m_tokens.expect("BY", error::missing_by);
        block.grouped = true;
        block.group_by = group_items();
    }
    if (block.having == nullptr && m_tokens.accept("HAVING")) block.having = ExpressionParser(m_tokens).condition();
}

std::span<GroupItem> QueryParser::group_items() {
    const Nesting nesting(m_tokens);
    ListBuilder<GroupItem> items(m_tokens.arena());
    do {
        items.add(group_item());
    } while (m_tokens.accept(","));
    return items.list();
}

GroupItem QueryParser::group_item() {
    GroupItem item;
    const bool rollup = m_tokens.at("ROLLUP", "(");
    if (rollup || m_tokens.at("CUBE", "(")) {
        item.kind = rollup ? GroupItem::Kind::rollup : GroupItem::Kind::cube;
        m_tokens.take();
        m_tokens.take();
        item.keys = group_keys();
        m_tokens.expect(")", error::missing_right_parenthesis);
    } else if (m_tokens.accept("GROUPING", "SETS")) {
        item.kind = GroupItem::Kind::grouping_sets;
        m_tokens.expect("(", error::missing_left_parenthesis);
        item.nested = group_items();
        m_tokens.expect(")", error::missing_right_parenthesis);
    } else {
        ListBuilder<Expression*> key(m_tokens.arena());
        key.add(group_key());
        item.keys = key.list();
    }
    return item;
}

Expressions QueryParser::group_keys() {
    ListBuilder<Expression*> keys(m_tokens.arena());
    do {
        keys.add(group_key());
    } while (m_tokens.accept(","));
    return keys.list();
}

/// () is the empty list.
Expression* QueryParser::group_key() {
    if (!m_tokens.at("(", ")")) return ExpressionParser(m_tokens).value();
    auto* const empty = m_tokens.make<ExpressionList>(m_tokens.take().at);
    m_tokens.take();
    return empty;
}

} // namespace oci::sql
