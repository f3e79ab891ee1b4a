#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_ResultSetBase.h"
#include "dtk/oracle/detail/Mappers.h"

namespace dtk::error {
struct Definition;
}

namespace dtk::oracle {
class Column;
struct Handles;
struct OciBuffer;
} // namespace dtk::oracle

struct OCIDefine;
struct OCIError;
struct OCIStmt;
struct OCISvcCtx;

/// The rows of a query on a statement's handle. OCI writes each fetch into the result set's own buffers, one per
/// column, or into the arrays that the caller has registered.
class DTK_EXPORT _DTK_ResultSet : public DTK_ResultSetBase {
  public:
    /// A result set without handles; the statement that makes it fills them in.
    _DTK_ResultSet();

    /// @{

    /// Both share the other's handles and take its position and counts, but no buffers: a copy defines its own at its
    /// first fetch, and from then on OCI fetches into those: the other must not fetch any more. An assigned result set
    /// keeps the buffers that it had.
    _DTK_ResultSet(const _DTK_ResultSet& other);
    _DTK_ResultSet& operator=(const _DTK_ResultSet& other);
    /// @}

    ~_DTK_ResultSet() override;

    DTK_ResultSetBase& operator<<(DTK_DbDate* dates) override;
    DTK_ResultSetBase& operator<<(int* values) override;
    DTK_ResultSetBase& operator<<(float* values) override;
    DTK_ResultSetBase& operator<<(DTK_String* strings) override;
    DTK_ResultSetBase& operator<<(long* values) override;
    DTK_ResultSetBase& operator<<(double* values) override;
    DTK_ResultSetBase& operator<<(long long* values) override;
    DTK_ResultSetBase& operator<<(DTK_Blob* blobs) override;
    DTK_ResultSetBase& operator<<(unsigned int* values) override;
    bool mb_fetch() override;
    int mb_getNumArrayRows() override;
    void mb_setBulkCount(int count) override;
    void mb_setListCount(int count) override;
    bool mb_isNull(unsigned int column) override;
    bool mb_isTruncated(unsigned int column) override;
    void mb_setErrorOnNull(unsigned int column, bool flag) override;
    std::vector<DTK_DATATYPES> mb_listColumnType() override;
    DTK_stmtMetadataBase* mb_getMetadata() override;
    DTK_String mb_getString(unsigned int column) override;
    int mb_getInt(unsigned int column) override;
    float mb_getFloat(unsigned int column) override;
    DTK_DbDate mb_getDate(unsigned int column) override;
    double mb_getDouble(unsigned int column) override;
    unsigned int mb_getUInt(unsigned int column) override;
    long long mb_getInt64(unsigned int column) override;
    DTK_Blob mb_getDTK_Blob(unsigned int column) override;
    DTK_ResultSetBase& operator>>(DTK_DbDate& date) override;
    DTK_ResultSetBase& operator>>(int& value) override;
    DTK_ResultSetBase& operator>>(float& value) override;
    DTK_ResultSetBase& operator>>(DTK_String& string) override;
    DTK_ResultSetBase& operator>>(double& value) override;
    DTK_ResultSetBase& operator>>(long long& value) override;
    DTK_ResultSetBase& operator>>(DTK_Blob& blob) override;
    DTK_ResultSetBase& operator>>(unsigned int& value) override;

    /// Makes and defines a buffer for every column.
    ///
    /// @return true
    /// @throws ORCL_Exception a define was refused; the buffers made before it stay
    /// @throws DTK_Exception 602, 701, 703, 704 a BLOB could not be made or a column not described
    bool mb_initializeFetchBuffer();

    /// Returns to the state of a new result set that still holds its handles. @return true
    bool mb_reinitializeObject();

  private:
    friend class _DTK_Statement;

    dtk::oracle::Handles handles() const;
    dtk::oracle::Column& column(unsigned int position) const { return *m_columns[position - 1]; }
    bool hasColumn(unsigned int position) const { return position - 1 < m_columns.size(); }
    dtk::oracle::Column& fetchedColumn(unsigned int position) const;

    // Out of line, which spares the usual fetch a third of its instructions here.
    [[gnu::noinline]] void prepareFetch();
    void defineColumns();
    void replaceFreedLocators();
    [[gnu::noinline]] bool batchArrived(int status);
    bool partialBatchArrived(int status);
    void mapBatch();

    unsigned int takeArrayColumn(const dtk::error::Definition& countNotSet);
    void defineArray(unsigned int position, const dtk::oracle::OciBuffer& buffer);
    template <typename T> DTK_ResultSetBase& registerArray(T* values);
    template <typename T> DTK_ResultSetBase& extract(T& value, T (DTK_ResultSetBase::*getter)(unsigned int));

    OCIStmt* m_stmtHandle;
    OCIError* m_errorHandle;
    OCISvcCtx* m_svcCtx;
    unsigned int m_bulkCount;
    unsigned int m_columnCursor;
    bool m_rowFetched;
    bool m_bulkCountSet;
    std::vector<OCIDefine*> m_defines;
    dtk::oracle::Mappers m_mappers;
    std::vector<std::unique_ptr<dtk::oracle::Column>> m_columns;
    unsigned int m_definedRows = 0; ///< rows that the columns are defined for; 0: not all alike
    bool m_blobsLent = false;       ///< callers may have freed a column's locator since the last fetch
};
