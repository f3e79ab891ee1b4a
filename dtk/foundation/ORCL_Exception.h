#pragma once

#include "dtk/foundation/DTK_Exception.h"

struct OCIError;

/// A failed OCI call: code 0, the ORA- number and Oracle's text as OCI wrote it, trailing line break included.
class DTK_EXPORT ORCL_Exception : public DTK_Exception {
  public:
    /// Takes the first diagnostic record out of the error handle of the failed call. A handle that OCI cannot read
    /// gives number 0 and an empty text.
    explicit ORCL_Exception(const OCIError* errorHandle);

    /// @{

    /// The copy has the same number and text.
    ORCL_Exception(const ORCL_Exception& other);
    ORCL_Exception& operator=(const ORCL_Exception& other);
    ~ORCL_Exception() override;
    /// @}
};
