#include "dtk/handles.h"

#include <iostream>

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:quickstart", 4);
    const dtk::Connection connection(pool->mb_getConnection(true));
    dtk::execute(*connection, "CREATE TABLE planets (name VARCHAR2(20), moons NUMBER(9))");

    DTK_String names[] = {"Mars", "Jupiter", "Saturn"};
    int moons[] = {2, 95, 146};
    const auto insert = dtk::prepare(*connection, "INSERT INTO planets VALUES (:name, :moons)");
    insert->mb_setUpdateCount(3);
    insert->mb_setStringArray(names, 20);
    *insert << moons;
    insert->mb_executeArrayUpdate();
    connection->mb_commit();

    const auto query = dtk::prepare(*connection, "SELECT * FROM planets ORDER BY moons DESC");
    const auto rows = dtk::open(*query);
    while (rows->mb_fetch()) std::cout << rows->mb_getString(1).c_str() << ": " << rows->mb_getInt(2) << " moons\n";
} catch (DTK_Exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
