// Closing a recording: the timing tables are settled, "moov" follows the
// media data, the "mdat" size is patched and the file is closed.
#pragma once

#include <cstdint>

#include "recording/recorder.h"

namespace mp4lib::recording {

// closeEncodeFile: 1 when a file was open (closed now), 0 when none was.
// *complete tells whether every byte of the file reached it (a short write
// does not change the result).
std::int32_t closeFile(Recorder& recorder, bool* complete);

}  // namespace mp4lib::recording
