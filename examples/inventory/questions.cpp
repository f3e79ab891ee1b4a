#include "inventory/questions.h"

#include "inventory/store.h"
#include "support/shortcuts.h"
#include "support/text_table.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <set>
#include <string_view>

namespace inventory {
namespace {

using support::Align;
using support::fixed;
using support::grouped;
using support::TextTable;

void heading(const std::string& text) {
    std::cout << '\n' << text << '\n';
}

std::string mib(long long kib) {
    return fixed(static_cast<double>(kib) / 1024, 1);
}

std::string text(const DTK_String& value) {
    return value.c_str();
}

/// A date as 2024-03-15 13:45.
std::string readable(const DTK_DbDate& date) {
    const std::string digits = text(date.mb_toString(DTF_YYYYMMDDHH24MISS));
    return digits.substr(0, 4) + '-' + digits.substr(4, 2) + '-' + digits.substr(6, 2) + ' ' + digits.substr(8, 2) +
           ':' + digits.substr(10, 2);
}

/// Creates what an earlier run may have left.
void create_once(DTK_ConnectionBase& connection, const DTK_String& sql) {
    constexpr int name_is_used = 955;
    try {
        dtk::execute(connection, sql);
    } catch (DTK_Exception& error) {
        if (error.mb_getDBErrorCode() != name_is_used) throw;
    }
}

/// How many files, and how many bytes of them are on disk.
struct Amount {
    long long files = 0;
    long long bytes = 0;
};

Amount total(const Machine& machine) {
    Amount sum;
    for (const File& file : machine.files) {
        ++sum.files;
        sum.bytes += file.bytes;
    }
    return sum;
}

} // namespace

void ask_largest_packages(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    heading("Which packages take the most room?");
    const auto query = dtk::prepare(connection, "SELECT name, section, installed_kib, part FROM packages "
                                                "ORDER BY installed_kib DESC, name FETCH FIRST 8 ROWS ONLY");
    const auto rows = dtk::open(*query);
    TextTable table({{"package"}, {"section"}, {"MiB", Align::right}, {"share", Align::right}});
    long long largest_kib = 0;
    while (rows->mb_fetch()) {
        const long long kib = rows->mb_getInt64(3);
        largest_kib = std::max(largest_kib, kib);
        table.add({text(rows->mb_getString(1)), text(rows->mb_getString(2)), mib(kib),
                   fixed(rows->mb_getDouble(4), 1) + " %"});
    }
    table.print(std::cout);

    const auto by_size = [](const Package& a, const Package& b) { return a.installed_kib < b.installed_kib; };
    const auto largest = std::max_element(machine.packages.begin(), machine.packages.end(), by_size);
    checks.same("size of the largest package", largest_kib, largest->installed_kib);
}

void ask_sections(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    heading("Which sections do they belong to?");
    const auto query = dtk::prepare(
        connection, "SELECT section, CAST(COUNT(*) AS NUMBER(9)), CAST(SUM(installed_kib) AS NUMBER(18)) FROM packages "
                    "GROUP BY section ORDER BY SUM(installed_kib) DESC, section");
    const auto rows = dtk::open(*query);

    std::map<std::string, std::pair<int, long long>> known;
    for (const Package& package : machine.packages) {
        auto& [count, kib] = known[package.section];
        ++count;
        kib += package.installed_kib;
    }
    TextTable table({{"section"}, {"packages", Align::right}, {"MiB", Align::right}});
    std::size_t sections = 0;
    for (; rows->mb_fetch(); ++sections) {
        const std::string section = rows->mb_isNull(1) ? "" : text(rows->mb_getString(1));
        const int count = rows->mb_getInt(2);
        const long long kib = rows->mb_getInt64(3);
        checks.same("packages in section " + section, count, known[section].first);
        checks.same("KiB in section " + section, kib, known[section].second);
        if (sections < 8) table.add({section, grouped(count), mib(kib)});
    }
    checks.same("number of sections", sections, known.size());
    table.print(std::cout);
    if (sections > 8) std::cout << "  and " << sections - 8 << " more\n";
}

void ask_kinds_of_file(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    heading("What kinds of file are they?");
    const auto query = dtk::prepare(
        connection, "SELECT kind, CAST(COUNT(*) AS NUMBER(9)), CAST(NVL(SUM(bytes), 0) AS NUMBER(18)) FROM ("
                    "SELECT bytes, CASE WHEN path LIKE '%.so' OR path LIKE '%.so.%' THEN 'shared libraries' "
                    "WHEN path LIKE '/usr/include/%' OR path LIKE '%.h' THEN 'headers' "
                    "WHEN path LIKE '/usr/share/doc/%' OR path LIKE '/usr/share/man/%' THEN 'documentation' "
                    "WHEN path LIKE '/usr/share/locale/%' THEN 'translations' "
                    "WHEN path LIKE '%/bin/%' OR path LIKE '%/sbin/%' THEN 'programs' "
                    "WHEN path LIKE '/etc/%' THEN 'configuration' ELSE 'other' END AS kind FROM files) "
                    "GROUP BY kind ORDER BY 3 DESC");
    const auto rows = dtk::open(*query);
    TextTable table({{"kind"}, {"files", Align::right}, {"MiB", Align::right}});
    Amount sum;
    while (rows->mb_fetch()) {
        DTK_String kind;
        int files = 0;
        long long bytes = 0;
        *rows >> kind >> files >> bytes; // column by column, instead of by position
        table.add({text(kind), grouped(files), mib(bytes / 1024)});
        sum.files += files;
        sum.bytes += bytes;
    }
    table.print(std::cout);

    const Amount known = total(machine);
    checks.same("files of all kinds", sum.files, known.files);
    checks.same("bytes of all kinds", sum.bytes, known.bytes);
}

void ask_last_changes(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    heading("What was installed or upgraded last?");
    const auto query = dtk::prepare(connection, "SELECT modified, name, version FROM packages "
                                                "ORDER BY modified DESC, name FETCH FIRST 5 ROWS ONLY");
    const auto rows = dtk::open(*query);
    TextTable table({{"when (UTC)"}, {"package"}, {"version"}});
    std::string newest;
    while (rows->mb_fetch()) {
        const std::string when = readable(rows->mb_getDate(1));
        newest = std::max(newest, when);
        table.add({when, text(rows->mb_getString(2)), text(rows->mb_getString(3))});
    }
    table.print(std::cout);

    const auto by_time = [](const Package& a, const Package& b) { return a.modified < b.modified; };
    const auto last = std::max_element(machine.packages.begin(), machine.packages.end(), by_time);
    checks.same("time of the last change", newest, readable(to_db_date(last->modified)));
}

void ask_what_is_missing(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    heading("What is missing?");
    const long long no_homepage =
        support::ask_number(connection, "SELECT COUNT(*) FROM packages WHERE homepage IS NULL");
    const long long not_on_disk = support::ask_number(
        connection, "SELECT COUNT(*) FROM files WHERE bytes IS NULL AND mib IS NULL AND modified IS NULL");
    std::cout << "  " << grouped(no_homepage) << " packages name no home page\n"
              << "  " << grouped(not_on_disk) << " listed files are not on this disk\n";

    checks.same<long long>(
        "packages without a home page", no_homepage,
        std::ranges::count_if(machine.packages, [](const Package& package) { return package.homepage.empty(); }));
    checks.same<long long>("files not on disk", not_on_disk,
                           std::ranges::count_if(machine.files, [](const File& file) { return !file.on_disk; }));
}

void ask_what_is_new(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    heading("What is new since the last run?");
    create_once(connection, "CREATE TABLE known_packages (num NUMBER(9) PRIMARY KEY, name VARCHAR2(200) NOT NULL, "
                            "version VARCHAR2(200))");
    create_once(connection, "CREATE SEQUENCE known_numbers");
    const DTK_String found = "(SELECT name, MAX(version) AS version FROM packages GROUP BY name) p ";
    const DTK_String count_known = "SELECT COUNT(*) FROM known_packages k ";
    const long long before = support::ask_number(connection, count_known);
    const long long changed = support::ask_number(connection, DTK_String(count_known) + "JOIN " + found +
                                                                  "ON k.name = p.name WHERE k.version <> p.version");
    dtk::execute(connection, DTK_String("MERGE INTO known_packages k USING ") + found +
                                 "ON (k.name = p.name) "
                                 "WHEN MATCHED THEN UPDATE SET k.version = p.version WHERE k.version <> p.version "
                                 "WHEN NOT MATCHED THEN INSERT (num, name, version) "
                                 "VALUES (known_numbers.NEXTVAL, p.name, p.version)");
    connection.mb_commit();
    const long long after = support::ask_number(connection, count_known);
    std::cout << "  " << grouped(after - before) << " packages are new, " << grouped(changed)
              << " have another version\n";

    std::set<std::string_view> names;
    for (const Package& package : machine.packages) names.insert(package.name);
    checks.same<long long>("packages known by their version",
                           support::ask_number(connection, DTK_String(count_known) + "JOIN " + found +
                                                               "ON k.name = p.name " + "AND k.version = p.version"),
                           static_cast<long long>(names.size()));
}

void ask_licences(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    std::vector<std::pair<std::string_view, int>> licences = {{"GPL-2", 0},    {"GPL-3", 0},        {"LGPL", 0},
                                                              {"Apache-2", 0}, {"BSD", 0},          {"Expat", 0},
                                                              {"MIT", 0},      {"public domain", 0}};
    const auto query =
        dtk::prepare(connection, "SELECT id, copyright FROM packages WHERE copyright IS NOT NULL ORDER BY id");
    long long documents = 0, bytes = 0, different = 0;
    {
        const auto rows = dtk::open(*query);
        if (rows->mb_fetch()) {
            DTK_Blob copyright = rows->mb_getDTK_Blob(2);
            std::string document;
            do {
                document.resize(copyright.mb_get()->mb_length());
                copyright.mb_get()->mb_read(static_cast<unsigned int>(document.size()),
                                            reinterpret_cast<unsigned char*>(document.data()), 1);
                for (auto& [licence, count] : licences) count += document.find(licence) != std::string::npos;
                ++documents;
                bytes += static_cast<long long>(document.size());
                different +=
                    document != machine.packages.at(static_cast<std::size_t>(rows->mb_getInt(1)) - 1).copyright;
            } while (rows->mb_fetch());
        }
    }
    heading("Which licences do their copyright files name?");
    TextTable table({{"licence"}, {"packages", Align::right}});
    std::ranges::sort(licences, std::ranges::greater{}, &std::pair<std::string_view, int>::second);
    for (const auto& [licence, count] : licences) table.add({std::string(licence), grouped(count)});
    table.print(std::cout);
    std::cout << "  (" << grouped(bytes) << " bytes in " << grouped(documents) << " BLOBs)\n";

    checks.same<long long>(
        "copyright files", documents,
        std::ranges::count_if(machine.packages, [](const Package& package) { return !package.copyright.empty(); }));
    checks.same("copyright files that came back different", different, 0LL);
}

void call_procedure(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    std::map<int, Amount> by_package;
    for (const File& file : machine.files) {
        Amount& amount = by_package[file.package_id];
        ++amount.files;
        amount.bytes += file.bytes;
    }
    const auto by_files = [](const auto& a, const auto& b) { return a.second.files < b.second.files; };
    const auto [id, known] = *std::max_element(by_package.begin(), by_package.end(), by_files);

    heading("Which package has the most files? (answered by a stored procedure)");
    dtk::execute(connection, "CREATE OR REPLACE PROCEDURE describe_package(p_id IN NUMBER, p_name OUT VARCHAR2, "
                             "p_files OUT NUMBER, p_bytes OUT NUMBER, p_newest OUT DATE) IS BEGIN "
                             "SELECT name INTO p_name FROM packages WHERE id = p_id; "
                             "SELECT COUNT(*), SUM(bytes), MAX(modified) INTO p_files, p_bytes, p_newest "
                             "FROM files WHERE package_id = p_id; END;");
    const auto call = dtk::prepare(connection, "BEGIN describe_package(:1, :2, :3, :4, :5); END;");
    call->mb_setInt(1, id);
    call->mb_registerOutParam(2, DTK_STRING, 201, "name");
    call->mb_registerOutParam(3, DTK_INT, 0, "files");
    call->mb_registerOutParam(4, DTK_INT64, 0, "bytes");
    call->mb_registerOutParam(5, DTK_DBDATE, 0, "newest");
    call->mb_executeProcedure();

    std::cout << "  " << call->mb_getString(2).c_str() << ": " << grouped(call->mb_getInt(3)) << " files, "
              << mib(call->mb_getInt64(4) / 1024) << " MiB";
    if (!call->mb_isNull(5)) std::cout << ", the newest of " << readable(call->mb_getDate(5));
    std::cout << '\n';
    checks.same("its name", text(call->mb_getString(2)), machine.packages.at(static_cast<std::size_t>(id) - 1).name);
    checks.same<long long>("its files", call->mb_getInt(3), known.files);
    checks.same("its bytes", call->mb_getInt64(4), known.bytes);
}

void roll_back(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks) {
    heading("And if we deleted all files?");
    dtk::execute(connection, "DELETE FROM files");
    const long long deleted = support::ask_number(connection, "SELECT COUNT(*) FROM files");
    connection.mb_rollback();
    const long long back = support::ask_number(connection, "SELECT COUNT(*) FROM files");
    std::cout << "  " << grouped(deleted) << " left; after the rollback " << grouped(back) << " again\n";
    checks.same("files after deleting them", deleted, 0LL);
    checks.same<long long>("files after the rollback", back, static_cast<long long>(machine.files.size()));
}

} // namespace inventory
