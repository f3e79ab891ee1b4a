#pragma once

#include <vector>

#include "dtk/foundation/DTK_DATATYPES.h"
#include "dtk/foundation/export.h"

class DTK_Blob;
class DTK_DbDate;
class DTK_String;
class DTK_stmtMetadataBase;

/// The rows of an executed query. Made by a statement; the caller gives it back with
/// DTK_StatementBase::mb_closeResultSet and then deletes it. Used by one thread at a time.
///
/// Two ways to read. Row by row: call mb_fetch while it returns true and read the columns with the getters or with
/// operator>>. In bulk: mb_setBulkCount, one operator<< per column in column order, then mb_fetch while it returns
/// true, reading mb_getNumArrayRows elements of the arrays each time.
///
/// Columns count from 1. One outside the select list is the caller's error: its getter throws as if nothing had been
/// fetched, mb_isNull and mb_isTruncated are false, and an array for it is refused by OCI.
class DTK_EXPORT DTK_ResultSetBase {
  public:
    /// Releases the fetch buffers; the caller's arrays are not touched.
    virtual ~DTK_ResultSetBase() = default;

    /// @{

    /// Each registers the caller's array for the next column, beginning with column 1.
    ///
    /// The array holds at least as many elements as mb_setBulkCount announced and lives as long as rows are fetched.
    /// Numbers and dates are fetched straight into it. Texts are copied into it after every fetch: elements behind the
    /// last batch's rows become the empty text. The BLOB form gives every element a new BLOB in place of what it held,
    /// whose value is that of the row fetched last; leave these in the array while you fetch. Elements behind the last
    /// batch's rows are flagged null. A NULL in a column other than a BLOB makes mb_fetch fail.
    ///
    /// A later, larger bulk count does not make room in arrays registered before: give the result set back first.
    ///
    /// @throws DTK_Exception 403 "ERROR: Fetch count not set!call mb_setBulkCount(int) before setting buffer" (with
    ///         code 999 for long long and DTK_Blob) mb_setBulkCount has not been called
    /// @throws DTK_Exception 601 "DTK_Blob object initialization error, unable to get environment pointer" a BLOB could
    ///         not be made; the column counts as taken
    /// @throws DTK_Exception 602 "_DTK_Blob object initialization error, initialization of descriptor failed" likewise
    /// @throws ORCL_Exception the define was refused; the column counts as taken: reset it with mb_setListCount
    virtual DTK_ResultSetBase& operator<<(DTK_DbDate* dates) = 0;
    virtual DTK_ResultSetBase& operator<<(int* values) = 0;
    virtual DTK_ResultSetBase& operator<<(float* values) = 0;
    virtual DTK_ResultSetBase& operator<<(DTK_String* strings) = 0;

    /// Fetches 8 bytes of the column's text (OCI type LONG) into each element, not a number. Otherwise as the other
    /// forms.
    virtual DTK_ResultSetBase& operator<<(long* values) = 0;
    virtual DTK_ResultSetBase& operator<<(double* values) = 0;
    virtual DTK_ResultSetBase& operator<<(long long* values) = 0;
    virtual DTK_ResultSetBase& operator<<(DTK_Blob* blobs) = 0;
    virtual DTK_ResultSetBase& operator<<(unsigned int* values) = 0;
    /// @}

    /// Fetches the next row, or the next batch of up to the bulk count of rows, and starts operator>> at column 1.
    ///
    /// The first fetch makes one buffer per column, unless arrays have been registered. With a bulk count above 1, the
    /// rows of columns without an array are fetched and dropped. On a statement that has been fetched from before,
    /// register an array for every column: OCI goes on writing to where a column was fetched last, which may have been
    /// freed since.
    ///
    /// @return true: a row, or at least one row of a batch, has arrived. false: the data has ended; further calls
    ///         return false again. The getters and mb_isNull then still tell of the row before.
    /// @throws ORCL_Exception OCI refused the fetch or a define, or reported a warning
    /// @throws DTK_Exception 704 "error in getting parameter count for the statement" the columns could not be
    ///         described
    /// @throws DTK_Exception 703 "error in getting parameter information" likewise
    /// @throws DTK_Exception 701 "error in getting scale information" likewise
    /// @throws DTK_Exception 701 "error in getting Precision information" likewise
    /// @throws DTK_Exception 602 "_DTK_Blob object initialization error, initialization of descriptor failed" the BLOB
    ///         of a column could not be made
    /// @throws DTK_Exception 0, with the reason as its message, when a batch could not be carried into the caller's
    ///         arrays
    virtual bool mb_fetch() = 0;

