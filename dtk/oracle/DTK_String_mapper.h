#pragma once

#include "dtk/foundation/export.h"

class DTK_String;

/// Carries texts between a caller's array and the flat buffer that OCI reads and writes: slots of equal width, each
/// with a NUL-terminated text.
///
/// The buffers belong to the statement or result set that made the mapper; copies share them. The caller's array must
/// outlive the use of the mapper. One thread at a time.
class DTK_EXPORT DTK_String_mapper {
  public:
    /// @param buffer  `count` slots of `width` bytes, from the global operator new
    /// @param width  bytes of a slot, terminating NUL included
    /// @param lengths  null, or one length per element, from the global operator new
    DTK_String_mapper(DTK_String* strings, void* buffer, int count, int width, unsigned short* lengths);
    virtual ~DTK_String_mapper() = default;

    /// @{

    /// Copies share the buffers.
    DTK_String_mapper(const DTK_String_mapper&) = default;
    DTK_String_mapper& operator=(const DTK_String_mapper&) = default;
    /// @}

    /// Copies every text into its slot. One that is too long fills its slot without a NUL, which OCI refuses.
    void mb_mapToArray();

    /// Assigns every slot's text to the caller's element.
    void mb_mapToString();

    /// Writes every element of the caller's array to standard output, a line each.
    void mb_print();

    /// Empties the slots from element `first` on.
    void mb_clearFrom(int first);

    /// Frees the buffers; the mapper must not be used afterwards.
    void mb_releaseBuffers();

  private:
    char* slot(int index) const;

    DTK_String* m_strings;
    char* m_buffer;
    int m_count;
    int m_width;
    unsigned short* m_lengths;
};
