#pragma once

#include "oci/api/handles.h"

#include <new>
#include <thread>
#include <unordered_map>

/// One error handle serves many threads: each thread reads back its own last diagnostic.
struct OCIError : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_ERROR;

    std::mutex mutex;
    std::unordered_map<std::thread::id, oci::OracleError> diagnostics;
};

namespace oci {

void release(OCIError& error) noexcept;

/// Keeps the diagnostic for OCIErrorGet. Nothing is kept when the handle is none.
void record(OCIError* handle, const OracleError& error) noexcept;
void record(OCIError* handle, int code, std::string_view detail) noexcept;
/// Without memory there is none for a diagnostic either: that it was so is kept apart.
void record_out_of_memory(OCIError* handle) noexcept;
void forget(OCIError* handle) noexcept;

/// Runs an operation; what it throws becomes a status and a diagnostic.
template <class Operation> sword guarded(OCIError* error, Operation&& operation) noexcept {
    try {
        return operation();
    } catch (const OracleError& failure) {
        record(error, failure);
        return OCI_ERROR;
    } catch (const InvalidHandle&) {
        forget(error);
        return OCI_INVALID_HANDLE;
    } catch (const std::bad_alloc&) {
        record_out_of_memory(error);
        return OCI_ERROR;
    } catch (const std::exception& failure) {
        record(error, 600, failure.what());
        return OCI_ERROR;
    }
}

} // namespace oci
