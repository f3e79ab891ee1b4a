// Commit and rollback, what another session sees meanwhile, a statement that commits by itself, and RETURNING INTO,
// which brings a changed row back without a query.
#include "support/shortcuts.h"

#include <iostream>
#include <stdexcept>
#include <string>

namespace {

/// Adds to the balance of an account. The statement takes amount and owner and puts the new balance out.
///
/// @return the new balance
/// @throws std::runtime_error there is no such account
int add(DTK_StatementBase& statement, const std::string& owner, int amount) {
    // An update that matches no row leaves the output as it was, and no balance is negative.
    constexpr int no_balance = -1;
    statement.mb_setInt(1, amount);
    statement.mb_setString(2, owner);
    statement.mb_setInt(3, no_balance);
    statement.mb_executeUpdate();
    const int balance = statement.mb_getInt(3);
    if (balance == no_balance) throw std::runtime_error("there is no account of " + owner);
    return balance;
}

/// Moves money between two accounts, or leaves both as they are.
void transfer(DTK_ConnectionBase& connection, const char* from, const char* to, int amount) {
    std::cout << amount << " from " << from << " to " << to << ": ";
    const auto statement = dtk::prepare(connection, "UPDATE account SET balance = balance + :1 WHERE owner = :2 "
                                                    "RETURNING balance INTO :3");
    statement->mb_registerOutParam(3, DTK_INT, 0, "");
    // Nobody else rolls back: an open transaction would wait in the session for whoever borrows that next.
    try {
        const int balance_to = add(*statement, to, amount);
        const int balance_from = add(*statement, from, -amount);
        connection.mb_commit();
        std::cout << to << " has " << balance_to << ", " << from << " has " << balance_from << '\n';
    } catch (DTK_Exception& error) {
        connection.mb_rollback();
        constexpr int check_violated = 2290;
        if (error.mb_getDBErrorCode() != check_violated) throw;
        std::cout << from << " has not enough\n";
    } catch (std::runtime_error& error) {
        connection.mb_rollback();
        std::cout << error.what() << '\n';
    }
}

long long total(DTK_ConnectionBase& connection) {
    return support::ask_number(connection, "SELECT SUM(balance) FROM account");
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:transactions", 2);
    const dtk::Connection connection(pool->mb_getConnection(true));
    const dtk::Connection observer(pool->mb_getConnection(true));
    dtk::execute(*connection, "CREATE TABLE account (owner VARCHAR2(10), balance NUMBER(9) CHECK (balance >= 0))");

    const auto insert = dtk::prepare(*connection, "INSERT INTO account VALUES (:1, :2)");
    insert->mb_setAutoCommit(true); // each execution of this statement commits, until another text is prepared
    for (const char* owner : {"Ann", "Bob"}) {
        insert->mb_setString(1, owner);
        insert->mb_setInt(2, 100);
        insert->mb_executeUpdate();
    }
    std::cout << "The observer sees " << total(*observer) << " in all\n";

    transfer(*connection, "Ann", "Bob", 30);
    transfer(*connection, "Ann", "Bob", 80);
    transfer(*connection, "Ann", "Cid", 30);
    transfer(*connection, "Cid", "Bob", 30);
    std::cout << "The observer sees " << total(*observer) << " in all\n";

    dtk::execute(*connection, "UPDATE account SET balance = balance * 2");
    std::cout << "Doubled, not committed: " << total(*connection) << " here, " << total(*observer) << " there\n";
    connection->mb_rollback();
    std::cout << "Rolled back: " << total(*connection) << " here, " << total(*observer) << " there\n";
} catch (DTK_Exception& error) {
    std::cerr << "transactions: " << error.what() << '\n';
    return 1;
}
