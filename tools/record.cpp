// Recording a movie through the exported API.
#include <cstdio>
#include <cwchar>
#include <memory>
#include <vector>

#include "commands.h"
#include "image_files.h"
#include "media_input.h"
#include "mp4lib.h"
#include "test_source.h"

namespace mp4lib::tool {

namespace {

std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

struct Codecs {
  bool video = false;
  bool audio = false;
  std::uint32_t videoType = 0;  // MPEG-4's type is 0 too
  std::uint32_t audioType = 0;
  std::uint32_t audioBlockMs = 0;  // AMR frames last 20 ms, G.723 frames 30 ms
};

bool chooseCodecs(const RecordOptions& options, Codecs* codecs) {
  codecs->video = options.video != "none";
  codecs->audio = options.audio != "none";
  if (options.video == "h263") {
    codecs->videoType = MP4LIB_CODEC_TYPE_H263;
  } else if (options.video == "mpeg4") {
    codecs->videoType = MP4LIB_CODEC_TYPE_MPEG4V;
  } else if (options.video != "none") {
    std::fprintf(stderr, "mp4lib: unknown video codec \"%s\" (use h263, mpeg4 or none)\n", options.video.c_str());
    return false;
  }
  if (options.audio == "amr") {
    codecs->audioType = MP4LIB_CODEC_TYPE_AMR;
    codecs->audioBlockMs = 20;
  } else if (options.audio == "g723") {
    codecs->audioType = MP4LIB_CODEC_TYPE_G723;
    codecs->audioBlockMs = 30;
  } else if (options.audio != "none") {
    std::fprintf(stderr, "mp4lib: unknown audio codec \"%s\" (use amr, g723 or none)\n", options.audio.c_str());
    return false;
  }
  if (options.video == "none" && options.audio == "none") {
    std::fprintf(stderr, "mp4lib: nothing to record: both video and audio are \"none\"\n");
    return false;
  }
  return true;
}

// Where the pictures and the sound come from.
class Sources {
 public:
  bool open(const RecordOptions& options, std::uint32_t* width, std::uint32_t* height, double* frameRate) {
    std::string error;
    if (!options.videoInput.empty()) {
      pictures_ = std::make_unique<PictureFile>();
      if (!pictures_->open(options.videoInput, options.width, options.height, &error)) {
        std::fprintf(stderr, "mp4lib: %s\n", error.c_str());
        return false;
      }
      *width = pictures_->width();
      *height = pictures_->height();
      if (pictures_->frameRate() > 0) *frameRate = pictures_->frameRate();
    }
    if (!options.audioInput.empty()) {
      std::uint32_t rate = 0;
      std::uint16_t channels = 0;
      if (!readWav(options.audioInput, &rate, &channels, &sound_)) {
        std::fprintf(stderr, "mp4lib: %s is not a 16-bit PCM WAV file\n", options.audioInput.c_str());
        return false;
      }
      if (rate != 8000 || channels != 1) {
        std::fprintf(stderr,
                     "mp4lib: %s has %u Hz and %u channel(s); AMR and G.723 need 8000 Hz mono "
                     "(convert with: ffmpeg -i %s -ar 8000 -ac 1 out.wav)\n",
                     options.audioInput.c_str(), rate, channels, options.audioInput.c_str());
        return false;
      }
      haveSound_ = true;
    }
    return true;
  }

  bool fromFile() const { return pictures_ != nullptr; }
  PictureFormat format() const { return pictures_ ? pictures_->format() : PictureFormat::kRgb24; }
  bool nextPicture(std::vector<std::uint8_t>* picture) { return pictures_->next(picture); }

  // PCM block `index` of `bytes` bytes; false when the input has run out.
  bool block(std::uint64_t index, std::uint32_t bytes, std::vector<std::uint8_t>* pcm) {
    if (!haveSound_) {
      *pcm = testTone(8000, index * (bytes / 2), bytes / 2);
      return true;
    }
    const std::uint64_t at = index * bytes;
    if (at + bytes > sound_.size()) return false;
    pcm->assign(sound_.begin() + static_cast<std::ptrdiff_t>(at), sound_.begin() + static_cast<std::ptrdiff_t>(at + bytes));
    return true;
  }

