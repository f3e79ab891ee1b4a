#include "oci/sql/parser/transaction_parser.h"

#include <algorithm>
#include <limits>

namespace oci::sql {

Transaction* TransactionParser::statement() {
    using Action = Transaction::Action;
    const Token word = m_tokens.take();
    auto* const found = m_tokens.make<Transaction>(word.at);
    if (word.is("COMMIT")) {
        found->action = Action::commit;
        commit();
    } else if (word.is("ROLLBACK")) {
        found->action = Action::rollback;
        rollback(*found);
    } else if (word.is("SAVEPOINT")) {
        found->action = Action::savepoint;
        found->savepoint = m_tokens.name(error::missing_keyword);
    } else if (word.is("SET")) {
        set(*found);
    } else {
        found->action = Action::lock;
        lock(*found);
    }
    return found;
}

void TransactionParser::commit() {
    m_tokens.accept("WORK");
    if (m_tokens.at("FORCE")) m_tokens.unsupported("distributed transactions");
    if (m_tokens.accept("COMMENT")) m_tokens.string(error::not_properly_ended);
    if (m_tokens.accept("WRITE")) write_options();
    if (!m_tokens.at_end() && !m_tokens.at(";")) m_tokens.fail(error::invalid_commit_option);
}

/// A commit is on the disk when it returns, which is what the strongest of these ask for.
void TransactionParser::write_options() {
    while (m_tokens.accept("WAIT") || m_tokens.accept("NOWAIT") || m_tokens.accept("IMMEDIATE") ||
           m_tokens.accept("BATCH")) {
    }
}

void TransactionParser::rollback(Transaction& statement) {
    m_tokens.accept("WORK");
    if (m_tokens.at("FORCE")) m_tokens.unsupported("distributed transactions");
    if (m_tokens.at_end() || m_tokens.at(";")) return;
    m_tokens.expect("TO", error::invalid_rollback_option);
    m_tokens.accept("SAVEPOINT");
    statement.action = Transaction::Action::rollback_to;
    statement.savepoint = m_tokens.name(error::missing_keyword);
}

void TransactionParser::set(Transaction& statement) {
    using Action = Transaction::Action;
    if (m_tokens.at("CONSTRAINT") || m_tokens.at("CONSTRAINTS")) m_tokens.unsupported(m_tokens.peek().text);
    statement.action = Action::named;
    if (m_tokens.accept("ROLE")) {
        while (!m_tokens.at_end()) m_tokens.take(); // no privilege depends on it
        return;
    }
    m_tokens.expect("TRANSACTION", error::invalid_option);
    if (m_tokens.accept("READ")) {
        statement.action = m_tokens.at("ONLY") ? Action::read_only : Action::read_write;
        if (!m_tokens.accept("ONLY")) m_tokens.expect("WRITE", error::missing_keyword);
    } else if (m_tokens.accept("ISOLATION")) {
        isolation(statement);
    } else if (!m_tokens.at("NAME")) {
        m_tokens.fail(error::invalid_option);
    }
    if (m_tokens.accept("NAME")) m_tokens.string(error::invalid_option);
}

void TransactionParser::isolation(Transaction& statement) {
    m_tokens.expect("LEVEL", error::missing_keyword);
    statement.action =
        m_tokens.at("SERIALIZABLE") ? Transaction::Action::serializable : Transaction::Action::read_committed;
    if (m_tokens.accept("SERIALIZABLE")) return;
    m_tokens.expect("READ", error::missing_keyword);
    m_tokens.expect("COMMITTED", error::missing_keyword);
}

void TransactionParser::lock(Transaction& statement) {
    m_tokens.expect("TABLE", error::missing_keyword);
    ListBuilder<ObjectName> tables(m_tokens.arena());
    do {
        tables.add(m_tokens.object_name(error::invalid_table_name));
    } while (m_tokens.accept(","));
    statement.tables = tables.list();
    m_tokens.expect("IN", error::missing_keyword);
    statement.exclusive = lock_mode();
    m_tokens.expect("MODE", error::missing_keyword);
    parse_wait(m_tokens, statement.wait, statement.seconds);
    if (statement.wait == RowLock::Wait::skip_locked) m_tokens.fail(error::not_properly_ended);
}

/// ROW SHARE, ROW EXCLUSIVE and SHARE UPDATE leave other sessions write.
bool TransactionParser::lock_mode() {
    if (m_tokens.accept("ROW", "SHARE") || m_tokens.accept("ROW", "EXCLUSIVE") || m_tokens.accept("SHARE", "UPDATE"))
        return false;
    if (m_tokens.accept("EXCLUSIVE")) return true;
    m_tokens.expect("SHARE", error::missing_lock_mode);
    m_tokens.accept("ROW", "EXCLUSIVE");
    return true;
}

void parse_wait(TokenStream& tokens, RowLock::Wait& wait, int& seconds) {
    if (tokens.accept("NOWAIT")) {
        wait = RowLock::Wait::nowait;
    } else if (tokens.accept("SKIP", "LOCKED")) {
        wait = RowLock::Wait::skip_locked;
    } else if (tokens.accept("WAIT")) {
        wait = RowLock::Wait::seconds;
        constexpr std::int64_t longest = std::numeric_limits<int>::max();
        seconds = static_cast<int>(std::min(tokens.integer(error::missing_wait_seconds), longest));
    }
}

} // namespace oci::sql
