#pragma once

#include "dtk/foundation/DTK_DATATYPES.h"
#include "dtk/foundation/export.h"

class DTK_Blob;
class DTK_DbDate;
class DTK_ResultSetBase;
class DTK_String;

/// A prepared SQL text or block with its parameters. Made by DTK_ConnectionBase::mb_createStatement; the caller gives
/// it back with mb_terminateStatement and then deletes it. Used by one thread at a time.
///
/// Positions count the placeholders from 1. One outside the text is the caller's error, which OCI refuses (ORA-01036);
/// mb_isNull, mb_isTruncated and mb_setErrorOnNull say nothing of it. Bind after preparing and before executing; binds
/// outlast executions.
///
/// mb_executeQuery, mb_executeUpdate, mb_executeArrayUpdate and mb_executeProcedure report a failed OCI call as a plain
/// DTK_Exception with code 0 and Oracle's number and text; every other operation as an ORCL_Exception.
class DTK_EXPORT DTK_StatementBase {
  public:
    /// Releases the buffers but not the server handle: give the statement back with mb_terminateStatement first.
    virtual ~DTK_StatementBase() = default;

    /// @{

    /// Each binds a caller's array to the next placeholder, the first one to placeholder 1.
    ///
    /// The array holds at least as many elements as mb_setUpdateCount announced and lives until the last execution.
    /// Numbers and dates are bound in place: OCI reads and writes the array itself. Texts and BLOBs travel through a
    /// buffer that only mb_executeArrayUpdate and mb_executeProcedure fill from the array, and that only
    /// mb_executeProcedure carries back. The slots of the text buffer are as wide as the longest text at the time of
    /// the bind (OCI refuses a longer one at execution); use mb_setStringArray where texts may grow or come back
    /// longer. The BLOB form gives every element a new temporary BLOB in place of what it held.
    ///
    /// @throws DTK_Exception 301 "Fetch count not set" mb_setUpdateCount has not been called; nothing has changed
    /// @throws DTK_Exception 602 "_DTK_Blob object initialization error, initialization of descriptor failed" a
    ///         temporary BLOB could not be made; the placeholder counts as taken
    /// @throws DTK_Exception 302 "Statement handle not prepared" the statement is not prepared
    /// @throws ORCL_Exception the bind was refused; the placeholder counts as taken
    virtual DTK_StatementBase& operator<<(DTK_DbDate* dates) = 0;
    virtual DTK_StatementBase& operator<<(DTK_String* strings) = 0;

    /// As operator<<(DTK_String*), with slots for texts of up to `maxLength` bytes.
    virtual DTK_StatementBase& mb_setStringArray(DTK_String* strings, unsigned int maxLength) = 0;

    virtual DTK_StatementBase& operator<<(int* values) = 0;
    virtual DTK_StatementBase& operator<<(float* values) = 0;
    virtual DTK_StatementBase& operator<<(double* values) = 0;
    virtual DTK_StatementBase& operator<<(unsigned int* values) = 0;
    virtual DTK_StatementBase& operator<<(long long* values) = 0;
    virtual DTK_StatementBase& operator<<(DTK_Blob* blobs) = 0;
    /// @}

    /// Executes with array binds carried in before and back out afterwards.
    ///
    /// @return 0: failures throw
    /// @throws DTK_Exception 302 "Statement handle not prepared" the statement is not prepared
    /// @throws DTK_Exception the execution failed; nothing has been carried back
    virtual int mb_executeProcedure() = 0;

    /// Prepares a text in place of the present one. An empty text changes nothing at all.
    ///
    /// A statement that was prepared before loses its binds, its update count and its auto-commit setting.
    ///
    /// @throws DTK_Exception 300 "Uninitialized _DTK_Statement Object" the statement belongs to no connection
    /// @throws ORCL_Exception the old text could not be released: unchanged; or the new one could not be prepared: the
    ///         statement is unprepared
    virtual void mb_setSQL(DTK_String sql) = 0;

    /// Prepares a text and executes it. The parameters of an earlier text are dropped, so a query with placeholders is
    /// prepared, bound and executed with mb_execute, and read through mb_getResultSet.
    ///
    /// An empty text executes the present one again, binds and all.
    ///
    /// @return a result set that the caller owns: give it back with mb_closeResultSet, then delete it
    /// @throws DTK_Exception 302 "Statement handle not prepared" the text is empty and nothing is prepared
    /// @throws DTK_Exception as mb_setSQL and mb_execute
    virtual DTK_ResultSetBase* mb_executeQuery(const DTK_String& sql) = 0;

    /// Executes once per array element, up to the update count, with array binds carried in before. They are not
    /// carried back.
    ///
    /// @return 1: failures throw
    /// @throws DTK_Exception 302 "Statement handle not prepared" the statement is not prepared
    /// @throws DTK_Exception the execution failed
    virtual int mb_executeArrayUpdate() = 0;

    /// How many times every execution of a statement other than a query runs: the number of array elements. 1 until
    /// set. Do not raise it between binding arrays and executing.
    ///
    /// @throws DTK_Exception 301 "Invalid value for update count" the count is below 1; the old one stays
    virtual void mb_setUpdateCount(int count) = 0;

    /// Opens the rows of the executed statement.
    ///
    /// All result sets of a statement read the same rows: where one fetches, OCI writes into its buffers and no longer
    /// into those of the others, which must not fetch any more.
    ///
    /// @return a further result set over the executed statement; the caller owns it: give it back with
    ///         mb_closeResultSet, then delete it
    /// @throws DTK_Exception 304 "statement handle not executed" the statement has not been executed
    virtual DTK_ResultSetBase* mb_getResultSet() = 0;

