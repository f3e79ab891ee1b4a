#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

/// Stands between the library and the OCI client: a test program with interpose.cpp among its sources sees every call
/// of an OCI function, of sleep and of pthread_create, may answer it in the client's place, and otherwise has it passed
/// on. Calls of sem_wait and sem_trywait are too many to note: they reach a hook of their own alone.
namespace interpose {

/// One call with its arguments in the order of the published signature.
struct Call {
    std::string_view function;
    std::array<std::intptr_t, 13> arguments{};
    std::function<int()> pass; ///< makes the call at the client; only in the call that a hook is given

    /// The argument at an index that starts at 0.
    template <typename T> T argument(std::size_t index) const {
        if constexpr (std::is_pointer_v<T>)
            return reinterpret_cast<T>(arguments.at(index)); // NOLINT(performance-no-int-to-ptr): it was one
        else
            return static_cast<T>(arguments.at(index));
    }
};

/// Sees a call before the client does: a value is returned to the library in the client's place, nullopt passes on.
using Hook = std::function<std::optional<int>(const Call&)>;

/// Hooks one function, or with the empty name each function that has no hook of its own. Replaces an earlier hook.
/// The hook runs on the calling thread with no lock held, so it may block and may call OCI and interpose itself.
void on(std::string_view function, Hook hook);

/// All calls since the last reset in their order, or those of one function.
std::vector<Call> calls(std::string_view function = {});

/// Forgets hooks and calls.
void reset();

} // namespace interpose
