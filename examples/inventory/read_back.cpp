#include "inventory/read_back.h"

#include "dtk/handles.h"
#include "inventory/store.h"

#include <algorithm>

namespace inventory {
namespace {

constexpr std::size_t batch_rows = 1000;

// A bulk fetch takes no NULL: the paths that are not on disk stay away.
const char* const query_text = "SELECT package_id, path, bytes, modified FROM files WHERE bytes IS NOT NULL";

std::array<unsigned char, 7> image_of(const DTK_DbDate& date) {
    std::array<unsigned char, 7> image{};
    std::copy_n(date.mb_toDbDate(), image.size(), image.begin());
    return image;
}

} // namespace

void FileTotals::add(int package_id, unsigned int path_length, long long file_bytes, const DTK_DbDate& modified) {
    ++files;
    bytes += file_bytes;
    path_characters += path_length;
    package_ids += package_id;
    newest = std::max(newest, image_of(modified)); // the bytes of the image sort like the dates
}

std::ostream& operator<<(std::ostream& out, const FileTotals& totals) {
    return out << totals.files << " files of " << totals.bytes << " bytes";
}

FileTotals totals_of(const std::vector<File>& files) {
    FileTotals totals;
    for (const File& file : files) {
        if (!file.on_disk) continue;
        totals.add(file.package_id, static_cast<unsigned int>(file.path.size()), file.bytes, to_db_date(file.modified));
    }
    return totals;
}

FileTotals read_in_bulk(DTK_ConnectionBase& connection) {
    std::vector<int> package_ids(batch_rows);
    std::vector<DTK_String> paths(batch_rows);
    std::vector<long long> bytes(batch_rows);
    std::vector<DTK_DbDate> dates(batch_rows);

    const auto query = dtk::prepare(connection, query_text);
    const auto rows = dtk::open(*query);
    rows->mb_setBulkCount(batch_rows);
    *rows << package_ids.data() << paths.data() << bytes.data() << dates.data();

    FileTotals totals;
    while (rows->mb_fetch()) {
        const auto count = static_cast<std::size_t>(rows->mb_getNumArrayRows());
        for (std::size_t i = 0; i < count; ++i) totals.add(package_ids[i], paths[i].mb_length(), bytes[i], dates[i]);
    }
    return totals;
}

FileTotals read_row_by_row(DTK_ConnectionBase& connection) {
    const auto query = dtk::prepare(connection, query_text);
    const auto rows = dtk::open(*query);
    FileTotals totals;
    while (rows->mb_fetch())
        totals.add(rows->mb_getInt(1), rows->mb_getString(2).mb_length(), rows->mb_getInt64(3), rows->mb_getDate(4));
    return totals;
}

} // namespace inventory
