// Windows wave message window: a message-only window of the thread that
// makes it. winmm posts MM_WIM_DATA / MM_WOM_DONE to it; next() pumps the
// thread's queue until one of those arrives.
#include <windows.h>
#include <mmsystem.h>

#include "wave_window.h"

namespace mp4lib::support {

struct WaveMessageWindow::State {
  HWND window = nullptr;
};

WaveMessageWindow::WaveMessageWindow() : state_(std::make_unique<State>()) {
  state_->window = CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

WaveMessageWindow::~WaveMessageWindow() {
  if (state_->window != nullptr) DestroyWindow(state_->window);
}

Mp4WaveWindow WaveMessageWindow::window() const { return reinterpret_cast<Mp4WaveWindow>(state_->window); }

bool WaveMessageWindow::next(WaveMessage* message, std::uint32_t timeoutMs) {
  if (state_->window == nullptr) return false;
  const DWORD start = GetTickCount();
  for (;;) {
    MSG got;
    while (PeekMessageW(&got, state_->window, 0, 0, PM_REMOVE)) {
      if (got.message == MM_WIM_DATA || got.message == MM_WOM_DONE) {
        message->id = got.message;
        message->header = reinterpret_cast<Mp4WaveHeader*>(got.lParam);
        return true;
      }
      DispatchMessageW(&got);  // open and close notices
    }
    const DWORD waited = GetTickCount() - start;
    if (waited >= timeoutMs) return false;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, timeoutMs - waited, QS_ALLINPUT);
  }
}

}  // namespace mp4lib::support