    /// Tells how many elements of the registered arrays are filled.
    ///
    /// @return the rows that the last fetch delivered
    /// @throws ORCL_Exception the number cannot be read
    virtual int mb_getNumArrayRows() = 0;

    /// Sets the rows of a batch: the number of elements of the arrays that operator<< registers. 1 until set.
    ///
    /// @throws DTK_Exception 400 "Invalid value for bulk fetch count" the count is below 1; the old one stays
    virtual void mb_setBulkCount(int count) = 0;

    /// Moves operator<< and operator>> so that the next one uses column `count` + 1; column 1 for a count below 1.
    virtual void mb_setListCount(int count) = 0;

    /// Whether the column is NULL in the row fetched last; false when no row has arrived. A column of type DTK_UNKNOWN
    /// never reads as NULL: a NULL in it makes mb_fetch fail.
    virtual bool mb_isNull(unsigned int column) = 0;

    /// Whether the value was cut and its full length does not fit 16 bits; a shorter cut is not reported.
    virtual bool mb_isTruncated(unsigned int column) = 0;

    /// Does nothing: a NULL never raises an error here.
    virtual void mb_setErrorOnNull(unsigned int column, bool flag) = 0;

    /// The types of all columns, in order. May be called before the first fetch.
    ///
    /// A NUMBER without precision and scale is listed, and fetched, as DTK_FLOAT; a CLOB as DTK_BLOB.
    ///
    /// @throws ORCL_Exception a column's data type cannot be read
    /// @throws DTK_Exception as mb_getMetadata and DTK_stmtMetadataBase::mb_getType
    virtual std::vector<DTK_DATATYPES> mb_listColumnType() = 0;

    /// Describes the columns.
    ///
    /// @return the description of the columns, which the caller owns and deletes
    /// @throws DTK_Exception 704 "error in getting parameter count for the statement" the columns could not be
    ///         described
    /// @throws DTK_Exception 703 "error in getting parameter information" likewise
    virtual DTK_stmtMetadataBase* mb_getMetadata() = 0;

    /// @{

    /// Each reads a column of the row fetched last, as often and in any order as wanted. For a NULL column the value is
    /// what the buffer last held: ask mb_isNull first. After mb_fetch has returned false they give the last row's
    /// values again, and where there was no row at all, 0 and the empty text.
    ///
    /// Numbers convert among each other and into text; a date becomes a text of the form YYYYMMDDHH24MISS; a text never
    /// becomes a number. A floating-point value becomes an integer by way of 64 bits: truncated toward zero, 0 for NaN,
    /// the nearest end where it does not fit; results of 32 bits keep the low 32 bits.
    ///
    /// @throws DTK_Exception 404 "fetch not called or fetch has been done for bulk data" no row has been fetched with a
    ///         bulk count of 1
    /// @throws DTK_Exception 402 "Unexpected conversion requested, check column type" the column cannot be read as the
    ///         requested type
    virtual DTK_String mb_getString(unsigned int column) = 0;
    virtual int mb_getInt(unsigned int column) = 0;
    virtual float mb_getFloat(unsigned int column) = 0;
    virtual DTK_DbDate mb_getDate(unsigned int column) = 0;
    virtual double mb_getDouble(unsigned int column) = 0;
    virtual unsigned int mb_getUInt(unsigned int column) = 0;
    virtual long long mb_getInt64(unsigned int column) = 0;

    /// Hands out the column's BLOB, flagged null when the column is NULL. The handle shares the column's locator: the
    /// next fetch moves the handle on to the next row's value. Read it before that. Ask for a row's BLOB once, or keep
    /// the first handle: with the last handle its locator is freed, and one asked for after that has none (its reads
    /// and writes throw 600) until the next fetch.
    virtual DTK_Blob mb_getDTK_Blob(unsigned int column) = 0;
    /// @}

    /// @{

    /// Each reads the next column as the getter of its type does; the first after a fetch reads column 1. The column
    /// counts as read even when the getter throws.
    ///
    /// @throws DTK_Exception as the getter
    virtual DTK_ResultSetBase& operator>>(DTK_DbDate& date) = 0;
    virtual DTK_ResultSetBase& operator>>(int& value) = 0;
    virtual DTK_ResultSetBase& operator>>(float& value) = 0;
    virtual DTK_ResultSetBase& operator>>(DTK_String& string) = 0;
    virtual DTK_ResultSetBase& operator>>(double& value) = 0;
    virtual DTK_ResultSetBase& operator>>(long long& value) = 0;
    virtual DTK_ResultSetBase& operator>>(DTK_Blob& blob) = 0;
    virtual DTK_ResultSetBase& operator>>(unsigned int& value) = 0;
    /// @}
};
