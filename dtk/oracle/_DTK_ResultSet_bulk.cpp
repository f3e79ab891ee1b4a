#include <algorithm>
#include <type_traits>

#include "dtk/oracle/DTK_Blob.h"
#include "dtk/oracle/LentLocator.h"
#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/_DTK_ResultSet.h"
#include "dtk/oracle/_DTK_stmtMetadata.h"
#include "dtk/oracle/check.h"
#include "dtk/oracle/locators.h"

namespace error = dtk::error;
using dtk::oracle::check;
using dtk::oracle::makeStorage;
using dtk::oracle::OracleType;
using dtk::oracle::Storage;

DTK_ResultSetBase& _DTK_ResultSet::operator<<(DTK_DbDate* dates) {
    return registerArray(dates);
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(int* values) {
    return registerArray(values);
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(float* values) {
    return registerArray(values);
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(DTK_String* strings) {
    const unsigned int position = takeArrayColumn(error::bulk_count_not_set);
    _DTK_stmtMetadata metadata;
    metadata.mb_initMetaData(m_stmtHandle, m_errorHandle);
    const int width = metadata.mb_getSize(position);
    Storage slots = makeStorage(std::size_t{m_bulkCount} * static_cast<std::size_t>(width));
    auto mapper =
        std::make_unique<DTK_String_mapper>(strings, slots.get(), static_cast<int>(m_bulkCount), width, nullptr);
    m_stringMappers.reserve(m_stringMappers.size() + 1);
    defineArray(position, slots.get(), width, OracleType<DTK_String>::external, nullptr);
    m_stringMappers.push_back(std::move(mapper));
    m_hasMappers = true;
    static_cast<void>(slots.release());
    return *this;
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(long* values) {
    return registerArray(values);
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(double* values) {
    return registerArray(values);
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(long long* values) {
    return registerArray(values);
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(DTK_Blob* blobs) {
    const unsigned int position = takeArrayColumn(error::bulk_count_not_set_for_int64_or_blob);
    OCIEnv* environment = dtk::oracle::environmentOf(m_svcCtx, m_errorHandle);
    if (!environment) throw DTK_Exception(error::fetched_blob_environment_missing);
    for (unsigned int i = 0; i < m_bulkCount; ++i) {
        auto blob = std::make_unique<_DTK_Blob>();
        blob->mb_initialize(environment, m_svcCtx, m_errorHandle, false);
        dtk::oracle::attach(blobs[i], std::move(blob));
    }
    Storage locators = makeStorage(m_bulkCount * sizeof(OCILobLocator*));
    Storage indicators = makeStorage(m_bulkCount * sizeof(short));
    auto mapper =
        std::make_unique<DTK_Blob_mapper>(blobs, static_cast<OCILobLocator**>(locators.get()),
                                          static_cast<int>(m_bulkCount), static_cast<short*>(indicators.get()));
    mapper->mb_mapToOCIBlobArray();
    m_blobMappers.reserve(m_blobMappers.size() + 1);
    defineArray(position, locators.get(), 0, OracleType<DTK_Blob>::external, indicators.get());
    m_blobMappers.push_back(std::move(mapper));
    m_hasMappers = true;
    static_cast<void>(locators.release());
    static_cast<void>(indicators.release());
    return *this;
}

DTK_ResultSetBase& _DTK_ResultSet::operator<<(unsigned int* values) {
    return registerArray(values);
}

int _DTK_ResultSet::mb_getNumArrayRows() {
    ub4 rows = 0;
    check(OCIAttrGet(m_stmtHandle, OCI_HTYPE_STMT, &rows, nullptr, OCI_ATTR_ROWS_FETCHED, m_errorHandle),
          m_errorHandle);
    return static_cast<int>(rows);
}

void _DTK_ResultSet::mb_setBulkCount(int count) {
    if (count <= 0) throw DTK_Exception(error::bulk_count_invalid);
    m_bulkCount = static_cast<unsigned int>(count);
    m_bulkCountSet = true;
    m_fetchPrepared = false;
}

void _DTK_ResultSet::mb_setListCount(int count) {
    m_columnCursor = static_cast<unsigned int>(std::max(count, 0));
}

// The column stays taken when the registration fails: callers reset it with mb_setListCount before they try again.
unsigned int _DTK_ResultSet::takeArrayColumn(const error::Definition& countNotSet) {
    if (!m_bulkCountSet) throw DTK_Exception(countNotSet);
    return ++m_columnCursor;
}

// The array takes the place of the column's own buffer, which must not be defined again over it.
void _DTK_ResultSet::defineArray(unsigned int position, void* values, int size_bytes, unsigned short external,
                                 void* indicators) {
    OCIDefine* handle = nullptr;
    define(handle, position, values, size_bytes, external, indicators);
    std::erase_if(m_definedColumns, [&](const DefinedColumn& column) { return column.position == position; });
}

// Clients know the missing bulk count of 64-bit integers by a code of its own.
template <typename T> DTK_ResultSetBase& _DTK_ResultSet::registerArray(T* values) {
    const auto& countNotSet =
        std::is_same_v<T, long long> ? error::bulk_count_not_set_for_int64_or_blob : error::bulk_count_not_set;
    defineArray(takeArrayColumn(countNotSet), values, sizeof(T), OracleType<T>::external, nullptr);
    return *this;
}
