// Copies a table from one database to another with bulk fetches and array binds: a thousand rows with each call, in
// memory that does not grow with the table. Without arguments it makes itself a source and checks the copy.
#include "support/handles.h"
#include "support/progress.h"
#include "support/text_table.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <variant>
#include <vector>

namespace {

constexpr int batch_rows = 1000;

constexpr const char* usage = R"(usage: bulk_copy SOURCE TARGET TABLE COLUMN...
       bulk_copy
Copies the columns of a table from one database to another. Columns hold numbers (of up to 15 digits when they
have decimals), text or dates. The target's table is created when it is not there; its rows are kept.
SOURCE and TARGET are files; both are opened with the account demo, password secret.
)";

/// One column of the table on its way: what it is, and the values of the batch in hand.
struct Column {
    std::string name;
    std::string type;   // as CREATE TABLE spells it
    std::string filler; // stands in for NULL, which a bulk fetch does not take
    bool nullable = true;
    unsigned int longest_text = 0;
    std::variant<std::vector<long long>, std::vector<double>, std::vector<DTK_String>, std::vector<DTK_DbDate>> values;
    std::vector<int> present; // 0 where the value is NULL
};

std::string number_type(DTK_stmtMetadataBase& metadata, unsigned int position) {
    const int precision = metadata.mb_getPrecision(position);
    if (precision == 0) return "NUMBER";
    return "NUMBER(" + std::to_string(precision) + ',' + std::to_string(metadata.mb_getScale(position)) + ')';
}

void choose_storage(Column& column, DTK_stmtMetadataBase& metadata, unsigned int position) {
    switch (metadata.mb_getType(position)) {
    case DTK_INT:
    case DTK_INT64:
        column.type = number_type(metadata, position);
        column.filler = "0";
        column.values = std::vector<long long>(batch_rows);
        return;
    case DTK_FLOAT:
    case DTK_DOUBLE:
        column.type = number_type(metadata, position);
        column.filler = "0";
        column.values = std::vector<double>(batch_rows);
        return;
    case DTK_STRING:
        column.longest_text = static_cast<unsigned int>(metadata.mb_getSize(position)) - 1;
        column.type = "VARCHAR2(" + std::to_string(column.longest_text) + ')';
        column.filler = "' '";
        column.values = std::vector<DTK_String>(batch_rows);
        return;
    case DTK_DBDATE:
        column.type = "DATE";
        column.filler = "TO_DATE('20000101', 'YYYYMMDD')";
        column.values = std::vector<DTK_DbDate>(batch_rows);
        return;
    default: throw std::runtime_error("column " + column.name + " holds neither numbers nor text nor dates");
    }
}

/// The items, each through text_of, with ", " between them.
template <typename TextOf> std::string list_of(const std::vector<Column>& columns, TextOf text_of) {
    std::string list;
    for (const Column& column : columns) list += (list.empty() ? "" : ", ") + text_of(column);
    return list;
}

std::string names_of(const std::vector<Column>& columns) {
    return list_of(columns, [](const Column& column) { return column.name; });
}

std::vector<Column> describe(DTK_ConnectionBase& source, const std::string& table,
                             const std::vector<std::string>& names) {
    std::vector<Column> columns;
    for (const std::string& name : names) columns.emplace_back().name = name;

    const auto query = support::prepare(source, "SELECT " + names_of(columns) + " FROM " + table);
    const auto rows = support::open(*query);
    const std::unique_ptr<DTK_stmtMetadataBase> metadata(rows->mb_getMetadata());
    for (unsigned int position = 1; position <= columns.size(); ++position) {
        Column& column = columns[position - 1];
        column.nullable = metadata->mb_isNull(position);
        if (column.nullable) column.present.resize(batch_rows);
        choose_storage(column, *metadata, position);
    }
    return columns;
}

void create_table(DTK_ConnectionBase& target, const std::string& table, const std::vector<Column>& columns) {
    constexpr int name_is_taken = 955;
    const std::string definitions = list_of(columns, [](const Column& column) {
        return column.name + ' ' + column.type + (column.nullable ? "" : " NOT NULL");
    });
    try {
        support::execute(target, "CREATE TABLE " + table + " (" + definitions + ')');
    } catch (DTK_Exception& error) {
        if (error.mb_getDBErrorCode() != name_is_taken) throw;
    }
}

/// SELECT with two items for a column that may be NULL: whether it is there, and a value in any case.
std::string select_text(const std::string& table, const std::vector<Column>& columns) {
    return "SELECT " +
           list_of(columns,
                   [](const Column& column) {
                       if (!column.nullable) return column.name;
                       return "NVL2(" + column.name + ", 1, 0), NVL(" + column.name + ", " + column.filler + ')';
                   }) +
           " FROM " + table;
}

/// INSERT that takes the same items and makes NULL of them again.
std::string insert_text(const std::string& table, const std::vector<Column>& columns) {
    int position = 0;
    const auto next = [&] { return ':' + std::to_string(++position); };
    const std::string values = list_of(columns, [&](const Column& column) {
        if (!column.nullable) return next();
        const std::string present = next();
        return "DECODE(" + present + ", 1, " + next() + ')';
    });
    return "INSERT INTO " + table + " (" + names_of(columns) + ") VALUES (" + values + ')';
}

void fetch_into(DTK_ResultSetBase& rows, std::vector<Column>& columns) {
    rows.mb_setBulkCount(batch_rows);
    for (Column& column : columns) {
        if (column.nullable) rows << column.present.data();
        std::visit([&](auto& values) { rows << values.data(); }, column.values);
    }
}

