#pragma once

#include <cstddef>

#include <oci.h>

#include "dtk/oracle/detail/oci.h"

namespace dtk::oracle {

/// Where OCI reads or writes the values of a bind or a define: one behind the other, with an indicator for each.
struct OciBuffer {
    void* values = nullptr;
    int size_bytes = 0; ///< of a value; 0 for BLOBs
    ub2 external = 0;   ///< OCI's code of their type
    short* indicators = nullptr;

    /// The distance from one value to the next.
    std::size_t width() const;
};

/// @return the new bind
/// @throws ORCL_Exception it was refused
OCIBind* bind(const Handles& handles, unsigned int position, const OciBuffer& buffer);

/// Defines a column, or defines it again when `handle` is that of an earlier define.
///
/// @throws ORCL_Exception it was refused
void define(const Handles& handles, OCIDefine*& handle, unsigned int position, const OciBuffer& buffer);

} // namespace dtk::oracle
