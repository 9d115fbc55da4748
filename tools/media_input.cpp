#include "media_input.h"

#include <sstream>

namespace mp4lib::tool {

namespace {

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

bool PictureFile::open(const std::string& path, std::uint32_t width, std::uint32_t height, std::string* error) {
  file_.open(path, std::ios::binary);
  if (!file_) {
    *error = "cannot open " + path;
    return false;
  }
  y4m_ = endsWith(path, ".y4m");
  format_ = endsWith(path, ".rgb") ? PictureFormat::kRgb24 : PictureFormat::kI420;
  width_ = width;
  height_ = height;
  if (y4m_) {
    std::string header;
    std::getline(file_, header);
    if (header.rfind("YUV4MPEG2", 0) != 0) {
      *error = path + " is not a Y4M file (it does not start with YUV4MPEG2)";
      return false;
    }
    std::istringstream words(header);
    std::string word;
    while (words >> word) {
      if (word[0] == 'W') width_ = static_cast<std::uint32_t>(std::stoul(word.substr(1)));
      if (word[0] == 'H') height_ = static_cast<std::uint32_t>(std::stoul(word.substr(1)));
      if (word[0] == 'F') {
        const auto colon = word.find(':');
        const double num = std::stod(word.substr(1, colon - 1));
        const double den = colon == std::string::npos ? 1.0 : std::stod(word.substr(colon + 1));
        if (den > 0) frameRate_ = num / den;
      }
      if (word[0] == 'C' && word.rfind("C420", 0) != 0) {
        *error = path + " uses colour space " + word.substr(1) + "; only 4:2:0 is supported";
        return false;
      }
    }
  }
  if (width_ < 2 || height_ < 2 || width_ % 2 || height_ % 2) {
    *error = "the picture size of " + path + " must be even and given (use --size WxH for raw files)";
    return false;
  }
  return true;
}

bool PictureFile::next(std::vector<std::uint8_t>* picture) {
  if (y4m_) {
    std::string frameHeader;
    if (!std::getline(file_, frameHeader) || frameHeader.rfind("FRAME", 0) != 0) return false;
  }
  const std::size_t pixels = static_cast<std::size_t>(width_) * height_;
  picture->resize(format_ == PictureFormat::kRgb24 ? pixels * 3 : pixels * 3 / 2);
  file_.read(reinterpret_cast<char*>(picture->data()), static_cast<std::streamsize>(picture->size()));
  return static_cast<std::size_t>(file_.gcount()) == picture->size();
}

}  // namespace mp4lib::tool
