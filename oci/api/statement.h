#pragma once

#include "oci/api/locator.h"
#include "oci/api/service.h"
#include "oci/engine/statements/cursor.h"

struct OCIBind : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_BIND;

    oci::BoundLocators locators;
};

struct OCIDefine : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_DEFINE;

    oci::DefinedLocators locators;
};

struct OCIStmt : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_STMT;

    OCISvcCtx* service = nullptr;
    std::optional<oci::Cursor> cursor;
    std::vector<OCIBind*> binds;     ///< by position - 1; null until bound
    std::vector<OCIDefine*> defines; ///< by position - 1; null until defined
};

namespace oci {

/// Frees a statement handle with its binds and defines; its service context has let go of it before.
void release(OCIStmt& statement) noexcept;

} // namespace oci