 private:
  std::unique_ptr<PictureFile> pictures_;
  std::vector<std::uint8_t> sound_;
  bool haveSound_ = false;
};

EncoderParams encoderParams(const Codecs& codecs, std::uint32_t width, std::uint32_t height, double frameRate) {
  EncoderParams params{};
  params.width = width;
  params.height = height;
  params.frameRate = frameRate;
  params.timingMode = 0;  // constant frame rate
  if (codecs.video) params.flags |= MP4LIB_RECORD_VIDEO;
  params.videoCodecType = codecs.videoType;
  if (codecs.audio) {
    params.flags |= MP4LIB_RECORD_AUDIO;
    params.audioCodecType = codecs.audioType;
    params.audioBits = 16;
    params.audioSampleRate = 8000;
    params.audioChannels = 1;
    params.audioBlockMs = codecs.audioBlockMs;
  }
  return params;
}

class Recorder {
 public:
  Recorder(Sources& sources, const EncoderContext& context)
      : sources_(sources), context_(context),
        out_(static_cast<std::size_t>(context.codedWidth) * context.codedHeight * 3 + 65536) {}

  bool videoFrame(std::uint32_t frame, std::uint32_t timeMs) {
    std::uint32_t size = static_cast<std::uint32_t>(out_.size());
    if (!sources_.fromFile()) {
      const auto picture = testPicture(context_.width, context_.height, frame);
      if (encodeRGB16Video(picture.data(), 0, out_.data(), &size, 1, timeMs, 0) != 1) return false;
    } else {
      if (!sources_.nextPicture(&picture_)) return endOfInput_ = true, true;
      if (sources_.format() == PictureFormat::kRgb24) {
        if (encodeRGB24Video(picture_.data(), 0, out_.data(), &size, 1, timeMs, 0) != 1) return false;
      } else {
        if ((encode_YUV420_byte_planner_video(picture_.data(), 0, out_.data(), &size, timeMs) & 0xFF) == 0) return false;
        if (size > 0 && writeEncodeData(out_.data(), size, 0, timeMs) != 1) return false;
      }
    }
    ++frames_;
    return true;
  }

  bool audioBlock(std::uint64_t index, std::uint32_t timeMs) {
    std::vector<std::uint8_t> pcm;
    if (!sources_.block(index, context_.pcmBytesPerBlock, &pcm)) return endOfInput_ = true, true;
    std::uint32_t size = static_cast<std::uint32_t>(out_.size());
    if ((encode_audio(pcm.data(), static_cast<std::uint32_t>(pcm.size()), out_.data(), &size) & 0xFF) == 0) return false;
    if (size > 0 && writeEncodeData(out_.data(), size, 1, timeMs) != 1) return false;
    ++blocks_;
    return true;
  }

  bool endOfInput() const { return endOfInput_; }
  std::uint32_t frames() const { return frames_; }
  std::uint64_t blocks() const { return blocks_; }

 private:
  Sources& sources_;
  const EncoderContext& context_;
  std::vector<std::uint8_t> out_;
  std::vector<std::uint8_t> picture_;
  bool endOfInput_ = false;
  std::uint32_t frames_ = 0;
  std::uint64_t blocks_ = 0;
};

}  // namespace

int record(const RecordOptions& options) {
  Codecs codecs;
  if (!chooseCodecs(options, &codecs)) return 2;
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
  std::uint64_t nextBlock = 0;
  bool ok = true;
  for (std::uint32_t frame = 0; ok && !recorder.endOfInput(); ++frame) {
    const auto frameMs = static_cast<std::uint64_t>(frame * 1000.0 / frameRate);
    if (frameMs >= totalMs) break;
    if (codecs.video) ok = recorder.videoFrame(frame, static_cast<std::uint32_t>(frameMs));
    const auto untilMs = static_cast<std::uint64_t>((frame + 1) * 1000.0 / frameRate);
    while (ok && codecs.audio && nextBlock * codecs.audioBlockMs < std::min(untilMs, totalMs)) {
      ok = recorder.audioBlock(nextBlock, static_cast<std::uint32_t>(nextBlock * codecs.audioBlockMs));
      ++nextBlock;
    }
  }
  if (!ok) std::fprintf(stderr, "mp4lib: encoding failed (the codec plug-in refused a frame or the disk is full)\n");
  const bool closed = closeEncodeFile() == 1;
  finalizeEncoder();
  if (!ok || !closed) return 1;
  std::printf("recorded %s: %u video frames (%s %ux%u, coded %ux%u, %.2f fps), %llu audio blocks (%s)\n",
              options.output.c_str(), recorder.frames(), options.video.c_str(), width, height, codedWidth, codedHeight, frameRate, static_cast<unsigned long long>(recorder.blocks()), options.audio.c_str());
  return 0;
}

}  // namespace mp4lib::tool
