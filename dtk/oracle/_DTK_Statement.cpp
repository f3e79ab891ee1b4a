#include "dtk/oracle/_DTK_Statement.h"

#include <algorithm>
#include <cstring>

#include "dtk/foundation/DTK_String.h"
#include "dtk/oracle/DTK_Blob.h"
#include "dtk/oracle/_DTK_Connection.h"
#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "dtk/oracle/_DTK_ResultSet.h"
#include "dtk/oracle/detail/OracleType.h"
#include "dtk/oracle/detail/Parameter.h"
#include "dtk/oracle/detail/locators.h"
#include "dtk/oracle/detail/oci.h"
#include "dtk/oracle/detail/values.h"

namespace error = dtk::error;
using dtk::oracle::check;
using dtk::oracle::makeStorage;
using dtk::oracle::OciBuffer;
using dtk::oracle::OracleType;
using dtk::oracle::Parameter;
using dtk::oracle::readNumber;
using dtk::oracle::Storage;
using dtk::oracle::withPlainException;

namespace {

OCIError* errorHandle() {
    return _DTK_ConnectionPool::sharedErrorHandle();
}

} // namespace

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
    appendPlaceholders(other.m_paramBuffers.size());
}

// Assigned to itself, a statement gets twice its placeholders: the count is read before any is appended.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
_DTK_Statement& _DTK_Statement::operator=(const _DTK_Statement& other) {
    if (m_stmtHandle != other.m_stmtHandle) {
        for (const auto& parameter : m_paramBuffers) parameter->forgetBind();
    }
    m_stmtHandle = other.m_stmtHandle;
    m_connection = other.m_connection;
    m_updateCount = other.m_updateCount;
    m_bindPosition = other.m_bindPosition;
    m_updateCountSet = other.m_updateCountSet;
    m_state = other.m_state;
    m_executeMode = other.m_executeMode;
    appendPlaceholders(other.m_paramBuffers.size());
    return *this;
}

_DTK_Statement::~_DTK_Statement() = default;

DTK_StatementBase& _DTK_Statement::operator<<(DTK_DbDate* dates) {
    return bindArray(dates);
}

DTK_StatementBase& _DTK_Statement::operator<<(DTK_String* strings) {
    const unsigned int position = takeBindPosition();
    const auto shorter = [](const DTK_String& a, const DTK_String& b) { return a.mb_length() < b.mb_length(); };
    const std::size_t longest = std::max_element(strings, strings + m_updateCount, shorter)->mb_length();
    return bindStrings(position, strings, longest + 1);
}

DTK_StatementBase& _DTK_Statement::mb_setStringArray(DTK_String* strings, unsigned int maxLength) {
    return bindStrings(takeBindPosition(), strings, std::size_t{maxLength} + 1);
}

DTK_StatementBase& _DTK_Statement::operator<<(int* values) {
    return bindArray(values);
}

DTK_StatementBase& _DTK_Statement::operator<<(float* values) {
    return bindArray(values);
}

DTK_StatementBase& _DTK_Statement::operator<<(double* values) {
    return bindArray(values);
}

DTK_StatementBase& _DTK_Statement::operator<<(unsigned int* values) {
    return bindArray(values);
}

DTK_StatementBase& _DTK_Statement::operator<<(long long* values) {
    return bindArray(values);
}

DTK_StatementBase& _DTK_Statement::operator<<(DTK_Blob* blobs) {
    const unsigned int position = takeBindPosition();
    Parameter& bound = parameter(position);
    const auto count = static_cast<std::size_t>(m_updateCount);
    for (std::size_t i = 0; i < count; ++i) dtk::oracle::attach(blobs[i], makeTemporaryBlob());
    m_mappers.add(blobs, count, [&](const OciBuffer& buffer) { bound.bind(handles(), position, buffer); });
    return *this;
}

