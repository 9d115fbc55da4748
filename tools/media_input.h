// Pictures and sound the tool records from files: Y4M (4:2:0), raw I420,
// raw RGB24 frames, and 16-bit PCM WAV.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace mp4lib::tool {

enum class PictureFormat { kI420, kRgb24 };

class PictureFile {
 public:
  // Opens `path`; .y4m files tell their own size and rate, .yuv and .rgb
  // files take `width` x `height`. On failure `error` says why.
  bool open(const std::string& path, std::uint32_t width, std::uint32_t height, std::string* error);
  // Reads the next picture; false at the end of the file.
  bool next(std::vector<std::uint8_t>* picture);

  PictureFormat format() const { return format_; }
  std::uint32_t width() const { return width_; }
  std::uint32_t height() const { return height_; }
  double frameRate() const { return frameRate_; }  // 0 when the file does not say

 private:
  std::ifstream file_;
  PictureFormat format_ = PictureFormat::kI420;
  bool y4m_ = false;
  std::uint32_t width_ = 0, height_ = 0;
  double frameRate_ = 0;
};

}  // namespace mp4lib::tool
