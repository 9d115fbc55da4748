#include "recording_script.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <string>

#include "fuzz_support.h"
#include "known_findings.h"
#include "loaded_plugins.h"
#include "mp4lib.h"

namespace mp4lib::fuzz {

namespace {

constexpr int kMostCalls = 200;
constexpr std::uint32_t kNow = 0xFFFFFFFFu;
constexpr std::uint32_t kVendorValue = 0x5EED;

// ---- Reading the script ------------------------------------------------------------

class Script {
 public:
  Script(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool done() const { return next_ >= size_; }
  std::uint8_t byte() { return done() ? 0 : data_[next_++]; }
  std::uint32_t word16() { return std::uint32_t{byte()} << 8 | byte(); }
  std::uint32_t word32() { return word16() << 16 | word16(); }
  // n bytes of the script, or a counting pattern where it has run out.
  Sample bytes(std::size_t n) {
    Sample taken(n);
    for (std::size_t i = 0; i < n; ++i) taken[i] = done() ? static_cast<std::uint8_t>(i * 7) : byte();
    return taken;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t next_ = 0;
};

// ---- The encoder's set-up --------------------------------------------------------------

EncoderParams paramsFrom(Script& script) {
  static const double kFrameRates[] = {15, 30, 25, 29.97, 1, 0.5, 0, 1e7};
  EncoderParams params{};
  params.flags = (script.byte() % 4u) << 2;  // none, video, audio or both
  params.width = 2 * (1 + script.byte() % 32u);
  params.height = 2 * (1 + script.byte() % 32u);
  const bool resized = (script.byte() & 1) != 0;
  params.codedWidth = resized ? 2 * (1 + script.byte() % 32u) : params.width;
  params.codedHeight = resized ? 2 * (1 + script.byte() % 32u) : params.height;
  params.frameRate = kFrameRates[script.byte() % 8];
  params.timingMode = script.byte() & 1;
  params.videoCodecType = (script.byte() & 1) ? MP4LIB_CODEC_TYPE_H263 : MP4LIB_CODEC_TYPE_MPEG4V;
  params.audioCodecType = (script.byte() & 1) ? MP4LIB_CODEC_TYPE_AMR : MP4LIB_CODEC_TYPE_G723;
  params.audioBits = 16;
  params.audioSampleRate = 8000;
  params.audioChannels = 1;
  params.audioBlockMs = 10 * (1 + script.byte() % 10u);
  return params;
}

const char* videoPluginStem(std::uint32_t type) {
  return type == MP4LIB_CODEC_TYPE_H263 ? "codectest_h263" : "codectest_mp4v";
}

const char* audioPluginStem(std::uint32_t type) {
  return type == MP4LIB_CODEC_TYPE_AMR ? "codectest_amr" : "codectest_g723";
}

// ---- The recording ---------------------------------------------------------------------

enum Call {
  kCreateFile,
  kWriteHeader,
  kStoreVideo,
  kStoreAudio,
  kStoreOtherType,
  kEncodeTwoStep,
  kEncodeOneStep,
  kEncodeAudio,
  kOpenWaveIn,
  kCapture,
  kEncodeCaptured,
  kCloseWaveIn,
  kPluginFailure,
  kAskPosition,
  kCloseFile,
  kCallCount
};

class Recorder {
 public:
  Recorder(Script& script, const EncoderParams& params, EncoderContext& context, const std::string& stem,
           InstantWaveDevices& devices)
      : script_(script), params_(params), context_(context), stem_(stem), devices_(devices) {
    video_ = loadedTestPlugin(videoPluginStem(params.videoCodecType));
    audio_ = loadedTestPlugin(audioPluginStem(params.audioCodecType));
    if (video_ != nullptr) {
      video_->videoOutputSize = script.word16() % 400u;
      video_->keyInterval = script.byte() % 12u;
      video_->encodeResult = 1;
    }
    if (audio_ != nullptr) audio_->encodeResult = 1;
  }

  void run() {
    for (int call = 0; call < kMostCalls && !script_.done(); ++call) {
      perform(static_cast<Call>(script_.byte() % kCallCount));
    }
    if (fileOpen_) closeFile();
    if (waveInOpen_) closeWaveIn();
    dropCapturedBlocks();
  }

  std::vector<ClosedFile> closedFiles() { return std::move(closed_); }

 private:
  bool hasVideo() const { return (params_.flags & MP4LIB_RECORD_VIDEO) != 0; }
  bool hasAudio() const { return (params_.flags & MP4LIB_RECORD_AUDIO) != 0; }
  bool videoEncodes() const { return hasVideo() && video_ != nullptr && video_->encodeResult == 1; }
  bool audioEncodes() const { return hasAudio() && audio_ != nullptr && audio_->encodeResult == 1; }

  void perform(Call call) {
    switch (call) {
      case kCreateFile: return createFile();
      case kWriteHeader: return writeHeader();
      case kStoreVideo: return storeGiven(0);
      case kStoreAudio: return storeGiven(1);
      case kStoreOtherType: return storeOtherType();
      case kEncodeTwoStep: return encodeTwoStep();
      case kEncodeOneStep: return encodeOneStep();
      case kEncodeAudio: return encodeAudio();
      case kOpenWaveIn: return openWaveInDevice();
      case kCapture: return capture();
      case kEncodeCaptured: return encodeCaptured();
      case kCloseWaveIn: return closeWaveIn();
      case kPluginFailure: return toggleFailures();
      case kAskPosition: return askPosition();
      case kCloseFile: return closeFile();
      case kCallCount: return;
    }
  }

  // 0xFFFFFFFF ("now"), 0, a little after the last one, or anything at all
  // (jumps back included).
  std::uint32_t timestamp() {
    switch (script_.byte() % 4) {
      case 0: return kNow;
      case 1: return 0;
      case 2: return lastTimestamp_ += script_.byte();
      default: return lastTimestamp_ = script_.word32();
    }
  }

  // ---- Files ----

  void createFile() {
    const std::string path = scratchPath(stem_.c_str(), serial_++);
    const std::int32_t created = createEncodeFile(widePath(path).c_str());
    require(created == (fileOpen_ ? 0 : 1), "createEncodeFile opens a file exactly when none is open");
    if (fileOpen_) return;
    fileOpen_ = true;
    current_ = ClosedFile{};
    current_.path = path;
    current_.videoCodecType = params_.videoCodecType;
    current_.constantRate = context_.timingMode == 0;
    headers_ = 0;
    sampleBeforeHeader_ = false;
  }

  void writeHeader() {
    const std::uint8_t rewrite = script_.byte() & 1;
    require(writeVideoFileHeader(kVendorValue, rewrite) == (fileOpen_ ? 1 : 0),
            "writeVideoFileHeader succeeds exactly with a file open");
    if (fileOpen_ && rewrite == 0) ++headers_;
  }

  void closeFile() {
    require(closeEncodeFile() == (fileOpen_ ? 1 : 0), "closeEncodeFile succeeds exactly with a file open");
    if (!fileOpen_) return;
    fileOpen_ = false;
    current_.wellFormed = headers_ == 1 && !sampleBeforeHeader_;
    closed_.push_back(std::move(current_));
  }

  void askPosition() {
    const std::int32_t position = getEncodeFilePos();
    if (!fileOpen_) require(position == 0, "getEncodeFilePos is 0 without a file");
    std::uint8_t *y = nullptr, *u = nullptr, *v = nullptr;
    std::uint32_t pitch = 0, chromaPitch = 0;
    encode_getReconYUV(&y, &u, &v, &pitch, &chromaPitch);
  }

  // ---- Storing ----

  void noteStored(int type, const std::uint8_t* data, std::uint32_t size) {
    if (headers_ == 0) sampleBeforeHeader_ = true;
    (type == 0 ? current_.video : current_.audio).emplace_back(data, data + size);
  }

  bool trackFor(std::uint32_t type) const { return type == 0 ? hasVideo() : type == 1 && hasAudio(); }

  void storeSample(const std::uint8_t* data, std::uint32_t size, std::uint32_t type) {
    const std::int32_t stored = writeEncodeData(data, size, type, timestamp());
    const bool expected = fileOpen_ && trackFor(type);
    if (size > 0) require(stored == (expected ? 1 : 0), "writeEncodeData stores exactly into an open track");
    if (stored == 1) {
      require(expected, "writeEncodeData stores only into an open track");
      noteStored(static_cast<int>(type), data, size);
    }
  }

  void storeGiven(std::uint32_t type) {
    const Sample sample = script_.bytes(script_.word16() % 3000u);
    storeSample(sample.data(), static_cast<std::uint32_t>(sample.size()), type);
  }

  void storeOtherType() {
    const Sample sample = script_.bytes(script_.byte());
    const std::uint32_t type = 2 + script_.byte() % 3u;
    require(writeEncodeData(sample.data(), static_cast<std::uint32_t>(sample.size()), type, 0) == 0,
            "writeEncodeData refuses a type other than 0 and 1");
  }

  // ---- Video ----

  // Output room: 0 ("coded width x height x 3") or an exact capacity. Given
  // 0, the test plug-in writes its whole frame whatever the coded size, so
  // the buffer is made large enough for that too; only the plug-in writes it.
  ExactBuffer outputBuffer(std::uint32_t* capacity) {
    const std::uint32_t choice = script_.byte() % 4u;
    *capacity = choice == 0 ? 0 : script_.word16() % 500u;
    if (*capacity != 0) return ExactBuffer(*capacity);
    const std::uint32_t frame = video_ != nullptr ? video_->videoOutputSize : 0;
    return ExactBuffer(std::max(outputRoom(0), frame));
  }

  std::uint32_t outputRoom(std::uint32_t capacity) const {
    return capacity != 0 ? capacity : context_.codedWidth * context_.codedHeight * 3;
  }

  // The test plug-in fails only when a capacity was given and is too small.
  bool encoderSucceeds(std::uint32_t capacity) const {
    return videoEncodes() && (capacity == 0 || video_->videoOutputSize <= capacity);
  }

  Mp4Word encodeInFormat(int format, std::uint8_t* out, std::uint32_t* outSize, std::uint32_t ts) {
    const std::uint32_t w = context_.width, h = context_.height;
    const std::uint32_t luma = w * h, chroma = (w / 2) * (h / 2), chroma422 = (w / 2) * h;
    const Mp4Word arg = script_.byte();
    const std::uint8_t option = script_.byte();
    switch (format) {
      case 0: {
        std::vector<std::int16_t> frame(context_.frameSampleCount, 128);
        return encode_video(frame.data(), arg, out, outSize, ts);
      }
      case 1: return encode_RGB24_video(script_.bytes(luma * 3).data(), arg, out, outSize, ts, option);
      case 2: {
        std::vector<std::uint16_t> rgb(luma, static_cast<std::uint16_t>(script_.word16()));
        return encode_RGB16_video(rgb.data(), arg, out, outSize, ts, option);
      }
      case 3: return encode_YUV422_video(script_.bytes(luma * 2).data(), arg, out, outSize, ts);
      case 4: return encode_YUV422_byte_planner_video(script_.bytes(luma * 2).data(), arg, out, outSize, ts);
      case 5:
        return encode_YUV422_byte_planner_video_s3(script_.bytes(luma).data(), script_.bytes(chroma422).data(),
                                                   script_.bytes(chroma422).data(), arg, out, outSize, ts);
      case 6: return encode_YUV420_byte_planner_video(script_.bytes(luma + 2 * chroma).data(), arg, out, outSize, ts);
      case 7:
        return encode_YUV420_byte_planner_video_s3(script_.bytes(luma).data(), script_.bytes(chroma).data(),
                                                   script_.bytes(chroma).data(), arg, out, outSize, ts);
      default: {
        std::vector<std::int16_t> yuv(luma + 2 * chroma, static_cast<std::int16_t>(script_.byte()));
        return encode_YUV420_short_planner_video(yuv.data(), arg, out, outSize, ts);
      }
    }
  }

  // An encode call of one of the nine input formats, its result kept or not.
  void encodeTwoStep() {
    std::uint32_t capacity = 0;
    ExactBuffer out = outputBuffer(&capacity);
    std::uint32_t outSize = capacity;
    const bool expected = encoderSucceeds(capacity);
    const Mp4Word result = encodeInFormat(script_.byte() % 9, out.data(), &outSize, timestamp());
    require(((result & 0xFF) != 0) == expected, "a video encode succeeds exactly when its plug-in does");
    if (!expected) return;
    require(outSize == video_->videoOutputSize, "the encoded size is the plug-in's");
    if (script_.byte() & 1) storeSample(out.data(), outSize, 0);
  }

  // encodeVideo and the RGB forms, storing when asked.
  void encodeOneStep() {
    std::uint32_t capacity = 0;
    ExactBuffer out = outputBuffer(&capacity);
    std::uint32_t outSize = capacity;
    const std::uint8_t store = script_.byte() & 1;
    const std::uint32_t ts = timestamp();
    const std::uint32_t luma = context_.width * context_.height;
    const bool ready = !store || (fileOpen_ && hasVideo());
    std::int32_t result = 0;
    switch (script_.byte() % 3) {
      case 0: {
        std::vector<std::int16_t> frame(context_.frameSampleCount, 16);
        result = encodeVideo(frame.data(), 0, out.data(), &outSize, store, ts);
        break;
      }
      case 1: result = encodeRGB24Video(script_.bytes(luma * 3).data(), 0, out.data(), &outSize, store, ts, 0); break;
      default: {
        std::vector<std::uint16_t> rgb(luma, 0xF81F);
        result = encodeRGB16Video(rgb.data(), 0, out.data(), &outSize, store, ts, 0);
      }
    }
    const bool expected = ready && encoderSucceeds(capacity);
    require((result == 1) == expected, "encodeVideo succeeds exactly when its plug-in does and it may store");
    if (result == 1 && store) noteStored(0, out.data(), outSize);
  }

  // ---- Audio ----

  void encodeAudio() {
    const Sample pcm = script_.bytes(script_.word16() % 2000u);
    ExactBuffer out(pcm.size());
    std::uint32_t outSize = out.size();
    const Mp4Word result = encode_audio(pcm.data(), static_cast<std::uint32_t>(pcm.size()), out.data(), &outSize);
    require(((result & 0xFF) != 0) == audioEncodes(), "encode_audio succeeds exactly when its plug-in does");
    if ((result & 0xFF) == 0) return;
    require(outSize == pcm.size() && std::equal(pcm.begin(), pcm.end(), out.data()), "the audio plug-in copies");
    if (script_.byte() & 1) storeSample(out.data(), outSize, 1);
  }

  void openWaveInDevice() {
    static Mp4WaveTarget target{};
    require(openWaveIn(0, &target, context_.audioBits, context_.audioSampleRate, context_.audioChannels) == 1,
            "openWaveIn returns 1");
    waveInOpen_ = true;
    captured_.clear();  // blocks still listed are dropped
  }

  // The device fills its oldest buffer; the application answers.
  void capture() {
    const Sample bytes = script_.bytes(1 + script_.word16() % 2000u);
    Mp4WaveHeader* header = devices_.captureInto(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    if (header == nullptr) return;
    const std::uint32_t kept = header->bytesRecorded;  // before the buffer goes back to the device
    require(processWaveIn(0, header) == 0, "processWaveIn accepts a finished buffer of the device");
    captured_.emplace_back(bytes.begin(), bytes.begin() + kept);
  }

  void encodeCaptured() {
    ExactBuffer out(context_.pcmBytesPerBlock);
    std::uint32_t outSize = out.size();
    const std::uint8_t store = script_.byte() & 1;
    const bool ready = !store || (fileOpen_ && hasAudio());
    const std::int32_t result = encodeWaveInAudio(out.data(), &outSize, store);
    if (captured_.empty() || !ready) {
      require(result == 0, "encodeWaveInAudio encodes nothing without a block or a track to store in");
      return;
    }
    const Sample block = std::move(captured_.front());
    captured_.pop_front();
    const bool expected = audioEncodes() && !block.empty() && block.size() <= out.size();
    require((result == 1) == expected, "encodeWaveInAudio encodes the oldest captured block");
    if (result != 1) return;
    require(outSize == block.size() && std::equal(block.begin(), block.end(), out.data()),
            "encodeWaveInAudio hands over the oldest captured block");
    if (store) noteStored(1, out.data(), outSize);
  }

  void closeWaveIn() {
    ::closeWaveIn();
    waveInOpen_ = false;
  }

  // Blocks still listed would outlive the encoder; taking each without
  // storing it frees it, encoded or not.
  void dropCapturedBlocks() {
    ExactBuffer out(context_.pcmBytesPerBlock);
    for (; !captured_.empty(); captured_.pop_front()) {
      std::uint32_t outSize = out.size();
      encodeWaveInAudio(out.data(), &outSize, 0);
    }
  }

  void toggleFailures() {
    if (video_ != nullptr) video_->encodeResult = (script_.byte() & 3) == 0 ? 0 : 1;
    if (audio_ != nullptr) audio_->encodeResult = (script_.byte() & 3) == 0 ? 0 : 1;
  }

  Script& script_;
  const EncoderParams params_;
  EncoderContext& context_;
  const std::string stem_;
  InstantWaveDevices& devices_;
  TestPluginControl* video_ = nullptr;
  TestPluginControl* audio_ = nullptr;
  bool fileOpen_ = false;
  bool waveInOpen_ = false;
  int headers_ = 0;
  bool sampleBeforeHeader_ = false;
  int serial_ = 0;
  std::uint32_t lastTimestamp_ = 0;
  ClosedFile current_;
  std::vector<ClosedFile> closed_;
  std::deque<Sample> captured_;
};

// ---- Reading back --------------------------------------------------------------------

std::vector<std::uint8_t> handedToVideoDecoder;

Mp4Word keepDecodedBytes(Mp4Word in, Mp4Word length, Mp4Word, Mp4Word, Mp4Word) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(in);
  if (length > 0) handedToVideoDecoder.insert(handedToVideoDecoder.end(), bytes, bytes + length);
  return 1;
}

// What the video plug-in receives for a sample: H.263 the whole sample;
// MPEG-4 visual its start-code units, which together are the whole sample
// when it begins with a start code (00 00 01 and the code's own byte), and
// nothing otherwise.
Sample expectedDecoderInput(const ClosedFile& file, const Sample& sample) {
  if (file.videoCodecType != MP4LIB_CODEC_TYPE_MPEG4V) return sample;
  const bool startCode = sample.size() >= 4 && sample[0] == 0 && sample[1] == 0 && sample[2] == 1;
  return startCode ? sample : Sample{};
}

void requireVideoReadsBack(const ClosedFile& file) {
  TestPluginControl* plugin = loadedTestPlugin(videoPluginStem(file.videoCodecType));
  require(plugin != nullptr, "the video test plug-in is loaded");
  plugin->decodeHook = keepDecodedBytes;
  for (std::size_t entry = 0; entry < file.video.size(); ++entry) {
    handedToVideoDecoder.clear();
    std::uint32_t size = 0, time = 0;
    const std::int32_t decoded = decode_video_track(static_cast<std::int32_t>(entry), nullptr, &size, &time);
    require(decoded == 1 || file.video[entry].empty(), "every stored video sample decodes");
    if (decoded == 1 && handedToVideoDecoder != expectedDecoderInput(file, file.video[entry])) {
      std::fprintf(stderr, "%s: video entry %zu of %zu: %zu bytes stored, the plug-in got %zu\n", file.path.c_str(),
                   entry, file.video.size(), file.video[entry].size(), handedToVideoDecoder.size());
      require(false, "each video entry holds exactly the bytes stored");
    }
  }
  plugin->decodeHook = nullptr;
}

// The entry slice by slice (at most 2048 bytes each); the audio plug-in
// copies, so the slices together are the entry's bytes.
Sample readAudioEntry(std::int32_t entry, bool* ok) {
  Sample whole;
  ExactBuffer pcm(4096);
  for (int slice = 0; slice < 64; ++slice) {
    std::uint32_t length = pcm.size(), time = 0, left = 0;
    if ((decode_audio_track(entry, pcm.data(), &length, &time, &left) & 0xFF) == 0) {
      *ok = false;
      return whole;
    }
    whole.insert(whole.end(), pcm.data(), pcm.data() + length);
    if (left == 0) break;
  }
  *ok = true;
  return whole;
}

void requireAudioReadsBack(const ClosedFile& file) {
  for (std::size_t entry = 0; entry < file.audio.size(); ++entry) {
    bool ok = false;
    const Sample read = readAudioEntry(static_cast<std::int32_t>(entry), &ok);
    require(ok || file.audio[entry].empty(), "every stored audio sample decodes");
    if (ok) require(read == file.audio[entry], "each audio entry holds exactly the bytes stored");
  }
}

}  // namespace

std::vector<ClosedFile> recordFromScript(const std::uint8_t* data, std::size_t size, const std::string& stem,
                                         InstantWaveDevices& devices) {
  Script script(data, size);
  EncoderParams params = paramsFrom(script);
  EncoderContext* context = nullptr;
  const Mp4Word started = initEncoder(&params, &context);
  // A frame rate no video time scale holds (0, 10 million a second) is
  // refused; everything else starts with the test plug-ins.
  const bool recordableRate = params.frameRate >= 0.001 && params.frameRate <= 2147483.647;
  if ((params.flags & MP4LIB_RECORD_VIDEO) != 0 && !recordableRate) {
    require(started == 0 && mp4libLastFailure(nullptr, 0) == MP4LIB_FAILURE_FRAME_RATE,
            "initEncoder refuses a frame rate no time scale holds");
    return {};
  }
  require((started & 0xFF) != 0 && context != nullptr, "initEncoder starts with the test plug-ins");
  Recorder recorder(script, params, *context, stem, devices);
  recorder.run();
  finalizeEncoder();
  return recorder.closedFiles();
}

std::size_t mediaBytes(const ClosedFile& file) {
  std::size_t bytes = 0;
  for (const auto* track : {&file.video, &file.audio}) {
    for (const Sample& sample : *track) bytes += sample.size();
  }
  return bytes;
}

void requireReadsBack(const ClosedFile& file) {
  // Samples of 0 bytes only leave an empty "mdat", which makes any file
  // unreadable (deliberately).
  const bool holdsSamples = (!file.video.empty() || !file.audio.empty()) && mediaBytes(file) > 0;
  MovieParams* params = nullptr;
  const std::int32_t opened = initDecoder(widePath(file.path).c_str(), &params);
  if (!file.wellFormed) {
    if (opened == 1) finalizeDecoder();
    return;
  }
  if (opened != (holdsSamples ? 1 : 0)) {
    std::fprintf(stderr, "%s: %zu video and %zu audio samples stored, initDecoder %d\n", file.path.c_str(),
                 file.video.size(), file.audio.size(), opened);
  }
  require(opened == (holdsSamples ? 1 : 0), "a recorded file opens exactly when it holds samples");
  if (opened != 1) return;
  std::uint32_t videoCount = 0, audioCount = 0;
  require(getVideoFrameNum(&videoCount) == (file.video.empty() ? 0 : 1), "video is enabled exactly with samples");
  require(getAudioFrameNum(&audioCount) == (file.audio.empty() ? 0 : 1), "audio is enabled exactly with samples");
  if (!file.video.empty()) require(videoCount == file.video.size(), "the video frame count is the samples stored");
  if (!file.audio.empty()) require(audioCount == file.audio.size(), "the audio frame count is the samples stored");
  requireVideoReadsBack(file);
  requireAudioReadsBack(file);
  finalizeDecoder();
}

}  // namespace mp4lib::fuzz
