#include <windows.h>
#include <mmsystem.h>

#include <atomic>
#include <new>

#include "platform/platform.h"

namespace mp4lib::platform {

namespace {

struct ThreadStart {
  void (*fn)(void*);
  void* arg;
};

DWORD WINAPI runThread(LPVOID raw) {
  const ThreadStart start = *static_cast<ThreadStart*>(raw);
  delete static_cast<ThreadStart*>(raw);
  start.fn(start.arg);
  return 0;
}

std::atomic<std::uint32_t (*)()> testClock{nullptr};

CRITICAL_SECTION* sectionIn(unsigned char* storage) { return reinterpret_cast<CRITICAL_SECTION*>(storage); }

}  // namespace

bool startDetachedThread(void (*fn)(void*), void* arg) {
  auto* start = new (std::nothrow) ThreadStart{fn, arg};
  if (start == nullptr) return false;
  HANDLE thread = CreateThread(nullptr, 0, runThread, start, 0, nullptr);
  if (thread == nullptr) {
    delete start;
    return false;
  }
  CloseHandle(thread);  // nobody waits for it
  return true;
}

CriticalSection::CriticalSection() {
  static_assert(sizeof(CRITICAL_SECTION) <= sizeof(storage_), "critical section does not fit");
  InitializeCriticalSection(sectionIn(storage_));
}

CriticalSection::~CriticalSection() { DeleteCriticalSection(sectionIn(storage_)); }
void CriticalSection::enter() { EnterCriticalSection(sectionIn(storage_)); }
void CriticalSection::leave() { LeaveCriticalSection(sectionIn(storage_)); }

namespace {

struct SignalParts {
  CRITICAL_SECTION section;
  CONDITION_VARIABLE condition;
};

SignalParts* partsIn(unsigned char* storage) { return reinterpret_cast<SignalParts*>(storage); }

}  // namespace

Signal::Signal() {
  static_assert(sizeof(SignalParts) <= sizeof(storage_), "signal does not fit");
  SignalParts* parts = new (storage_) SignalParts;
  InitializeCriticalSection(&parts->section);
  InitializeConditionVariable(&parts->condition);
}

// Condition variables need no clean-up.
Signal::~Signal() { DeleteCriticalSection(&partsIn(storage_)->section); }

void Signal::waitUntil(bool (*done)(void*), void* context) {
  SignalParts* parts = partsIn(storage_);
  EnterCriticalSection(&parts->section);
  while (!done(context)) SleepConditionVariableCS(&parts->condition, &parts->section, INFINITE);
  LeaveCriticalSection(&parts->section);
}

void Signal::notifyAll(void (*change)(void*), void* context) {
  SignalParts* parts = partsIn(storage_);
  EnterCriticalSection(&parts->section);
  if (change != nullptr) change(context);
  WakeAllConditionVariable(&parts->condition);
  LeaveCriticalSection(&parts->section);
}

void sleepMs(std::uint32_t ms) { Sleep(ms); }

std::uint32_t timeGetTimeMs() {
  if (auto clock = testClock.load()) return clock();
  return timeGetTime();
}

void setClockForTesting(std::uint32_t (*clock)()) { testClock.store(clock); }

}  // namespace mp4lib::platform
