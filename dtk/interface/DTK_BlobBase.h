#pragma once

#include "dtk/foundation/export.h"

/// A binary large object in the database, or a temporary one. Callers hold it through a DTK_Blob handle and reach it
/// with DTK_Blob::mb_get. Used by one thread at a time, while its connection is open.
///
/// Amounts are bytes; offsets count bytes from 1. Every buffer holds at least the amount.
class DTK_EXPORT DTK_BlobBase {
  public:
    /// Frees the locator, and a temporary BLOB with it.
    virtual ~DTK_BlobBase() = default;

    /// Makes this object a second one on the other's locator, which only one of them may free. Assign DTK_Blob handles
    /// instead: they count.
    virtual DTK_BlobBase& operator=(const DTK_BlobBase& other) = 0;

    /// Whether both refer to the same large object.
    ///
    /// @throws DTK_Exception 601 "_DTK_Blob object initialization error, unable to get environment pointer" the service
    ///         context has no environment
    virtual bool mb_isEqual(const DTK_BlobBase& other) const = 0;

    /// The number of bytes that the database prefers to transfer at a time.
    ///
    /// @throws ORCL_Exception it cannot be read
    virtual unsigned int mb_getChunkSize() const = 0;

    /// The length in bytes.
    ///
    /// @throws ORCL_Exception it cannot be read
    virtual unsigned int mb_length() const = 0;

    /// @{

    /// The null flag: set by whoever fetched the object, and by mb_setNull. It does not touch the database.
    virtual bool mb_isNull() const = 0;
    virtual void mb_setNull(bool null) = 0;
    /// @}

    /// Whether the locator refers to a large object.
    ///
    /// @throws DTK_Exception 601 "_DTK_Blob object initialization error, unable to get environment pointer" the service
    ///         context has no environment
    /// @throws ORCL_Exception the locator cannot be asked
    virtual bool mb_isInitialized() const = 0;

    /// Reads the next bytes, beginning at byte 1, and moves on behind them.
    ///
    /// @return the bytes read: fewer than the amount at the end, 0 behind it or for an amount of 0
    /// @throws DTK_Exception 600 "Uninitialized _DTK_Blob object" the object has no locator
    /// @throws ORCL_Exception the read failed
    virtual unsigned int mb_readChunk(unsigned int amount, unsigned char* buffer) = 0;

    /// Writes at the position that mb_readChunk has reached (byte 1 if it was never called) and does not move on, so
    /// that successive calls write over each other: use mb_write to write in pieces.
    ///
    /// @return the bytes written. A refused write is not reported otherwise.
    /// @throws DTK_Exception 600 "Uninitialized _DTK_Blob object" the object has no locator
    virtual unsigned int mb_writeChunk(unsigned int amount, unsigned char* buffer) = 0;

    /// Reads up to `amount` bytes from byte `offset` on.
    ///
    /// @return the bytes read
    /// @throws DTK_Exception 600 "Uninitialized _DTK_Blob object" the object has no locator
    /// @throws ORCL_Exception the read failed
    virtual unsigned int mb_read(unsigned int amount, unsigned char* buffer, unsigned int offset) const = 0;

    /// Writes `amount` bytes from byte `offset` on, making the object longer as needed. A BLOB of a table must have
    /// been selected FOR UPDATE.
    ///
    /// @return the bytes written; 0 for an amount of 0, without asking the database
    /// @throws DTK_Exception 600 "Uninitialized _DTK_Blob object" the object has no locator
    /// @throws ORCL_Exception the write failed
    virtual unsigned int mb_write(unsigned int amount, unsigned char* buffer, unsigned int offset) = 0;

    /// Flushes and frees the client's buffers of the object. @return whether that succeeded; never throws
    virtual bool mb_flushBuffer() = 0;
};
