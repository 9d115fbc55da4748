// Movie times as people read them: minutes, seconds and tenths.
#pragma once

#include <cstdint>
#include <string>

namespace mp4lib::tool {

// "mm:ss.t" for a time in ms, tenths cut (not rounded) so a stamp never
// shows a time the frame has not reached; minutes go on past 59 ("61:01.2").
std::string formatMediaTime(std::uint64_t ms);

}  // namespace mp4lib::tool