void bind(DTK_StatementBase& insert, std::vector<Column>& columns) {
    insert.mb_setUpdateCount(batch_rows);
    for (Column& column : columns) {
        if (column.nullable) insert << column.present.data();
        if (auto* texts = std::get_if<std::vector<DTK_String>>(&column.values)) {
            insert.mb_setStringArray(texts->data(), column.longest_text);
            continue;
        }
        std::visit([&](auto& values) { insert << values.data(); }, column.values);
    }
}

long long count_rows(DTK_ConnectionBase& connection, const std::string& table) {
    const auto query = support::prepare(connection, "SELECT COUNT(*) FROM " + table);
    const auto rows = support::open(*query);
    rows->mb_fetch();
    return rows->mb_getInt64(1);
}

/// All rows, or none when it fails.
/// @return how many rows were copied
long long copy(DTK_ConnectionBase& source, DTK_ConnectionBase& target, const std::string& table,
               const std::vector<std::string>& names) {
    std::vector<Column> columns = describe(source, table, names);
    create_table(target, table, columns);

    const auto query = support::prepare(source, select_text(table, columns));
    const auto rows = support::open(*query);
    const auto insert = support::prepare(target, insert_text(table, columns));
    fetch_into(*rows, columns);
    bind(*insert, columns);

    support::Progress progress("Copying", static_cast<std::size_t>(count_rows(source, table)));
    long long copied = 0;
    while (rows->mb_fetch()) {
        const int count = rows->mb_getNumArrayRows();
        insert->mb_setUpdateCount(count);
        insert->mb_executeArrayUpdate();
        copied += count;
        progress.advance(static_cast<std::size_t>(count));
    }
    target.mb_commit();
    return copied;
}

support::Pool open_database(const std::string& database) {
    return support::make_pool("demo", "secret", database, 1);
}

void copy_between(const std::string& source_name, const std::string& target_name, const std::string& table,
                  const std::vector<std::string>& columns) {
    if (!std::filesystem::exists(source_name)) throw std::runtime_error("there is no database " + source_name);
    const support::Pool source_pool = open_database(source_name);
    const support::Pool target_pool = open_database(target_name);
    const support::Connection source(source_pool->mb_getConnection(true));
    const support::Connection target(target_pool->mb_getConnection(true));
    std::cout << support::grouped(copy(*source, *target, table, columns)) << " rows copied\n";
}

void make_orders(const std::string& database) {
    const support::Pool pool = open_database(database);
    const support::Connection connection(pool->mb_getConnection(true));
    support::execute(*connection, "CREATE TABLE orders (id NUMBER(9) NOT NULL, customer VARCHAR2(30), "
                                  "cents NUMBER(18), weight NUMBER(9,3), shipped DATE)");
    const auto insert =
        support::prepare(*connection, "INSERT INTO orders VALUES (:1, :2, NULLIF(:3, 0), NULLIF(:4, 0), "
                                      "DECODE(:5, 0, NULL, TO_DATE('20240131', 'YYYYMMDD') + :6))");
    for (int id = 1; id <= 2500; ++id) {
        insert->mb_setInt(1, id);
        insert->mb_setString(2, id % 7 == 0 ? "" : "customer " + std::to_string(id % 100));
        insert->mb_setInt64(3, id % 5 * 10'000'000'000LL + id % 5);
        insert->mb_setDouble(4, id % 3 * 1.125);
        insert->mb_setInt(5, id % 4);
        insert->mb_setInt(6, id % 365);
        insert->mb_executeUpdate();
    }
    connection->mb_commit();
}

/// The rows of orders as text, NULL as a mark of its own.
std::vector<std::string> read_orders(const std::string& database) {
    const support::Pool pool = open_database(database);
    const support::Connection connection(pool->mb_getConnection(true));
    const auto query =
        support::prepare(*connection, "SELECT id, customer, cents, weight, shipped FROM orders ORDER BY id");
    const auto rows = support::open(*query);
    std::vector<std::string> orders;
    while (rows->mb_fetch()) {
        std::string& order = orders.emplace_back();
        for (unsigned int position = 1; position <= 5; ++position)
            order += (rows->mb_isNull(position) ? "NULL" : rows->mb_getString(position).c_str()) + std::string("|");
    }
    return orders;
}

/// @return the exit status: 0 when the copy equals its source
int show_on_own_table() {
    std::string folder = std::filesystem::temp_directory_path() / "dtk-bulk-copy-XXXXXX";
    if (!mkdtemp(folder.data())) throw std::runtime_error("cannot make a folder like " + folder);
    const std::unique_ptr<std::string, void (*)(std::string*)> remove(
        &folder, [](std::string* path) { std::filesystem::remove_all(*path); });

    const std::string source = folder + "/source.db", target = folder + "/target.db";
    make_orders(source);
    copy_between(source, target, "orders", {"id", "customer", "cents", "weight", "shipped"});

    const std::vector<std::string> wanted = read_orders(source), got = read_orders(target);
    for (std::size_t i = 0; i < 4; ++i) std::cout << "  " << got.at(i) << '\n';
    std::cout << (got == wanted ? "The copy equals its source.\n" : "The copy DIFFERS from its source.\n");
    return got == wanted ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 1) return show_on_own_table();
        if (argc < 5) {
            std::cerr << usage;
            return 2;
        }
        copy_between(argv[1], argv[2], argv[3], {argv + 4, argv + argc});
        return 0;
    } catch (DTK_Exception& error) {
        std::cerr << "bulk_copy: " << error.what() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "bulk_copy: " << error.what() << '\n';
    }
    return 1;
}
