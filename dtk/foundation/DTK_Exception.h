#pragma once

#include <exception>
#include <string>

#include "dtk/foundation/errors.h"
#include "dtk/foundation/export.h"

/// A failure of the library: every failure leaves it as this class or as its subclass ORCL_Exception.
///
/// Code 0 marks an Oracle error: mb_getDBErrorCode then holds the ORA- number and mb_getMessage Oracle's text.
/// Any other code is the library's own; dtk/foundation/errors.h lists them with their messages.
class DTK_EXPORT DTK_Exception : public std::exception {
  public:
    /// One of the library's own errors, with its code and message.
    explicit DTK_Exception(const dtk::error::Definition& error);

    /// An error with a code and message of the caller's choice.
    DTK_Exception(int errorCode, std::string message);

    /// Records where a client raised the error: the message becomes "origin::line  message", cut to 1023 bytes.
    DTK_Exception(int errorCode, std::string origin, int line, std::string message);

    /// @{

    /// The copy has the same codes and texts.
    DTK_Exception(const DTK_Exception& other);
    DTK_Exception& operator=(const DTK_Exception& other);
    ~DTK_Exception() override;
    /// @}

    /// A const exception, or one held as std::exception, answers with the standard library's text.
    using std::exception::what;

    /// "DTK ERROR code:message", or "ORACLE ERROR number:text" when the code is 0, cut to 199 bytes.
    ///
    /// @return a buffer of the calling thread; its next what() on any exception overwrites the text
    char* what();

    /// The library's message, or Oracle's text when the code is 0.
    std::string mb_getMessage();

    /// The library's error code; 0 marks an Oracle error.
    int mb_getErrorCode();

    /// The ORA- number of an Oracle error, otherwise 0.
    int mb_getDBErrorCode();

  protected:
    int m_errorCode;         ///< 0 marks an Oracle error
    int m_dbErrorCode;       ///< the ORA- number; 0 otherwise
    std::string m_message;   ///< the library's text
    std::string m_dbMessage; ///< Oracle's text
};
