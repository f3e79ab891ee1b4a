#pragma once

#include <vector>

#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_stmtMetadataBase.h"

struct OCIError;
struct OCIParam;
struct OCIStmt;

/// Column descriptions read from OCI, one attribute at a time. The descriptors belong to the statement; copies share
/// them.
class DTK_EXPORT _DTK_stmtMetadata : public DTK_stmtMetadataBase {
  public:
    /// No columns until mb_initMetaData.
    _DTK_stmtMetadata();

    /// The source's columns, with its error handle.
    _DTK_stmtMetadata(const _DTK_stmtMetadata& other);
    ~_DTK_stmtMetadata() override;

    /// Appends the source's columns to those already here, and takes its error handle.
    _DTK_stmtMetadata& operator=(_DTK_stmtMetadata other);

    unsigned int mb_getNumberofBindColumns() override;
    int mb_getSize(unsigned int column) override;
    int mb_getType(unsigned int column) override;
    int mb_getScale(unsigned int column) override;
    int mb_getPrecision(unsigned int column) override;
    bool mb_isNull(unsigned int column) override;

    /// Appends the columns of an executed statement to those already here.
    ///
    /// @throws DTK_Exception 704 "error in getting parameter count for the statement" the columns cannot be counted
    /// @throws DTK_Exception 703 "error in getting parameter information" a column cannot be described; those before it
    ///         stay
    void mb_initMetaData(OCIStmt* statement, OCIError* errorHandle);

  private:
    int readAttribute(unsigned int column, unsigned int attribute, unsigned short& value);

    std::vector<OCIParam*> m_params;
    OCIError* m_errorHandle;
};
