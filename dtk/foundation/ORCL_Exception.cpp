#include "dtk/foundation/ORCL_Exception.h"

#include <cstring>

#include <oci.h>

ORCL_Exception::ORCL_Exception(const OCIError* errorHandle) : DTK_Exception(0, "Oracle Error") {
    // OCI leaves both untouched when the handle holds no record, so they start empty and its status says nothing more.
    sb4 number = 0;
    OraText message[1024] = {};
    OCIErrorGet(const_cast<OCIError*>(errorHandle), 1, nullptr, &number, message, sizeof message, OCI_HTYPE_ERROR);
    m_dbErrorCode = number;
    const char* bytes = reinterpret_cast<const char*>(message);
    m_dbMessage.assign(bytes, strnlen(bytes, sizeof message));
}

ORCL_Exception::ORCL_Exception(const ORCL_Exception& other) = default;
ORCL_Exception& ORCL_Exception::operator=(const ORCL_Exception& other) = default;
ORCL_Exception::~ORCL_Exception() = default;
