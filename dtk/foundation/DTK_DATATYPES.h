/// @file
#pragma once

/// The type of a column, a bound parameter or an output parameter. The numbers are public; 0 and 9 are not assigned.
enum DTK_DATATYPES : int {
    DTK_INT = 1,     ///< signed 32-bit integer
    DTK_FLOAT = 2,   ///< 32-bit floating point
    DTK_DOUBLE = 3,  ///< 64-bit floating point
    DTK_STRING = 4,  ///< NUL-terminated text
    DTK_UINT = 5,    ///< unsigned 32-bit integer; output parameters only
    DTK_DBDATE = 6,  ///< 7-byte Oracle DATE, one DTK_DbDate
    DTK_INT64 = 7,   ///< signed 64-bit integer
    DTK_BLOB = 8,    ///< large object locator
    DTK_UNKNOWN = 10 ///< any other Oracle type, fetched as text
};
