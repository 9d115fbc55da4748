#include <pthread.h>
#include <time.h>

#include <atomic>
#include <new>

#include "platform/platform.h"

namespace mp4lib::platform {

namespace {

struct ThreadStart {
  void (*fn)(void*);
  void* arg;
};

void* runThread(void* raw) {
  const ThreadStart start = *static_cast<ThreadStart*>(raw);
  delete static_cast<ThreadStart*>(raw);
  start.fn(start.arg);
  return nullptr;
}

std::atomic<std::uint32_t (*)()> testClock{nullptr};

pthread_mutex_t* mutexIn(unsigned char* storage) { return reinterpret_cast<pthread_mutex_t*>(storage); }

}  // namespace

bool startDetachedThread(void (*fn)(void*), void* arg) {
  auto* start = new (std::nothrow) ThreadStart{fn, arg};
  if (start == nullptr) return false;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  const int result = pthread_create(&thread, &attributes, runThread, start);
  pthread_attr_destroy(&attributes);
  if (result != 0) {
    delete start;
    return false;
  }
  return true;
}

CriticalSection::CriticalSection() {
  static_assert(sizeof(pthread_mutex_t) <= sizeof(storage_), "mutex does not fit");
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(mutexIn(storage_), &attributes);
  pthread_mutexattr_destroy(&attributes);
}

CriticalSection::~CriticalSection() { pthread_mutex_destroy(mutexIn(storage_)); }
void CriticalSection::enter() { pthread_mutex_lock(mutexIn(storage_)); }
void CriticalSection::leave() { pthread_mutex_unlock(mutexIn(storage_)); }

namespace {

struct SignalParts {
  pthread_mutex_t mutex;
  pthread_cond_t condition;
};

SignalParts* partsIn(unsigned char* storage) { return reinterpret_cast<SignalParts*>(storage); }

}  // namespace

Signal::Signal() {
  static_assert(sizeof(SignalParts) <= sizeof(storage_), "signal does not fit");
  SignalParts* parts = new (storage_) SignalParts;
  pthread_mutex_init(&parts->mutex, nullptr);
  pthread_cond_init(&parts->condition, nullptr);
}

Signal::~Signal() {
  SignalParts* parts = partsIn(storage_);
  pthread_cond_destroy(&parts->condition);
  pthread_mutex_destroy(&parts->mutex);
}

void Signal::waitUntil(bool (*done)(void*), void* context) {
  SignalParts* parts = partsIn(storage_);
  pthread_mutex_lock(&parts->mutex);
  while (!done(context)) pthread_cond_wait(&parts->condition, &parts->mutex);
  pthread_mutex_unlock(&parts->mutex);
}

void Signal::notifyAll(void (*change)(void*), void* context) {
  SignalParts* parts = partsIn(storage_);
  pthread_mutex_lock(&parts->mutex);
  if (change != nullptr) change(context);
  pthread_cond_broadcast(&parts->condition);
  pthread_mutex_unlock(&parts->mutex);
}

void sleepMs(std::uint32_t ms) {
  timespec wait{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
  while (nanosleep(&wait, &wait) != 0) {
  }
}

std::uint32_t timeGetTimeMs() {
  if (auto clock = testClock.load()) return clock();
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const std::uint64_t ms = static_cast<std::uint64_t>(now.tv_sec) * 1000u + static_cast<std::uint64_t>(now.tv_nsec) / 1000000u;
  return static_cast<std::uint32_t>(ms);
}

void setClockForTesting(std::uint32_t (*clock)()) { testClock.store(clock); }

}  // namespace mp4lib::platform
