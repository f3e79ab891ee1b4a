#include "inventory/store.h"

#include "support/progress.h"
#include "support/shortcuts.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <span>
#include <string>

namespace inventory {
namespace {

constexpr std::size_t batch_rows = 1000;

// No operation binds a NULL number or date, so the statements turn a value that never occurs into one.
constexpr long long no_bytes = -1;
constexpr std::time_t no_time = 0;

std::string insert_file_into(const std::string& table) {
    return "INSERT INTO " + table +
           " (package_id, path, bytes, mib, modified) VALUES "
           "(:1, :2, NULLIF(:3, -1), NULLIF(:4, -1), NULLIF(:5, TO_DATE('19700101000000', 'YYYYMMDDHH24MISS')))";
}

long long bytes_of(const File& file) {
    return file.on_disk ? file.bytes : no_bytes;
}

double mib_of(const File& file) {
    return file.on_disk ? static_cast<double>(file.bytes) / (1024 * 1024) : no_bytes;
}

DTK_DbDate date_of(const File& file) {
    return to_db_date(file.on_disk ? file.modified : no_time);
}

/// Runs store_batch(connection, take) in each thread, where take() gives the next batch of files to that thread, and an
/// empty one when no more are left.
template <typename StoreBatches>
Seconds in_threads(DTK_ConnectionPoolBase& pool, const std::vector<File>& files, std::size_t threads,
                   const std::string& title, StoreBatches store_batches) {
    support::Progress progress(title, files.size());
    std::atomic<std::size_t> next = 0;
    const auto take = [&] {
        const std::size_t begin = std::min(next.fetch_add(batch_rows), files.size());
        const std::size_t count = std::min(batch_rows, files.size() - begin);
        progress.advance(count);
        return std::span(files).subspan(begin, count);
    };
    const auto work = [&] {
        const dtk::Connection connection(pool.mb_getConnection(true));
        store_batches(*connection, take);
    };

    const auto start = std::chrono::steady_clock::now();
    std::vector<std::future<void>> workers;
    for (std::size_t i = 0; i < threads; ++i) workers.push_back(std::async(std::launch::async, work));
    for (auto& worker : workers) worker.get();
    return std::chrono::steady_clock::now() - start;
}

/// The arrays that a statement is bound to, one for each column.
struct FileArrays {
    std::vector<int> package_ids = std::vector<int>(batch_rows);
    std::vector<DTK_String> paths = std::vector<DTK_String>(batch_rows);
    std::vector<long long> bytes = std::vector<long long>(batch_rows);
    std::vector<double> mib = std::vector<double>(batch_rows);
    std::vector<DTK_DbDate> modified = std::vector<DTK_DbDate>(batch_rows);

