#include "oci/api/diagnostics.h"

#include <algorithm>
#include <cstring>

namespace oci {
namespace {

/// The error handle whose last diagnostic in this thread is that there was no memory.
thread_local const OCIError* out_of_memory_at = nullptr;

constexpr int out_of_memory = 4030;
constexpr std::string_view out_of_memory_text = "ORA-04030: out of process memory\n";

void copy_text(std::string_view text, OraText* buffer, ub4 size) {
    if (buffer == nullptr || size == 0) return;
    const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
    if (length != 0) std::memcpy(buffer, text.data(), length);
    buffer[length] = 0;
}

} // namespace

void release(OCIError& error) noexcept {
    {
        const std::lock_guard lock(error.mutex);
        error.diagnostics.clear();
    }
    Slab<OCIError>::give_back(error);
}

void record(OCIError* handle, const OracleError& error) noexcept {
    if (!is_live<OCIError>(handle)) return;
    try {
        const std::lock_guard lock(handle->mutex);
        handle->diagnostics.insert_or_assign(std::this_thread::get_id(), error);
        out_of_memory_at = nullptr;
    } catch (const std::bad_alloc&) {
        record_out_of_memory(handle);
    }
}

void record(OCIError* handle, int code, std::string_view detail) noexcept {
    try {
        record(handle, OracleError(code, detail));
    } catch (const std::bad_alloc&) {
        record_out_of_memory(handle);
    }
}

void record_out_of_memory(OCIError* handle) noexcept {
    if (is_live<OCIError>(handle)) out_of_memory_at = handle;
}

void forget(OCIError* handle) noexcept {
    if (!is_live<OCIError>(handle)) return;
    if (out_of_memory_at == handle) out_of_memory_at = nullptr;
    const std::lock_guard lock(handle->mutex);
    handle->diagnostics.erase(std::this_thread::get_id());
}

} // namespace oci

using namespace oci;

sword OCIErrorGet(void* hndlp, ub4 recordno, OraText*, sb4* errcodep, OraText* bufp, ub4 bufsiz, ub4 type) {
    return guarded(nullptr, [&]() -> sword {
        if (type != OCI_HTYPE_ERROR) return OCI_INVALID_HANDLE;
        OCIError& error = live<OCIError>(hndlp);
        const std::lock_guard lock(error.mutex);
        const auto found = error.diagnostics.find(std::this_thread::get_id());
        const bool starved = recordno == 1 && out_of_memory_at == &error;
        const bool known = recordno == 1 && !starved && found != error.diagnostics.end();
        if (errcodep != nullptr) *errcodep = starved ? out_of_memory : known ? found->second.code() : 0;
        copy_text(starved ? out_of_memory_text : known ? std::string_view(found->second.text()) : "", bufp, bufsiz);
        return known || starved ? OCI_SUCCESS : OCI_NO_DATA;
    });
}
