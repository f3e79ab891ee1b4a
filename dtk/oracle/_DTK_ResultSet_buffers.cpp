#include <algorithm>

#include "dtk/oracle/LentLocator.h"
#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/_DTK_ResultSet.h"
#include "dtk/oracle/_DTK_stmtMetadata.h"
#include "dtk/oracle/check.h"
#include "dtk/oracle/locators.h"

namespace error = dtk::error;
using dtk::oracle::check;
using dtk::oracle::FixedType;
using dtk::oracle::makeStorage;
using dtk::oracle::OracleType;
using dtk::oracle::Storage;

bool _DTK_ResultSet::mb_initializeFetchBuffer() {
    _DTK_stmtMetadata metadata;
    metadata.mb_initMetaData(m_stmtHandle, m_errorHandle);
    const unsigned int count = metadata.mb_getNumberofBindColumns();
    m_columns.reserve(m_columns.size() + count);
    m_defines.reserve(count);
    m_definedColumns.reserve(count);
    m_definedRows = m_bulkCount;
    for (unsigned int position = 1; position <= count; ++position) initializeColumn(metadata, position);
    return true;
}

void _DTK_ResultSet::initializeColumn(_DTK_stmtMetadata& metadata, unsigned int position) {
    const auto type = static_cast<DTK_DATATYPES>(metadata.mb_getType(position));
    switch (type) {
    case DTK_INT:
    case DTK_FLOAT:
    case DTK_DOUBLE:
    case DTK_INT64:
    case DTK_DBDATE: return initializeFixedColumn(position, type);
    case DTK_BLOB: return initializeBlobColumn(position);
    case DTK_STRING:
    case DTK_UNKNOWN: break;
    default: return;
    }
    // Columns of other types are read as text too; clients know them as columns that are never NULL.
    const int size_bytes = metadata.mb_getSize(position);
    const auto room = std::max<std::size_t>(static_cast<std::size_t>(size_bytes), shortText_bytes);
    columnBuffer& buffer = appendColumn(makeStorage(room), DTK_STRING);
    short* indicator = type == DTK_STRING ? &buffer.m_indicator : nullptr;
    defineColumn(
        {position, &buffer, buffer.m_value, size_bytes, OracleType<DTK_String>::external, indicator, {}, {}, {}});
}

void _DTK_ResultSet::initializeFixedColumn(unsigned int position, DTK_DATATYPES type) {
    const FixedType& fixed = *dtk::oracle::findFixedType(type);
    columnBuffer& buffer = appendColumn(makeStorage(static_cast<std::size_t>(fixed.size_bytes)), type);
    defineColumn(
        {position, &buffer, buffer.m_value, fixed.size_bytes, fixed.external, &buffer.m_indicator, nullptr, {}, {}});
}

// The column record releases the object's memory alone: the locator stays with OCI, or belongs to the handles that
// share it.
void _DTK_ResultSet::initializeBlobColumn(unsigned int position) {
    Storage storage(::operator new(sizeof(_DTK_Blob)));
    auto* blob = new (storage.get()) _DTK_Blob;
    blob->mb_initialize(requireEnvironment(), m_svcCtx, m_errorHandle, false);
    columnBuffer& buffer = appendColumn(std::move(storage), DTK_BLOB);
    defineColumn(
        {position, &buffer, &blob->m_locator, 0, OracleType<DTK_Blob>::external, &buffer.m_indicator, {}, {}, {}});
}

columnBuffer& _DTK_ResultSet::appendColumn(Storage value, DTK_DATATYPES type) {
    m_columns.push_back(std::make_unique<columnBuffer>());
    columnBuffer& buffer = *m_columns.back();
    buffer.m_value = value.release();
    buffer.m_type = type;
    noteReadableColumns();
    return buffer;
}

void _DTK_ResultSet::defineColumn(DefinedColumn column) {
    defineForBulkCount(column);
    m_definedColumns.push_back(std::move(column));
}

void _DTK_ResultSet::redefineColumns() {
    m_definedRows = 0; // until every column is defined for the same count
    for (DefinedColumn& column : m_definedColumns) defineForBulkCount(column);
    m_definedRows = m_bulkCount;
}

// The buffers hold one row, so that the rows of a batch must go elsewhere.
void _DTK_ResultSet::defineForBulkCount(DefinedColumn& column) {
    if (m_bulkCount > 1) return defineDroppedRows(column);
    define(column.handle, column.position, column.value, column.size_bytes, column.external, column.indicator);
    column.droppedRows = {};
}

void _DTK_ResultSet::defineDroppedRows(DefinedColumn& column) {
    const bool isBlob = column.external == OracleType<DTK_Blob>::external;
    const std::size_t width = isBlob ? sizeof(OCILobLocator*) : static_cast<std::size_t>(column.size_bytes);
    dtk::oracle::Rows rows(width, m_bulkCount);
    if (isBlob) {
        // The rows are dropped, so that one locator serves them all.
        OCILobLocator* locator = column.droppedLocator.get();
        if (!locator && !dtk::oracle::allocateLocator(requireEnvironment(), locator)) {
            throw DTK_Exception(error::blob_descriptor_failed);
        }
        if (!column.droppedLocator) column.droppedLocator.reset(locator);
        std::fill_n(static_cast<OCILobLocator**>(rows.values()), m_bulkCount, locator);
    }
    define(column.handle, column.position, rows.values(), column.size_bytes, column.external,
           column.indicator ? rows.indicators() : nullptr);
    column.droppedRows = std::move(rows);
}

void _DTK_ResultSet::define(OCIDefine*& handle, unsigned int position, void* value, int size_bytes,
                            unsigned short external, void* indicators) {
    const bool again = handle != nullptr;
    // What OCI has been told to write to must not be freed again for want of room to remember it.
    if (!again) m_defines.reserve(m_defines.size() + 1);
    check(OCIDefineByPos(m_stmtHandle, &handle, m_errorHandle, position, value, size_bytes, external, indicators,
                         nullptr, nullptr, OCI_DEFAULT),
          m_errorHandle);
    if (!again) m_defines.push_back(handle);
}

// The last handle of a row has freed the locator, and OCI fetches no second one into the column before the next row: a
// later handle gets none.
std::unique_ptr<_DTK_Blob> _DTK_ResultSet::lend(_DTK_Blob& columnBlob) {
    for (auto& lent : m_lentLocators) {
        if (lent.column != &columnBlob) continue;
        if (*lent.handles == 0) return std::make_unique<_DTK_Blob>();
        return std::make_unique<dtk::oracle::LentBlob>(columnBlob, lent.handles);
    }
    const auto handles = std::make_shared<std::atomic<int>>(0);
    m_lentLocators.push_back({&columnBlob, handles});
    m_fetchPrepared = false;
    return std::make_unique<dtk::oracle::LentBlob>(columnBlob, handles);
}

void _DTK_ResultSet::replaceFreedLocators() {
    for (auto lent = m_lentLocators.begin(); lent != m_lentLocators.end();) {
        if (*lent->handles > 0) {
            ++lent;
            continue;
        }
        replaceLocator(*lent->column);
        lent = m_lentLocators.erase(lent);
    }
}

// Defined again as well: a client may have looked the locator up when the column was defined.
void _DTK_ResultSet::replaceLocator(_DTK_Blob& columnBlob) {
    columnBlob.mb_initialize(requireEnvironment(), m_svcCtx, m_errorHandle, false);
    for (DefinedColumn& column : m_definedColumns) {
        if (column.buffer->m_value == &columnBlob) defineForBulkCount(column);
    }
}
