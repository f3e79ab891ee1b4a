#include "dataset.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>

namespace dataset {
namespace {

namespace fs = std::filesystem;

/// A folder that goes with the process.
struct Folder {
    fs::path path;

    Folder() {
        std::string pattern = fs::temp_directory_path() / "dtk-bench-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path = pattern;
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

int quantity_of(long long row) {
    return static_cast<int>(row % 1000);
}
double price_of(long long row) {
    return static_cast<double>(row % 100000) / 10000 + 1;
}
int day_of_row(long long row) {
    return static_cast<int>(row % 28) + 1;
}

std::string symbol_of(long long row) {
    static constexpr const char* names[] = {"DEBIAN", "BOOKWORM", "TRIXIE", "SID"};
    return names[row % 4] + std::to_string(row % 1000);
}

void load(DTK_ConnectionBase& connection, long long rows) {
    Batch batch(batch_rows);
    const auto statement =
        dtk::prepare(connection, "INSERT INTO trades (id, sym, qty, price, at) VALUES (:1, :2, :3, :4, :5)");
    statement->mb_setUpdateCount(batch_rows);
    *statement << batch.ids.data();
    statement->mb_setStringArray(batch.symbols.data(), 12);
    *statement << batch.quantities.data() << batch.prices.data() << batch.dates.data();
    for (long long first = 0; first < rows; first += batch_rows) {
        batch.fill(first);
        statement->mb_executeArrayUpdate();
    }
    connection.mb_commit();
}

} // namespace

Batch::Batch(int rows)
    : ids(static_cast<std::size_t>(rows)),
      symbols(static_cast<std::size_t>(rows)),
      quantities(static_cast<std::size_t>(rows)),
      prices(static_cast<std::size_t>(rows)),
      dates(static_cast<std::size_t>(rows)) {
    fill(0);
}

void Batch::fill(long long first) {
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const long long row = first + static_cast<long long>(i);
        ids[i] = id_of(row);
        symbols[i] = symbol_of(row).c_str();
        quantities[i] = quantity_of(row);
        prices[i] = price_of(row);
        st_DateTime at{};
        at.year = 2024;
        at.month = static_cast<int>(row % 12) + 1;
        at.day = day_of_row(row);
        at.hour = static_cast<int>(row % 24);
        dates[i].mb_fromDateTimeStruct(at);
    }
}

const std::string& file_with_rows(long long rows) {
    static Folder folder;
    static std::map<long long, std::string> files;
    const auto [found, made] = files.emplace(rows, folder.path / (std::to_string(rows) + ".db"));
    if (made) {
        const Pool pool(found->second);
        const dtk::Connection connection(pool.base->mb_getConnection(true));
        for (const char* table : {"trades", "scratch"}) {
            dtk::execute(*connection,
                         ("CREATE TABLE " + std::string(table) +
                          " (id NUMBER(10) PRIMARY KEY, sym VARCHAR2(12), qty NUMBER(9), price NUMBER(12,4), at DATE)")
                             .c_str());
        }
        load(*connection, rows);
    }
    return found->second;
}

Pool::Pool(const std::string& file, unsigned int sessions) : base(gb_getConnectionPool()) {
    base->mb_create(user, password, file.c_str(), sessions, sessions, "", "", 0);
}

void Total::require(long long rows) const {
    // Added up once: what is timed must not be diluted by what every side would spend here.
    static std::map<long long, Total> totals;
    const auto [found, made] = totals.try_emplace(rows);
    Total& expected = found->second;
    for (long long row = 0; made && row < rows; ++row) {
        expected.add(id_of(row), symbol_of(row).size(), quantity_of(row), price_of(row), day_of_row(row));
    }
    const bool same = ids == expected.ids && bytes == expected.bytes && quantities == expected.quantities &&
                      std::fabs(prices - expected.prices) < 1e-3 && days == expected.days;
    if (same) return;
    std::fprintf(stderr, "The rows read are not the rows written.\n");
    std::exit(1);
}

} // namespace dataset
