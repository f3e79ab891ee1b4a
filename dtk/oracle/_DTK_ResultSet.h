#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "dtk/foundation/columnBuffer.h"
#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_ResultSetBase.h"
#include "dtk/oracle/DTK_Blob_mapper.h"
#include "dtk/oracle/DTK_String_mapper.h"
#include "dtk/oracle/DTK_int64_mapper.h"
#include "dtk/oracle/OwnedLocator.h"
#include "dtk/oracle/Rows.h"

namespace dtk::error {
struct Definition;
}

struct OCIDefine;
struct OCIEnv;
struct OCIError;
struct OCIStmt;
struct OCISvcCtx;
class _DTK_Blob;
class _DTK_stmtMetadata;

namespace dtk::oracle {
struct LentLocator;
}

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

    /// A column with a buffer of its own, and what it takes to define it again.
    struct DefinedColumn {
        unsigned int position;
        columnBuffer* buffer;
        void* value;
        int size_bytes;
        unsigned short external;
        short* indicator;
        OCIDefine* handle;
        dtk::oracle::OwnedLocator droppedLocator;
        dtk::oracle::Rows droppedRows; ///< where rows go while the bulk count is above 1
    };

    /// Bytes that a string holds without memory of its own. The buffers of texts have room for as many, so that a text
    /// that fits is copied together with what lies behind it.
    static constexpr std::size_t shortText_bytes = 15;

    columnBuffer& column(unsigned int position) { return *m_columns[position - 1]; }
    const columnBuffer& fetchedColumn(unsigned int position) const;

    void prepareFetch();
    void noteReadableColumns();
    bool partialBatchArrived(int status);
    void mapBatch();
    void releaseBuffers();
    OCIEnv* requireEnvironment() const;

    void initializeColumn(_DTK_stmtMetadata& metadata, unsigned int position);
    void initializeFixedColumn(unsigned int position, DTK_DATATYPES type);
    void initializeBlobColumn(unsigned int position);
    columnBuffer& appendColumn(dtk::oracle::Storage value, DTK_DATATYPES type);
    void defineColumn(DefinedColumn column);
    void redefineColumns();
    void defineForBulkCount(DefinedColumn& column);
    void defineDroppedRows(DefinedColumn& column);
    void define(OCIDefine*& handle, unsigned int position, void* value, int size_bytes, unsigned short external,
                void* indicators);

    unsigned int takeArrayColumn(const dtk::error::Definition& countNotSet);
    void defineArray(unsigned int position, void* values, int size_bytes, unsigned short external, void* indicators);
    template <typename T> DTK_ResultSetBase& registerArray(T* values);
    template <typename T> DTK_ResultSetBase& extract(T& value, T (DTK_ResultSetBase::*getter)(unsigned int));

    std::unique_ptr<_DTK_Blob> lend(_DTK_Blob& columnBlob);
    void replaceFreedLocators();
    void replaceLocator(_DTK_Blob& columnBlob);

    OCIStmt* m_stmtHandle;
    OCIError* m_errorHandle;
    OCISvcCtx* m_svcCtx;
    unsigned int m_bulkCount;
    unsigned int m_columnCursor;
    bool m_rowFetched;
    bool m_bulkCountSet;
    std::vector<OCIDefine*> m_defines;
    std::vector<std::unique_ptr<DTK_String_mapper>> m_stringMappers;
    std::vector<std::unique_ptr<DTK_int64_mapper>> m_int64Mappers;
    std::vector<std::unique_ptr<DTK_Blob_mapper>> m_blobMappers;
    std::vector<std::unique_ptr<columnBuffer>> m_columns;
    std::vector<DefinedColumn> m_definedColumns;
    unsigned int m_definedRows = 0;     ///< rows that the columns' own buffers have room for; 0: there are none
    unsigned int m_readableColumns = 0; ///< columns that the getters may read: none before the first fetch of one row
    bool m_fetchPrepared = false;       ///< nothing that a fetch depends on has changed since the last one
    bool m_hasMappers = false;
    std::vector<dtk::oracle::LentLocator> m_lentLocators;
};
