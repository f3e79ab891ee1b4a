#include "dtk/oracle/_DTK_Statement.h"

#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/_DTK_Connection.h"
#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "dtk/oracle/_DTK_ResultSet.h"
#include "dtk/oracle/check.h"

namespace error = dtk::error;
using dtk::oracle::check;
using dtk::oracle::oraText;
using dtk::oracle::withPlainException;

_DTK_Statement::_DTK_Statement()
    : m_stmtHandle(nullptr),
      m_connection(nullptr),
      m_updateCount(1),
      m_bindPosition(0),
      m_updateCountSet(false),
      m_state(unprepared),
      m_executeMode(OCI_DEFAULT) {}

_DTK_Statement::_DTK_Statement(const _DTK_Statement& other)
    : DTK_StatementBase(),
      m_stmtHandle(other.m_stmtHandle),
      m_connection(other.m_connection),
      m_updateCount(other.m_updateCount),
      m_bindPosition(other.m_bindPosition),
      m_updateCountSet(other.m_updateCountSet),
      m_state(other.m_state),
      m_executeMode(other.m_executeMode) {
    appendPlaceholders(other.m_binds.size());
}

// A statement assigned to itself has as many placeholders again: the count is taken before any is appended.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
_DTK_Statement& _DTK_Statement::operator=(const _DTK_Statement& other) {
    if (m_stmtHandle != other.m_stmtHandle) forgetSingleValues();
    m_stmtHandle = other.m_stmtHandle;
    m_connection = other.m_connection;
    m_updateCount = other.m_updateCount;
    m_bindPosition = other.m_bindPosition;
    m_updateCountSet = other.m_updateCountSet;
    m_state = other.m_state;
    m_executeMode = other.m_executeMode;
    appendPlaceholders(other.m_binds.size());
    return *this;
}

_DTK_Statement::~_DTK_Statement() {
    releaseMappers();
}

int _DTK_Statement::mb_executeProcedure() {
    return withPlainException([this] {
        mapIn();
        mb_execute();
        mapOut();
        return 0;
    });
}

void _DTK_Statement::mb_setSQL(DTK_String sql) {
    if (!m_connection) throw DTK_Exception(error::statement_uninitialized);
    if (sql.mb_length() == 0) return;
    if (m_state != unprepared) {
        check(OCIStmtRelease(m_stmtHandle, errorHandle(), nullptr, 0, OCI_DEFAULT), errorHandle());
        mb_reinitializeObject();
    }
    prepare(sql);
}

DTK_ResultSetBase* _DTK_Statement::mb_executeQuery(const DTK_String& sql) {
    auto resultSet = std::make_unique<_DTK_ResultSet>();
    withPlainException([&] {
        mb_setSQL(sql);
        mb_execute();
    });
    return handOver(std::move(resultSet));
}

int _DTK_Statement::mb_executeArrayUpdate() {
    return withPlainException([this] {
        mapIn();
        mb_execute();
        return 1;
    });
}

void _DTK_Statement::mb_setUpdateCount(int count) {
    if (count <= 0) throw DTK_Exception(error::update_count_invalid);
    m_updateCount = count;
    m_updateCountSet = true;
}

DTK_ResultSetBase* _DTK_Statement::mb_getResultSet() {
    if (m_state <= prepared) throw DTK_Exception(error::statement_not_executed);
    return handOver(std::make_unique<_DTK_ResultSet>());
}

void _DTK_Statement::mb_closeResultSet(DTK_ResultSetBase* resultSet) {
    static_cast<_DTK_ResultSet*>(resultSet)->mb_reinitializeObject();
}

void _DTK_Statement::mb_setAutoCommit(bool on) {
    m_executeMode = on ? OCI_COMMIT_ON_SUCCESS : OCI_DEFAULT;
}

bool _DTK_Statement::mb_getAutoCommit() {
    return m_executeMode == OCI_COMMIT_ON_SUCCESS;
}

void _DTK_Statement::mb_execute() {
    if (m_state == unprepared) throw DTK_Exception(error::statement_not_prepared);
    const ub4 iterations = mb_getStmtType() == OCI_STMT_SELECT ? 0 : static_cast<ub4>(m_updateCount);
    const bool repeated = iterations > 1 || m_valuesRepeated;
    if (repeated) repeatSingleValues(iterations);
    check(OCIStmtExecute(serviceContext(), m_stmtHandle, errorHandle(), iterations, 0, nullptr, nullptr, m_executeMode),
          errorHandle());
    if (repeated) takeFirstIteration();
    m_state = iterations == 0 ? executedAsQuery : executedWithIterations;
}

