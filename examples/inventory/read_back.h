#pragma once

#include "dtk/dtk.h"
#include "inventory/machine.h"

#include <array>
#include <ostream>

/// Reading the largest answer, in bulk and row by row.
namespace inventory {

/// What is known of all files on disk together; it touches every value that is read.
struct FileTotals {
    long long files = 0;
    long long bytes = 0;
    long long path_characters = 0;
    long long package_ids = 0;
    std::array<unsigned char, 7> newest{};

    void add(int package_id, unsigned int path_length, long long file_bytes, const DTK_DbDate& modified);
    bool operator==(const FileTotals&) const = default;
};

std::ostream& operator<<(std::ostream& out, const FileTotals& totals);

/// The totals as the input has them.
FileTotals totals_of(const std::vector<File>& files);

/// The totals of the rows of the database, a thousand of them with each fetch.
FileTotals read_in_bulk(DTK_ConnectionBase& connection);

/// The totals of the rows of the database, one with each fetch.
FileTotals read_row_by_row(DTK_ConnectionBase& connection);

} // namespace inventory
