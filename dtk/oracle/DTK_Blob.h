#pragma once

#include <memory>

#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_BlobBase.h"
#include "dtk/oracle/DTK_SmartPointer.h"

class DTK_Blob;
class _DTK_Blob;

namespace dtk::oracle {
DTK_Blob handleOn(std::unique_ptr<_DTK_Blob> blob);
}

extern template class DTK_SmartPointer<DTK_BlobBase>;

/// A caller's handle on a binary large object. Handles are assigned freely; the last one on an object deletes it.
///
///     DTK_Blob photo;
///     photo = resultSet->mb_getDTK_Blob(2);
///     unsigned int size = photo.mb_get()->mb_length();
///
/// Pass handles by reference and duplicate them by assignment: a copy-constructed handle is not counted. Every release
/// of an object writes a line to standard output. Handles on one object may live on different threads; the object
/// itself serves one thread at a time.
class DTK_EXPORT DTK_Blob {
  public:
    /// An empty handle.
    DTK_Blob();
    ~DTK_Blob();

    /// Lets the present object go and shares the other's.
    DTK_Blob& operator=(const DTK_Blob& other);

    /// Lets the present object go and takes over `blob`, which must not be the one that the handle already holds.
    void mb_init(DTK_BlobBase* blob);

    /// Gives access to the object.
    ///
    /// @return the object, which stays the handle's; null when the handle is empty
    DTK_BlobBase* mb_get();

  private:
    friend DTK_Blob dtk::oracle::handleOn(std::unique_ptr<_DTK_Blob> blob);

    explicit DTK_Blob(std::unique_ptr<DTK_BlobBase> blob);

    DTK_SmartPointer<DTK_BlobBase> m_pointer;
};
