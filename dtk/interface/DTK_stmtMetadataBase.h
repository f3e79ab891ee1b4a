#pragma once

#include "dtk/foundation/export.h"

/// The description of a query's columns. Made by DTK_ResultSetBase::mb_getMetadata; the caller deletes it, and uses it
/// only while the statement is prepared. Used by one thread at a time.
///
/// Columns count from 1. One outside the select list is the caller's error, which OCI refuses: each operation throws
/// what it throws when OCI does.
class DTK_EXPORT DTK_stmtMetadataBase {
  public:
    /// The columns' descriptors stay with the statement.
    virtual ~DTK_stmtMetadataBase() = default;

    /// The number of columns; 0 for a statement that is no query.
    virtual unsigned int mb_getNumberofBindColumns() = 0;

    /// The bytes that a fetched text takes, terminating NUL included: 30 for a ROWID, the declared size plus 1 for
    /// character types. For other types Oracle's own size.
    ///
    /// @throws ORCL_Exception the attribute cannot be read
    virtual int mb_getSize(unsigned int column) = 0;

    /// The DTK_DATATYPES value that the column is fetched as.
    ///
    /// @throws ORCL_Exception the data type cannot be read
    /// @throws DTK_Exception 701 "error in getting scale information" a number's scale cannot be read
    /// @throws DTK_Exception 701 "error in getting Precision information" a number's precision cannot be read
    virtual int mb_getType(unsigned int column) = 0;

    /// The scale as the database stores it, in one byte: 256 is added to a negative one (a NUMBER without precision
    /// and scale has -127 and reads 129).
    ///
    /// @throws DTK_Exception 701 "error in getting scale information" it cannot be read
    virtual int mb_getScale(unsigned int column) = 0;

    /// The precision in decimal digits; 0 for a NUMBER without one.
    ///
    /// @throws DTK_Exception 701 "error in getting precision information" it cannot be read
    virtual int mb_getPrecision(unsigned int column) = 0;

    /// Whether the column accepts NULL.
    ///
    /// @throws DTK_Exception 705 "error in getting null column information" it cannot be read
    virtual bool mb_isNull(unsigned int column) = 0;
};
