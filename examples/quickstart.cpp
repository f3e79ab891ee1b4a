#include "dtk/dtk.h"

#include <iostream>
#include <memory>

struct Planet {
    const char* name;
    int moons;
    double mass;
};

int main() try {
    std::unique_ptr<DTK_ConnectionPoolBase> pool(gb_getConnectionPool());
    pool->mb_create("demo", "secret", "memory:quickstart", 1, 4, "", "", 0);
    std::unique_ptr<DTK_ConnectionBase> connection(pool->mb_getConnection(true));
    std::unique_ptr<DTK_StatementBase> statement(
        connection->mb_createStatement("CREATE TABLE planets (name VARCHAR2(20), moons NUMBER(9), mass NUMBER(9,4))"));
    statement->mb_executeUpdate();

    statement->mb_setSQL("INSERT INTO planets VALUES (:name, :moons, :mass)");
    for (const Planet& planet : {Planet{"Mars", 2, 0.1074}, {"Jupiter", 95, 317.83}, {"Saturn", 146, 95.16}}) {
        statement->mb_setString(1, planet.name);
        statement->mb_setInt(2, planet.moons);
        statement->mb_setDouble(3, planet.mass);
        statement->mb_executeUpdate();
    }
    connection->mb_commit();

    std::unique_ptr<DTK_ResultSetBase> rows(statement->mb_executeQuery("SELECT * FROM planets ORDER BY moons DESC"));
    while (rows->mb_fetch())
        std::cout << rows->mb_getString(1).c_str() << ": " << rows->mb_getInt(2) << " moons, " << rows->mb_getDouble(3)
                  << " times the mass of the Earth\n";
    statement->mb_closeResultSet(rows.get());
    connection->mb_terminateStatement(statement.get());
} catch (DTK_Exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
