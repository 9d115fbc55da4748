// The parts of a recording: which codecs, where pictures and sound come
// from, and the recorder that encodes and stores them through the API.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "commands.h"
#include "media_input.h"
#include "mp4lib.h"
#include "progress_line.h"

namespace mp4lib::tool {

struct Codecs {
  bool video = false;
  bool audio = false;
  std::uint32_t videoType = 0;  // MPEG-4's type is 0 too
  std::uint32_t audioType = 0;
  std::uint32_t audioBlockMs = 0;  // AMR frames last 20 ms, G.723 frames 30 ms
};

// When picture `frame` is shown at frameRate, ms.
inline std::uint64_t frameTimeMs(std::uint64_t frame, double frameRate) {
  return static_cast<std::uint64_t>(static_cast<double>(frame) * 1000.0 / frameRate);
}

// False, with the reason on standard error, for names the tool does not know.
bool chooseCodecs(const RecordOptions& options, Codecs* codecs);
EncoderParams encoderParams(const Codecs& codecs, std::uint32_t width, std::uint32_t height, double frameRate);

// Where the pictures and the sound come from: files, or the test picture
// and tone.
class Sources {
 public:
  bool open(const RecordOptions& options, std::uint32_t* width, std::uint32_t* height, double* frameRate);
  bool fromFile() const { return pictures_ != nullptr; }
  PictureFormat format() const { return pictures_ ? pictures_->format() : PictureFormat::kRgb24; }
  bool nextPicture(std::vector<std::uint8_t>* picture) { return pictures_->next(picture); }
  // PCM block `index` of `bytes` bytes; false when the input has run out.
  bool block(std::uint64_t index, std::uint32_t bytes, std::vector<std::uint8_t>* pcm);

 private:
  std::unique_ptr<PictureFile> pictures_;
  std::vector<std::uint8_t> sound_;
  bool haveSound_ = false;
};

// Frames a recording of totalMs at frameRate holds: those that start before its end.
std::uint32_t framesBefore(std::uint64_t totalMs, double frameRate);

class Recorder {
 public:
  // Reports each stored picture and sound block on `progress`.
  Recorder(Sources& sources, const EncoderContext& context, const Codecs& codecs, ProgressLine& progress);

  // Encodes and stores picture `frame` at timeMs (ms).
  bool videoFrame(std::uint32_t frame, std::uint32_t timeMs);
  // Encodes and stores PCM block `index` of the sources at timeMs (ms).
  bool audioBlock(std::uint64_t index, std::uint32_t timeMs);
  // Encodes and stores the oldest block captured from the input device;
  // false when none is waiting.
  bool capturedBlock();
  // Drops the captured blocks nobody will store.
  void dropCapturedBlocks();

  bool endOfInput() const { return endOfInput_; }
  std::uint32_t frames() const { return frames_; }
  std::uint64_t blocks() const { return blocks_; }

 private:
  // The movie reaches at least reachedMs now.
  void reportProgress(std::uint64_t reachedMs);

  Sources& sources_;
  const EncoderContext& context_;
  const Codecs& codecs_;
  ProgressLine& progress_;
  std::uint64_t reachedMs_ = 0;
  std::vector<std::uint8_t> out_;
  std::vector<std::uint8_t> picture_;
  bool endOfInput_ = false;
  std::uint32_t frames_ = 0;
  std::uint64_t blocks_ = 0;
};

}  // namespace mp4lib::tool
