#pragma once

#include "oci/api/handles.h"
#include "oci/engine/buffers/buffer.h"
#include "oci/engine/buffers/large_object.h"

#include <vector>

struct OCILobLocator : oci::Handle {
    static constexpr ub4 code = OCI_DTYPE_LOB;

    oci::LargeObject object;
    unsigned pins = 0; ///< defines that fetch into it: it may be freed meanwhile, and the next fetch revives it
};

namespace oci {

/// Frees a locator; one that a define still fetches into is kept apart until the define lets go of it.
void release(OCILobLocator& locator) noexcept;

/// The locators behind the elements of a bind or define: each is the address of a locator pointer, or the locator
/// itself.
class Locators : public LargeObjects {
  public:
    void set_elements(void* elements) { m_elements = static_cast<void**>(elements); }

  protected:
    OCILobLocator* locator(ub4 index) const;

  private:
    void** m_elements = nullptr;
};

class BoundLocators final : public Locators {
  public:
    LargeObject& at(ub4 index) override;
    LargeObject& to_fill(ub4 index) override { return at(index); }
};

/// Holds on to the locators that it has fetched into: should the caller free one, the next fetch revives it.
class DefinedLocators final : public Locators {
  public:
    LargeObject& at(ub4 index) override { return to_fill(index); }
    LargeObject& to_fill(ub4 index) override;
    void let_go() noexcept;

  private:
    std::vector<OCILobLocator*> m_pinned; ///< by element
};

} // namespace oci
