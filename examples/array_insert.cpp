// Stores many rows with few calls: the statement is bound to arrays once, which are filled anew for each batch; the
// last batch is smaller. A batch with a bad row is rolled back.
#include "support/shortcuts.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr int batch_rows = 1000;
constexpr int no_value = -1; // arrays have no place for NULL: the statement makes it of a value that never occurs

/// Measurements, a column to each array.
struct Batch {
    std::vector<int> ids = std::vector<int>(batch_rows);
    std::vector<DTK_String> stations = std::vector<DTK_String>(batch_rows);
    std::vector<double> values = std::vector<double>(batch_rows);
    std::vector<DTK_DbDate> days = std::vector<DTK_DbDate>(batch_rows);

    void fill(int first_id, int count) {
        for (int i = 0; i < count; ++i) {
            const int id = first_id + i;
            ids[i] = id;
            stations[i] = ("station " + std::to_string(id % 12)).c_str();
            values[i] = id % 100 == 0 ? no_value : id * 0.25;
            days[i] = DTK_Date(2024, 1 + id % 12, 1);
        }
    }
};

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:array_insert", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    dtk::execute(*connection, "CREATE TABLE measurement (id NUMBER(9) PRIMARY KEY, station VARCHAR2(20), "
                              "value NUMBER(12,4), day DATE)");

    Batch batch;
    const auto insert = dtk::prepare(*connection, "INSERT INTO measurement VALUES (:1, :2, NULLIF(:3, -1), :4)");
    insert->mb_setUpdateCount(batch_rows); // before the arrays, which have at least as many elements
    *insert << batch.ids.data();
    insert->mb_setStringArray(batch.stations.data(), 20); // operator<< would make room for the texts of now: none
    *insert << batch.values.data() << batch.days.data();

    constexpr int total = 2500;
    for (int stored = 0; stored < total; stored += batch_rows) {
        const int count = std::min(batch_rows, total - stored);
        batch.fill(stored + 1, count);
        insert->mb_setUpdateCount(count); // smaller for the last batch; never larger than at the bind
        insert->mb_executeArrayUpdate();
        connection->mb_commit();
        std::cout << count << " rows stored with one call\n";
    }

    // The rows before a bad one stay in the open transaction; the exception tells neither which nor how many. To keep
    // the good rows: roll back (to a savepoint, if batches before are not committed) and execute them one by one with a
    // second statement that binds single values; the rows that fail there are the bad ones.
    batch.fill(total + 1, batch_rows);
    batch.ids[300] = 1;
    insert->mb_setUpdateCount(batch_rows);
    try {
        insert->mb_executeArrayUpdate();
        connection->mb_commit();
    } catch (DTK_Exception& error) {
        std::cout << "ORA-" << error.mb_getDBErrorCode() << ", now "
                  << support::ask_number(*connection, "SELECT COUNT(*) FROM measurement") << " rows; rolled back, ";
        connection->mb_rollback();
    }
    std::cout << support::ask_number(*connection, "SELECT COUNT(*) FROM measurement") << " rows, of which "
              << support::ask_number(*connection, "SELECT COUNT(*) FROM measurement WHERE value IS NULL")
              << " without a value\n";
} catch (DTK_Exception& error) {
    std::cerr << "array_insert: " << error.what() << '\n';
    return 1;
}
