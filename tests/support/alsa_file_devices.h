// Headless ALSA devices for tests: ALSA's configuration is replaced by one
// whose default PCM is the "file" plug-in over "null", which needs no sound
// card. Playback writes what it plays to played.raw in `folder`; capture
// reads input.raw there. The null device does not keep real time.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace mp4lib::test {

inline void useAlsaFileDevices(const std::filesystem::path& folder) {
  std::ofstream config(folder / "asound.conf");
  config << "pcm.!default {\n  type file\n  slave { pcm { type null } }\n  file \"" << (folder / "played.raw").string()
         << "\"\n  infile \"" << (folder / "input.raw").string() << "\"\n  format \"raw\"\n}\n";
  config.close();
  setenv("ALSA_CONFIG_PATH", (folder / "asound.conf").c_str(), 1);
}

// Back to the system's own ALSA configuration.
inline void stopUsingAlsaFileDevices() { unsetenv("ALSA_CONFIG_PATH"); }

}  // namespace mp4lib::test
