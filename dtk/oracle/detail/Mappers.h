#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "dtk/oracle/DTK_Blob_mapper.h"
#include "dtk/oracle/DTK_String_mapper.h"
#include "dtk/oracle/DTK_int64_mapper.h"

namespace dtk::oracle {

struct OciBuffer;

/// The mappers of a statement or a result set, with their buffers.
class Mappers {
  public:
    Mappers() = default;
    Mappers(const Mappers&) = delete;
    Mappers& operator=(const Mappers&) = delete;
    ~Mappers() { clear(); }

    bool empty() const { return m_stringMappers.empty() && m_int64Mappers.empty() && m_blobMappers.empty(); }

    /// Binds or defines a buffer.
    using TellOci = std::function<void(const OciBuffer&)>;

    /// @{

    /// Each makes buffers for a caller's array, has OCI told of them, and keeps the mapper. When that throws, the
    /// buffers are freed.
    ///
    /// @param width  bytes of a text's slot, its NUL included
    void add(DTK_String* strings, std::size_t count, std::size_t width, const TellOci& tellOci);
    void add(DTK_Blob* blobs, std::size_t count, const TellOci& tellOci);
    /// @}

    void mapToOci();
    void mapToCaller();

    /// Empties the elements from `first` on, which OCI has not filled.
    void clearFrom(int first);

    void clear();

  private:
    std::vector<DTK_String_mapper> m_stringMappers;
    std::vector<DTK_int64_mapper> m_int64Mappers;
    std::vector<DTK_Blob_mapper> m_blobMappers;
};

} // namespace dtk::oracle
