#include "support/plugin_folder.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace mp4lib::test {

std::string sharedLibraryName(const std::string& stem) {
#ifdef _WIN32
  return stem + ".dll";
#else
  return stem + ".so";
#endif
}

std::string mp4libFileName() {
#ifdef _WIN32
  return "mp4lib.dll";
#else
  return "libmp4lib.so";
#endif
}

// Tests run in the build's bin folder, which holds the library, with the
// test plug-ins in its testplugins folder.
fs::path libraryFolder() { return fs::absolute(fs::current_path()); }
fs::path testPluginFolder() { return libraryFolder() / "testplugins"; }

PluginFolder::PluginFolder() {
  static std::atomic<int> serial{0};
  const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
  path_ = fs::temp_directory_path() / ("mp4lib-test-" + std::to_string(stamp) + "-" + std::to_string(serial++));
  fs::create_directories(path_);
}

PluginFolder::~PluginFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

fs::path PluginFolder::addPlugin(const std::string& stem, const std::string& name) {
  const fs::path target = path_ / (name.empty() ? sharedLibraryName(stem) : name);
  fs::copy_file(testPluginFolder() / sharedLibraryName(stem), target, fs::copy_options::overwrite_existing);
  return target;
}

fs::path PluginFolder::addLibrary() {
  const fs::path target = path_ / mp4libFileName();
  fs::copy_file(libraryFolder() / mp4libFileName(), target, fs::copy_options::overwrite_existing);
  return target;
}

fs::path PluginFolder::addFile(const std::string& name, const std::string& text) {
  const fs::path target = path_ / name;
  std::ofstream(target, std::ios::binary) << text;
  return target;
}

std::wstring PluginFolder::moduleFileInside() const { return (path_ / mp4libFileName()).wstring(); }

}  // namespace mp4lib::test
