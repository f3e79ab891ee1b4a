#pragma once

#include <cstddef>

#include "dtk/foundation/columnBuffer.h"
#include "dtk/oracle/detail/OciBuffer.h"
#include "dtk/oracle/detail/Rows.h"
#include "dtk/oracle/detail/Storage.h"

namespace dtk::oracle {

/// A placeholder of a statement: its value, and the bind by which OCI reads and writes it.
///
/// It is bound to one value, to that value once per iteration, or to a caller's array.
class Parameter : public columnBuffer {
  public:
    /// Binds a buffer that others own. What was bound before counts no more.
    ///
    /// @throws ORCL_Exception it was refused; nothing has changed
    void bind(const Handles& handles, unsigned int position, const OciBuffer& buffer);

    /// Binds one value in the place of the one before.
    ///
    /// @param value  becomes the placeholder's
    /// @param buffer  where OCI finds the value: at `value`, unless it names another place
    /// @throws ORCL_Exception the bind was refused; nothing has changed
    void bindValue(const Handles& handles, unsigned int position, DTK_DATATYPES type, Storage value, OciBuffer buffer);

    /// Binds a BLOB of the caller's. What is stored here stays as it is.
    ///
    /// @throws ORCL_Exception the bind was refused; nothing has changed
    void bindBlob(const Handles& handles, unsigned int position, OCILobLocator** locator, bool null);

    /// An execution with many iterations steps through every bind: gives it the one value as often as that.
    ///
    /// @throws ORCL_Exception the bind was refused
    void repeat(const Handles& handles, unsigned int position, std::size_t iterations);

    /// Whether the bind reads the value once per iteration.
    bool isRepeated() const { return m_single.values && m_iterations.count() > 0; }

    /// Takes over what the first iteration has put out.
    void takeFirstIteration();

    /// The statement has another handle from now on: this one's binds are neither repeated nor read.
    void forgetBind();

  private:
    OCIBind* m_bind = nullptr;
    OciBuffer m_single;        ///< the one value; without a place when there is none
    short m_blobIndicator = 0; ///< of a caller's BLOB
    Rows m_iterations;
};

} // namespace dtk::oracle
