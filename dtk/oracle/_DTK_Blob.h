#pragma once

#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_BlobBase.h"

struct OCIEnv;
struct OCIError;
struct OCILobLocator;
struct OCISvcCtx;
class _DTK_Blob;

namespace dtk::oracle {
OCILobLocator*& locatorOf(_DTK_Blob& blob);
}

/// A BLOB over an OCI locator. Copies share the locator, and only one of a set of copies may be destroyed.
class DTK_EXPORT _DTK_Blob : public DTK_BlobBase {
  public:
    /// An object without a locator: transfers throw 600 until mb_initialize.
    _DTK_Blob();

    /// @{

    /// A second object on the other's locator, with its null flag and reading position.
    _DTK_Blob(const _DTK_Blob& other);
    _DTK_Blob& operator=(const _DTK_Blob& other);
    /// @}

    ~_DTK_Blob() override;

    DTK_BlobBase& operator=(const DTK_BlobBase& other) override;
    bool mb_isEqual(const DTK_BlobBase& other) const override;
    unsigned int mb_getChunkSize() const override;
    unsigned int mb_length() const override;
    bool mb_isNull() const override;
    void mb_setNull(bool null) override;
    bool mb_isInitialized() const override;
    unsigned int mb_readChunk(unsigned int amount, unsigned char* buffer) override;
    unsigned int mb_writeChunk(unsigned int amount, unsigned char* buffer) override;
    unsigned int mb_read(unsigned int amount, unsigned char* buffer, unsigned int offset) const override;
    unsigned int mb_write(unsigned int amount, unsigned char* buffer, unsigned int offset) override;
    bool mb_flushBuffer() override;

    /// Gives the object a new locator; one that it held before is not freed.
    ///
    /// @param temporary  true: a temporary BLOB, which lasts as long as the session; false: a target for fetches
    /// @return always false
    /// @throws DTK_Exception 602 "_DTK_Blob object initialization error, initialization of descriptor failed" the
    ///         locator or the temporary BLOB could not be made
    bool mb_initialize(OCIEnv* environment, OCISvcCtx* serviceContext, OCIError* errorHandle, bool temporary);

  protected:
    OCILobLocator* m_locator; ///< null until mb_initialize
    OCISvcCtx* m_svcCtx;      ///< the session's; not owned
    OCIError* m_errorHandle;  ///< the process's; not owned

  private:
    friend OCILobLocator*& dtk::oracle::locatorOf(_DTK_Blob& blob);

    OCIEnv* environment() const;
    void requireLocator() const;
    unsigned int readFrom(unsigned int amount, unsigned char* buffer, unsigned int offset) const;
    int writeAt(unsigned int& amount, unsigned char* buffer, unsigned int offset);

    bool m_isNull;
    unsigned long long m_offset;
};
