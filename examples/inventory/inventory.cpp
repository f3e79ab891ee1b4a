// The demo: stores the Debian packages of this machine and their files in a database, reads them back, and asks a few
// questions. Every number that the database answers is checked against the input.
#include "dtk/handles.h"
#include "inventory/machine.h"
#include "inventory/questions.h"
#include "inventory/read_back.h"
#include "inventory/store.h"
#include "support/text_table.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <getopt.h>
#include <iostream>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

using inventory::Seconds;
using support::Align;
using support::grouped;

struct Options {
    std::string database =
        std::filesystem::temp_directory_path() / ("dtk-inventory-" + std::to_string(getuid()) + ".db");
    std::string user = "demo";
    std::string password = "secret";
    std::size_t most_files = 200'000;
    std::size_t threads = 4;
};

constexpr const char* usage = R"(usage: inventory [OPTION]...
Stores this machine's Debian packages and files in a database and asks it about them.

  --database TEXT   connect string: a file, or memory:NAME (default: a file in the temporary folder)
  --user TEXT       account to log on with (default: demo; a new database creates it)
  --password TEXT   its password (default: secret)
  --files N         store at most N files (default: 200000)
  --threads N       load with N threads (default: 4)
  --help            show this text
)";

std::size_t positive(const std::string& text) {
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || stop != end || number == 0) throw std::invalid_argument("not a count: " + text);
    return number;
}

/// @return false when only help was asked for
bool parse(int argc, char** argv, Options& options) {
    const option names[] = {{"database", required_argument, nullptr, 'd'},
                            {"user", required_argument, nullptr, 'u'},
                            {"password", required_argument, nullptr, 'p'},
                            {"files", required_argument, nullptr, 'f'},
                            {"threads", required_argument, nullptr, 't'},
                            {"help", no_argument, nullptr, 'h'},
                            {nullptr, 0, nullptr, 0}};
    for (int choice; (choice = getopt_long(argc, argv, "", names, nullptr)) != -1;) {
        switch (choice) {
        case 'd': options.database = optarg; break;
        case 'u': options.user = optarg; break;
        case 'p': options.password = optarg; break;
        case 'f': options.most_files = positive(optarg); break;
        case 't': options.threads = positive(optarg); break;
        case 'h': std::cout << usage; return false;
        default: throw std::invalid_argument("see --help");
        }
    }
    return true;
}

std::string rows_per_second(std::size_t rows, Seconds time) {
    return grouped(static_cast<long long>(static_cast<double>(rows) / time.count()));
}

constexpr int timings = 3;

/// The shortest of several times that the measurement returns: what else the machine does, and the first filling of
/// caches, only ever add to one.
template <typename Measure> Seconds best_of(Measure measure) {
    auto shortest = Seconds::max();
    for (int i = 0; i < timings; ++i) shortest = std::min<Seconds>(shortest, measure());
    return shortest;
}

template <typename Store> Seconds time_storing(DTK_ConnectionBase& connection, const DTK_String& table, Store store) {
    return best_of([&] {
        dtk::execute(connection, DTK_String("DELETE FROM ") + table);
        connection.mb_commit();
        return store();
    });
}

template <typename Read>
Seconds time_reading(const std::string& what, const inventory::FileTotals& known, inventory::Checks& checks,
                     Read read) {
    return best_of([&] {
        const auto start = std::chrono::steady_clock::now();
        const inventory::FileTotals totals = read();
        const Seconds time = std::chrono::steady_clock::now() - start;
        checks.same("files read " + what, totals, known);
        return time;
    });
}

void load_and_read_back(DTK_ConnectionPoolBase& pool, DTK_ConnectionBase& connection, const inventory::Machine& machine,
                        std::size_t threads, inventory::Checks& checks) {
    inventory::create_tables(connection);
    inventory::store_packages(connection, machine.packages);
    const Seconds stored_by_arrays = time_storing(
        connection, "files", [&] { return inventory::store_files_by_arrays(pool, machine.files, threads); });
    const Seconds stored_by_rows = time_storing(
        connection, "files_by_row", [&] { return inventory::store_files_by_rows(pool, machine.files, threads); });
    dtk::execute(connection, "CREATE INDEX files_by_package ON files (package_id)");

    const inventory::FileTotals known = inventory::totals_of(machine.files);
    const Seconds in_bulk = time_reading("in bulk", known, checks, [&] { return inventory::read_in_bulk(connection); });
    const Seconds by_rows =
        time_reading("row by row", known, checks, [&] { return inventory::read_row_by_row(connection); });

    const auto on_disk = static_cast<std::size_t>(known.files);
    support::TextTable table({{"rows per second"}, {"in arrays", Align::right}, {"row by row", Align::right}});
    table.add({"storing, " + std::to_string(threads) + " threads",
               rows_per_second(machine.files.size(), stored_by_arrays),
               rows_per_second(machine.files.size(), stored_by_rows)});
    table.add({"reading", rows_per_second(on_disk, in_bulk), rows_per_second(on_disk, by_rows)});
    table.print(std::cout);
    std::cout << "  (The best of " << timings
              << " timings. With a server, row by row means a round trip on the network for each; the\n"
                 "  embedded client works in this process.)\n";
}

void tell_what_stays(const std::string& database) {
    std::error_code no_file;
    const auto bytes = std::filesystem::file_size(database, no_file);
    if (no_file) return;
    std::cout << "\nThe database stays: " << database << ", " << bytes / (1024 * 1024)
              << " MiB. Another run makes its tables anew, but for that of known packages.\n";
}

int run(const Options& options) {
    std::cout << "Reading the list of installed packages ..." << std::endl;
    const inventory::Machine machine = inventory::read_machine(options.most_files);
    std::cout << grouped(static_cast<long long>(machine.packages.size())) << " packages with "
              << grouped(static_cast<long long>(machine.files.size())) << " files go into " << options.database
              << "\n\n";

    const auto sessions = static_cast<unsigned int>(options.threads) + 1;
    const auto pool = dtk::make_pool(options.user, options.password, options.database, sessions);
    const dtk::Connection connection(pool->mb_getConnection(true));
    inventory::Checks checks;

    load_and_read_back(*pool, *connection, machine, options.threads, checks);
    inventory::ask_largest_packages(*connection, machine, checks);
    inventory::ask_sections(*connection, machine, checks);
    inventory::ask_kinds_of_file(*connection, machine, checks);
    inventory::ask_last_changes(*connection, machine, checks);
    inventory::ask_what_is_missing(*connection, machine, checks);
    inventory::ask_what_is_new(*connection, machine, checks);
    inventory::call_procedure(*connection, machine, checks);
    inventory::roll_back(*connection, machine, checks);

    std::cout
        << "\nEach copyright file is stored in a BLOB. When a BLOB handle is let go, the library says so itself,\n"
           "with the lines \"Inside release\" and \"delete\": here once after writing and once after reading.\n";
    inventory::store_copyrights(*connection, machine.packages);
    inventory::ask_licences(*connection, machine, checks);

    std::cout << '\n' << checks.made() << " answers checked against the input, " << checks.failed() << " wrong\n";
    tell_what_stays(options.database);
    return checks.failed() == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        return parse(argc, argv, options) ? run(options) : 0;
    } catch (DTK_Exception& error) {
        std::cerr << "inventory: " << error.what() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "inventory: " << error.what() << '\n';
    }
    return 1;
}
