#include "dtk/oracle/_DTK_ResultSet.h"

#include "dtk/oracle/LentLocator.h"
#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/_DTK_stmtMetadata.h"
#include "dtk/oracle/check.h"
#include "dtk/oracle/locators.h"

namespace {

/// ORA-01002: a fetch behind the end of the data.
constexpr int fetchOutOfSequence = 1002;

} // namespace

_DTK_ResultSet::_DTK_ResultSet()
    : m_stmtHandle(nullptr),
      m_errorHandle(nullptr),
      m_svcCtx(nullptr),
      m_bulkCount(1),
      m_columnCursor(0),
      m_rowFetched(false),
      m_bulkCountSet(false) {}

_DTK_ResultSet::_DTK_ResultSet(const _DTK_ResultSet& other)
    : DTK_ResultSetBase(),
      m_stmtHandle(other.m_stmtHandle),
      m_errorHandle(other.m_errorHandle),
      m_svcCtx(other.m_svcCtx),
      m_bulkCount(other.m_bulkCount),
      m_columnCursor(other.m_columnCursor),
      m_rowFetched(other.m_rowFetched),
      m_bulkCountSet(other.m_bulkCountSet) {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it copies plain members
_DTK_ResultSet& _DTK_ResultSet::operator=(const _DTK_ResultSet& other) {
    // What was defined on another statement's handle cannot be defined again on this one.
    if (m_stmtHandle != other.m_stmtHandle) m_definedColumns.clear();
    m_stmtHandle = other.m_stmtHandle;
    m_errorHandle = other.m_errorHandle;
    m_svcCtx = other.m_svcCtx;
    m_bulkCount = other.m_bulkCount;
    m_columnCursor = other.m_columnCursor;
    m_rowFetched = other.m_rowFetched;
    m_bulkCountSet = other.m_bulkCountSet;
    m_fetchPrepared = false;
    noteReadableColumns();
    return *this;
}

_DTK_ResultSet::~_DTK_ResultSet() {
    releaseBuffers();
}

bool _DTK_ResultSet::mb_fetch() {
    m_columnCursor = 0;
    if (!m_fetchPrepared) prepareFetch();
    const sword status = OCIStmtFetch(m_stmtHandle, m_errorHandle, m_bulkCount, OCI_FETCH_NEXT, OCI_DEFAULT);
    if (status != OCI_SUCCESS && !partialBatchArrived(status)) return false;
    if (m_hasMappers) mapBatch();
    return true;
}

void _DTK_ResultSet::mb_setErrorOnNull(unsigned int, bool) {}

std::vector<DTK_DATATYPES> _DTK_ResultSet::mb_listColumnType() {
    _DTK_stmtMetadata metadata;
    metadata.mb_initMetaData(m_stmtHandle, m_errorHandle);
    const unsigned int count = metadata.mb_getNumberofBindColumns();
    std::vector<DTK_DATATYPES> types;
    types.reserve(count);
    for (unsigned int position = 1; position <= count; ++position) {
        types.push_back(static_cast<DTK_DATATYPES>(metadata.mb_getType(position)));
    }
    return types;
}

DTK_stmtMetadataBase* _DTK_ResultSet::mb_getMetadata() {
    auto metadata = std::make_unique<_DTK_stmtMetadata>();
    metadata->mb_initMetaData(m_stmtHandle, m_errorHandle);
    return metadata.release();
}

bool _DTK_ResultSet::mb_reinitializeObject() {
    m_bulkCount = 1;
    m_columnCursor = 0;
    m_rowFetched = false;
    m_bulkCountSet = false;
    releaseBuffers();
    return true;
}

// Each fetch has to look while a locator is lent, which may be freed at any time, and while there are no columns: the
// statement may be executed as another one.
void _DTK_ResultSet::prepareFetch() {
    if (m_bulkCount == 1) m_rowFetched = true;
    noteReadableColumns();
    if (m_defines.empty()) mb_initializeFetchBuffer();
    if (m_definedRows != m_bulkCount && !m_definedColumns.empty()) redefineColumns();
    if (!m_lentLocators.empty()) replaceFreedLocators();
    m_fetchPrepared = m_lentLocators.empty() && !m_defines.empty();
}

void _DTK_ResultSet::noteReadableColumns() {
    m_readableColumns = m_rowFetched ? static_cast<unsigned int>(m_columns.size()) : 0;
}

bool _DTK_ResultSet::partialBatchArrived(int status) {
    if (status != OCI_NO_DATA) {
        ORCL_Exception failure(m_errorHandle);
        if (failure.mb_getDBErrorCode() == fetchOutOfSequence) return false;
        throw ORCL_Exception(failure);
    }
    const int rows = mb_getNumArrayRows();
    for (auto& mapper : m_stringMappers) mapper->mb_clearFrom(rows);
    for (auto& mapper : m_blobMappers) mapper->mb_clearFrom(rows);
    return rows != 0;
}

void _DTK_ResultSet::mapBatch() {
    try {
        for (auto& mapper : m_stringMappers) mapper->mb_mapToString();
        for (auto& mapper : m_int64Mappers) mapper->mb_mapToint64();
        for (auto& mapper : m_blobMappers) mapper->mb_mapToDTK_Blob();
    } catch (const DTK_Exception& failure) {
        throw DTK_Exception(failure);
    } catch (const std::exception& failure) {
        throw DTK_Exception(0, failure.what());
    }
}

// The defines are OCI's, which frees them with the statement.
void _DTK_ResultSet::releaseBuffers() {
    for (auto& mapper : m_stringMappers) mapper->mb_releaseBuffers();
    m_stringMappers.clear();
    for (auto& mapper : m_int64Mappers) mapper->mb_releaseBuffers();
    m_int64Mappers.clear();
    m_columns.clear();
    m_readableColumns = 0;
    for (auto& mapper : m_blobMappers) mapper->mb_releaseBuffers();
    m_blobMappers.clear();
    m_definedColumns.clear();
    m_definedRows = 0;
    m_lentLocators.clear();
    m_defines.clear();
    m_hasMappers = false;
    m_fetchPrepared = false;
}

OCIEnv* _DTK_ResultSet::requireEnvironment() const {
    OCIEnv* environment = dtk::oracle::environmentOf(m_svcCtx, m_errorHandle);
    if (!environment) throw ORCL_Exception(m_errorHandle);
    return environment;
}
