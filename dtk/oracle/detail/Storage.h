#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace dtk::oracle {

struct StorageDeleter {
    void operator()(void* memory) const { ::operator delete(memory); }
};

/// Memory that OCI reads or writes, owned until it is released into a columnBuffer or a mapper. Those free it with
/// ::operator delete, which is why it comes from ::operator new whatever it holds.
using Storage = std::unique_ptr<void, StorageDeleter>;

/// Zeroed memory with one more zero byte behind it, so that a text that fills it still ends.
inline Storage makeStorage(std::size_t size_bytes) {
    Storage storage(::operator new(size_bytes + 1));
    std::memset(storage.get(), 0, size_bytes + 1);
    return storage;
}

} // namespace dtk::oracle
