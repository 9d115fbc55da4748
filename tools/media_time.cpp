#include "media_time.h"

#include <cstdio>

namespace mp4lib::tool {

std::string formatMediaTime(std::uint64_t ms) {
  const std::uint64_t tenths = ms / 100;
  char text[32];
  std::snprintf(text, sizeof text, "%02llu:%02llu.%llu", static_cast<unsigned long long>(tenths / 600),
                static_cast<unsigned long long>(tenths / 10 % 60), static_cast<unsigned long long>(tenths % 10));
  return text;
}

}  // namespace mp4lib::tool
