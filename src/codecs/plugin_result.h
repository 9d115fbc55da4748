// A plug-in's "bool" result: only its lowest 8 bits tell success (nonzero)
// from failure, and the whole value is passed on unchanged.
#pragma once

#include "mp4lib_plugin.h"

namespace mp4lib::codecs {

inline bool pluginSucceeded(Mp4Word result) { return (result & 0xFFu) != 0; }
inline bool pluginFailed(Mp4Word result) { return (result & 0xFFu) == 0; }

}  // namespace mp4lib::codecs
