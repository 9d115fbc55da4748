// Recording a movie through the exported API.
#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <string>

#include "commands.h"
#include "live_audio.h"
#include "movie_file.h"
#include "mp4lib.h"
#include "progress_line.h"
#include "recorder.h"

namespace mp4lib::tool {

namespace {

// Pictures at the frame rate and sound blocks up to each picture's end, both
// from the sources, as fast as the codecs go. False when encoding failed.
bool recordFromSources(Recorder& recorder, const Codecs& codecs, double frameRate, std::uint64_t totalMs) {
  std::uint64_t nextBlock = 0;
  bool ok = true;
  for (std::uint32_t frame = 0; ok && !recorder.endOfInput(); ++frame) {
    const std::uint64_t frameMs = frameTimeMs(frame, frameRate);
    if (frameMs >= totalMs) break;
    if (codecs.video) ok = recorder.videoFrame(frame, static_cast<std::uint32_t>(frameMs));
    const std::uint64_t untilMs = frameTimeMs(frame + 1, frameRate);
    while (ok && codecs.audio && nextBlock * codecs.audioBlockMs < std::min(untilMs, totalMs)) {
      ok = recorder.audioBlock(nextBlock, static_cast<std::uint32_t>(nextBlock * codecs.audioBlockMs));
      ++nextBlock;
    }
  }
  return ok;
}

// How much the movie holds, ms: up to the end of its last picture or sound block.
std::uint64_t recordedMs(const Recorder& recorder, const Codecs& codecs, double frameRate) {
  const std::uint64_t videoMs = codecs.video ? frameTimeMs(recorder.frames(), frameRate) : 0;
  return std::max(videoMs, recorder.blocks() * codecs.audioBlockMs);
}

// Starts the encoder and creates the file with its header; null, with the
// reason on standard error, when either fails.
EncoderContext* startRecording(const RecordOptions& options, const Codecs& codecs, std::uint32_t width,
                               std::uint32_t height, double frameRate) {
  EncoderParams params = encoderParams(codecs, width, height, frameRate);
  EncoderContext* context = nullptr;
  if ((initEncoder(&params, &context) & 0xFF) == 0) {
    std::fprintf(stderr, "mp4lib: cannot start recording %s/%s at %ux%u, %.2f fps: %s\n", options.video.c_str(),
                 options.audio.c_str(), width, height, frameRate, lastFailure().c_str());
    return nullptr;
  }
  if (createEncodeFile(widen(options.output).c_str()) != 1) {
    std::fprintf(stderr, "mp4lib: cannot create %s: %s (is the folder there and writable?)\n",
                 options.output.c_str(), lastFailure().c_str());
    finalizeEncoder();
    return nullptr;
  }
  if (writeVideoFileHeader(0, 0) != 1) {
    std::fprintf(stderr, "mp4lib: cannot write the header of %s\n", options.output.c_str());
    closeEncodeFile();
    finalizeEncoder();
    return nullptr;
  }
  return context;
}

// A recording that failed on the way (ok false) or whose file did not get
// all its bytes (complete false: the disk filled up). Live recording
// explains its own failures, the device's or the codec's.
int explainFailure(const RecordOptions& options, ProgressLine& progress, bool ok, bool complete) {
  progress.endLine();
  if (!complete) {
    std::fprintf(stderr, "mp4lib: cannot finish %s: %s\n", options.output.c_str(), lastFailure().c_str());
  } else if (!ok && !options.live) {
    std::fprintf(stderr, "mp4lib: encoding failed: the codec plug-in refused a frame\n");
  }
  return kRefused;
}

}  // namespace

int record(const RecordOptions& options) {
  Codecs codecs;
  if (!chooseCodecs(options, &codecs)) return kUsageError;
  std::uint32_t width = options.width, height = options.height;
  double frameRate = options.frameRate;
  Sources sources;
  if (!sources.open(options, &width, &height, &frameRate)) return kRefused;
  EncoderContext* context = startRecording(options, codecs, width, height, frameRate);
  if (context == nullptr) return kRefused;

  const auto totalMs = static_cast<std::uint64_t>(options.seconds * 1000.0);
  ProgressLine progress("record", codecs.video ? framesBefore(totalMs, frameRate) : 0, totalMs, options.progress);
  Recorder recorder(sources, *context, codecs, progress);
  const std::string coded = std::to_string(context->codedWidth) + "x" + std::to_string(context->codedHeight);
  const bool ok = options.live ? recordFromInputDevice(recorder, codecs, frameRate, totalMs)
                               : recordFromSources(recorder, codecs, frameRate, totalMs);
  // closeEncodeFile closes the file whatever happened; whether every byte
  // reached it is what it notes.
  const bool complete = closeEncodeFile() == 1 && mp4libLastFailure(nullptr, 0) != MP4LIB_FAILURE_WRITE;
  finalizeEncoder();
  if (!ok || !complete) return explainFailure(options, progress, ok, complete);
  progress.finish(recorder.frames(), recordedMs(recorder, codecs, frameRate));
  std::printf("recorded %s: %u video frames (%s %ux%u, coded %s, %.2f fps), %llu audio blocks (%s%s)\n",
              options.output.c_str(), recorder.frames(), options.video.c_str(), width, height, coded.c_str(),
              frameRate, static_cast<unsigned long long>(recorder.blocks()), options.audio.c_str(),
              options.live ? ", from the default input device" : "");
  return kDone;
}

}  // namespace mp4lib::tool
