#include "dtk/oracle/detail/Mappers.h"

#include "dtk/oracle/detail/OciBuffer.h"
#include "dtk/oracle/detail/OracleType.h"
#include "dtk/oracle/detail/Storage.h"

namespace dtk::oracle {

// Reserve first: once OCI knows the buffer, push_back must not throw.
void Mappers::add(DTK_String* strings, std::size_t count, std::size_t width, const TellOci& tellOci) {
    Storage slots = makeStorage(count * width);
    m_stringMappers.reserve(m_stringMappers.size() + 1);
    tellOci({slots.get(), static_cast<int>(width), OracleType<DTK_String>::external});
    m_stringMappers.emplace_back(strings, slots.release(), static_cast<int>(count), static_cast<int>(width), nullptr);
}

void Mappers::add(DTK_Blob* blobs, std::size_t count, const TellOci& tellOci) {
    Storage locators = makeStorage(count * sizeof(OCILobLocator*));
    Storage indicators = makeStorage(count * sizeof(short));
    DTK_Blob_mapper mapper(blobs, static_cast<OCILobLocator**>(locators.get()), static_cast<int>(count),
                           static_cast<short*>(indicators.get()));
    mapper.mb_mapToOCIBlobArray();
    m_blobMappers.reserve(m_blobMappers.size() + 1);
    tellOci({locators.get(), 0, OracleType<DTK_Blob>::external, static_cast<short*>(indicators.get())});
    m_blobMappers.push_back(mapper);
    static_cast<void>(locators.release());
    static_cast<void>(indicators.release());
}

void Mappers::mapToOci() {
    for (DTK_String_mapper& mapper : m_stringMappers) mapper.mb_mapToArray();
    for (DTK_int64_mapper& mapper : m_int64Mappers) mapper.mb_mapToArray();
    for (DTK_Blob_mapper& mapper : m_blobMappers) mapper.mb_mapToOCIBlobArray();
}

void Mappers::mapToCaller() {
    for (DTK_String_mapper& mapper : m_stringMappers) mapper.mb_mapToString();
    for (DTK_int64_mapper& mapper : m_int64Mappers) mapper.mb_mapToint64();
    for (DTK_Blob_mapper& mapper : m_blobMappers) mapper.mb_mapToDTK_Blob();
}

void Mappers::clearFrom(int first) {
    for (DTK_String_mapper& mapper : m_stringMappers) mapper.mb_clearFrom(first);
    for (DTK_Blob_mapper& mapper : m_blobMappers) mapper.mb_clearFrom(first);
}

void Mappers::clear() {
    for (DTK_String_mapper& mapper : m_stringMappers) mapper.mb_releaseBuffers();
    m_stringMappers.clear();
    for (DTK_int64_mapper& mapper : m_int64Mappers) mapper.mb_releaseBuffers();
    m_int64Mappers.clear();
    for (DTK_Blob_mapper& mapper : m_blobMappers) mapper.mb_releaseBuffers();
    m_blobMappers.clear();
}

} // namespace dtk::oracle
