#pragma once

#include <memory>

struct OCILobLocator;

namespace dtk::oracle {

struct LocatorDeleter {
    void operator()(OCILobLocator* locator) const;
};

/// A locator of the library's own that no handle shares.
using OwnedLocator = std::unique_ptr<OCILobLocator, LocatorDeleter>;

} // namespace dtk::oracle
