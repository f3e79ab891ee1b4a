#include "dtk/dtk.h"

#include <iostream>
#include <memory>

int main() try {
    std::unique_ptr<DTK_ConnectionPoolBase> pool(gb_getConnectionPool());
    pool->mb_create("demo", "secret", "memory:quickstart", 1, 4, "", "", 0);
    std::unique_ptr<DTK_ConnectionBase> connection(pool->mb_getConnection(true));
    std::unique_ptr<DTK_StatementBase> statement(
        connection->mb_createStatement("CREATE TABLE planets (name VARCHAR2(20), moons NUMBER(9))"));
    statement->mb_executeUpdate();

    DTK_String names[] = {"Mars", "Jupiter", "Saturn"};
    int moons[] = {2, 95, 146};
    statement->mb_setSQL("INSERT INTO planets VALUES (:name, :moons)");
    statement->mb_setUpdateCount(3);
    statement->mb_setStringArray(names, 20);
    *statement << moons;
    statement->mb_executeArrayUpdate();
    connection->mb_commit();

    std::unique_ptr<DTK_ResultSetBase> rows(statement->mb_executeQuery("SELECT * FROM planets ORDER BY moons DESC"));
    while (rows->mb_fetch()) std::cout << rows->mb_getString(1).c_str() << ": " << rows->mb_getInt(2) << " moons\n";
    statement->mb_closeResultSet(rows.get());
    connection->mb_terminateStatement(statement.get());
} catch (DTK_Exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