    /// Releases the buffers of a result set. The object stays the caller's to delete.
    virtual void mb_closeResultSet(DTK_ResultSetBase* resultSet) = 0;

    /// Makes room for an output parameter of a procedure or block, read with the mb_get... operations afterwards.
    ///
    /// Of an execution with an update count above 1 it keeps what the first iteration put out, a DTK_BLOB what the last
    /// one did.
    ///
    /// @param size  bytes of a DTK_STRING, its terminating NUL and one more byte included, or of a type that is not
    ///              listed in DTK_DATATYPES or is DTK_UNKNOWN: such a value is bound as text and no getter reads it.
    ///              Ignored for other types.
    /// @param name  ignored
    /// @throws DTK_Exception 602 "DTK_Blob object initialization error, initialization of descriptor failed" a
    ///         temporary BLOB could not be made for a DTK_BLOB
    /// @throws DTK_Exception 302 "Statement handle not prepared" the statement is not prepared
    /// @throws ORCL_Exception the bind was refused
    ///
    /// After a failure the position is as before.
    virtual void mb_registerOutParam(unsigned int position, DTK_DATATYPES type, unsigned int size,
                                     const DTK_String& name) = 0;

    /// @{

    /// Each sets the value of one placeholder, which every iteration of an execution with an update count above 1
    /// sends. Setting a number or date again with the same type only stores the value, without a bind. There is no way
    /// to bind an input NULL; a position whose last output was NULL sends NULL again.
    ///
    /// @throws DTK_Exception 302 "Statement handle not prepared" the statement is not prepared
    /// @throws ORCL_Exception the bind was refused; the position keeps its old value
    virtual void mb_setInt(unsigned int position, int value) = 0;
    virtual void mb_setUInt(unsigned int position, unsigned int value) = 0;
    virtual void mb_setFloat(unsigned int position, float value) = 0;
    virtual void mb_setDouble(unsigned int position, double value) = 0;

    /// Binds a private copy of the text, up to its first NUL.
    virtual void mb_setString(unsigned int position, const DTK_String& value) = 0;
    virtual void mb_setDate(unsigned int position, DTK_DbDate value) = 0;

    /// Binds the BLOB itself, which must live until the last execution. An empty handle receives a new temporary BLOB.
    /// A BLOB flagged null is sent as NULL; the flag counts at the time of this call.
    ///
    /// @throws DTK_Exception 602 "_DTK_Blob object initialization error, initialization of descriptor failed" a
    ///         temporary BLOB could not be made
    virtual void mb_setDTK_Blob(unsigned int position, DTK_Blob& value) = 0;
    virtual void mb_setInt64(unsigned int position, const long long& value) = 0;
    /// @}

    /// @{

    /// Each reads the value of one position. After a NULL output it is what the storage last held: ask mb_isNull first.
    /// So it is after an execution that put nothing out, of which mb_isNull does not tell: where a RETURNING may match
    /// no row, set the position to a value that cannot come back before you execute.
    ///
    /// The numeric getters convert between DTK_INT, DTK_UINT, DTK_INT64, DTK_FLOAT and DTK_DOUBLE. A floating-point
    /// value becomes an integer by way of 64 bits: truncated toward zero, 0 for NaN, the nearest end where it does not
    /// fit; results of 32 bits keep the low 32 bits.
    ///
    /// @throws DTK_Exception 303 "Unexpected conversion requested, check column type" (with code 402 for mb_getInt64)
    ///         the stored type cannot be read as the requested one
    /// @throws DTK_Exception 302 "Statement handle not prepared" the statement is not prepared
    virtual int mb_getInt(unsigned int position) = 0;
    virtual unsigned int mb_getUInt(unsigned int position) = 0;
    virtual float mb_getFloat(unsigned int position) = 0;
    virtual double mb_getDouble(unsigned int position) = 0;

    /// Reads a DTK_STRING; no other type becomes text.
    virtual DTK_String mb_getString(unsigned int position) = 0;
    virtual DTK_DbDate mb_getDate(unsigned int position) = 0;

    /// Hands out the parameter's BLOB, flagged null when the output was NULL. The handle takes the BLOB over: ask for
    /// one handle per mb_registerOutParam, and register again before the next execution once it is released.
    virtual DTK_Blob mb_getDTK_Blob(unsigned int position) = 0;
    virtual long long mb_getInt64(unsigned int position) = 0;
    /// @}

    /// @{

    /// Whether every successful execution commits at once; off after preparing.
    virtual void mb_setAutoCommit(bool on) = 0;
    virtual bool mb_getAutoCommit() = 0;
    /// @}

    /// Executes the statement: a query once, without fetching; anything else as often as the update count says. Array
    /// binds of texts and BLOBs are not carried in.
    ///
    /// @throws DTK_Exception 302 "Statement handle not prepared" the statement is not prepared
    /// @throws ORCL_Exception the execution failed
    virtual void mb_execute() = 0;

    /// As mb_execute, with failures as a plain DTK_Exception.
    ///
    /// @return 1: failures throw
    virtual int mb_executeUpdate() = 0;

    /// Whether the position's last output was NULL. An execution that puts nothing out, as a RETURNING that matched no
    /// row, leaves this as it was: false, if it was the first.
    virtual bool mb_isNull(unsigned int position) = 0;

    /// Whether the position's output was cut and its full length does not fit 16 bits; a shorter cut is not reported.
    virtual bool mb_isTruncated(unsigned int position) = 0;

    /// Stores the flag; nothing reads it.
    virtual void mb_setErrorOnNull(unsigned int position, bool flag) = 0;
};
