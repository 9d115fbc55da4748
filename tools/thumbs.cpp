// A contact sheet through the exported API: frames at even times across the
// movie, scaled by the library, in a grid with their times, as one PNG.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "commands.h"
#include "contact_sheet.h"
#include "image_files.h"
#include "media_time.h"
#include "movie_file.h"

namespace mp4lib::tool {

namespace {

constexpr Rgb kSheetBackground{32, 32, 32};
// Above this the sheet would take hundreds of MB to hold and write, pixels.
constexpr std::uint64_t kMaxSheetPixels = 64ull * 1024 * 1024;

std::string sheetPath(const ThumbsOptions& options) {
  if (!options.output.empty()) return options.output;
  std::filesystem::path path(options.input);
  path.replace_extension();
  return path.string() + "-thumbs.png";
}

// Decodes the frame shown at timeMs into the sheet, stamped with its own
// time; false, with the reason, when the library cannot.
bool placeFrame(RgbPicture& sheet, const SheetLayout& layout, std::uint32_t index, std::uint32_t timeMs,
                const std::string& input, std::vector<std::uint8_t>& bgr) {
  std::int32_t entry = 0;
  std::uint32_t size = 0, frameMs = 0, durationMs = 0;
  if (getVideoEntryByTime(static_cast<std::int32_t>(timeMs), &entry) != 1 ||
      decode_RGB24_video_trackEx2(entry, bgr.data(), &size, static_cast<std::int32_t>(layout.frameWidth),
                                  static_cast<std::int32_t>(layout.frameHeight), &frameMs, &durationMs) != 1) {
    std::fprintf(stderr, "mp4lib: the frame of %s at %s does not decode; its place on the sheet stays empty\n",
                 input.c_str(), formatMediaTime(timeMs).c_str());
    return false;
  }
  const Area cell = layout.cell(index);
  sheet.placeBgr(bgr.data(), layout.frameWidth, layout.frameHeight, cell.x, cell.y);
  stampTime(sheet, cell, frameMs);
  return true;
}

int makeSheet(const MovieParams& movie, const ThumbsOptions& options) {
  std::uint32_t frames = 0, durationMs = 0;
  if (!movie.videoEnabled || getVideoFrameNum(&frames) != 1 || frames == 0) {
    std::fprintf(stderr, "mp4lib: %s has no video track to take frames from\n", options.input.c_str());
    return kRefused;
  }
  if (getVideoDuration(&durationMs) != 1) getMovieDuration(&durationMs);
  const SheetLayout layout = layoutSheet(options.count, options.columns, options.width, movie.width, movie.height);
  if (layout.width() * layout.height() > kMaxSheetPixels) {
    std::fprintf(stderr, "mp4lib: a sheet of %llux%llu pixels is too large; ask for fewer or narrower frames\n",
                 static_cast<unsigned long long>(layout.width()), static_cast<unsigned long long>(layout.height()));
    return kUsageError;
  }
  RgbPicture sheet(static_cast<std::uint32_t>(layout.width()), static_cast<std::uint32_t>(layout.height()),
                   kSheetBackground);
  std::vector<std::uint8_t> bgr(std::size_t{layout.frameWidth} * layout.frameHeight * 3);
  const std::vector<std::uint32_t> times = sheetTimesMs(durationMs, options.count);
  std::uint32_t missing = 0;
  for (std::uint32_t i = 0; i < options.count; ++i) {
    if (!placeFrame(sheet, layout, i, times[i], options.input, bgr)) ++missing;
  }
  const std::string output = sheetPath(options);
  if (!writePng(output, sheet.width(), sheet.height(), sheet.bytes())) {
    std::fprintf(stderr, "mp4lib: cannot write %s (is the folder there and writable?)\n", output.c_str());
    return kRefused;
  }
  std::printf("made %s: %u frames of %ux%u from %s in %u columns, %ux%u pixels\n", output.c_str(),
              options.count - missing, layout.frameWidth, layout.frameHeight, options.input.c_str(), layout.columns,
              sheet.width(), sheet.height());
  return missing == 0 ? kDone : kRefused;
}

}  // namespace

int thumbs(const ThumbsOptions& options) {
  const MovieParams* movie = openMovie(options.input);
  if (movie == nullptr) return kRefused;
  const int status = makeSheet(*movie, options);
  finalizeDecoder();
  return status;
}

}  // namespace mp4lib::tool