    void fill(std::span<const File> files) {
        for (std::size_t i = 0; i < files.size(); ++i) {
            package_ids[i] = files[i].package_id;
            paths[i] = files[i].path.c_str();
            bytes[i] = bytes_of(files[i]);
            mib[i] = mib_of(files[i]);
            modified[i] = date_of(files[i]);
        }
    }
};

std::size_t longest_path(const std::vector<File>& files) {
    std::size_t longest = 0;
    for (const File& file : files) longest = std::max(longest, file.path.size());
    return longest;
}

} // namespace

DTK_DbDate to_db_date(std::time_t time) {
    std::tm utc{};
    gmtime_r(&time, &utc);
    st_DateTime fields{};
    fields.year = utc.tm_year + 1900;
    fields.month = utc.tm_mon + 1;
    fields.day = utc.tm_mday;
    fields.hour = utc.tm_hour;
    fields.minute = utc.tm_min;
    fields.second = std::min(utc.tm_sec, 59);
    DTK_DbDate date;
    date.mb_fromDateTimeStruct(fields);
    return date;
}

void create_tables(DTK_ConnectionBase& connection) {
    const DTK_String file_columns = "(package_id NUMBER(9) NOT NULL, path VARCHAR2(500) NOT NULL, bytes NUMBER(18), "
                                    "mib NUMBER(12,3), modified DATE)";
    for (const char* table : {"files", "files_by_row", "packages"}) support::drop_table(connection, table);
    dtk::execute(connection, "CREATE TABLE packages (id NUMBER(9) PRIMARY KEY, name VARCHAR2(200) NOT NULL, "
                             "version VARCHAR2(200), section VARCHAR2(100), homepage VARCHAR2(1000), "
                             "installed_kib NUMBER(12), part NUMBER(6,3), modified DATE, copyright BLOB)");
    dtk::execute(connection, DTK_String("CREATE TABLE files ") + file_columns);
    dtk::execute(connection, DTK_String("CREATE TABLE files_by_row ") + file_columns);
}

void store_packages(DTK_ConnectionBase& connection, const std::vector<Package>& packages) {
    long long total_kib = 0;
    for (const Package& package : packages) total_kib += package.installed_kib;

    std::vector<int> ids;
    std::vector<DTK_String> names, versions, sections, homepages;
    std::vector<long long> sizes_kib;
    std::vector<double> shares;
    std::vector<DTK_DbDate> dates;
    for (const Package& package : packages) {
        ids.push_back(package.id);
        names.push_back(package.name);
        versions.push_back(package.version);
        sections.push_back(package.section);
        homepages.push_back(package.homepage);
        sizes_kib.push_back(package.installed_kib);
        shares.push_back(100.0 * static_cast<double>(package.installed_kib) / static_cast<double>(total_kib));
        dates.push_back(to_db_date(package.modified));
    }

    const auto insert = dtk::prepare(
        connection, "INSERT INTO packages (id, name, version, section, homepage, installed_kib, part, modified) "
                    "VALUES (:1, :2, :3, :4, :5, :6, :7, :8)");
    insert->mb_setUpdateCount(static_cast<int>(packages.size()));
    *insert << ids.data() << names.data() << versions.data() << sections.data() << homepages.data() << sizes_kib.data()
            << shares.data() << dates.data();
    insert->mb_executeArrayUpdate();
    connection.mb_commit();
}

void store_copyrights(DTK_ConnectionBase& connection, const std::vector<Package>& packages) {
    // A BLOB is written through the locator of its row, which is locked meanwhile.
    const auto make_empty = dtk::prepare(connection, "UPDATE packages SET copyright = EMPTY_BLOB() WHERE id = :1");
    for (const Package& package : packages) {
        if (package.copyright.empty()) continue;
        make_empty->mb_setInt(1, package.id);
        make_empty->mb_executeUpdate();
    }

    const auto query = dtk::prepare(
        connection, "SELECT id, copyright FROM packages WHERE copyright IS NOT NULL ORDER BY id FOR UPDATE");
    {
        const auto rows = dtk::open(*query);
        if (rows->mb_fetch()) {
            // One handle serves all rows: it shares its locator with the column, and each fetch moves both.
            DTK_Blob copyright = rows->mb_getDTK_Blob(2);
            do {
                std::string text = packages.at(static_cast<std::size_t>(rows->mb_getInt(1)) - 1).copyright;
                copyright.mb_get()->mb_write(static_cast<unsigned int>(text.size()),
                                             reinterpret_cast<unsigned char*>(text.data()), 1);
            } while (rows->mb_fetch());
        }
    }
    connection.mb_commit();
}

Seconds store_files_by_arrays(DTK_ConnectionPoolBase& pool, const std::vector<File>& files, std::size_t threads) {
    const auto longest = static_cast<unsigned int>(longest_path(files));
    return in_threads(pool, files, threads, "Array binds", [&](DTK_ConnectionBase& connection, auto take) {
        FileArrays arrays;
        const auto insert = dtk::prepare(connection, insert_file_into("files"));
        insert->mb_setUpdateCount(batch_rows);
        *insert << arrays.package_ids.data();
        insert->mb_setStringArray(arrays.paths.data(), longest);
        *insert << arrays.bytes.data() << arrays.mib.data() << arrays.modified.data();

        for (auto batch = take(); !batch.empty(); batch = take()) {
            arrays.fill(batch);
            insert->mb_setUpdateCount(static_cast<int>(batch.size()));
            insert->mb_executeArrayUpdate();
            connection.mb_commit();
        }
    });
}

Seconds store_files_by_rows(DTK_ConnectionPoolBase& pool, const std::vector<File>& files, std::size_t threads) {
    return in_threads(pool, files, threads, "Row by row", [&](DTK_ConnectionBase& connection, auto take) {
        const auto insert = dtk::prepare(connection, insert_file_into("files_by_row"));
        for (auto batch = take(); !batch.empty(); batch = take()) {
            for (const File& file : batch) {
                insert->mb_setInt(1, file.package_id);
                insert->mb_setString(2, file.path);
                insert->mb_setInt64(3, bytes_of(file));
                insert->mb_setDouble(4, mib_of(file));
                insert->mb_setDate(5, date_of(file));
                insert->mb_executeUpdate();
            }
            connection.mb_commit();
        }
    });
}

} // namespace inventory
