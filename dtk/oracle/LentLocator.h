#pragma once

#include <atomic>
#include <memory>

#include "dtk/oracle/_DTK_Blob.h"

namespace dtk::oracle {

/// The locator of a BLOB column while handles share it. The last handle frees it, although the column still fetches
/// into it; the result set therefore gives the column a new one before it fetches again.
struct LentLocator {
    _DTK_Blob* column;
    std::shared_ptr<std::atomic<int>> handles;
};

/// The object behind a handle on a column's BLOB.
class LentBlob final : public _DTK_Blob {
  public:
    LentBlob(const _DTK_Blob& column, std::shared_ptr<std::atomic<int>> handles);
    ~LentBlob() override;

  private:
    std::shared_ptr<std::atomic<int>> m_handles;
};

} // namespace dtk::oracle
