// Recording (RGB16 pictures and PCM -> H.263 + AMR movie) and playing (movie
// -> RGB16 pictures) in frames per second at QCIF and CIF, once with the real
// codec plug-ins beside the program and once with the pass-through test codec
// (benchplugins/), whose own work is nil: the second measures the library's
// share (conversion, sample tables, file), the difference is the codec's.
// Run: mp4lib_codec_bench --benchmark_counters_tabular=true
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "api/library_state.h"
#include "codecs/plugin_registry.h"
#include "mp4lib.h"
#include "platform/platform.h"
#include "support/test_plugin.h"

namespace {

constexpr double kFrameRate = 15.0;
constexpr std::uint32_t kFramesPerFile = 150;  // 10 s, then a new file

std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::string scratchFile(const std::string& name) { return "/tmp/mp4lib-bench-" + name; }

// Loads the real plug-ins (beside the program) or the pass-through ones
// (benchplugins/ beside it), whichever is asked for, dropping the others.
bool usePlugins(bool real) {
  wchar_t self[1024];
  const std::size_t length = mp4lib::platform::moduleFileName(self, 1024);
  if (length == 0) return false;
  std::wstring path(self, length);
  path = path.substr(0, path.rfind(mp4lib::platform::kPathSeparator) + 1);
  if (!real) path += L"benchplugins" + std::wstring(1, mp4lib::platform::kPathSeparator);
  mp4lib::codecs::PluginRegistry& plugins = mp4lib::api::libraryState().plugins;
  plugins.active = mp4lib::codecs::ActivePlugins{};
  mp4lib::codecs::unloadCodecPlugins(plugins);
  mp4lib::codecs::discoverCodecPluginsBeside(plugins, (path + L"x").c_str());
  return mp4lib::codecs::findCodecPluginByType(plugins, MP4LIB_CODEC_TYPE_H263) != nullptr &&
         mp4lib::codecs::findCodecPluginByType(plugins, MP4LIB_CODEC_TYPE_AMR) != nullptr;
}

// A moving RGB16 (5-6-5) picture: bars that slide 2 pixels per frame.
std::vector<std::uint16_t> picture(std::uint32_t width, std::uint32_t height, std::uint32_t frame) {
  static const std::uint16_t bars[8] = {0xFFFF, 0xFFE0, 0x07FF, 0x07E0, 0xF81F, 0xF800, 0x001F, 0x4208};
  std::vector<std::uint16_t> rgb(static_cast<std::size_t>(width) * height);
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      rgb[static_cast<std::size_t>(y) * width + x] = static_cast<std::uint16_t>(bars[((x + 2 * frame) * 8 / width) % 8] ^ (y & 7));
    }
  }
  return rgb;
}

// 20 ms of a square tone at 8000 Hz, 16-bit mono: 320 bytes.
std::vector<std::uint8_t> block(std::uint32_t index) {
  std::vector<std::uint8_t> pcm(320);
  for (std::uint32_t i = 0; i < 160; ++i) {
    const auto sample = static_cast<std::int16_t>((((index * 160 + i) / 9) % 2 == 0) ? 6000 : -6000);
    pcm[2 * i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(sample) & 0xFF);
    pcm[2 * i + 1] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(sample) >> 8);
  }
  return pcm;
}

// One open H.263 + AMR recording.
class Recording {
 public:
  Recording(std::uint32_t width, std::uint32_t height, const std::string& path) {
    EncoderParams params{};
    params.width = width;
    params.height = height;
    params.frameRate = kFrameRate;
    params.flags = MP4LIB_RECORD_VIDEO | MP4LIB_RECORD_AUDIO;
    params.videoCodecType = MP4LIB_CODEC_TYPE_H263;
    params.audioCodecType = MP4LIB_CODEC_TYPE_AMR;
    params.audioBits = 16;
    params.audioSampleRate = 8000;
    params.audioChannels = 1;
    params.audioBlockMs = 20;
    EncoderContext* context = nullptr;
    ok_ = (initEncoder(&params, &context) & 0xFF) != 0 && createEncodeFile(widen(path).c_str()) == 1 &&
          writeVideoFileHeader(0, 0) == 1;
    out_.resize(static_cast<std::size_t>(width) * height * 3 + 65536);
  }
  ~Recording() {
    closeEncodeFile();
    finalizeEncoder();
  }
  bool ok() const { return ok_; }

