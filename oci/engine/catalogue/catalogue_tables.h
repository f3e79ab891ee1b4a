#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace oci {

class Session;

/// The tables in which a database keeps what is defined in it: DTK$CATALOGUE (one row: the version of these tables, and
/// counters), DTK$OBJECTS, DTK$COLUMNS, DTK$CONSTRAINTS, DTK$KEYS (the columns of constraints and indexes),
/// DTK$SEQUENCES and DTK$COMMENTS. Only the client itself reads and writes them.
namespace catalogue {

/// Makes the tables in a new database, and fills them from what a file of an earlier version holds. ORA-01130 when that
/// cannot be taken over, or the file is of a later version.
void open(Session& session);

/// Counts the changes that any process has made to the catalogue.
constexpr std::string_view change_count_query = "SELECT changes FROM \"DTK$CATALOGUE\"";
void count_change(const Session& session);

/// A number for an object, an index or a constraint: none is given out twice.
std::int64_t next_id(const Session& session);
/// SYS_C... for a constraint without a name.
std::string constraint_name(const Session& session);

} // namespace catalogue
} // namespace oci
