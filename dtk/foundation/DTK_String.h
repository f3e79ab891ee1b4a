/// @file
#pragma once

#include <iosfwd>
#include <string>

#include "dtk/foundation/export.h"

/// The text type of every argument and result: a value that owns a sequence of bytes. No character set is implied.
///
/// A null pointer given as text is not checked: it is the caller's error. Nothing here throws an exception of the
/// library. One thread at a time per object.
class DTK_EXPORT DTK_String {
  public:
    /// @{

    /// Each holds a copy of the text that it is given, or the empty text; of a pointer, the bytes before the first NUL.
    DTK_String();
    DTK_EXPORT_INLINE DTK_String(const char* bytes) : m_str(bytes) {}
    DTK_String(const std::string& text);
    DTK_String(const DTK_String& other);
    /// @}

    DTK_EXPORT_INLINE virtual ~DTK_String() = default;

    /// @{

    /// Each replaces the text by a copy of the other.
    DTK_String& operator=(const DTK_String& other);
    DTK_String& operator=(const char* text);
    DTK_String& operator=(char* text);
    /// @}

    /// @{

    /// This text followed by the other, as a new text.
    DTK_String operator+(const DTK_String& other);
    DTK_String operator+(const char* text);
    /// @}

    /// The number of bytes.
    DTK_EXPORT_INLINE unsigned int mb_length() const { return static_cast<unsigned int>(m_str.size()); }

    /// The bytes with a NUL behind them; valid until this text is changed or destroyed.
    DTK_EXPORT_INLINE const char* c_str() const { return m_str.c_str(); }

    /// @{

    /// Each replaces the whole text by the number: integers as "%d" writes them, floating point as "%f" does.
    void mb_fromInt(int value);
    void mb_fromLong(long value);
    void mb_fromInt64(long long value);
    void mb_fromFloat(float value);
    void mb_fromDouble(double value);
    /// @}

    /// At most `len` bytes from byte `pos` (0 is the first) on; the empty text when `pos` lies past the end.
    DTK_String mb_subStr(unsigned int pos, unsigned int len);

    /// Replaces `what` by `with`, in place, from byte `start` on; a negative start finds nothing.
    ///
    /// Each search begins at the replacement just made, so a text that forms there is replaced too. It begins behind
    /// the replacement when `with` itself contains `what`. An empty `what` changes nothing.
    ///
    /// @return a copy of the resulting text
    std::string mb_replace(std::string& what, std::string& with, int start);

    /// A fixed 32-bit hash of the bytes before the first NUL, each read as a signed char; 0 for the empty text.
    unsigned int mb_hash();

  private:
    std::string m_str;
};

/// Writes the bytes before the first NUL.
DTK_EXPORT std::ostream& operator<<(std::ostream& stream, DTK_String& text);
