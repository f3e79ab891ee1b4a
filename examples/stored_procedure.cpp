// Calls stored procedures with IN, OUT and IN OUT parameters: with single values, and once for each element of arrays,
// which come back changed.
#include "support/shortcuts.h"

#include <iostream>

namespace {

void make_procedures(DTK_ConnectionBase& connection) {
    dtk::execute(connection, "CREATE TABLE goods (name VARCHAR2(20) PRIMARY KEY, stock NUMBER(9), price NUMBER(9,2), "
                             "shelf VARCHAR2(10), delivery DATE)");
    for (const char* values : {"'cup', 20, 3.50, 'B 12', NULL", "'plate', 5, 8.25, 'B 13', DATE '2024-07-01'",
                               "'spoon', 100, 0.75, 'A 1', NULL"})
        dtk::execute(connection, DTK_String("INSERT INTO goods VALUES (") + values + ")");
    connection.mb_commit();
    dtk::execute(connection,
                 "CREATE PROCEDURE find_goods(p_name IN VARCHAR2, p_price OUT NUMBER, p_shelf OUT VARCHAR2, "
                 "p_delivery OUT DATE) IS BEGIN SELECT price, shelf, delivery INTO p_price, p_shelf, "
                 "p_delivery FROM goods WHERE name = p_name; END;");
    dtk::execute(connection,
                 "CREATE PROCEDURE take_goods(p_name IN VARCHAR2, p_count IN OUT NUMBER, p_cost OUT NUMBER, "
                 "p_shelf OUT VARCHAR2) IS BEGIN "
                 "SELECT LEAST(p_count, stock), shelf INTO p_count, p_shelf FROM goods WHERE name = p_name; "
                 "UPDATE goods SET stock = stock - p_count WHERE name = p_name; "
                 "SELECT price * p_count INTO p_cost FROM goods WHERE name = p_name; END;");
}

void find(DTK_ConnectionBase& connection) {
    const auto call = dtk::prepare(connection, "BEGIN find_goods(:name, :price, :shelf, :delivery); END;");
    call->mb_registerOutParam(2, DTK_DOUBLE, 0, "");
    call->mb_registerOutParam(3, DTK_STRING, 10 + 2, ""); // the longest text and two bytes more
    call->mb_registerOutParam(4, DTK_DBDATE, 0, "");
    for (const char* name : {"plate", "spoon"}) {
        call->mb_setString(1, name);
        call->mb_executeProcedure();
        std::cout << "a " << name << " for " << call->mb_getDouble(2) << " from shelf "
                  << call->mb_getString(3).c_str();
        // Ask for NULL first: a getter then returns whatever the storage holds.
        if (!call->mb_isNull(4))
            std::cout << ", more on " << DTK_Date(call->mb_getDate(4)).mb_toString(DF_YYYYMMDD).c_str();
        std::cout << '\n';
    }
}

void take_plates(DTK_ConnectionBase& connection, int wanted) {
    const auto call = dtk::prepare(connection, "BEGIN take_goods('plate', :count, :cost, :shelf); END;");
    call->mb_registerOutParam(1, DTK_INT, 0, "");
    call->mb_setInt(1, wanted); // registered and set, with the same type: IN OUT
    call->mb_registerOutParam(2, DTK_DOUBLE, 0, "");
    call->mb_registerOutParam(3, DTK_STRING, 10 + 2, "");
    call->mb_executeProcedure();
    std::cout << call->mb_getInt(1) << " of " << wanted << " plates for " << call->mb_getDouble(2) << '\n';
}

/// One call of the procedure for each element.
void take_several(DTK_ConnectionBase& connection) {
    DTK_String names[] = {"cup", "spoon", "plate"};
    int counts[] = {12, 40, 1};
    double costs[] = {0, 0, 0};
    DTK_String shelves[3];
    const auto call = dtk::prepare(connection, "BEGIN take_goods(:name, :count, :cost, :shelf); END;");
    call->mb_setUpdateCount(3);
    *call << names << counts << costs;
    call->mb_setStringArray(shelves, 10); // room for what comes back; operator<< would make it for the empty texts
    call->mb_executeProcedure();          // of all executions the one that carries texts back
    for (int i = 0; i < 3; ++i)
        std::cout << names[i] << ": " << counts[i] << " for " << costs[i] << " from shelf " << shelves[i] << '\n';
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:stored_procedure", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    make_procedures(*connection);
    find(*connection);
    take_plates(*connection, 6);
    take_several(*connection);
    connection->mb_commit();
    std::cout << support::ask_number(*connection, "SELECT SUM(stock) FROM goods") << " pieces are left\n";
} catch (DTK_Exception& error) {
    std::cerr << "stored_procedure: " << error.what() << '\n';
    return 1;
}
