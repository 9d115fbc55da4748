// Codecs, sources and the recorder behind the record command.
#include "recorder.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "image_files.h"
#include "test_source.h"

namespace mp4lib::tool {

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

bool Sources::open(const RecordOptions& options, std::uint32_t* width, std::uint32_t* height, double* frameRate) {
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
    std::error_code missing;
    if (!std::filesystem::is_regular_file(options.audioInput, missing)) {
      std::fprintf(stderr, "mp4lib: cannot open %s: there is no such file\n", options.audioInput.c_str());
      return false;
    }
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

bool Sources::block(std::uint64_t index, std::uint32_t bytes, std::vector<std::uint8_t>* pcm) {
  if (!haveSound_) {
    *pcm = testTone(8000, index * (bytes / 2), bytes / 2);
    return true;
  }
  const std::uint64_t at = index * bytes;
  if (at + bytes > sound_.size()) return false;
  pcm->assign(sound_.begin() + static_cast<std::ptrdiff_t>(at), sound_.begin() + static_cast<std::ptrdiff_t>(at + bytes));
  return true;
}

std::uint32_t framesBefore(std::uint64_t totalMs, double frameRate) {
  std::uint32_t frames = 0;
  while (frameTimeMs(frames, frameRate) < totalMs) ++frames;
  return frames;
}

Recorder::Recorder(Sources& sources, const EncoderContext& context, const Codecs& codecs, ProgressLine& progress)
    : sources_(sources), context_(context), codecs_(codecs), progress_(progress),
      out_(static_cast<std::size_t>(context.codedWidth) * context.codedHeight * 3 + 65536) {}

void Recorder::reportProgress(std::uint64_t reachedMs) {
  reachedMs_ = std::max(reachedMs_, reachedMs);
  progress_.update(frames_, reachedMs_);
}

bool Recorder::videoFrame(std::uint32_t frame, std::uint32_t timeMs) {
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
  reportProgress(timeMs);
  return true;
}

bool Recorder::audioBlock(std::uint64_t index, std::uint32_t timeMs) {
  std::vector<std::uint8_t> pcm;
  if (!sources_.block(index, context_.pcmBytesPerBlock, &pcm)) return endOfInput_ = true, true;
  std::uint32_t size = static_cast<std::uint32_t>(out_.size());
  if ((encode_audio(pcm.data(), static_cast<std::uint32_t>(pcm.size()), out_.data(), &size) & 0xFF) == 0) return false;
  if (size > 0 && writeEncodeData(out_.data(), size, 1, timeMs) != 1) return false;
  ++blocks_;
  reportProgress(std::uint64_t{timeMs} + codecs_.audioBlockMs);
  return true;
}

bool Recorder::capturedBlock() {
  std::uint32_t size = static_cast<std::uint32_t>(out_.size());
  if (encodeWaveInAudio(out_.data(), &size, 1) != 1) return false;
  ++blocks_;
  reportProgress(blocks_ * codecs_.audioBlockMs);
  return true;
}

void Recorder::dropCapturedBlocks() {
  std::uint32_t size = static_cast<std::uint32_t>(out_.size());
  while (encodeWaveInAudio(out_.data(), &size, 0) == 1) size = static_cast<std::uint32_t>(out_.size());
}

}  // namespace mp4lib::tool
