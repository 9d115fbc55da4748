#include "media_input.h"

#include <sstream>

namespace mp4lib::tool {

namespace {

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// A positive whole number and nothing else.
bool positiveNumber(const std::string& text, std::uint32_t* value) {
  if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) return false;
  *value = static_cast<std::uint32_t>(std::stoul(text));
  return *value > 0;
}

// The Y4M stream header's size (W, H), rate (F num:den) and colour space
// (C); false, with the reason, for values the recorder cannot take.
bool readY4mHeader(const std::string& header, std::uint32_t* width, std::uint32_t* height, double* frameRate,
                   std::string* error) {
  std::istringstream words(header.substr(9));  // after "YUV4MPEG2"
  std::string word;
  while (words >> word) {
    const std::string value = word.substr(1);
    if ((word[0] == 'W' && !positiveNumber(value, width)) || (word[0] == 'H' && !positiveNumber(value, height))) {
      *error = "the Y4M header has a malformed size \"" + word + "\"";
      return false;
    }
    if (word[0] == 'F') {
      const auto colon = value.find(':');
      std::uint32_t num = 0, den = 1;
      if (!positiveNumber(value.substr(0, colon), &num) ||
          (colon != std::string::npos && !positiveNumber(value.substr(colon + 1), &den))) {
        *error = "the Y4M header has a malformed frame rate \"" + word + "\"";
        return false;
      }
      *frameRate = static_cast<double>(num) / den;
    }
    if (word[0] == 'C' && word.rfind("C420", 0) != 0) {
      *error = "it uses colour space " + value + "; only 4:2:0 is supported";
      return false;
    }
  }
  return true;
}

}  // namespace

bool PictureFile::open(const std::string& path, std::uint32_t width, std::uint32_t height, std::string* error) {
  file_.open(path, std::ios::binary);
  if (!file_) {
    *error = "cannot open " + path + ": there is no such file, or it cannot be read";
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
    if (!readY4mHeader(header, &width_, &height_, &frameRate_, error)) {
      *error = path + ": " + *error;
      return false;
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
