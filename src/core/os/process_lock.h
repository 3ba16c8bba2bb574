// The process lock and the run mode. One recursive lock guards what all contexts of a process
// share; in run mode 2 every thread has its own state and no lock is taken.
#pragma once

#include <pthread.h>

namespace kestra::os {

// A plain mutex, for the few things that all threads share in every run mode.
class Mutex {
 public:
  constexpr Mutex() noexcept = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

 private:
  friend class MutexLock;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

class MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) noexcept : mutex_(mutex) { pthread_mutex_lock(&mutex.mutex_); }
  ~MutexLock() { pthread_mutex_unlock(&mutex_.mutex_); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

enum RunMode : int {
  kSingleThread = 0,  // no threads: no lock
  kShared = 1,        // threads share the process state under the lock
  kPerThread = 2,     // every thread has its own state
};

RunMode slts_runmode() noexcept;
// Returns the previous mode. To be called while one thread runs.
RunMode SetRunMode(RunMode mode) noexcept;

// Holds the process lock for its own lifetime. May be nested.
class ProcessLock {
 public:
  ProcessLock() noexcept;
  ~ProcessLock();
  ProcessLock(const ProcessLock&) = delete;
  ProcessLock& operator=(const ProcessLock&) = delete;

 private:
  bool taken_;
};

}  // namespace kestra::os