  // Picture `frame` and the 20 ms audio blocks up to the next picture.
  bool frame(const std::vector<std::uint16_t>& rgb, const std::vector<std::uint8_t>& pcm, std::uint32_t frame) {
    const auto ms = static_cast<std::uint32_t>(frame * 1000 / kFrameRate);
    std::uint32_t size = static_cast<std::uint32_t>(out_.size());
    if (encodeRGB16Video(rgb.data(), 0, out_.data(), &size, 1, ms, 0) != 1) return false;
    const auto untilMs = static_cast<std::uint32_t>((frame + 1) * 1000 / kFrameRate);
    for (; blocks_ * 20 < untilMs; ++blocks_) {
      size = static_cast<std::uint32_t>(out_.size());
      if ((encode_audio(pcm.data(), 320, out_.data(), &size) & 0xFF) == 0) return false;
      if (size > 0 && writeEncodeData(out_.data(), size, 1, blocks_ * 20) != 1) return false;
    }
    return true;
  }

 private:
  bool ok_ = false;
  std::vector<std::uint8_t> out_;
  std::uint32_t blocks_ = 0;
};

void Record(benchmark::State& state, bool real) {
  const auto width = static_cast<std::uint32_t>(state.range(0)), height = static_cast<std::uint32_t>(state.range(1));
  if (!usePlugins(real)) return state.SkipWithError("plug-ins not found");
  std::vector<std::vector<std::uint16_t>> pictures;
  for (std::uint32_t k = 0; k < 16; ++k) pictures.push_back(picture(width, height, k));
  const std::vector<std::uint8_t> pcm = block(0);
  const std::string path = scratchFile("record.3gp");
  auto recording = std::make_unique<Recording>(width, height, path);
  std::uint32_t frame = 0;
  for (auto _ : state) {
    if (frame == kFramesPerFile) {
      state.PauseTiming();
      recording.reset();
      recording = std::make_unique<Recording>(width, height, path);
      frame = 0;
      state.ResumeTiming();
    }
    if (!recording->ok() || !recording->frame(pictures[frame % 16], pcm, frame)) return state.SkipWithError("recording failed");
    ++frame;
  }
  recording.reset();
  std::remove(path.c_str());
  state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void Play(benchmark::State& state, bool real) {
  const auto width = static_cast<std::uint32_t>(state.range(0)), height = static_cast<std::uint32_t>(state.range(1));
  if (!usePlugins(real)) return state.SkipWithError("plug-ins not found");
  const std::string path = scratchFile("play.3gp");
  {
    Recording recording(width, height, path);
    const std::vector<std::uint8_t> pcm = block(0);
    for (std::uint32_t k = 0; k < kFramesPerFile; ++k) {
      if (!recording.ok() || !recording.frame(picture(width, height, k), pcm, k)) return state.SkipWithError("recording failed");
    }
  }
  MovieParams* params = nullptr;
  if (initDecoder(widen(path).c_str(), &params) != 1) return state.SkipWithError("initDecoder failed");
  // The pass-through codec decodes nothing: it hands out a grey picture.
  std::vector<std::uint8_t> grey(static_cast<std::size_t>(width) * height * 3 / 2, 128);
  if (!real) {
    TestPluginControl* control = mp4lib::test::controlOf(mp4lib::api::libraryState().plugins.active.videoDecoder);
    if (control == nullptr) return state.SkipWithError("no pass-through control block");
    control->planeY = grey.data();
    control->planeU = grey.data() + std::size_t{width} * height;
    control->planeV = control->planeU + std::size_t{width} * height / 4;
    control->pitch = width;
  }
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(width) * height * 2);
  std::uint32_t entry = 0;
  for (auto _ : state) {
    std::uint32_t size = 0, timeMs = 0;
    if (decode_RGB16_video_track(static_cast<std::int32_t>(entry), rgb.data(), &size, &timeMs) != 1) {
      finalizeDecoder();
      return state.SkipWithError("decoding failed");
    }
    benchmark::DoNotOptimize(rgb.data());
    entry = (entry + 1) % kFramesPerFile;  // back to the first key frame after the last
  }
  finalizeDecoder();
  std::remove(path.c_str());
  state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void Sizes(benchmark::internal::Benchmark* b) {
  b->Args({176, 144})->Args({352, 288})->Unit(benchmark::kMicrosecond)->MinTime(1.0);
}

BENCHMARK_CAPTURE(Record, h263_amr_real_codecs, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Record, passthrough_codecs, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Play, h263_real_codec, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Play, passthrough_codec, false)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
