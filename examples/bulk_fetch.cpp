// Fetches rows in batches, straight into arrays of the program's own. The arrays' types, not those of the columns,
// decide what is fetched.
#include "support/shortcuts.h"

#include <iostream>
#include <vector>

namespace {

constexpr int row_count = 2500, batch_rows = 1000;

void make_readings(DTK_ConnectionBase& connection) {
    dtk::execute(connection, "CREATE TABLE reading (id NUMBER(9), value NUMBER, unit VARCHAR2(10), taken DATE)");
    const auto insert = dtk::prepare(connection, "INSERT INTO reading VALUES (:1, NULLIF(:2, 0), :3, :4)");
    for (int id = 1; id <= row_count; ++id) {
        insert->mb_setInt(1, id);
        insert->mb_setInt64(2, id % 300 == 0 ? 0 : 10'000'000'000LL + id);
        insert->mb_setString(3, id % 2 == 0 ? "mm" : "");
        insert->mb_setDate(4, DTK_Date(2020 + id / 1000, 1 + id % 12, 1));
        insert->mb_executeUpdate();
    }
    connection.mb_commit();
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:bulk_fetch", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    make_readings(*connection);

    // The arrays outlive the result set. A NULL has no place in one, and would end the fetch with ORA-1405.
    std::vector<int> ids(batch_rows);
    std::vector<long long> values(batch_rows); // the getters would read a NUMBER without precision as a float
    std::vector<DTK_String> units(batch_rows);
    std::vector<DTK_DbDate> days(batch_rows);
    const auto query =
        dtk::prepare(*connection, "SELECT id, NVL(value, -1), NVL(unit, '?'), taken FROM reading ORDER BY id");
    const auto rows = dtk::open(*query);
    rows->mb_setBulkCount(batch_rows); // first, and no more than the arrays hold
    *rows << ids.data() << values.data() << units.data() << days.data();

    long long sum = 0, missing = 0;
    while (rows->mb_fetch()) {
        const int fetched = rows->mb_getNumArrayRows(); // the last batch is smaller than the arrays
        for (int i = 0; i < fetched; ++i) {
            if (values[i] == -1) {
                ++missing;
            } else {
                sum += values[i];
            }
        }
        const int last = fetched - 1;
        std::cout << fetched << " rows, the last: " << ids[last] << ", " << values[last] << ' ' << units[last] << ", "
                  << DTK_Date(days[last]).mb_toString(DF_YYYYMMDD).c_str() << '\n';
    }
    std::cout << "the values add up to " << sum << ", the database says "
              << support::ask_number(*connection, "SELECT SUM(value) FROM reading") << "; " << missing
              << " are missing\n";
} catch (DTK_Exception& error) {
    std::cerr << "bulk_fetch: " << error.what() << '\n';
    return 1;
}
