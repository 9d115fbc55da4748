// A scratch folder holding copies of test plug-ins (and, when asked, of the
// library itself), removed again when the test ends.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace mp4lib::test {

// File name of a shared library on this platform: "codectest_h263" ->
// "codectest_h263.so" / ".dll".
std::string sharedLibraryName(const std::string& stem);

// File name of the mp4lib shared library as built.
std::string mp4libFileName();

// The build's folder of test plug-ins and of the library.
std::filesystem::path testPluginFolder();
std::filesystem::path libraryFolder();

class PluginFolder {
 public:
  PluginFolder();
  ~PluginFolder();
  PluginFolder(const PluginFolder&) = delete;
  PluginFolder& operator=(const PluginFolder&) = delete;

  // Copies test plug-in `stem` into the folder as `name` (default: its own
  // file name) and returns the copy's path.
  std::filesystem::path addPlugin(const std::string& stem, const std::string& name = "");
  // Copies the mp4lib shared library into the folder.
  std::filesystem::path addLibrary();
  // Writes a file with the given text.
  std::filesystem::path addFile(const std::string& name, const std::string& text);

  const std::filesystem::path& path() const { return path_; }
  // A would-be module file inside the folder, as the registry receives it.
  std::wstring moduleFileInside() const;

 private:
  std::filesystem::path path_;
};

}  // namespace mp4lib::test
