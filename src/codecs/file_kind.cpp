#include "codecs/file_kind.h"

#include <cwchar>
#include <cwctype>

namespace mp4lib::codecs {

namespace {

bool equalIgnoringCase(const wchar_t* a, const wchar_t* b) {
  for (; *a != 0 && *b != 0; ++a, ++b) {
    if (std::towlower(static_cast<wint_t>(*a)) != std::towlower(static_cast<wint_t>(*b))) return false;
  }
  return *a == *b;
}

}  // namespace

ContainerKind classifyFileExtension(const wchar_t* extension) {
  if (extension == nullptr) return kContainerUnknown;
  static const struct {
    const wchar_t* extension;
    ContainerKind kind;
  } kKinds[] = {
      {L"qzv", kContainerQzv}, {L"qz1", kContainerQz1}, {L"3gp", kContainer3gp},
      {L"mov", kContainerMov}, {L"avi", kContainerAvi},
  };
  for (const auto& entry : kKinds) {
    if (equalIgnoringCase(extension, entry.extension)) return entry.kind;
  }
  return kContainerUnknown;
}

const wchar_t* fileExtension(const wchar_t* path) {
  if (path == nullptr) return nullptr;
  const wchar_t* dot = std::wcsrchr(path, L'.');
  return dot ? dot + 1 : nullptr;
}

}  // namespace mp4lib::codecs
