// POSIX wave message window: the device thread posts into a locked queue and
// the application's thread takes the messages out in the order posted.
#include "wave_window.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace mp4lib::support {

struct WaveMessageWindow::State {
  Mp4WaveTarget target{&State::post, this};
  std::mutex lock;
  std::condition_variable arrived;
  std::deque<WaveMessage> messages;

  static void post(Mp4WaveTarget* target, std::uint32_t id, Mp4WaveHeader* header) {
    auto* state = static_cast<State*>(target->user);
    std::lock_guard<std::mutex> hold(state->lock);
    state->messages.push_back({id, header});
    state->arrived.notify_all();
  }
};

WaveMessageWindow::WaveMessageWindow() : state_(std::make_unique<State>()) {}
WaveMessageWindow::~WaveMessageWindow() = default;

Mp4WaveWindow WaveMessageWindow::window() const { return &state_->target; }

bool WaveMessageWindow::next(WaveMessage* message, std::uint32_t timeoutMs) {
  std::unique_lock<std::mutex> hold(state_->lock);
  const bool any = state_->arrived.wait_for(hold, std::chrono::milliseconds(timeoutMs),
                                            [this] { return !state_->messages.empty(); });
  if (!any) return false;
  *message = state_->messages.front();
  state_->messages.pop_front();
  return true;
}

}  // namespace mp4lib::support
