#include "dtk/oracle/detail/OciBuffer.h"

#include <algorithm>

namespace dtk::oracle {

std::size_t OciBuffer::width() const {
    return external == SQLT_BLOB ? sizeof(OCILobLocator*) : static_cast<std::size_t>(std::max(size_bytes, 0));
}

OCIBind* bind(const Handles& handles, unsigned int position, const OciBuffer& buffer) {
    OCIBind* handle = nullptr;
    check(OCIBindByPos(handles.statement, &handle, handles.error, position, buffer.values, buffer.size_bytes,
                       buffer.external, buffer.indicators, nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
          handles.error);
    return handle;
}

void define(const Handles& handles, OCIDefine*& handle, unsigned int position, const OciBuffer& buffer) {
    check(OCIDefineByPos(handles.statement, &handle, handles.error, position, buffer.values, buffer.size_bytes,
                         buffer.external, buffer.indicators, nullptr, nullptr, OCI_DEFAULT),
          handles.error);
}

} // namespace dtk::oracle
