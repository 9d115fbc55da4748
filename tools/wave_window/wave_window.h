// The application's side of the wave devices: a "window" that receives the
// devices' buffer messages, and a wait for the next one on the thread that
// owns it. On Windows it is a message-only window of the thread that made
// it; on POSIX an Mp4WaveTarget whose post queues the message. It is not
// part of the library: the tool and the tests are applications, and they
// answer the devices through it.
#pragma once

#include <cstdint>
#include <memory>

#include "mp4lib.h"

namespace mp4lib::support {

struct WaveMessage {
  std::uint32_t id = 0;  // MP4LIB_WIM_DATA or MP4LIB_WOM_DONE
  Mp4WaveHeader* header = nullptr;
};

class WaveMessageWindow {
 public:
  WaveMessageWindow();
  ~WaveMessageWindow();
  WaveMessageWindow(const WaveMessageWindow&) = delete;
  WaveMessageWindow& operator=(const WaveMessageWindow&) = delete;

  // What the open functions take as the window; null if none could be made.
  Mp4WaveWindow window() const;
  // Waits at most timeoutMs (ms) for the next buffer message; false when
  // none came. Call it from the thread that made the window.
  bool next(WaveMessage* message, std::uint32_t timeoutMs);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace mp4lib::support
