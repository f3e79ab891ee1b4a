// Commit and rollback, what another session sees meanwhile, a statement that commits by itself, and RETURNING INTO,
// which brings a changed row back without a query.
#include "support/shortcuts.h"

#include <iostream>

namespace {

/// Moves money between two accounts, or leaves both as they are.
void transfer(DTK_ConnectionBase& connection, const char* from, const char* to, int amount) {
    std::cout << amount << " from " << from << " to " << to << ": ";
    const auto move = dtk::prepare(connection, "UPDATE account SET balance = balance + :1 WHERE owner = :2 "
                                               "RETURNING balance INTO :3");
    move->mb_registerOutParam(3, DTK_INT, 0, "");
    try {
        move->mb_setInt(1, amount);
        move->mb_setString(2, to);
        move->mb_executeUpdate();
        const int balance_to = move->mb_getInt(3);
        move->mb_setInt(1, -amount);
        move->mb_setString(2, from);
        move->mb_executeUpdate();
        connection.mb_commit();
        std::cout << to << " has " << balance_to << ", " << from << " has " << move->mb_getInt(3) << '\n';
    } catch (DTK_Exception& error) {
        // Nobody else does it: an open transaction would wait in the session for whoever borrows that next.
        connection.mb_rollback();
        constexpr int check_violated = 2290;
        if (error.mb_getDBErrorCode() != check_violated) throw;
        std::cout << from << " has not enough\n";
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
    std::cout << "The observer sees " << total(*observer) << " in all\n";

    dtk::execute(*connection, "UPDATE account SET balance = balance * 2");
    std::cout << "Doubled, not committed: " << total(*connection) << " here, " << total(*observer) << " there\n";
    connection->mb_rollback();
    std::cout << "Rolled back: " << total(*connection) << " here, " << total(*observer) << " there\n";
} catch (DTK_Exception& error) {
    std::cerr << "transactions: " << error.what() << '\n';
    return 1;
}
