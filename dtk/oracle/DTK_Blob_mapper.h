#pragma once

#include "dtk/foundation/export.h"

struct OCILobLocator;
class DTK_Blob;

/// Carries BLOBs between a caller's array of handles and the locator and indicator arrays that OCI reads and writes.
///
/// The arrays belong to the statement or result set that made the mapper; copies share them. The caller's array must
/// outlive the use of the mapper. One thread at a time.
class DTK_EXPORT DTK_Blob_mapper {
  public:
    /// @param locators, indicators  `count` elements each, from the global operator new
    DTK_Blob_mapper(DTK_Blob* blobs, OCILobLocator** locators, int count, short* indicators);
    virtual ~DTK_Blob_mapper() = default;

    /// @{

    /// Copies share the buffers.
    DTK_Blob_mapper(const DTK_Blob_mapper&) = default;
    DTK_Blob_mapper& operator=(const DTK_Blob_mapper&) = default;
    /// @}

    /// Takes every element's locator and null flag. An empty handle counts as NULL.
    void mb_mapToOCIBlobArray();

    /// Gives every element its locator and null flag back. An empty handle stays empty.
    void mb_mapToDTK_Blob();

    /// Marks the elements from `first` on as NULL.
    void mb_clearFrom(int first);

    /// Frees the arrays; the mapper must not be used afterwards.
    void mb_releaseBuffers();

  private:
    DTK_Blob* m_blobs;
    OCILobLocator** m_locators;
    int m_count;
    short* m_indicators;
};
