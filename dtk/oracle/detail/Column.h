#pragma once

#include <atomic>
#include <memory>

#include "dtk/foundation/columnBuffer.h"
#include "dtk/oracle/detail/OciBuffer.h"
#include "dtk/oracle/detail/Rows.h"
#include "dtk/oracle/detail/locators.h"

namespace dtk::oracle {

/// A column of a result set: room for its value in one row, the define by which OCI writes there, and the handles that
/// share its locator when it is a BLOB.
class Column : public columnBuffer {
  public:
    /// A column that is not defined yet.
    ///
    /// @param size_bytes  of a text
    /// @return null for a type that no column has
    /// @throws ORCL_Exception, DTK_Exception 602: a BLOB could not be made
    static std::unique_ptr<Column> make(const Handles& handles, unsigned int position, DTK_DATATYPES type,
                                        int size_bytes);

    /// Has OCI write here from now on. There is room for one row: of a batch the rows are dropped.
    ///
    /// @throws ORCL_Exception the define was refused
    /// @throws DTK_Exception 602 no locator could be made for the dropped rows
    OCIDefine* define(const Handles& handles, std::size_t rows);

    /// OCI writes elsewhere from now on: an array has been defined, or the result set reads another statement.
    void undefine();

    bool isDefined() const { return m_define != nullptr; }
    unsigned int position() const { return m_position; }

    /// The column's BLOB for a caller. It has no locator once the last one lent for the row has gone, which has freed
    /// it.
    std::unique_ptr<_DTK_Blob> lend();

    /// Whether callers may have freed the locator.
    bool isLent() const { return m_holders != nullptr; }

    /// Gives the column a new locator in place of a freed one.
    ///
    /// @throws ORCL_Exception, DTK_Exception 602: no locator could be made, or the define was refused
    void replaceFreedLocator(const Handles& handles, std::size_t rows);

  private:
    Column(unsigned int position, DTK_DATATYPES type, Storage value, const OciBuffer& row);

    _DTK_Blob& blob() const { return *static_cast<_DTK_Blob*>(m_value); }
    void defineDroppedRows(const Handles& handles, std::size_t rows);

    unsigned int m_position;
    OciBuffer m_row;
    OCIDefine* m_define = nullptr;
    Rows m_droppedRows; ///< where rows go while the bulk count is above 1
    OwnedLocator m_droppedLocator;
    std::shared_ptr<std::atomic<int>> m_holders; ///< null until the BLOB is lent
};

} // namespace dtk::oracle
