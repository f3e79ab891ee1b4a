#pragma once

#include <memory>
#include <vector>

#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_StatementBase.h"
#include "dtk/oracle/detail/Mappers.h"

struct OCIError;
struct OCIStmt;
struct OCISvcCtx;
class _DTK_Blob;
class _DTK_Connection;
class _DTK_ResultSet;

namespace dtk::oracle {
struct Handles;
class Parameter;
} // namespace dtk::oracle

/// A statement over an OCI statement handle, which the connection releases. Bound values and array buffers belong to
/// the statement; OCI reads and writes them in place.
class DTK_EXPORT _DTK_Statement : public DTK_StatementBase {
  public:
    /// A statement without a connection: mb_setSQL throws 300.
    _DTK_Statement();

    /// Shares the other's handle and has as many placeholders, with nothing bound.
    _DTK_Statement(const _DTK_Statement& other);

    /// Shares the other's handle and settings, and appends as many placeholders as it has to those already here, which
    /// stay as they are.
    _DTK_Statement& operator=(const _DTK_Statement& other);
    ~_DTK_Statement() override;

    DTK_StatementBase& operator<<(DTK_DbDate* dates) override;
    DTK_StatementBase& operator<<(DTK_String* strings) override;
    DTK_StatementBase& mb_setStringArray(DTK_String* strings, unsigned int maxLength) override;
    DTK_StatementBase& operator<<(int* values) override;
    DTK_StatementBase& operator<<(float* values) override;
    DTK_StatementBase& operator<<(double* values) override;
    DTK_StatementBase& operator<<(unsigned int* values) override;
    DTK_StatementBase& operator<<(long long* values) override;
    DTK_StatementBase& operator<<(DTK_Blob* blobs) override;
    int mb_executeProcedure() override;
    void mb_setSQL(DTK_String sql) override;
    DTK_ResultSetBase* mb_executeQuery(const DTK_String& sql) override;
    int mb_executeArrayUpdate() override;
    void mb_setUpdateCount(int count) override;
    DTK_ResultSetBase* mb_getResultSet() override;
    void mb_closeResultSet(DTK_ResultSetBase* resultSet) override;
    void mb_registerOutParam(unsigned int position, DTK_DATATYPES type, unsigned int size,
                             const DTK_String& name) override;
    void mb_setInt(unsigned int position, int value) override;
    void mb_setUInt(unsigned int position, unsigned int value) override;
    void mb_setFloat(unsigned int position, float value) override;
    void mb_setDouble(unsigned int position, double value) override;
    void mb_setString(unsigned int position, const DTK_String& value) override;
    void mb_setDate(unsigned int position, DTK_DbDate value) override;
    void mb_setDTK_Blob(unsigned int position, DTK_Blob& value) override;
    void mb_setInt64(unsigned int position, const long long& value) override;
    int mb_getInt(unsigned int position) override;
    unsigned int mb_getUInt(unsigned int position) override;
    float mb_getFloat(unsigned int position) override;
    double mb_getDouble(unsigned int position) override;
    DTK_String mb_getString(unsigned int position) override;
    DTK_DbDate mb_getDate(unsigned int position) override;
    DTK_Blob mb_getDTK_Blob(unsigned int position) override;
    long long mb_getInt64(unsigned int position) override;
    void mb_setAutoCommit(bool on) override;
    bool mb_getAutoCommit() override;
    void mb_execute() override;
    int mb_executeUpdate() override;
    bool mb_isNull(unsigned int position) override;
    bool mb_isTruncated(unsigned int position) override;
    void mb_setErrorOnNull(unsigned int position, bool flag) override;

    /// OCI's type of the prepared statement, 1 for a query; 0 when it cannot be read.
    unsigned int mb_getStmtType();

    /// Returns to the unprepared state, dropping binds and settings. The OCI handle is not released.
    void mb_reinitializeObject();

  private:
    friend class _DTK_Connection;

    enum State : int { unprepared = 0, prepared = 1, executedAsQuery = 3, executedWithIterations = 4 };

    OCISvcCtx* serviceContext() const;
    dtk::oracle::Handles handles() const;
    bool hasParameter(unsigned int position) const { return position - 1 < m_paramBuffers.size(); }
    dtk::oracle::Parameter& parameter(unsigned int position);
    [[noreturn]] void refusePosition(unsigned int position);

    void prepare(const DTK_String& sql);
    void appendPlaceholders(std::size_t count);
    void repeatValues(std::size_t iterations);
    std::unique_ptr<_DTK_Blob> makeTemporaryBlob() const;
    DTK_ResultSetBase* handOver(std::unique_ptr<_DTK_ResultSet> resultSet);

    template <typename T> void setValue(unsigned int position, const T& value);
    template <typename T> void* storedValue(unsigned int position);
    void registerText(unsigned int position, DTK_DATATYPES type, unsigned int size);
    void registerBlob(unsigned int position);

    unsigned int takeBindPosition();
    template <typename T> DTK_StatementBase& bindArray(T* values);
    DTK_StatementBase& bindStrings(unsigned int position, DTK_String* strings, std::size_t width);

    OCIStmt* m_stmtHandle;
    _DTK_Connection* m_connection;
    int m_updateCount;
    unsigned int m_bindPosition;
    bool m_updateCountSet;
    State m_state;
    unsigned int m_executeMode;
    dtk::oracle::Mappers m_mappers;
    std::vector<std::unique_ptr<dtk::oracle::Parameter>> m_paramBuffers;
};
