#include "dtk/oracle/LentLocator.h"

#include <utility>

namespace dtk::oracle {

LentBlob::LentBlob(const _DTK_Blob& column, std::shared_ptr<std::atomic<int>> handles)
    : _DTK_Blob(column),
      m_handles(std::move(handles)) {
    ++*m_handles;
}

// A handle that is not the last leaves the locator to the others: the base class then has none to free.
LentBlob::~LentBlob() {
    if (--*m_handles > 0) m_locator = nullptr;
}

} // namespace dtk::oracle
