#pragma once

#include "oci/values/values.h"

#include <cstring>
#include <utility>

namespace oci {

class LargeObject;

/// The large objects that the elements of a caller's buffer stand for.
class LargeObjects {
  public:
    virtual ~LargeObjects() = default;
    /// ORA-22275 where the element has none.
    virtual LargeObject& at(ub4 index) = 0;
    /// The one that a row is fetched into.
    virtual LargeObject& to_fill(ub4 index) = 0;
};

/// A caller's buffer for the values of one placeholder or column. Element i lies i * size bytes in (locators: i
/// pointers), its indicator, length and return code at index i.
struct Buffer {
    Buffer() = default;
    /// @throws ORA-03115 for an external type, ORA-01460 for a size, that cannot be converted
    Buffer(void* values, sb4 size_bytes, ub2 external_type, void* indicators, ub2* lengths, ub2* return_codes,
           LargeObjects& objects);

    char* element(ub4 index) const { return static_cast<char*>(value) + index * step; }
    bool is_lob() const { return type == SQLT_BLOB || type == SQLT_CLOB; }
    bool is_text() const { return type == SQLT_STR || type == SQLT_CHR || type == SQLT_LNG; }

    void* value = nullptr;
    std::size_t step = 0; ///< bytes from one element to the next
    sb4 size = 0;
    ub2 type = 0;
    sb2* indicator = nullptr;
    ub2* length = nullptr;
    ub2* return_code = nullptr;
    LargeObjects* large_objects = nullptr;
    bool is_null = false; ///< of a bind: no element has a value to read
};

/// Callers' buffers need not be aligned.
template <class T> T load(const char* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T> void store(char* to, T value) {
    std::memcpy(to, &value, sizeof value);
}

/// Tells the caller that an element has been written.
inline void done(const Buffer& buffer, ub4 index, std::size_t length) {
    if (buffer.indicator != nullptr) buffer.indicator[index] = 0;
    if (buffer.length == nullptr && buffer.return_code == nullptr) [[likely]]
        return;
    if (buffer.length != nullptr) buffer.length[index] = static_cast<ub2>(length < 65535 ? length : 65535);
    if (buffer.return_code != nullptr) buffer.return_code[index] = 0;
}

/// What a read of a buffer may need room for.
struct Scratch {
    char date[iso_size];
    std::string text;
};

/// The value that the caller put into an element. It may point into the buffer or the scratch.
Value read(const Buffer& buffer, ub4 index, Scratch& scratch);

/// Writes a value into an element in the buffer's type, whatever the two are.
/// @throws the ORA- number of a value that cannot be converted or does not fit
void write(const Buffer& buffer, ub4 index, const Value& value);
/// The value is NULL; ORA-01405 where no indicator can tell.
void write_null(const Buffer& buffer, ub4 index);

// The same where the buffer's type is known to be the one that the name says.

template <class T> void write_integer(const Buffer& buffer, ub4 index, std::int64_t number) {
    if (!std::in_range<T>(number)) throw OracleError(error::integer_overflow);
    store(buffer.element(index), static_cast<T>(number));
    done(buffer, index, sizeof(T));
}
void write_real(const Buffer& buffer, ub4 index, double number);
void write_text(const Buffer& buffer, ub4 index, std::string_view text);
void write_date(const Buffer& buffer, ub4 index, std::string_view text);

/// Would the value be written whole? Of what is written as text it may be too long for an element.
bool has_room(const Buffer& buffer, const Value& value);

} // namespace oci
