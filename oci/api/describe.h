#pragma once

#include "oci/api/handles.h"
#include "oci/engine/statements/statement.h"

struct OCIParam : oci::Handle {
    static constexpr ub4 code = OCI_DTYPE_PARAM;

    oci::ColumnType type;
};

namespace oci {

/// The descriptors of a text's columns. They stay with the text: an application may read one after its statement handle
/// is gone.
class Params final : public ColumnDescriptors {
  public:
    Params() = default;
    ~Params() override;
    Params(const Params&) = delete;
    Params& operator=(const Params&) = delete;

    OCIParam& at(std::size_t column, const std::vector<FetchedColumn>& columns, OCIEnv* env);
    void update(const std::vector<FetchedColumn>& columns) noexcept override;

  private:
    std::vector<OCIParam*> m_params;
};

} // namespace oci
