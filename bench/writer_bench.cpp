// Recording throughput: samples made by the pass-through test codec and
// stored with writeEncodeData, next to plain fwrite of the same bytes; and
// the time per sample that the sample table adds to a buffered write.
// Needs the test plug-ins (build with MP4LIB_TESTS=ON, the default).
// Run: mp4lib_writer_bench --benchmark_counters_tabular=true
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "api/library_state.h"
#include "codecs/plugin_registry.h"
#include "container/buffered_file.h"
#include "mp4lib.h"
#include "platform/platform.h"

namespace {

// Start a new file after this many bytes, ms and sample counts stay small.
constexpr std::size_t kBytesPerFile = 64u << 20;

std::string scratchFile(const char* name) { return std::string("/tmp/mp4lib-bench-") + name; }

std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// The test plug-ins lie in testplugins/ beside the benchmark program.
bool loadTestPlugins() {
  static bool loaded = false;
  if (loaded) return true;
  wchar_t self[1024];
  const std::size_t length = mp4lib::platform::moduleFileName(self, 1024);
  if (length == 0) return false;
  std::wstring path(self, length);
  path = path.substr(0, path.rfind(mp4lib::platform::kPathSeparator) + 1) + L"testplugins" +
         mp4lib::platform::kPathSeparator + L"x";
  mp4lib::codecs::discoverCodecPluginsBeside(mp4lib::api::libraryState().plugins, path.c_str());
  loaded = mp4lib::codecs::findCodecPluginByType(mp4lib::api::libraryState().plugins, MP4LIB_CODEC_TYPE_AMR) != nullptr;
  return loaded;
}

// An AMR-typed recording whose test codec hands its input back unchanged.
class Recording {
 public:
  explicit Recording(std::uint32_t blockBytes) {
    params_.flags = MP4LIB_RECORD_AUDIO;
    params_.audioCodecType = MP4LIB_CODEC_TYPE_AMR;
    params_.audioBits = 16;
    params_.audioSampleRate = 8000;
    params_.audioChannels = 1;
    params_.audioBlockMs = blockBytes / 16;  // 16 bytes per ms
    EncoderContext* context = nullptr;
    ok_ = initEncoder(&params_, &context) == 1 && open();
  }
  ~Recording() {
    closeEncodeFile();
    finalizeEncoder();
    std::remove(scratchFile("record.3gp").c_str());
  }
  bool ok() const { return ok_; }
  // Starts the next file once this one holds enough.
  void rollOver(benchmark::State& state, std::size_t written) {
    if (written < kBytesPerFile) return;
    state.PauseTiming();
    closeEncodeFile();
    ok_ = open();
    state.ResumeTiming();
  }

 private:
  bool open() {
    return createEncodeFile(widen(scratchFile("record.3gp")).c_str()) == 1 && writeVideoFileHeader(0, 0) == 1;
  }
  EncoderParams params_{};
  bool ok_ = false;
};

void countBytes(benchmark::State& state, std::size_t bytesPerIteration) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytesPerIteration));
}

// Encode with the pass-through codec, then store: the two-step API.
void BM_RecordPassThrough(benchmark::State& state) {
  const auto size = static_cast<std::uint32_t>(state.range(0));
  if (!loadTestPlugins()) return state.SkipWithError("test plug-ins not found");
  Recording recording(size);
  if (!recording.ok()) return state.SkipWithError("could not start recording");
  std::vector<std::uint8_t> pcm(size, 0x5A);
  std::vector<std::uint8_t> out(size);
  std::size_t written = 0;
  for (auto _ : state) {
    std::uint32_t produced = size;
    encode_audio(pcm.data(), size, out.data(), &produced);
    writeEncodeData(out.data(), produced, 1, 0);
    written += produced;
    if (written >= kBytesPerFile) {
      recording.rollOver(state, written);
      written = 0;
    }
  }
  countBytes(state, size);
}
BENCHMARK(BM_RecordPassThrough)->Arg(320)->Arg(4096)->Arg(32768)->Arg(131072)->UseRealTime();

// The same bytes through plain fwrite (same pass-through copy first).
void BM_FwritePassThrough(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const std::string path = scratchFile("fwrite.bin");
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return state.SkipWithError("could not open file");
  std::vector<std::uint8_t> pcm(size, 0x5A);
  std::vector<std::uint8_t> out(size);
  std::size_t written = 0;
  for (auto _ : state) {
    std::memcpy(out.data(), pcm.data(), size);
    std::fwrite(out.data(), 1, size, file);
    written += size;
    if (written >= kBytesPerFile) {
      state.PauseTiming();
      std::fclose(file);
      file = std::fopen(path.c_str(), "wb");
      written = 0;
      state.ResumeTiming();
    }
  }
  std::fclose(file);
  std::remove(path.c_str());
  countBytes(state, size);
}
BENCHMARK(BM_FwritePassThrough)->Arg(320)->Arg(4096)->Arg(32768)->Arg(131072)->UseRealTime();

// One-byte samples: the buffered write alone, then with the sample table
// (offset, size, counters, the lock); the difference is the bookkeeping.
void BM_BufferedWriteOneByte(benchmark::State& state) {
  const std::string path = scratchFile("buffered.bin");
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return state.SkipWithError("could not open file");
  static std::uint8_t a[mp4lib::container::kFileBufferBytes], b[mp4lib::container::kFileBufferBytes];
  static mp4lib::container::BufferedFile record;
  mp4lib::container::openBufferedFile(record, a, b, mp4lib::container::kFileBufferBytes, 1, file);
  const std::uint8_t byte = 1;
  for (auto _ : state) record.write(record, &byte, 1);
  record.flush(record, false);
  mp4lib::container::waitIdle(record);
  std::fclose(file);
  std::remove(path.c_str());
}
BENCHMARK(BM_BufferedWriteOneByte);

void BM_StoreOneByteSample(benchmark::State& state) {
  if (!loadTestPlugins()) return state.SkipWithError("test plug-ins not found");
  Recording recording(320);
  if (!recording.ok()) return state.SkipWithError("could not start recording");
  const std::uint8_t byte = 1;
  std::size_t samples = 0;
  for (auto _ : state) {
    writeEncodeData(&byte, 1, 1, 0);
    if (++samples == 1000000) {  // keep the table at a realistic size
      recording.rollOver(state, kBytesPerFile);
      samples = 0;
    }
  }
}
BENCHMARK(BM_StoreOneByteSample);

// What each background flush costs before any byte is written: starting a
// thread and hearing back from it.
struct Finished {
  bool done = false;
  mp4lib::platform::Signal signal;
};

void finish(void* raw) {
  auto* finished = static_cast<Finished*>(raw);
  finished->signal.notifyAll([](void* f) { static_cast<Finished*>(f)->done = true; }, finished);
}

void BM_ThreadStartAndFinish(benchmark::State& state) {
  static Finished finished;
  for (auto _ : state) {
    finished.signal.notifyAll([](void* f) { static_cast<Finished*>(f)->done = false; }, &finished);
    mp4lib::platform::startDetachedThread(finish, &finished);
    finished.signal.waitUntil([](void* f) { return static_cast<Finished*>(f)->done; }, &finished);
  }
}
BENCHMARK(BM_ThreadStartAndFinish)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
