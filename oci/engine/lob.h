#pragma once

#include "oci/api/handles.h"
#include "oci/values/values.h"

#include <string>

/// A large object: bytes in memory, and the row that they came from where they can be written through to it.
struct OCILobLocator : oci::Handle {
    static constexpr ub4 code = OCI_DTYPE_LOB;

    std::string bytes;
    bool initialised = false; ///< false: refers to no large object
    bool temporary = false;
    bool is_text = false; ///< a CLOB's
    unsigned pins = 0; ///< defines that fetch into it: it may be freed meanwhile, and the next fetch revives it

    /// The row behind a fetched large object.
    OCISvcCtx* service = nullptr;
    std::string table;
    std::string column;
    long long row = 0;
    unsigned long long transaction = 0; ///< the transaction that holds the row's lock; 0: none
};

namespace oci {

/// Frees a locator; one that a define still fetches into is kept apart until the define lets go of it.
void release(OCILobLocator& locator);
void pin(OCILobLocator& locator);
void unpin(OCILobLocator& locator);
/// A locator that was freed while a define fetches into it, ready for the next row.
void revive(OCILobLocator& locator);

/// The locator behind a bind or define value: the address of a locator pointer, or the locator itself.
OCILobLocator* locator_at(void* value);

} // namespace oci
