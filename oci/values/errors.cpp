#include "oci/values/errors.h"

#include "oci/values/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sqlite3.h>

namespace oci {
namespace {

struct Text {
    int code;
    const char* text;
};

constexpr Text texts[] = {
    {1, "unique constraint ({}) violated"},
    {54, "resource busy and acquire with NOWAIT specified or timeout expired"},
    {900, "invalid SQL statement"},
    {902, "invalid datatype"},
    {903, "invalid table name"},
    {904, "{}: invalid identifier"},
    {905, "missing keyword"},
    {906, "missing left parenthesis"},
    {907, "missing right parenthesis"},
    {908, "missing NULL keyword"},
    {909, "invalid number of arguments"},
    {911, "invalid character"},
    {913, "too many values"},
    {917, "missing comma"},
    {918, "{}: column ambiguously defined"},
    {919, "invalid function"},
    {920, "invalid relational operator"},
    {921, "unexpected end of SQL command"},
    {922, "missing or invalid option"},
    {923, "FROM keyword not found where expected"},
    {924, "missing BY keyword"},
    {925, "missing INTO keyword"},
    {926, "missing VALUES keyword"},
    {927, "missing equal sign"},
    {928, "missing SELECT keyword"},
    {930, "missing asterisk"},
    {932, "inconsistent datatypes: {}"},
    {933, "SQL command not properly ended"},
    {934, "group function is not allowed here"},
    {935, "group function is nested too deeply"},
    {936, "missing expression"},
    {938, "not enough arguments for function"},
    {940, "invalid ALTER command"},
    {942, "table or view does not exist"},
    {946, "missing TO keyword"},
    {947, "not enough values"},
    {950, "invalid DROP option"},
    {955, "name is already used by an existing object"},
    {957, "duplicate column name"},
    {969, "missing ON keyword"},
    {971, "missing SET keyword"},
    {972, "identifier is too long"},
    {975, "date + date not allowed"},
    {996, "the concatenate operator is ||, not |"},
    {1002, "fetch out of sequence"},
    {1007, "variable not in select list"},
    {1008, "not all variables bound"},
    {1012, "not logged on"},
    {1013, "user requested cancel of current operation"},
    {1017, "invalid username/password; logon denied"},
    {1034, "ORACLE not available"},
    {1036, "illegal variable name/number"},
    {1084, "invalid argument in OCI call"},
    {1086, "savepoint '{}' never established in this session or is invalid"},
    {1157, "cannot identify/lock data file {}"},
    {1400, "cannot insert NULL into ({})"},
    {1403, "no data found"},
    {1405, "fetched column value is NULL"},
    {1406, "fetched column value was truncated"},
    {1418, "specified index does not exist"},
    {1422, "exact fetch returns more than requested number of rows"},
    {1426, "numeric overflow"},
    {1428, "argument '{}' is out of range"},
    {1438, "value larger than specified precision allowed for this column"},
    {1455, "converting column overflows integer datatype"},
    {1460, "unimplemented or unreasonable conversion requested"},
    {1461, "can bind a LONG value only for insert into a LONG column"},
    {1465, "invalid hex number"},
    {1476, "divisor is equal to zero"},
    {1480, "trailing null missing from STR bind value"},
    {1481, "invalid number format model"},
    {1489, "result of string concatenation is too long"},
    {1555, "snapshot too old"},
    {1653, "unable to extend table"},
    {1722, "invalid number"},
    {1735, "invalid ALTER TABLE option"},
    {1740, "missing double quote in identifier"},
    {1741, "illegal zero-length identifier"},
    {1745, "invalid host/bind variable name"},
    {1747, "invalid user.table.column, table.column, or column specification"},
    {1756, "quoted string not properly terminated"},
    {1786, "FOR UPDATE of this query expression is not allowed"},
    {1790, "expression must have same datatype as corresponding expression"},
    {1820, "format code cannot appear in date input format"},
    {1821, "date format not recognized"},
    {1830, "date format picture ends before converting entire input string"},
    {1835, "day of week conflicts with Julian date"},
    {1839, "date not valid for month specified"},
    {1840, "input value not long enough for date format"},
    {1841, "(full) year must be between -4713 and +9999, and not be 0"},
    {1843, "not a valid month"},
    {1846, "not a valid day of the week"},
    {1847, "day of month must be between 1 and last day of month"},
    {1848, "day of year must be between 1 and 365 (366 for leap year)"},
    {1849, "hour must be between 1 and 12"},
    {1850, "hour must be between 0 and 23"},
    {1851, "minutes must be between 0 and 59"},
    {1852, "seconds must be between 0 and 59"},
    {1853, "seconds in day must be between 0 and 86399"},
    {1854, "julian date must be between 1 and 5373484"},
    {1855, "AM/A.M. or PM/P.M. required"},
    {1858, "a non-numeric character was found where a numeric was expected"},
    {1861, "literal does not match format string"},
    {1918, "user '{}' does not exist"},
    {1920, "user name '{}' conflicts with another user or role name"},
    {2000, "missing {} keyword"},
    {2290, "check constraint ({}) violated"},
    {2291, "integrity constraint violated - parent key not found"},
    {2292, "integrity constraint violated - child record found"},
    {2449, "unique/primary keys in table referenced by foreign keys"},
    {3001, "unimplemented feature"},
    {3113, "end-of-file on communication channel"},
    {3114, "not connected to ORACLE"},
    {3115, "unsupported network datatype or representation"},
    {4030, "out of process memory"},
    {4043, "object {} does not exist"},
    {6502, "PL/SQL: numeric or value error: {}"},
    {6550, "line 1, column 1:\n{}"},
    {12154, "TNS:could not resolve the connect identifier specified"},
    {12899, "value too large for column {}"},
    {16000, "database open for read-only access"},
    {22275, "invalid LOB locator specified"},
    {22920, "row containing the LOB value is not locked"},
    {22922, "nonexistent LOB value"},
    {24315, "illegal attribute type"},
    {24333, "zero iteration count"},
    {24334, "no descriptor for this position"},
    {24338, "statement handle not executed"},
    {24369, "required callbacks not registered for one or more bind handles"},
    {24373, "invalid length specified for statement"},
    {24801, "illegal parameter value in OCI lob function"},
    {28003, "password verification for the specified password failed"},
    {30006, "resource busy; acquire with WAIT timeout expired"},
};

const char* text_of(int code) {
    const auto* found = std::lower_bound(std::begin(texts), std::end(texts), code,
                                         [](const Text& text, int wanted) { return text.code < wanted; });
    return found != std::end(texts) && found->code == code ? found->text : "internal error code, arguments: [{}]";
}

std::string_view behind(std::string_view text, std::string_view mark) {
    const auto at = text.find(mark);
    return at == std::string_view::npos ? text : text.substr(at + mark.size());
}

/// "EMP"."NAME" for emp.name.
std::string quoted_path(std::string_view path) {
    if (path.size() > 2 && path.front() == '"' && path.back() == '"') path = path.substr(1, path.size() - 2);
    std::string result = "\"" + upper(path) + "\"";
    if (const auto dot = result.find('.'); dot != std::string::npos) result.replace(dot, 1, "\".\"");
    return result;
}

/// What SQLite reports by its message alone: the beginning or a part of the message, and the number.
struct Message {
    std::string_view part;
    int code;
};

constexpr Message messages[] = {
    {"no such table: ", 942},
    {"no such view: ", 942},
    {"no such index: ", 1418},
    {"already exists", 955},
    {"already another table or index", 955},
    {"duplicate column name", 957},
    {"wrong number of arguments to function", 909},
    {"misuse of aggregate", 934},
    {"integer overflow", 1426},
    {"incomplete input", 936},
    {"too many columns", 913},
};

OracleError wrong_value_count(std::string_view message) {
    // "table t has 3 columns but 2 values were supplied", "2 values for 3 columns", "table t has 2 values for 3
    // columns"
    std::array<int, 2> counts{};
    std::size_t found = 0;
    for (const char* p = message.data(); p < message.data() + message.size() && found < 2;) {
        const auto [next, status] = std::from_chars(p, message.data() + message.size(), counts[found]);
        if (status == std::errc{} && (p == message.data() || p[-1] == ' ')) ++found;
        p = next == p ? p + 1 : next;
    }
    const bool columns_first = message.find(" columns but ") != std::string_view::npos;
    const int columns = counts[columns_first ? 0 : 1];
    const int values = counts[columns_first ? 1 : 0];
    return OracleError(values < columns ? 947 : 913);
}

OracleError statement_error(std::string_view message) {
    if (message.starts_with("ORA-")) return OracleError::from_text(message);
    if (message.starts_with("no such column: ")) {
        return OracleError(904, quoted_path(behind(message, ": ")));
    }
    if (message.find(" has no column named ") != std::string_view::npos) {
        return OracleError(904, quoted_path(behind(message, " named ")));
    }
    if (message.starts_with("no such savepoint: ")) return OracleError(1086, upper(behind(message, ": ")));
    if (message.starts_with("no such function: ")) {
        return OracleError(904, quoted_path(behind(message, ": ")));
    }
    if (message.starts_with("ambiguous column name: ")) {
        return OracleError(918, quoted_path(behind(message, ": ")));
    }
    if (message.find(" values ") != std::string_view::npos && message.find(" columns") != std::string_view::npos) {
        return wrong_value_count(message);
    }
    for (const auto& known : messages) {
        if (message.find(known.part) != std::string_view::npos) return OracleError(known.code);
    }
    return OracleError(900, message);
}

std::string path_of(sqlite3* db) {
    const char* path = sqlite3_db_filename(db, "main");
    return path != nullptr ? path : "";
}

OracleError constraint_error(int extended, std::string_view message) {
    const auto subject = behind(message, "failed: ");
    switch (extended) {
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY:
    case SQLITE_CONSTRAINT_ROWID: return OracleError(1, upper(subject));
    case SQLITE_CONSTRAINT_NOTNULL: return OracleError(1400, quoted_path(subject));
    case SQLITE_CONSTRAINT_CHECK: return OracleError(2290, upper(subject));
    case SQLITE_CONSTRAINT_FOREIGNKEY: return OracleError(2291);
    default: return OracleError(600, message);
    }
}

} // namespace

OracleError::OracleError(int code, std::string_view detail) : m_code(code) {
    char head[16];
    std::snprintf(head, sizeof head, "ORA-%05d: ", code);
    m_text = head;
    m_text += text_of(code);
    if (const auto place = m_text.find("{}"); place != std::string::npos) {
        m_text.replace(place, 2, detail);
    } else if (!detail.empty()) {
        m_text.append(" (").append(detail).append(")");
    }
    m_text += '\n';
}

OracleError OracleError::from_text(std::string_view text) {
    OracleError error;
    const auto digits = text.substr(4);
    std::from_chars(digits.data(), digits.data() + digits.size(), error.m_code);
    error.m_text = text;
    if (!error.m_text.ends_with('\n')) error.m_text += '\n';
    return error;
}

OracleError sqlite_error(sqlite3* db) {
    const int extended = sqlite3_extended_errcode(db);
    const std::string_view message = sqlite3_errmsg(db);
    switch (extended & 0xFF) {
    case SQLITE_ERROR: return extended == SQLITE_ERROR_SNAPSHOT ? OracleError(1555) : statement_error(message);
    case SQLITE_CONSTRAINT: return constraint_error(extended, message);
    case SQLITE_BUSY: return OracleError(30006);
    case SQLITE_LOCKED: return OracleError(54);
    case SQLITE_ABORT:
    case SQLITE_SCHEMA: return OracleError(1555);
    case SQLITE_FULL: return OracleError(1653);
    case SQLITE_READONLY: return OracleError(16000, path_of(db));
    case SQLITE_INTERRUPT: return OracleError(1013);
    case SQLITE_TOOBIG: return OracleError(1461);
    case SQLITE_NOMEM: return OracleError(4030);
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return OracleError(1157, path_of(db) + ": " + std::string(message));
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
    case SQLITE_PROTOCOL: return OracleError(3113, path_of(db) + ": " + std::string(message));
    default: return OracleError(600, message);
    }
}

OracleError sqlite_error(sqlite3_stmt* statement) {
    sqlite3* db = sqlite3_db_handle(statement);
    const bool reference = sqlite3_extended_errcode(db) == SQLITE_CONSTRAINT_FOREIGNKEY;
    if (reference && std::string_view(sqlite3_sql(statement)).starts_with("DELETE")) return OracleError(2292);
    return sqlite_error(db);
}

} // namespace oci
