#include "dtk/oracle/DTK_Blob_mapper.h"

#include <new>

#include "dtk/oracle/DTK_Blob.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/detail/OracleType.h"

using dtk::oracle::indicatorNull;
using dtk::oracle::locatorOf;

DTK_Blob_mapper::DTK_Blob_mapper(DTK_Blob* blobs, OCILobLocator** locators, int count, short* indicators)
    : m_blobs(blobs),
      m_locators(locators),
      m_count(count),
      m_indicators(indicators) {}

void DTK_Blob_mapper::mb_mapToOCIBlobArray() {
    for (int i = 0; i < m_count; ++i) {
        auto* blob = static_cast<_DTK_Blob*>(m_blobs[i].mb_get());
        m_locators[i] = blob ? locatorOf(*blob) : nullptr;
        m_indicators[i] = !blob || blob->mb_isNull() ? indicatorNull : short{0};
    }
}

void DTK_Blob_mapper::mb_mapToDTK_Blob() {
    for (int i = 0; i < m_count; ++i) {
        auto* blob = static_cast<_DTK_Blob*>(m_blobs[i].mb_get());
        if (!blob) continue;
        locatorOf(*blob) = m_locators[i];
        blob->mb_setNull(m_indicators[i] == indicatorNull);
    }
}

void DTK_Blob_mapper::mb_clearFrom(int first) {
    for (int i = first; i < m_count; ++i) m_indicators[i] = indicatorNull;
}

void DTK_Blob_mapper::mb_releaseBuffers() {
    ::operator delete(m_locators);
    ::operator delete(m_indicators);
}
