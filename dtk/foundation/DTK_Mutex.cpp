#include "dtk/foundation/DTK_Mutex.h"

DTK_Mutex::DTK_Mutex(bool flag) {
    mb_init(flag);
}

DTK_Mutex::~DTK_Mutex() {
    mb_destroy();
}

bool DTK_Mutex::mb_init(bool) {
    return pthread_mutex_init(&m_mutex, nullptr) == 0;
}

bool DTK_Mutex::mb_tryLock() {
    return pthread_mutex_trylock(&m_mutex) == 0;
}

bool DTK_Mutex::mb_destroy() {
    return pthread_mutex_destroy(&m_mutex) == 0;
}
