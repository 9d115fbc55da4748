// The one EncoderContext of the library; initEncoder hands its address to
// the application and the video plug-in.
#pragma once

#include "mp4lib_plugin.h"

namespace mp4lib::frame {

EncoderContext& encoderContext();

}  // namespace mp4lib::frame
