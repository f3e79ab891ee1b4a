#include "oci/engine/statement.h"

namespace oci {
namespace {

/// The widths are those of the published describe interface.
template <class T, class V>
void answer(void* attribute, ub4* size, V value) {
    *static_cast<T*>(attribute) = static_cast<T>(value);
    if (size != nullptr) *size = sizeof(T);
}

sword unknown_attribute(ub4 attribute) { throw OracleError(24315, std::to_string(attribute)); }

sword statement_attribute(const OCIStmt& handle, void* attribute, ub4* size, ub4 type) {
    switch (type) {
    case OCI_ATTR_STMT_TYPE: answer<ub2>(attribute, size, handle.statement->type); return OCI_SUCCESS;
    case OCI_ATTR_BIND_COUNT: answer<ub4>(attribute, size, handle.statement->names.size()); return OCI_SUCCESS;
    case OCI_ATTR_PARAM_COUNT:
        answer<ub4>(attribute, size, handle.described ? handle.statement->columns.size() : 0);
        return OCI_SUCCESS;
    case OCI_ATTR_ROWS_FETCHED: answer<ub4>(attribute, size, handle.rows_fetched); return OCI_SUCCESS;
    case OCI_ATTR_ROW_COUNT: answer<ub4>(attribute, size, handle.row_count); return OCI_SUCCESS;
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
} // namespace oci

using namespace oci;

sword OCIParamGet(const void* hndlp, ub4 htype, OCIError* errhp, void** parmdpp, ub4 pos) {
    return guarded(errhp, [&]() -> sword {
        if (htype != OCI_HTYPE_STMT) return OCI_INVALID_HANDLE;
        OCIStmt& handle = live<OCIStmt>(const_cast<void*>(hndlp));
        Statement& statement = *handle.statement;
        if (!handle.described) throw OracleError(24338);
        if (pos == 0 || pos > statement.columns.size()) throw OracleError(24334);
        // The descriptors stay with the text: an application may read one after its statement handle is gone.
        while (statement.params.size() < statement.columns.size()) {
            OCIParam& param = Slab<OCIParam>::take(handle.env);
            param.type = statement.columns[statement.params.size()];
            statement.params.push_back(&param);
        }
        *parmdpp = statement.params[pos - 1];
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
