// Tests of the system's own sound devices skip on a machine without one,
// unless MP4LIB_REQUIRE_AUDIO_DEVICE is set: CI starts a sound server and
// sets it, so there a broken device path fails instead of hiding.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

namespace mp4lib::test {

inline bool audioDeviceRequired() {
  const char* value = std::getenv("MP4LIB_REQUIRE_AUDIO_DEVICE");
  return value != nullptr && value[0] != '\0' && value[0] != '0';
}

}  // namespace mp4lib::test

// Ends the test: a failure where a device is required, else a skip.
#define MP4LIB_WITHOUT_AUDIO_DEVICE(what)                                      \
  do {                                                                          \
    if (::mp4lib::test::audioDeviceRequired()) FAIL() << (what);                \
    GTEST_SKIP() << (what);                                                     \
  } while (0)
