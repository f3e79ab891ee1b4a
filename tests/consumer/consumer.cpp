#include "dtk/handles.h"

#include <iostream>
#include <string>

namespace {

/// Writes a row, reads it back and has a statement fail: what came back, as one line.
std::string round_trip(DTK_ConnectionBase& connection) {
    dtk::execute(connection, "CREATE TABLE notes (id NUMBER(9), text VARCHAR2(20), day DATE, body BLOB)");
    const auto insert = dtk::prepare(connection, "INSERT INTO notes VALUES (:id, :text, :day, EMPTY_BLOB())");
    insert->mb_setInt(1, 7);
    insert->mb_setString(2, "seven");
    insert->mb_setDate(3, DTK_DbDate(DTK_Date(2024, 2, 29)));
    insert->mb_executeUpdate();

    const auto query = dtk::prepare(connection, "SELECT * FROM notes FOR UPDATE");
    const auto rows = dtk::open(*query);
    if (!rows->mb_fetch()) return "no row";
    DTK_Date nextYear(rows->mb_getDate(3));
    nextYear.mb_addMonths(12);
    DTK_Blob body;
    body = rows->mb_getDTK_Blob(4);
    unsigned char bytes[] = {1, 2, 3};
    body.mb_get()->mb_write(sizeof bytes, bytes, 1);
    std::string line = std::to_string(rows->mb_getInt(1)) + ' ' + rows->mb_getString(2).c_str() + ' ' +
                       nextYear.mb_toString(DF_YYYYMMDD).c_str() + ' ' + std::to_string(body.mb_get()->mb_length());

    try {
        dtk::execute(connection, "DELETE FROM nowhere");
    } catch (DTK_Exception& error) {
        line += " ORA-" + std::to_string(error.mb_getDBErrorCode());
    }
    return line;
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("consumer", "secret", "memory:consumer", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    const std::string line = round_trip(*connection);
    if (line == "7 seven 20250228 3 ORA-942") return 0;
    std::cerr << "consumer got: " << line << '\n';
    return 1;
} catch (DTK_Exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
