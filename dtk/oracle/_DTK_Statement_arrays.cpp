#include <algorithm>

#include "dtk/foundation/DTK_String.h"
#include "dtk/oracle/DTK_Blob.h"
#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/Storage.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "dtk/oracle/_DTK_Statement.h"
#include "dtk/oracle/locators.h"

namespace error = dtk::error;
using dtk::oracle::makeStorage;
using dtk::oracle::OracleType;
using dtk::oracle::Storage;

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
    parameter(position); // before a temporary BLOB is made for it
    const auto count = static_cast<std::size_t>(m_updateCount);
    for (std::size_t i = 0; i < count; ++i) {
        dtk::oracle::attach(blobs[i], dtk::oracle::makeTemporaryBlob(_DTK_ConnectionPool::m_environment,
                                                                     serviceContext(), errorHandle()));
    }
    Storage locators = makeStorage(count * sizeof(OCILobLocator*));
    Storage indicators = makeStorage(count * sizeof(short));
    DTK_Blob_mapper mapper(blobs, static_cast<OCILobLocator**>(locators.get()), m_updateCount,
                           static_cast<short*>(indicators.get()));
    mapper.mb_mapToOCIBlobArray();
    m_blobMappers.reserve(m_blobMappers.size() + 1);
    bind(position, locators.get(), 0, OracleType<DTK_Blob>::external, indicators.get());
    m_blobMappers.push_back(mapper);
    static_cast<void>(locators.release());
    static_cast<void>(indicators.release());
    return *this;
}

// The position stays taken when the bind fails.
unsigned int _DTK_Statement::takeBindPosition() {
    if (!m_updateCountSet) throw DTK_Exception(error::update_count_not_set);
    return ++m_bindPosition;
}

template <typename T> DTK_StatementBase& _DTK_Statement::bindArray(T* values) {
    bind(takeBindPosition(), values, sizeof(T), OracleType<T>::external, nullptr);
    return *this;
}

DTK_StatementBase& _DTK_Statement::bindStrings(unsigned int position, DTK_String* strings, std::size_t width) {
    Storage slots = makeStorage(static_cast<std::size_t>(m_updateCount) * width);
    m_stringMappers.reserve(m_stringMappers.size() + 1);
    bind(position, slots.get(), static_cast<int>(width), OracleType<DTK_String>::external, nullptr);
    m_stringMappers.emplace_back(strings, slots.get(), m_updateCount, static_cast<int>(width), nullptr);
    static_cast<void>(slots.release());
    return *this;
}
