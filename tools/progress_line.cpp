#include "progress_line.h"

#include <cstdio>
#include <utility>

#include "media_time.h"

namespace mp4lib::tool {

namespace {

// Between two redraws, ms: often enough to look alive, rarely enough that a
// fast decode does not spend its time writing to the terminal.
constexpr std::int64_t kRedrawMs = 100;

std::uint64_t msSince(std::chrono::steady_clock::time_point start) {
  const auto elapsed = std::chrono::steady_clock::now() - start;
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
}

}  // namespace

std::string progressText(const std::string& label, std::uint32_t frames, std::uint32_t totalFrames,
                         std::uint64_t mediaMs, std::uint64_t totalMs, std::uint64_t elapsedMs) {
  std::string text = label + ":";
  if (frames > 0 || totalFrames > 0) {
    text += " " + std::to_string(frames);
    if (totalFrames > 0) text += "/" + std::to_string(totalFrames);
    text += " frames ";
  }
  text += " " + formatMediaTime(mediaMs);
  if (totalMs > 0) text += "/" + formatMediaTime(totalMs);
  if (mediaMs > 0 && elapsedMs > 0) {
    char speed[32];
    std::snprintf(speed, sizeof speed, "  %.1fx real time", static_cast<double>(mediaMs) / static_cast<double>(elapsedMs));
    text += speed;
  }
  return text;
}

ProgressLine::ProgressLine(std::string label, std::uint32_t totalFrames, std::uint64_t totalMs, bool shown)
    : label_(std::move(label)), totalFrames_(totalFrames), totalMs_(totalMs), shown_(shown),
      start_(std::chrono::steady_clock::now()) {}

void ProgressLine::update(std::uint32_t frames, std::uint64_t mediaMs) {
  if (!shown_) return;
  const auto now = std::chrono::steady_clock::now();
  if (drawnLength_ > 0 && now - lastDrawn_ < std::chrono::milliseconds(kRedrawMs)) return;
  lastDrawn_ = now;
  draw(frames, mediaMs);
}

void ProgressLine::finish(std::uint32_t frames, std::uint64_t mediaMs) {
  if (!shown_) return;
  draw(frames, mediaMs);
  endLine();
}

void ProgressLine::endLine() {
  if (drawnLength_ == 0) return;
  std::fputc('\n', stderr);
  drawnLength_ = 0;
}

// Carriage return and spaces rather than terminal escapes: they work on
// every console, Windows' included.
void ProgressLine::draw(std::uint32_t frames, std::uint64_t mediaMs) {
  const std::string text = progressText(label_, frames, totalFrames_, mediaMs, totalMs_, msSince(start_));
  const std::size_t blanks = drawnLength_ > text.size() ? drawnLength_ - text.size() : 0;
  std::fprintf(stderr, "\r%s%*s", text.c_str(), static_cast<int>(blanks), "");
  std::fflush(stderr);
  drawnLength_ = text.size();
}

}  // namespace mp4lib::tool
