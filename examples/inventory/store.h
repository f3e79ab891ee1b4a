#pragma once

#include "dtk/dtk.h"
#include "inventory/machine.h"

#include <chrono>
#include <cstddef>

/// Writing the machine's packages and files into the database.
namespace inventory {

using Seconds = std::chrono::duration<double>;

/// Makes the tables anew, empty.
void create_tables(DTK_ConnectionBase& connection);

/// Stores the packages with array binds: one call for all of them.
void store_packages(DTK_ConnectionBase& connection, const std::vector<Package>& packages);

/// Stores each package's copyright file in its BLOB column.
void store_copyrights(DTK_ConnectionBase& connection, const std::vector<Package>& packages);

/// Stores the files from several threads, each with a session of its own from the pool.
/// All threads must have a session to take; batches are committed one by one.
/// @return how long it took
Seconds store_files_by_arrays(DTK_ConnectionPoolBase& pool, const std::vector<File>& files, std::size_t threads);

/// The same rows into files_by_row, one execution for each row.
Seconds store_files_by_rows(DTK_ConnectionPoolBase& pool, const std::vector<File>& files, std::size_t threads);

/// The point in time, in UTC, as the database stores it.
DTK_DbDate to_db_date(std::time_t time);

} // namespace inventory
