// A playback test: test plug-ins in a scratch folder, a hand-made movie in
// another, and the library's decoder opened on it.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>

#include "codecs/plugin_registry.h"
#include "support/library_state.h"
#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "container/bytes.h"
#include "container/movie_builder.h"
#include "support/plugin_folder.h"
#include "support/test_plugin.h"

namespace mp4lib::test {

class DecoderTest : public ::testing::Test {
 protected:
  void SetUp() override { usePlugins({"codectest_h263", "codectest_mp4v", "codectest_amr", "codectest_aac", "codectest_pcm"}); }

  void TearDown() override {
    finalizeDecoder();
    test::devices().playbackEntry.store(0);  // seeks move it
    test::plugins().active = codecs::ActivePlugins{};
    container::resetMovieContext(test::player().movie);
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
  }

  void usePlugins(std::initializer_list<const char*> stems) {
    codecs::unloadCodecPlugins(test::plugins());
    plugins = std::make_unique<PluginFolder>();
    for (const char* stem : stems) plugins->addPlugin(stem);
    codecs::discoverCodecPluginsBeside(test::plugins(), plugins->moduleFileInside().c_str());
  }

  TestPluginControl* control(std::uint32_t codecType) {
    return controlOf(codecs::findCodecPluginByType(test::plugins(), codecType));
  }

  std::int32_t open(const Bytes& bytes, const std::string& name = "movie.3gp") {
    movie = std::make_unique<TempFile>(bytes, name);
    return initDecoder(movie->widePath().c_str(), &params);
  }

  std::int32_t open(const MovieLayout& layout) {
    built = buildMovie(layout);
    return open(built.bytes);
  }

  std::unique_ptr<PluginFolder> plugins;
  std::unique_ptr<TempFile> movie;
  BuiltMovie built;
  MovieParams* params = nullptr;
};

// Samples whose first byte marks a key frame ('K') or not ('P') and whose
// second byte is their number.
inline std::vector<Bytes> markedFrames(std::size_t count, std::initializer_list<std::size_t> keys,
                                       std::uint32_t size = 20) {
  std::vector<Bytes> frames = makeSamples(count, size);
  for (std::size_t i = 0; i < count; ++i) {
    frames[i][0] = 'P';
    frames[i][1] = static_cast<std::uint8_t>(i);
  }
  for (std::size_t key : keys) frames[key][0] = 'K';
  return frames;
}

inline TrackLayout videoLayout(std::vector<Bytes> frames, const std::string& tag = "s263", std::uint16_t width = 176,
                           std::uint16_t height = 144) {
  TrackLayout track;
  track.video = true;
  track.entry = videoEntry(tag, width, height);
  const auto n = static_cast<std::uint32_t>(frames.size());
  track.samples = std::move(frames);
  track.timing = {{n, 1000}};
  track.timeScale = 15000;
  track.mediaDuration = n * 1000;
  track.trackDuration = n * 1000 / 15;
  track.width = width;
  track.height = height;
  return track;
}

inline TrackLayout amrLayout(std::size_t frames, std::uint32_t perChunk = 1) {
  TrackLayout track;
  track.video = false;
  track.entry = amrEntry(0x80, 0, static_cast<std::uint8_t>(perChunk));
  track.samples = makeSamples(frames, 32, [](std::size_t) -> std::uint8_t { return 0x3C; });
  track.timing = {{static_cast<std::uint32_t>(frames), 160}};
  track.timeScale = 8000;
  track.mediaDuration = static_cast<std::uint32_t>(frames * 160);
  track.trackDuration = static_cast<std::uint32_t>(frames * 20);
  if (perChunk > 1) {
    track.constantSize = 32;
    track.chunkSamples.assign(frames / perChunk, perChunk);
  }
  return track;
}

// 16-bit PCM at 8000 Hz ("sowt", passed through by the test codec): one
// entry per sample, each lasting `delta` units of 1/8000 s.
inline TrackLayout pcmLayout(std::vector<Bytes> samples, std::uint32_t delta, std::uint16_t channels = 1) {
  TrackLayout track;
  track.video = false;
  track.entry = soundEntry("sowt", 0, channels, 16, 8000);
  track.timing = {{static_cast<std::uint32_t>(samples.size()), delta}};
  track.samples = std::move(samples);
  track.timeScale = 8000;
  return track;
}

inline int countEntry(const TestPluginControl* control, int entry) { return control ? countCalls(control, entry) : -1; }

}  // namespace mp4lib::test