int _DTK_Statement::mb_executeUpdate() {
    return withPlainException([this] {
        mb_execute();
        return 1;
    });
}

bool _DTK_Statement::mb_isNull(unsigned int position) {
    return hasParameter(position) && parameter(position).m_indicator == dtk::oracle::indicatorNull;
}

bool _DTK_Statement::mb_isTruncated(unsigned int position) {
    return hasParameter(position) && parameter(position).m_indicator == dtk::oracle::indicatorTruncated;
}

void _DTK_Statement::mb_setErrorOnNull(unsigned int position, bool flag) {
    if (hasParameter(position)) parameter(position).m_errorOnNull = flag;
}

unsigned int _DTK_Statement::mb_getStmtType() {
    ub2 type = 0;
    const sword status = OCIAttrGet(m_stmtHandle, OCI_HTYPE_STMT, &type, nullptr, OCI_ATTR_STMT_TYPE, errorHandle());
    return status == OCI_SUCCESS ? type : 0;
}

void _DTK_Statement::mb_reinitializeObject() {
    m_stmtHandle = nullptr;
    m_state = unprepared;
    m_updateCount = 1;
    m_bindPosition = 0;
    m_updateCountSet = false;
    m_executeMode = OCI_DEFAULT;
    m_paramBuffers.clear();
    m_binds.clear();
    releaseMappers();
    m_valuesRepeated = false;
}

// The error handle and the environment are the same for every pool, so that a statement whose connection was given back
// early gets an error from OCI instead of following a pool that is not there.
OCIError* _DTK_Statement::errorHandle() const {
    return _DTK_ConnectionPool::m_OCIError;
}

OCISvcCtx* _DTK_Statement::serviceContext() const {
    return m_connection->m_svcCtx;
}

// A new handle whose placeholders cannot be counted is left to OCI, which frees it with the environment.
void _DTK_Statement::prepare(const DTK_String& sql) {
    OCIStmt* handle = nullptr;
    check(OCIStmtPrepare2(serviceContext(), &handle, errorHandle(), oraText(sql), sql.mb_length(), nullptr, 0,
                          OCI_NTV_SYNTAX, OCI_DEFAULT),
          errorHandle());
    ub4 placeholders = 0;
    check(OCIAttrGet(handle, OCI_HTYPE_STMT, &placeholders, nullptr, OCI_ATTR_BIND_COUNT, errorHandle()),
          errorHandle());
    appendPlaceholders(placeholders);
    m_stmtHandle = handle;
    m_state = prepared;
}

void _DTK_Statement::appendPlaceholders(std::size_t count) {
    m_binds.reserve(m_binds.size() + count);
    m_paramBuffers.reserve(m_paramBuffers.size() + count);
    for (std::size_t i = 0; i < count; ++i) {
        m_paramBuffers.push_back(std::make_unique<Parameter>());
        m_binds.push_back(nullptr);
    }
}

void _DTK_Statement::releaseMappers() {
    for (DTK_int64_mapper& mapper : m_int64Mappers) mapper.mb_releaseBuffers();
    m_int64Mappers.clear();
    for (DTK_String_mapper& mapper : m_stringMappers) mapper.mb_releaseBuffers();
    m_stringMappers.clear();
    for (DTK_Blob_mapper& mapper : m_blobMappers) mapper.mb_releaseBuffers();
    m_blobMappers.clear();
}

void _DTK_Statement::mapIn() {
    for (DTK_String_mapper& mapper : m_stringMappers) mapper.mb_mapToArray();
    for (DTK_int64_mapper& mapper : m_int64Mappers) mapper.mb_mapToArray();
    for (DTK_Blob_mapper& mapper : m_blobMappers) mapper.mb_mapToOCIBlobArray();
}

void _DTK_Statement::mapOut() {
    for (DTK_String_mapper& mapper : m_stringMappers) mapper.mb_mapToString();
    for (DTK_int64_mapper& mapper : m_int64Mappers) mapper.mb_mapToint64();
    for (DTK_Blob_mapper& mapper : m_blobMappers) mapper.mb_mapToDTK_Blob();
}

DTK_ResultSetBase* _DTK_Statement::handOver(std::unique_ptr<_DTK_ResultSet> resultSet) {
    resultSet->m_stmtHandle = m_stmtHandle;
    resultSet->m_errorHandle = errorHandle();
    resultSet->m_svcCtx = serviceContext();
    return resultSet.release();
}
