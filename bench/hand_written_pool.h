#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <queue>
#include <vector>

/// The least that a pool of sessions can do.
class HandWrittenPool {
  public:
    explicit HandWrittenPool(unsigned int sessions) : m_sessions(sessions) {
        sem_init(&m_permits, 0, sessions);
        for (int& session : m_sessions) m_free.push(&session);
    }
    ~HandWrittenPool() {
        pthread_mutex_destroy(&m_mutex);
        sem_destroy(&m_permits);
    }
    HandWrittenPool(const HandWrittenPool&) = delete;
    HandWrittenPool& operator=(const HandWrittenPool&) = delete;

    int* borrow() {
        sem_wait(&m_permits);
        pthread_mutex_lock(&m_mutex);
        int* session = m_free.front();
        m_free.pop();
        pthread_mutex_unlock(&m_mutex);
        return session;
    }
    void give_back(int* session) {
        pthread_mutex_lock(&m_mutex);
        m_free.push(session);
        pthread_mutex_unlock(&m_mutex);
        sem_post(&m_permits);
    }

  private:
    std::vector<int> m_sessions;
    std::queue<int*> m_free;
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    sem_t m_permits{};
};
