// Container kinds by file-name extension.
#pragma once

#include <cstdint>

namespace mp4lib::codecs {

enum ContainerKind : std::uint32_t {
  kContainerUnknown = 0,
  kContainerQzv = 1,
  kContainerQz1 = 2,
  kContainer3gp = 3,
  kContainerMov = 4,
  kContainerAvi = 5,
};

// Kind of the extension (text after the last "."), compared without regard
// to case; null or anything unlisted is kContainerUnknown. Recording and
// playback ask for it and then treat every file as 3GP all the same.
ContainerKind classifyFileExtension(const wchar_t* extension);

// The extension of `path`: the text after its last ".", or null without one.
const wchar_t* fileExtension(const wchar_t* path);

}  // namespace mp4lib::codecs
