// Reads rows through the getter of each type, tells NULL from a value, and asks the result set what its columns are.
// (BLOBs have an example of their own: blob_in_pieces.)
#include "dtk/handles.h"

#include <iostream>
#include <memory>

namespace {

const char* name_of(int type) {
    switch (type) {
    case DTK_INT: return "DTK_INT";
    case DTK_INT64: return "DTK_INT64";
    case DTK_FLOAT: return "DTK_FLOAT";
    case DTK_DOUBLE: return "DTK_DOUBLE";
    case DTK_STRING: return "DTK_STRING";
    case DTK_DBDATE: return "DTK_DBDATE";
    case DTK_BLOB: return "DTK_BLOB";
    default: return "DTK_UNKNOWN";
    }
}

/// What the database says about each column, and what the library makes of it.
void describe(DTK_ResultSetBase& rows) {
    const std::unique_ptr<DTK_stmtMetadataBase> metadata(rows.mb_getMetadata());
    for (unsigned int column = 1; column <= metadata->mb_getNumberofBindColumns(); ++column) {
        const int type = metadata->mb_getType(column);
        std::cout << "column " << column << ": " << name_of(type);
        if (type == DTK_STRING) {
            std::cout << ", up to " << metadata->mb_getSize(column) - 1 << " bytes";
        } else if (type != DTK_DBDATE) {
            std::cout << ", NUMBER(" << metadata->mb_getPrecision(column) << ',' << metadata->mb_getScale(column)
                      << ')';
        }
        std::cout << (metadata->mb_isNull(column) ? ", may be NULL\n" : "\n");
    }
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:typed_rows", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    dtk::execute(*connection, "CREATE TABLE peak (name VARCHAR2(20) NOT NULL, metres NUMBER(5,1) NOT NULL, "
                              "latitude NUMBER(8,5) NOT NULL, rank NUMBER(4) NOT NULL, ascents NUMBER(9), "
                              "mm_from_centre NUMBER(12), first_ascent DATE)");
    for (const char* values : {"'Mount Everest', 8848.9, 27.98806, 1, 11996, 6382307000, DATE '1953-05-29'",
                               "'Chimborazo', 6263.5, -1.46917, 17, NULL, 6384416000, DATE '1880-01-04'",
                               "'Gangkhar Puensum', 7570, 28.04722, 40, 0, NULL, NULL"})
        dtk::execute(*connection, DTK_String("INSERT INTO peak VALUES (") + values + ")");

    const auto query = dtk::prepare(*connection, "SELECT * FROM peak ORDER BY rank");
    const auto rows = dtk::open(*query);
    describe(*rows);
    while (rows->mb_fetch()) {
        const DTK_String name = rows->mb_getString(1);
        const float metres = rows->mb_getFloat(2);
        const double latitude = rows->mb_getDouble(3);
        const unsigned int rank = rows->mb_getUInt(4);
        std::cout << '\n'
                  << name.c_str() << ", " << metres << " m, latitude " << latitude << ", number " << rank << '\n';

        // A getter does not look at NULL: it would return what the buffer holds, perhaps the value of the row before.
        if (rows->mb_isNull(5)) {
            std::cout << "  nobody counts the ascents\n";
        } else {
            const int ascents = rows->mb_getInt(5);
            std::cout << "  " << ascents << " ascents\n";
        }
        if (!rows->mb_isNull(6)) {
            const long long mm = rows->mb_getInt64(6); // an int has no room for it
            std::cout << "  " << mm << " mm from the centre of the Earth\n";
        }
        if (!rows->mb_isNull(7)) {
            const DTK_DbDate first = rows->mb_getDate(7);
            std::cout << "  first climbed on " << DTK_Date(first).mb_toString(DF_YYYYMMDD).c_str() << '\n';
        }
    }

    // The same in sequence, where no column may be NULL. An expression gets the type that CAST gives it, else a float.
    const auto sums = dtk::prepare(*connection, "SELECT rank, name, CAST(metres * 1000 AS NUMBER(9)) FROM peak "
                                                "WHERE metres > 7000 ORDER BY rank");
    const auto high = dtk::open(*sums);
    std::cout << '\n';
    while (high->mb_fetch()) {
        int rank, millimetres;
        DTK_String name;
        *high >> rank >> name >> millimetres;
        std::cout << rank << ". " << name << ": " << millimetres << " mm\n";
    }
} catch (DTK_Exception& error) {
    std::cerr << "typed_rows: " << error.what() << '\n';
    return 1;
}
