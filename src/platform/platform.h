// Operating-system services. Everything the library needs from the OS goes
// through here; posix/ and win32/ each implement it, and no other file
// includes an OS header.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace mp4lib::platform {

// ---- Files -----------------------------------------------------------------

// Opens a file by wide path with a stdio mode ("rb", "wb"); null on failure.
// POSIX converts the path to UTF-8.
std::FILE* openFile(const wchar_t* path, const char* mode);

// The separator between folder and file name in module paths.
extern const wchar_t kPathSeparator;

// Names (not paths) of the files in `folder` (empty = the current folder)
// matching `pattern` with '*' wildcards, in the order the system's directory
// search returns them (POSIX: byte order of the names, for repeatability).
std::vector<std::wstring> findFiles(const std::wstring& folder, const std::wstring& pattern);

// The file-name pattern of codec plug-ins on this platform: "codec*.so" or
// "codec*.dll".
extern const wchar_t* const kPluginPattern;

// Free bytes available to the caller and total bytes of the volume holding
// the current folder. False when the system cannot tell. A stand-in may
// answer instead of the system; null restores it.
bool diskSpace(std::uint64_t* freeToCaller, std::uint64_t* total);
using DiskSpaceQuery = bool (*)(std::uint64_t* freeToCaller, std::uint64_t* total);
void setDiskSpaceForTesting(DiskSpaceQuery query);

// Every byte the library writes to a file goes through here (fwrite
// semantics: returns the bytes written). A slow, short or failing writer
// may stand in; null restores fwrite.
std::size_t writeFile(const void* data, std::size_t length, std::FILE* file);
using FileWrite = std::size_t (*)(const void* data, std::size_t length, std::FILE* file);
void setFileWriteForTesting(FileWrite write);

// ---- Threads, locks, time ----------------------------------------------------

// Starts a thread on fn(arg) that nobody joins. False if it could not start.
bool startDetachedThread(void (*fn)(void*), void* arg);

// A recursive lock, like a Win32 critical section: the owning thread may
// enter again.
class CriticalSection {
 public:
  CriticalSection();
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  void enter();
  void leave();

 private:
  alignas(16) unsigned char storage_[64];
};

// Holds a CriticalSection for a scope.
class Lock {
 public:
  explicit Lock(CriticalSection& section) : section_(section) { section_.enter(); }
  ~Lock() { section_.leave(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  CriticalSection& section_;
};

// A wake-up call between threads, like a condition variable with its own
// lock: one thread changes shared state inside notifyAll, others block in
// waitUntil until their test of that state passes. The test and the change
// both run under the signal's lock, so no wake-up is lost.
class Signal {
 public:
  Signal();
  ~Signal();
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;
  // Returns once done(context) is true; blocks between tries.
  void waitUntil(bool (*done)(void*), void* context);
  // Runs change(context) (null: nothing) and wakes every waiter.
  void notifyAll(void (*change)(void*), void* context);

 private:
  alignas(16) unsigned char storage_[128];
};

// The wake-up call that detached threads use to say their work is done. It
// lives as long as the process: a thread may still be on its way out of it
// while the library is being unloaded.
Signal& detachedWorkSignal();

void sleepMs(std::uint32_t ms);

// Milliseconds on a 32-bit clock that wraps (timeGetTime). Another source
// may stand in (setClockForTesting); null restores the system clock.
std::uint32_t timeGetTimeMs();
void setClockForTesting(std::uint32_t (*clock)());

// ---- Dynamic libraries -------------------------------------------------------

using ModuleHandle = void*;

ModuleHandle loadLibrary(const wchar_t* path);  // null on failure
void unloadLibrary(ModuleHandle module);
void* findSymbol(ModuleHandle module, const char* name);  // null when absent

// Whether the library file at `path` is loaded in this process.
bool isLibraryLoaded(const wchar_t* path);

// Writes the full path of the module holding this library's code into
// buffer (at most capacity characters including the terminator). Returns the
// length, or 0 when it is unknown or does not fit.
std::size_t moduleFileName(wchar_t* buffer, std::size_t capacity);

// Records the module handle the loader gave the library's entry routine
// (Windows); other platforms find the module from a code address.
void setOwnModule(ModuleHandle module);

// ---- Vector instructions ---------------------------------------------------------

// Whether the pixel kernels may use the processor's vector instructions.
// True unless switched off, to compare them with the scalar code.
bool vectorInstructionsAllowed();
void allowVectorInstructionsForTesting(bool allowed);

// ---- Wave devices --------------------------------------------------------------
// The audio capture and playback devices have their own header,
// wave_device.h.

}  // namespace mp4lib::platform
