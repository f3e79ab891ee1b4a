#pragma once

#include <new>

#include "dtk/foundation/DTK_DATATYPES.h"
#include "dtk/foundation/export.h"

/// The value of one column of a result set, or of one placeholder of a statement, with its type and OCI indicator.
///
/// Owns `m_value` and releases its storage without running a destructor: allocate it with the global operator new, or
/// as a plain new of a single object, text included. What a released object refers to (a LOB descriptor) stays with
/// OCI.
struct DTK_EXPORT columnBuffer {
    columnBuffer() = default;
    columnBuffer(const columnBuffer&) = delete;
    columnBuffer& operator=(const columnBuffer&) = delete;
    ~columnBuffer() { ::operator delete(m_value); }

    void* m_value = nullptr;            ///< the value as OCI reads or writes it; owned
    DTK_DATATYPES m_type = DTK_UNKNOWN; ///< tells what m_value points to
    short m_indicator = 0;              ///< as OCI sets it: -1 NULL, 0 a whole value, otherwise cut
    bool m_errorOnNull = false;         ///< recorded for a placeholder on request; nothing reads it
};
