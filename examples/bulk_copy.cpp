// Copies a table from one database to another with bulk fetches and array binds: a thousand rows with each call, in
// memory that does not grow with the table. Without arguments it makes itself a source and checks the copy.
#include "support/progress.h"
#include "support/shortcuts.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr const char* usage = R"(usage: bulk_copy [SOURCE TARGET]
Copies the table orders from one database to another, which must not have it yet. Both are files; SOURCE exists, TARGET
is made if need be. The account is demo, its password secret. Without arguments it copies a table of its own.
)";

constexpr const char* create =
    "CREATE TABLE orders (id NUMBER(9) NOT NULL, customer VARCHAR2(30), cents NUMBER(18), shipped DATE)";
// Arrays that are fetched have no place for NULL, so each column that may be NULL has a value that stands for it.
constexpr const char* select = "SELECT id, NVL(customer, '-'), NVL(cents, -1), "
                               "NVL(shipped, DATE '1000-01-01') FROM orders";
constexpr const char* insert = "INSERT INTO orders VALUES (:1, NULLIF(:2, '-'), NULLIF(:3, -1), "
                               "NULLIF(:4, DATE '1000-01-01'))";

/// A batch of orders on its way, one array for each column.
struct Batch {
    static constexpr int rows = 1000;
    std::vector<int> id = std::vector<int>(rows);
    std::vector<DTK_String> customer = std::vector<DTK_String>(rows);
    std::vector<long long> cents = std::vector<long long>(rows);
    std::vector<DTK_DbDate> shipped = std::vector<DTK_DbDate>(rows);

    void fetch_from(DTK_ResultSetBase& query) {
        query.mb_setBulkCount(rows);
        query << id.data() << customer.data() << cents.data() << shipped.data();
    }

    void send_with(DTK_StatementBase& statement) {
        statement.mb_setUpdateCount(rows);
        statement << id.data();
        statement.mb_setStringArray(customer.data(), 30);
        statement << cents.data() << shipped.data();
    }
};

/// Copies all rows, or none when it fails; returns how many.
long long copy(DTK_ConnectionBase& source, DTK_ConnectionBase& target) {
    dtk::execute(target, create);
    Batch batch;
    const auto query = dtk::prepare(source, select);
    const auto rows = dtk::open(*query);
    batch.fetch_from(*rows);
    const auto store = dtk::prepare(target, insert);
    batch.send_with(*store);
    const long long total = support::ask_number(source, "SELECT COUNT(*) FROM orders");
    support::Progress progress("Copying", static_cast<std::size_t>(total));
    long long copied = 0;
    while (rows->mb_fetch()) {
        const int fetched = rows->mb_getNumArrayRows(); // fewer in the last batch
        store->mb_setUpdateCount(fetched);
        store->mb_executeArrayUpdate();
        copied += fetched;
        progress.advance(static_cast<std::size_t>(fetched));
    }
    target.mb_commit();
    return copied;
}

void make_orders(DTK_ConnectionBase& connection) {
    dtk::execute(connection, create);
    const auto statement = dtk::prepare(connection, insert);
    for (int id = 1; id <= 2500; ++id) {
        statement->mb_setInt(1, id);
        statement->mb_setString(2, id % 7 == 0 ? "-" : "customer " + std::to_string(id % 100));
        statement->mb_setInt64(3, id % 5 == 0 ? -1 : id * 10'000'000'000LL);
        statement->mb_setDate(4, DTK_Date(id % 3 == 0 ? 1000 : 2024, 1, 1));
        statement->mb_executeUpdate();
    }
    connection.mb_commit();
}

/// Every row as text, NULL as a word of its own.
std::vector<std::string> read_orders(DTK_ConnectionBase& connection) {
    const auto query = dtk::prepare(connection, "SELECT * FROM orders ORDER BY id");
    const auto rows = dtk::open(*query);
    std::vector<std::string> orders;
    while (rows->mb_fetch()) {
        orders.emplace_back();
        for (unsigned int column = 1; column <= 4; ++column)
            orders.back() += std::string(column == 1 ? "" : ", ") +
                             (rows->mb_isNull(column) ? "NULL" : rows->mb_getString(column).c_str());
    }
    return orders;
}

} // namespace

int main(int argc, char** argv) try {
    const bool on_own_table = argc == 1;
    if (!on_own_table && (argc != 3 || !std::filesystem::exists(argv[1]))) return std::cerr << usage, 2;
    const support::TemporaryFolder own;
    const auto source_pool = dtk::make_pool("demo", "secret", on_own_table ? own.file("source.db") : argv[1], 1);
    const auto target_pool = dtk::make_pool("demo", "secret", on_own_table ? own.file("target.db") : argv[2], 1);
    const dtk::Connection source(source_pool->mb_getConnection(true));
    const dtk::Connection target(target_pool->mb_getConnection(true));
    if (on_own_table) make_orders(*source);
    std::cout << copy(*source, *target) << " rows copied\n";
    if (!on_own_table) return 0;

    const auto wanted = read_orders(*source), got = read_orders(*target);
    for (const auto& order : {got.at(0), got.at(2), got.at(4), got.at(6)}) std::cout << order << '\n';
    std::cout << (got == wanted ? "The copy equals its source.\n" : "The copy DIFFERS from its source.\n");
    return got == wanted ? 0 : 1;
} catch (DTK_Exception& error) {
    std::cerr << "bulk_copy: " << error.what() << '\n';
    return 1;
}
