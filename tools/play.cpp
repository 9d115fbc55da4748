// Playing a movie through the exported API: every video frame to a PNG, the
// audio to one WAV file.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "commands.h"
#include "image_files.h"
#include "live_audio.h"
#include "movie_file.h"
#include "progress_line.h"

namespace mp4lib::tool {

namespace {

// A movie this library recorded carries the video type byte-swapped.
const char* videoCodecName(std::uint32_t type) {
  if (type > 0xFFFF) type = convertDWORDToLittleEndian(type);
  switch (type) {
    case MP4LIB_CODEC_TYPE_MPEG4V: return "MPEG-4 visual";
    case MP4LIB_CODEC_TYPE_H263: return "H.263";
    default: return "other video";
  }
}

const char* audioCodecName(std::uint32_t type) {
  switch (type) {
    case MP4LIB_CODEC_TYPE_PCM: return "PCM";
    case MP4LIB_CODEC_TYPE_G723: return "G.723";
    case MP4LIB_CODEC_TYPE_AMR: return "AMR";
    case MP4LIB_CODEC_TYPE_AAC: return "AAC";
    default: return "other audio";
  }
}

// Decoded pictures come as blue, green, red; PNG wants red first.
std::vector<std::uint8_t> swapRedBlue(const std::vector<std::uint8_t>& bgr) {
  std::vector<std::uint8_t> rgb(bgr.size());
  for (std::size_t i = 0; i + 2 < bgr.size(); i += 3) {
    rgb[i] = bgr[i + 2];
    rgb[i + 1] = bgr[i + 1];
    rgb[i + 2] = bgr[i];
  }
  return rgb;
}

int playVideo(const MovieParams& movie, const PlayOptions& options, ProgressLine& progress, std::uint32_t* written) {
  std::uint32_t frames = 0;
  getVideoFrameNum(&frames);
  std::vector<std::uint8_t> bgr(static_cast<std::size_t>(movie.width) * movie.height * 3);
  for (std::uint32_t entry = 0; entry < frames; ++entry) {
    std::uint32_t size = 0, timeMs = 0, durationMs = 0;
    if (decode_RGB24_video_trackEx(static_cast<std::int32_t>(entry), bgr.data(), &size, &timeMs, &durationMs) != 1) {
      progress.endLine();
      std::fprintf(stderr, "mp4lib: video frame %u of %u in %s does not decode\n", entry, frames, options.input.c_str());
      return kRefused;
    }
    progress.update(entry + 1, std::uint64_t{timeMs} + durationMs);
    if (entry % options.everyNthFrame != 0) continue;
    char name[32];
    std::snprintf(name, sizeof name, "frame-%05u.png", entry);
    const auto path = std::filesystem::path(options.outputFolder) / name;
    if (!writePng(path.string(), movie.width, movie.height, swapRedBlue(bgr))) {
      progress.endLine();
      std::fprintf(stderr, "mp4lib: cannot write %s (is the disk full?)\n", path.string().c_str());
      return kRefused;
    }
    ++*written;
  }
  return kDone;
}

// Without video the sound alone shows the progress.
int playAudio(const MovieParams& movie, const PlayOptions& options, ProgressLine& progress, std::size_t* bytes) {
  std::uint32_t samples = 0;
  getAudioFrameNum(&samples);
  std::vector<std::uint8_t> pcm, chunk(MP4LIB_AUDIO_DECODE_MIN_OUTPUT);
  for (std::uint32_t entry = 0; entry < samples; ++entry) {
    std::uint32_t left = 0;
    do {
      std::uint32_t length = static_cast<std::uint32_t>(chunk.size()), timeMs = 0;
      if ((decode_audio_track(static_cast<std::int32_t>(entry), chunk.data(), &length, &timeMs, &left) & 0xFF) == 0) {
        // Files whose last chunk run spans several chunks leave the later
        // samples without a place in the file; keep what played before.
        progress.endLine();
        std::fprintf(stderr, "mp4lib: audio sample %u of %u in %s does not decode; audio.wav ends before it\n", entry,
                     samples, options.input.c_str());
        entry = samples;
        break;
      }
      pcm.insert(pcm.end(), chunk.begin(), chunk.begin() + length);
      if (!movie.videoEnabled) progress.update(0, timeMs);
    } while (left > 0);
  }
  const auto path = std::filesystem::path(options.outputFolder) / "audio.wav";
  if (!writeWav(path.string(), movie.sampleRate, static_cast<std::uint16_t>(movie.channels ? movie.channels : 1), pcm)) {
    progress.endLine();
    std::fprintf(stderr, "mp4lib: cannot write %s (is the disk full?)\n", path.string().c_str());
    return kRefused;
  }
  *bytes = pcm.size();
  return kDone;
}

void describe(const MovieParams& movie) {
  std::uint32_t durationMs = 0, frames = 0, samples = 0;
  getMovieDuration(&durationMs);
  std::printf("movie: %u ms\n", durationMs);
  if (movie.videoEnabled && getVideoFrameNum(&frames) == 1) {
    std::printf("  video: %s %ux%u (decoded %ux%u), %u frames at %.2f fps\n", videoCodecName(movie.videoCodecCode),
                movie.width, movie.height, movie.decodedWidth, movie.decodedHeight, frames, movie.frameRate);
  }
  if (movie.audioEnabled && getAudioFrameNum(&samples) == 1) {
    std::printf("  audio: %s %u Hz, %u channel(s), %u samples of %u ms\n", audioCodecName(movie.audioCodecCode),
                movie.sampleRate, movie.channels, samples, movie.audioFrameMs);
  }
}

// The movie's audio through the default output device, in real time.
int playToDevice(const MovieParams& movie, const PlayOptions& options) {
  if (!movie.audioEnabled) {
    std::fprintf(stderr, "mp4lib: %s has no audio track to play\n", options.input.c_str());
    return kRefused;
  }
  const auto start = std::chrono::steady_clock::now();
  const std::int64_t buffers = playThroughOutputDevice(movie, options);
  if (buffers < 0) return kRefused;
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  std::printf("played the audio of %s through the default output device: %lld buffers in %lld ms\n",
              options.input.c_str(), static_cast<long long>(buffers), static_cast<long long>(elapsed.count()));
  return kDone;
}

// Every frame to a PNG and the sound to audio.wav in the output folder.
int playToFiles(const MovieParams& movie, const PlayOptions& options) {
  std::error_code error;
  std::filesystem::create_directories(options.outputFolder, error);
  if (!std::filesystem::is_directory(options.outputFolder, error)) {
    std::fprintf(stderr, "mp4lib: cannot make the folder %s for the frames\n", options.outputFolder.c_str());
    return kRefused;
  }
  std::uint32_t frames = 0, durationMs = 0;
  if (movie.videoEnabled) getVideoFrameNum(&frames);
  getMovieDuration(&durationMs);
  ProgressLine progress("play", frames, durationMs, options.progress);
  std::uint32_t pictures = 0;
  std::size_t pcmBytes = 0;
  int result = kDone;
  if (movie.videoEnabled) result = playVideo(movie, options, progress, &pictures);
  if (result == kDone && movie.audioEnabled) result = playAudio(movie, options, progress, &pcmBytes);
  if (result != kDone) return result;
  progress.finish(frames, durationMs);
  std::printf("played %s: %u PNG frames and %zu bytes of PCM (audio.wav) in %s\n", options.input.c_str(), pictures,
              pcmBytes, options.outputFolder.c_str());
  return kDone;
}

}  // namespace

int play(const PlayOptions& options) {
  const MovieParams* movie = openMovie(options.input);
  if (movie == nullptr) return kRefused;
  describe(*movie);
  const int result = options.device ? playToDevice(*movie, options) : playToFiles(*movie, options);
  finalizeDecoder();
  return result;
}

}  // namespace mp4lib::tool
