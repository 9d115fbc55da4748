// Recording a movie through the exported API.
#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <string>

#include "commands.h"
#include "live_audio.h"
#include "mp4lib.h"
#include "recorder.h"

namespace mp4lib::tool {

namespace {

std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// Pictures at the frame rate and sound blocks up to each picture's end, both
// from the sources, as fast as the codecs go.
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
  if (!ok) std::fprintf(stderr, "mp4lib: encoding failed (the codec plug-in refused a frame or the disk is full)\n");
  return ok;
}

}  // namespace

int record(const RecordOptions& options) {
  Codecs codecs;
  if (!chooseCodecs(options, &codecs)) return 2;
  if (options.live && (!codecs.audio || !options.audioInput.empty())) {
    std::fprintf(stderr, "mp4lib: --live records the sound of the input device: it needs --audio amr or g723 and "
                         "no --input-audio\n");
    return 2;
  }
  std::uint32_t width = options.width, height = options.height;
  double frameRate = options.frameRate;
  Sources sources;
  if (!sources.open(options, &width, &height, &frameRate)) return 1;

  EncoderParams params = encoderParams(codecs, width, height, frameRate);
  EncoderContext* context = nullptr;
  if ((initEncoder(&params, &context) & 0xFF) == 0) {
    std::fprintf(stderr,
                 "mp4lib: cannot start recording: no codec plug-in for %s/%s beside the library, the plug-in refused "
                 "%ux%u at %.2f fps, or the disk is full\n",
                 options.video.c_str(), options.audio.c_str(), width, height, frameRate);
    return 1;
  }
  if (createEncodeFile(widen(options.output).c_str()) != 1 || writeVideoFileHeader(0, 0) != 1) {
    std::fprintf(stderr, "mp4lib: cannot create %s\n", options.output.c_str());
    finalizeEncoder();
    return 1;
  }

  Recorder recorder(sources, *context);
  const std::uint32_t codedWidth = context->codedWidth, codedHeight = context->codedHeight;
  const auto totalMs = static_cast<std::uint64_t>(options.seconds * 1000.0);
  const bool ok = options.live ? recordFromInputDevice(recorder, codecs, frameRate, totalMs)
                               : recordFromSources(recorder, codecs, frameRate, totalMs);
  const bool closed = closeEncodeFile() == 1;
  finalizeEncoder();
  if (!ok || !closed) return 1;
  std::printf("recorded %s: %u video frames (%s %ux%u, coded %ux%u, %.2f fps), %llu audio blocks (%s%s)\n",
              options.output.c_str(), recorder.frames(), options.video.c_str(), width, height, codedWidth, codedHeight,
              frameRate, static_cast<unsigned long long>(recorder.blocks()), options.audio.c_str(),
              options.live ? ", from the default input device" : "");
  return 0;
}

}  // namespace mp4lib::tool
