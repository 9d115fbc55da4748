// The header at the start of a recording: "ftyp", the vendor header box and
// the "mdat" header of a 3GP file, or the bare vendor payload of a raw
// stream.
#pragma once

#include <cstdint>

#include "recording/recorder.h"

namespace mp4lib::recording {

// writeVideoFileHeader: 1, or 0 without a file (or in an unknown container
// mode). A nonzero `rewrite` writes nothing for a 3GP file.
std::int32_t writeFileHeader(Recorder& recorder, std::uint32_t value, bool rewrite);

}  // namespace mp4lib::recording
