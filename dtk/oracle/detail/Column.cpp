#include "dtk/oracle/detail/Column.h"

#include <algorithm>
#include <utility>

#include "dtk/oracle/detail/OracleType.h"

namespace dtk::oracle {

std::unique_ptr<Column> Column::make(const Handles& handles, unsigned int position, DTK_DATATYPES type,
                                     int size_bytes) {
    const auto made = [&](DTK_DATATYPES stored, Storage value, OciBuffer row) {
        if (!row.values) row.values = value.get();
        return std::unique_ptr<Column>(new Column(position, stored, std::move(value), row));
    };
    if (const FixedType* fixed = findFixedType(type); fixed && type != DTK_UINT) {
        return made(type, makeStorage(static_cast<std::size_t>(fixed->size_bytes)),
                    {nullptr, fixed->size_bytes, fixed->external});
    }
    switch (type) {
    case DTK_STRING:
    case DTK_UNKNOWN: { // read as text too
        auto column = made(DTK_STRING, makeStorage(static_cast<std::size_t>(size_bytes)),
                           {nullptr, size_bytes, OracleType<DTK_String>::external});
        // Clients know columns of other types as columns that are never NULL.
        if (type == DTK_UNKNOWN) column->m_row.indicators = nullptr;
        return column;
    }
    case DTK_BLOB: {
        Storage storage(::operator new(sizeof(_DTK_Blob)));
        auto* blob = new (storage.get()) _DTK_Blob;
        blob->mb_initialize(requireEnvironment(handles.session, handles.error), handles.session, handles.error, false);
        return made(DTK_BLOB, std::move(storage), {&locatorOf(*blob), 0, OracleType<DTK_Blob>::external});
    }
    default: return nullptr;
    }
}

// The base class frees a BLOB object's memory alone: its locator stays with OCI, or belongs to those who share it.
Column::Column(unsigned int position, DTK_DATATYPES type, Storage value, const OciBuffer& row)
    : m_position(position),
      m_row(row) {
    m_value = value.release();
    m_type = type;
    m_row.indicators = &m_indicator;
}

OCIDefine* Column::define(const Handles& handles, std::size_t rows) {
    if (rows > 1) {
        defineDroppedRows(handles, rows);
    } else {
        oracle::define(handles, m_define, m_position, m_row);
        m_droppedRows = {};
    }
    return m_define;
}

void Column::undefine() {
    m_define = nullptr;
    m_droppedRows = {};
    m_droppedLocator.reset();
}

std::unique_ptr<_DTK_Blob> Column::lend() {
    if (m_holders && *m_holders == 0) return std::make_unique<_DTK_Blob>();
    auto holders = m_holders ? m_holders : std::make_shared<std::atomic<int>>(0);
    auto lent = std::make_unique<LentBlob>(blob(), holders);
    m_holders = std::move(holders);
    return lent;
}

// Defined again as well: a client may have looked the locator up when the column was defined.
void Column::replaceFreedLocator(const Handles& handles, std::size_t rows) {
    if (!m_holders || *m_holders > 0) return;
    blob().mb_initialize(requireEnvironment(handles.session, handles.error), handles.session, handles.error, false);
    if (isDefined()) define(handles, rows);
    m_holders.reset();
}

void Column::defineDroppedRows(const Handles& handles, std::size_t rows) {
    Rows dropped(m_row.width(), rows);
    if (m_type == DTK_BLOB) {
        if (!m_droppedLocator) {
            m_droppedLocator.reset(allocateLocator(requireEnvironment(handles.session, handles.error)));
            if (!m_droppedLocator) throw DTK_Exception(error::blob_descriptor_failed);
        }
        // The rows are dropped, so that one locator serves them all.
        std::fill_n(static_cast<OCILobLocator**>(dropped.values()), rows, m_droppedLocator.get());
    }
    oracle::define(
        handles, m_define, m_position,
        {dropped.values(), m_row.size_bytes, m_row.external, m_row.indicators ? dropped.indicators() : nullptr});
    m_droppedRows = std::move(dropped);
}

} // namespace dtk::oracle
