#include "oci/api/describe.h"

#include "oci/api/statement.h"

#include <algorithm>

namespace oci {
namespace {

/// The widths are those of the published describe interface.
template <class T, class V> void answer(void* attribute, ub4* size, V value) {
    *static_cast<T*>(attribute) = static_cast<T>(value);
    if (size != nullptr) *size = sizeof(T);
}

sword unknown_attribute(ub4 attribute) {
    throw OracleError(error::illegal_attribute_type, std::to_string(attribute));
}

sword statement_attribute(const OCIStmt& handle, void* attribute, ub4* size, ub4 type) {
    const Cursor& cursor = *handle.cursor;
    const Statement& statement = cursor.statement();
    switch (type) {
    case OCI_ATTR_STMT_TYPE: answer<ub2>(attribute, size, statement.type()); return OCI_SUCCESS;
    case OCI_ATTR_BIND_COUNT: answer<ub4>(attribute, size, statement.names().size()); return OCI_SUCCESS;
    case OCI_ATTR_PARAM_COUNT:
        answer<ub4>(attribute, size, cursor.described() ? statement.program().columns.size() : 0);
        return OCI_SUCCESS;
    case OCI_ATTR_ROWS_FETCHED: answer<ub4>(attribute, size, cursor.rows_fetched()); return OCI_SUCCESS;
    case OCI_ATTR_ROW_COUNT: answer<ub4>(attribute, size, cursor.row_count()); return OCI_SUCCESS;
    default: return unknown_attribute(type);
    }
}

sword column_attribute(const ColumnType& column, void* attribute, ub4* size, ub4 type) {
    switch (type) {
    case OCI_ATTR_DATA_SIZE: answer<ub2>(attribute, size, column.described_size()); return OCI_SUCCESS;
    case OCI_ATTR_DATA_TYPE: answer<ub2>(attribute, size, column.external()); return OCI_SUCCESS;
    case OCI_ATTR_PRECISION: answer<sb2>(attribute, size, column.precision); return OCI_SUCCESS;
    case OCI_ATTR_SCALE: answer<sb1>(attribute, size, column.scale); return OCI_SUCCESS;
    case OCI_ATTR_IS_NULL: answer<ub1>(attribute, size, column.nullable ? 1 : 0); return OCI_SUCCESS;
    default: return unknown_attribute(type);
    }
}

} // namespace

Params::~Params() {
    for (OCIParam* param : m_params) Slab<OCIParam>::give_back(*param);
}

OCIParam& Params::at(std::size_t column, const std::vector<FetchedColumn>& columns, OCIEnv* env) {
    m_params.reserve(columns.size());
    while (m_params.size() < columns.size()) m_params.push_back(&Slab<OCIParam>::take(env));
    update(columns);
    return *m_params[column];
}

void Params::update(const std::vector<FetchedColumn>& columns) noexcept {
    for (std::size_t i = 0; i < std::min(m_params.size(), columns.size()); ++i) m_params[i]->type = columns[i].type;
}

} // namespace oci

using namespace oci;

sword OCIParamGet(const void* hndlp, ub4 htype, OCIError* errhp, void** parmdpp, ub4 pos) {
    return guarded(errhp, [&]() -> sword {
        if (htype != OCI_HTYPE_STMT) return OCI_INVALID_HANDLE;
        OCIStmt& handle = live<OCIStmt>(const_cast<void*>(hndlp));
        Statement& statement = handle.cursor->statement();
        const auto& columns = statement.program().columns;
        if (!handle.cursor->described()) throw OracleError(error::statement_not_executed);
        if (pos == 0 || pos > columns.size()) throw OracleError(error::no_descriptor);
        if (!statement.descriptors) statement.descriptors = std::make_unique<Params>();
        *parmdpp = &static_cast<Params&>(*statement.descriptors).at(pos - 1, columns, handle.env);
        return OCI_SUCCESS;
    });
}

sword OCIAttrGet(const void* trgthndlp, ub4 trghndltyp, void* attributep, ub4* sizep, ub4 attrtype, OCIError* errhp) {
    return guarded(errhp, [&]() -> sword {
        switch (trghndltyp) {
        case OCI_HTYPE_STMT: return statement_attribute(live<OCIStmt>(trgthndlp), attributep, sizep, attrtype);
        case OCI_DTYPE_PARAM: return column_attribute(live<OCIParam>(trgthndlp).type, attributep, sizep, attrtype);
        case OCI_HTYPE_SVCCTX: {
            const OCISvcCtx& service = live<OCISvcCtx>(trgthndlp);
            if (attrtype != OCI_ATTR_ENV) return unknown_attribute(attrtype);
            answer<OCIEnv*>(attributep, sizep, service.env);
            return OCI_SUCCESS;
        }
        default: return OCI_INVALID_HANDLE;
        }
    });
}
