// A progress line on standard error for long commands: frames done, media
// time and speed against real time, rewritten in place. Shown only when
// asked (the tool asks when standard error is a terminal and --quiet is
// absent), so logs and pipes never receive it.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace mp4lib::tool {

// The line's text, e.g. "play: 45/150 frames  00:03.0/00:10.0  12.5x real time".
// Totals of 0 are left out, frames too when there are none (a movie without
// video); the speed waits for media time and elapsed time above 0.
std::string progressText(const std::string& label, std::uint32_t frames, std::uint32_t totalFrames,
                         std::uint64_t mediaMs, std::uint64_t totalMs, std::uint64_t elapsedMs);

class ProgressLine {
 public:
  ProgressLine(std::string label, std::uint32_t totalFrames, std::uint64_t totalMs, bool shown);
  ~ProgressLine() { endLine(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Rewrites the line with these figures, at most ten times a second.
  void update(std::uint32_t frames, std::uint64_t mediaMs);
  // Rewrites it with the final figures and ends it.
  void finish(std::uint32_t frames, std::uint64_t mediaMs);
  // Ends a line that was drawn, so a message after it starts on its own line.
  void endLine();

 private:
  void draw(std::uint32_t frames, std::uint64_t mediaMs);

  std::string label_;
  std::uint32_t totalFrames_;
  std::uint64_t totalMs_;
  bool shown_;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point lastDrawn_;
  std::size_t drawnLength_ = 0;  // characters on the line now; 0 = nothing drawn
};

}  // namespace mp4lib::tool
