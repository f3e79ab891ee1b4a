// Numbers orders by a sequence in a trigger, and books them in a procedure with a loop and an exception handler.
#include "dtk/handles.h"

#include <iostream>

namespace {

void make_shop(DTK_ConnectionBase& connection) {
    for (const char* sql :
         {"CREATE TABLE goods (name VARCHAR2(20) PRIMARY KEY, stock NUMBER(9) CHECK (stock >= 0))",
          "CREATE TABLE orders (id NUMBER(9) PRIMARY KEY, name VARCHAR2(20), pieces NUMBER(9), state VARCHAR2(10))",
          "CREATE SEQUENCE order_numbers START WITH 1001",
          "CREATE TRIGGER number_orders BEFORE INSERT ON orders FOR EACH ROW "
          "BEGIN :NEW.id := order_numbers.NEXTVAL; :NEW.state := 'new'; END;",
          "CREATE PROCEDURE book_orders(p_booked OUT NUMBER, p_short OUT NUMBER) IS\n"
          "  not_enough EXCEPTION;\n"
          "  PRAGMA EXCEPTION_INIT(not_enough, -2290);\n"
          "BEGIN\n"
          "  p_booked := 0;\n"
          "  p_short := 0;\n"
          "  FOR o IN (SELECT id, name, pieces FROM orders WHERE state = 'new' ORDER BY id) LOOP\n"
          "    BEGIN\n"
          "      UPDATE goods SET stock = stock - o.pieces WHERE name = o.name;\n"
          "      UPDATE orders SET state = 'booked' WHERE id = o.id;\n"
          "      p_booked := p_booked + 1;\n"
          "    EXCEPTION\n"
          "      WHEN not_enough THEN\n"
          "        UPDATE orders SET state = 'short' WHERE id = o.id;\n"
          "        p_short := p_short + 1;\n"
          "    END;\n"
          "  END LOOP;\n"
          "END;"})
        dtk::execute(connection, sql);
}

void enter_orders(DTK_ConnectionBase& connection) {
    dtk::execute(connection, "INSERT INTO goods VALUES ('cup', 20)");
    const auto insert = dtk::prepare(connection, "INSERT INTO orders (name, pieces) VALUES ('cup', :pieces)");
    for (const int pieces : {12, 10, 8}) {
        insert->mb_setInt(1, pieces);
        insert->mb_executeUpdate();
    }
}

void book_orders(DTK_ConnectionBase& connection) {
    const auto call = dtk::prepare(connection, "BEGIN book_orders(:booked, :short); END;");
    call->mb_registerOutParam(1, DTK_INT, 0, "");
    call->mb_registerOutParam(2, DTK_INT, 0, "");
    call->mb_executeProcedure();
    std::cout << call->mb_getInt(1) << " booked, " << call->mb_getInt(2) << " short\n";
}

void print_orders(DTK_ConnectionBase& connection) {
    const auto query = dtk::prepare(connection, "SELECT id, pieces, state FROM orders ORDER BY id");
    const auto orders = dtk::open(*query);
    while (orders->mb_fetch())
        std::cout << orders->mb_getInt(1) << ": " << orders->mb_getInt(2) << " pieces, "
                  << orders->mb_getString(3).c_str() << '\n';
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:order_numbers", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    make_shop(*connection);
    enter_orders(*connection);
    book_orders(*connection);
    connection->mb_commit();
    print_orders(*connection);
} catch (DTK_Exception& error) {
    std::cerr << "order_numbers: " << error.what() << '\n';
    return 1;
}
