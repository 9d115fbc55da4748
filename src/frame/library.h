// Library-wide state: the lifecycle flags and the two locks. The encoder,
// decoder and writer reach them through these functions.
#pragma once

#include "platform/platform.h"

namespace mp4lib::frame {

bool libraryInitialised();
bool encoderActive();
void setEncoderActive(bool active);
bool decoderActive();
void setDecoderActive(bool active);

// Serialises the writes of encoded samples (video and audio may be stored
// from two threads).
platform::CriticalSection& writeLock();
// Serialises every seek-and-read of the file being played.
platform::CriticalSection& readLock();

// Called by the platform's library entry routine when the process unloads
// the library.
void onProcessDetach();

}  // namespace mp4lib::frame
