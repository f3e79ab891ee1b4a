#pragma once

#include <iostream>

#include "dtk/foundation/DTK_Exception.h"
#include "dtk/foundation/DTK_Mutex.h"
#include "dtk/foundation/export.h"

/// A counted pointer that owns its object together with the other pointers assigned from it; the last one deletes it.
///
/// The count has a lock of its own, so pointers to one object may be assigned and destroyed on different threads.
/// Every release of an object writes a line to standard output, and a second one when it deletes the object.
///
/// Copy construction does not count: it makes a second pointer that releases what it never acquired. Make an empty
/// pointer and assign.
template <typename T> class DTK_EXPORT DTK_SmartPointer {
  public:
    /// The object with the number of pointers that share it.
    class ST_Counter {
      public:
        /// Takes the object over, with as many holders as counted.
        ST_Counter(T* object, unsigned int count) : m_object(object), m_count(count), m_lock(false) {}

      private:
        friend class DTK_SmartPointer;

        T* m_object;
        unsigned int m_count;
        DTK_Mutex m_lock;
    };

    /// Takes the object over; a null one makes an empty pointer.
    DTK_SmartPointer(T* object) : m_counter(object ? new ST_Counter(object, 1) : nullptr) {}
    ~DTK_SmartPointer() { mb_release(); }

    /// Releases the old object and takes the new one over. It must not be the one that is already held. When there is
    /// no memory for the count the new object stays the caller's.
    DTK_SmartPointer& operator=(T* object) {
        mb_release();
        m_counter = object ? new ST_Counter(object, 1) : nullptr;
        return *this;
    }

    /// Releases the old object and shares the other's.
    DTK_SmartPointer& operator=(const DTK_SmartPointer& other) {
        if (this != &other) {
            mb_release();
            mb_acquire(other.m_counter);
        }
        return *this;
    }

    /// Joins the holders of a counter, without releasing the one held before.
    void mb_acquire(ST_Counter* counter) {
        m_counter = counter;
        if (!counter) return;
        counter->m_lock.mb_lock();
        ++counter->m_count;
        counter->m_lock.mb_unlock();
    }

    /// Lets the object go, deleting it when no other pointer holds it. Nothing happens when the pointer is empty.
    void mb_release() {
        if (!m_counter) return;
        ST_Counter* counter = m_counter;
        m_counter = nullptr;
        counter->m_lock.mb_lock();
        std::cout << "Inside release  = " << counter->m_count << std::endl;
        const bool last = --counter->m_count == 0;
        if (last) {
            std::cout << "delete" << std::endl;
            delete counter->m_object;
        }
        counter->m_lock.mb_unlock();
        if (last) delete counter;
    }

    /// @{

    /// The object, which stays the pointer's.
    ///
    /// @throws DTK_Exception 0 "Pointer is null": the pointer is empty
    T& operator*() { return held(); }
    T& operator*() const { return held(); }
    /// @}

    /// Whether the pointer holds another object than this one; null stands for none.
    bool operator!=(T* object) { return pointer() != object; }

  private:
    T* pointer() const { return m_counter ? m_counter->m_object : nullptr; }

    T& held() const {
        T* object = pointer();
        if (!object) throw DTK_Exception(dtk::error::blob_handle_empty);
        return *object;
    }

    ST_Counter* m_counter;
};
