#include "platform/posix/utf8.h"

#include <cstdint>

namespace mp4lib::platform::posix {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Length of the sequence a lead byte starts, 0 for a byte that cannot lead.
int sequenceLength(std::uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

}  // namespace

std::string toUtf8(const std::wstring& wide) {
  std::string out;
  out.reserve(wide.size());
  for (wchar_t c : wide) appendUtf8(out, static_cast<char32_t>(c));
  return out;
}

std::wstring fromUtf8(const std::string& bytes) {
  std::wstring out;
  std::size_t i = 0;
  while (i < bytes.size()) {
    const auto lead = static_cast<std::uint8_t>(bytes[i]);
    const int length = sequenceLength(lead);
    if (length == 0 || i + length > bytes.size()) {
      out += static_cast<wchar_t>(kReplacement);
      ++i;
      continue;
    }
    char32_t c = length == 1 ? lead : (lead & (0x7F >> length));
    bool valid = true;
    for (int k = 1; k < length; ++k) {
      const auto next = static_cast<std::uint8_t>(bytes[i + k]);
      if ((next & 0xC0) != 0x80) valid = false;
      c = (c << 6) | (next & 0x3F);
    }
    if (!valid) {
      out += static_cast<wchar_t>(kReplacement);
      ++i;
      continue;
    }
    out += static_cast<wchar_t>(c);
    i += length;
  }
  return out;
}

}  // namespace mp4lib::platform::posix
