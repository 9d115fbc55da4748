// PNG pictures through stb's single-header writer, for targets without
// libpng (the ARM and Windows cross builds). Its fastest setting is level 5.
#include <fstream>

#include "image_files.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO  // the tool opens its files itself, as everywhere else
#include <stb_image_write.h>  // a system include: its warnings are not ours

namespace mp4lib::tool {

namespace {

void appendToFile(void* context, void* data, int size) {
  static_cast<std::ofstream*>(context)->write(static_cast<const char*>(data), size);
}

}  // namespace

bool writePng(const std::string& path, std::uint32_t width, std::uint32_t height, const std::vector<std::uint8_t>& rgb) {
  if (width == 0 || height == 0 || width > 0x7FFFFFFF / 3 || height > 0x7FFFFFFF ||
      rgb.size() < static_cast<std::size_t>(width) * height * 3) {
    return false;
  }
  std::ofstream file(path, std::ios::binary);
  if (!file) return false;
  stbi_write_png_compression_level = 5;
  const int rowBytes = static_cast<int>(width) * 3;
  const int ok = stbi_write_png_to_func(appendToFile, &file, static_cast<int>(width), static_cast<int>(height), 3,
                                        rgb.data(), rowBytes);
  file.close();
  return ok != 0 && static_cast<bool>(file);
}

}  // namespace mp4lib::tool