int _DTK_Statement::mb_executeProcedure() {
    return withPlainException([this] {
        m_mappers.mapToOci();
        mb_execute();
        m_mappers.mapToCaller();
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
        m_mappers.mapToOci();
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

void _DTK_Statement::mb_registerOutParam(unsigned int position, DTK_DATATYPES type, unsigned int size,
                                         const DTK_String&) {
    if (type == DTK_BLOB) return registerBlob(position);
    const dtk::oracle::FixedType* fixed = dtk::oracle::findFixedType(type);
    if (!fixed) return registerText(position, type, size);
    parameter(position).bindValue(handles(), position, type, makeStorage(static_cast<std::size_t>(fixed->size_bytes)),
                                  {nullptr, fixed->size_bytes, fixed->external});
}

void _DTK_Statement::mb_setInt(unsigned int position, int value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setUInt(unsigned int position, unsigned int value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setFloat(unsigned int position, float value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setDouble(unsigned int position, double value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setString(unsigned int position, const DTK_String& value) {
    const std::size_t size_bytes = std::strlen(value.c_str()) + 1;
    Storage copy(::operator new(size_bytes));
    std::memcpy(copy.get(), value.c_str(), size_bytes);
    parameter(position).bindValue(handles(), position, DTK_STRING, std::move(copy),
                                  {nullptr, static_cast<int>(size_bytes), OracleType<DTK_String>::external});
}

void _DTK_Statement::mb_setDate(unsigned int position, DTK_DbDate value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setDTK_Blob(unsigned int position, DTK_Blob& value) {
    Parameter& bound = parameter(position);
    if (!value.mb_get()) dtk::oracle::attach(value, makeTemporaryBlob());
    auto& blob = static_cast<_DTK_Blob&>(*value.mb_get());
    bound.bindBlob(handles(), position, &dtk::oracle::locatorOf(blob), blob.mb_isNull());
}

void _DTK_Statement::mb_setInt64(unsigned int position, const long long& value) {
    setValue(position, value);
}

int _DTK_Statement::mb_getInt(unsigned int position) {
    return readNumber<int>(parameter(position), error::parameter_conversion_unexpected);
}

unsigned int _DTK_Statement::mb_getUInt(unsigned int position) {
    return readNumber<unsigned int>(parameter(position), error::parameter_conversion_unexpected);
}

float _DTK_Statement::mb_getFloat(unsigned int position) {
    return readNumber<float>(parameter(position), error::parameter_conversion_unexpected);
}

double _DTK_Statement::mb_getDouble(unsigned int position) {
    return readNumber<double>(parameter(position), error::parameter_conversion_unexpected);
}

DTK_String _DTK_Statement::mb_getString(unsigned int position) {
    return DTK_String(static_cast<const char*>(storedValue<DTK_String>(position)));
}

DTK_DbDate _DTK_Statement::mb_getDate(unsigned int position) {
    return *static_cast<const DTK_DbDate*>(storedValue<DTK_DbDate>(position));
}

DTK_Blob _DTK_Statement::mb_getDTK_Blob(unsigned int position) {
    auto* locator = *static_cast<OCILobLocator**>(storedValue<DTK_Blob>(position));
    auto blob = dtk::oracle::adoptLocator(locator, serviceContext(), errorHandle());
    blob->mb_setNull(mb_isNull(position));
    return dtk::oracle::handleOn(std::move(blob));
}

// Unlike the other getters this one throws 402, as those of result sets do: clients know it so.
long long _DTK_Statement::mb_getInt64(unsigned int position) {
    return readNumber<long long>(parameter(position), error::column_conversion_unexpected);
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
    const auto isRepeated = [](const auto& parameter) { return parameter->isRepeated(); };
    const bool repeated = iterations > 1 || std::any_of(m_paramBuffers.begin(), m_paramBuffers.end(), isRepeated);
    if (repeated) repeatValues(iterations);
    check(OCIStmtExecute(serviceContext(), m_stmtHandle, errorHandle(), iterations, 0, nullptr, nullptr, m_executeMode),
          errorHandle());
    if (repeated) {
        for (const auto& parameter : m_paramBuffers) parameter->takeFirstIteration();
    }
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
    m_mappers.clear();
}

OCISvcCtx* _DTK_Statement::serviceContext() const {
    return m_connection->serviceContext();
}

dtk::oracle::Handles _DTK_Statement::handles() const {
    return {m_stmtHandle, errorHandle(), serviceContext()};
}

Parameter& _DTK_Statement::parameter(unsigned int position) {
    if (!hasParameter(position)) refusePosition(position);
    return *m_paramBuffers[position - 1];
}

// A new handle whose placeholders cannot be counted is left to OCI, which frees it with the environment.
void _DTK_Statement::prepare(const DTK_String& sql) {
    OCIStmt* handle = nullptr;
    check(OCIStmtPrepare2(serviceContext(), &handle, errorHandle(), dtk::oracle::oraText(sql), sql.mb_length(), nullptr,
                          0, OCI_NTV_SYNTAX, OCI_DEFAULT),
          errorHandle());
    ub4 placeholders = 0;
    check(OCIAttrGet(handle, OCI_HTYPE_STMT, &placeholders, nullptr, OCI_ATTR_BIND_COUNT, errorHandle()),
          errorHandle());
    appendPlaceholders(placeholders);
    m_stmtHandle = handle;
    m_state = prepared;
}

void _DTK_Statement::appendPlaceholders(std::size_t count) {
    m_paramBuffers.reserve(m_paramBuffers.size() + count);
    for (std::size_t i = 0; i < count; ++i) m_paramBuffers.push_back(std::make_unique<Parameter>());
}

// An execution with many iterations steps through every bind: beside arrays, a single value is needed once for each.
void _DTK_Statement::repeatValues(std::size_t iterations) {
    for (unsigned int position = 1; position <= m_paramBuffers.size(); ++position) {
        parameter(position).repeat(handles(), position, iterations);
    }
}

std::unique_ptr<_DTK_Blob> _DTK_Statement::makeTemporaryBlob() const {
    return dtk::oracle::makeTemporaryBlob(_DTK_ConnectionPool::sharedEnvironment(), serviceContext(), errorHandle());
}

DTK_ResultSetBase* _DTK_Statement::handOver(std::unique_ptr<_DTK_ResultSet> resultSet) {
    resultSet->m_stmtHandle = m_stmtHandle;
    resultSet->m_errorHandle = errorHandle();
    resultSet->m_svcCtx = serviceContext();
    return resultSet.release();
}

// OCI is asked to bind there, so that its own error is thrown.
void _DTK_Statement::refusePosition(unsigned int position) {
    if (m_state == unprepared) throw DTK_Exception(error::statement_not_prepared);
    static int unused = 0; // static, as a client that takes the position keeps the address
    dtk::oracle::bind(handles(), position, {&unused, sizeof unused, OracleType<int>::external});
    throw DTK_Exception(error::parameter_conversion_unexpected);
}

// The bind of an earlier call points at the storage, so that a value of the same type is sent without a new one.
template <typename T> void _DTK_Statement::setValue(unsigned int position, const T& value) {
    Parameter& bound = parameter(position);
    if (bound.m_value && bound.m_type == OracleType<T>::code) {
        *static_cast<T*>(bound.m_value) = value;
        return;
    }
    Storage storage(::operator new(sizeof(T)));
    new (storage.get()) T(value);
    bound.bindValue(handles(), position, OracleType<T>::code, std::move(storage),
                    {nullptr, sizeof(T), OracleType<T>::external});
}

template <typename T> void* _DTK_Statement::storedValue(unsigned int position) {
    const Parameter& bound = parameter(position);
    if (bound.m_type != OracleType<T>::code) throw DTK_Exception(error::parameter_conversion_unexpected);
    return bound.m_value;
}

// Of a DTK_STRING OCI is given one byte less than there is; of any other type all bytes.
void _DTK_Statement::registerText(unsigned int position, DTK_DATATYPES type, unsigned int size) {
    const unsigned int bound_bytes = type == DTK_STRING ? size - 1 : size;
    parameter(position).bindValue(handles(), position, type, makeStorage(size),
                                  {nullptr, static_cast<int>(bound_bytes), OracleType<DTK_String>::external});
}

// The placeholder owns a cell that points to the locator, not the locator: that goes to the handle that mb_getDTK_Blob
// makes, or stays with OCI.
void _DTK_Statement::registerBlob(unsigned int position) {
    Parameter& bound = parameter(position);
    dtk::oracle::TemporaryLocator locator(dtk::oracle::allocateLocator(_DTK_ConnectionPool::sharedEnvironment()),
                                          {serviceContext(), errorHandle()});
    if (!locator || !dtk::oracle::createTemporary(serviceContext(), errorHandle(), locator.get())) {
        throw DTK_Exception(error::parameter_blob_descriptor_failed);
    }
    Storage cell = makeStorage(sizeof(OCILobLocator*));
    *static_cast<OCILobLocator**>(cell.get()) = locator.get();
    bound.bindValue(handles(), position, DTK_BLOB, std::move(cell), {locator.get(), 0, OracleType<DTK_Blob>::external});
    static_cast<void>(locator.release());
}

// The position stays taken when the bind fails.
unsigned int _DTK_Statement::takeBindPosition() {
    if (!m_updateCountSet) throw DTK_Exception(error::update_count_not_set);
    return ++m_bindPosition;
}

template <typename T> DTK_StatementBase& _DTK_Statement::bindArray(T* values) {
    const unsigned int position = takeBindPosition();
    parameter(position).bind(handles(), position, {values, sizeof(T), OracleType<T>::external});
    return *this;
}

DTK_StatementBase& _DTK_Statement::bindStrings(unsigned int position, DTK_String* strings, std::size_t width) {
    Parameter& bound = parameter(position);
    m_mappers.add(strings, static_cast<std::size_t>(m_updateCount), width,
                  [&](const OciBuffer& buffer) { bound.bind(handles(), position, buffer); });
    return *this;
}
