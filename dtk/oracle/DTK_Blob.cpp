#include "dtk/oracle/DTK_Blob.h"

template class DTK_SmartPointer<DTK_BlobBase>;

DTK_Blob::DTK_Blob() : m_pointer(nullptr) {}

DTK_Blob::~DTK_Blob() = default;

DTK_Blob& DTK_Blob::operator=(const DTK_Blob& other) {
    m_pointer = other.m_pointer;
    return *this;
}

void DTK_Blob::mb_init(DTK_BlobBase* blob) {
    m_pointer = blob;
}

DTK_BlobBase* DTK_Blob::mb_get() {
    return m_pointer != nullptr ? &*m_pointer : nullptr;
}

DTK_Blob::DTK_Blob(std::unique_ptr<DTK_BlobBase> blob) : m_pointer(blob.get()) {
    static_cast<void>(blob.release());
}
