#pragma once

#include "dtk/foundation/export.h"

/// Carries 64-bit integers between a caller's array and a flat buffer of slots that hold them as decimal text.
///
/// The buffers belong to the statement or result set that made the mapper; copies share them. The caller's array must
/// outlive the use of the mapper. One thread at a time.
class DTK_EXPORT DTK_int64_mapper {
  public:
    /// @param buffer  `count` slots of `width` bytes, from the global operator new
    /// @param width  bytes of a slot, terminating NUL included: 21 hold every value
    /// @param lengths  null, or one length per element, from the global operator new
    DTK_int64_mapper(long long* values, void* buffer, int count, int width, unsigned short* lengths);
    virtual ~DTK_int64_mapper() = default;

    /// @{

    /// Copies share the buffers.
    DTK_int64_mapper(const DTK_int64_mapper&) = default;
    DTK_int64_mapper& operator=(const DTK_int64_mapper&) = default;
    /// @}

    /// Writes every value into its slot. One that is too long fills its slot without a NUL, which OCI refuses.
    void mb_mapToArray();

    /// Reads every slot's leading number into the caller's element: 0 where there is none, the nearest end of the range
    /// where it does not fit.
    void mb_mapToint64();

    /// Writes every value of the caller's array to standard output, a line each.
    void mb_print();

    /// Frees the buffers; the mapper must not be used afterwards.
    void mb_releaseBuffers();

  private:
    char* slot(int index) const;

    long long* m_values;
    char* m_buffer;
    int m_count;
    int m_width;
    unsigned short* m_lengths;
};
