// Plays any bytes as a movie, the way an application does: initDecoder,
// every getter, track decoding by entry (YUV, RGB at the display size and at
// smaller, larger and odd sizes), queue decoding, seeking at edge times,
// wave-out playback through a device that plays instantly, and
// finalizeDecoder. Only the public API is used.
//
// Every buffer handed to the library is sized exactly from what the library
// reported (MovieParams, frame counts), so the address checker sees any
// write or read past it. The video plug-ins beside this program decode a
// picture whose size is written in the sample itself (tests/plugin), as a
// real decoder's is, and hand out planes of exactly that size; the audio
// plug-ins copy their input.
#include <climits>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "instant_wave_devices.h"
#include "known_findings.h"
#include "loaded_plugins.h"
#include "mp4lib.h"

using namespace mp4lib::fuzz;

namespace {

// Bytes the target allocates for one picture at most; movies announcing a
// larger one are decoded without a picture buffer.
constexpr std::uint64_t kLargestPicture = 1u << 20;
// Random access across more entries than this would re-decode too much per
// input; such tracks are read from their start only.
constexpr std::uint32_t kRandomAccessEntries = 300;
constexpr std::uint32_t kAudioCapacity = 4096;

struct Counts {
  std::uint32_t video = 0;
  std::uint32_t audio = 0;
};

std::uint64_t yuvBytes(std::uint64_t width, std::uint64_t height) {
  return width * height + 2 * (width / 2) * (height / 2);
}

std::uint64_t rgbBytes(std::uint64_t width, std::uint64_t height, std::uint32_t pixelBytes) {
  return width * height * pixelBytes;
}

bool affordable(std::uint64_t bytes) { return bytes <= kLargestPicture; }

// ---- Getters -------------------------------------------------------------------

Counts askGetters(const MovieParams& params) {
  Counts counts;
  std::uint32_t ms = 0;
  require(getMovieDuration(&ms) == 1, "getMovieDuration returns 1");
  const bool video = getVideoFrameNum(&counts.video) == 1;
  const bool audio = getAudioFrameNum(&counts.audio) == 1;
  require(video == (params.videoEnabled != 0), "getVideoFrameNum answers exactly when video is enabled");
  require(audio == (params.audioEnabled != 0), "getAudioFrameNum answers exactly when audio is enabled");
  if (!video) counts.video = 0;
  if (!audio) counts.audio = 0;
  if (video) require(counts.video == params.frameCount, "video frame count equals MovieParams.frameCount");
  if (audio) require(counts.audio == params.audioFrameCount, "audio frame count equals MovieParams.audioFrameCount");
  require(getVideoDuration(&ms) == (video ? 1 : 0), "getVideoDuration answers exactly when video is enabled");
  require(getAudioDuration(&ms) == (audio ? 1 : 0), "getAudioDuration answers exactly when audio is enabled");
  require(getVideoObjSize() == 0 && getAudioObjSize() == 0, "queues are empty before the first queue decode");
  isStreamEnd();
  return counts;
}

// ---- Track decoding --------------------------------------------------------------

// In order from the start, the same entry twice, backwards, then outside.
std::vector<std::int64_t> videoEntries(std::uint32_t count) {
  const bool random = count <= kRandomAccessEntries;
  const std::int64_t last = static_cast<std::int64_t>(count) - 1;
  return {0, 1, 2, 2, random ? last : 3, random ? count / 2 : 1, 1, count, -1, INT_MAX};
}

void decodeVideoEntries(const MovieParams& params, std::uint32_t count) {
  const std::uint64_t pictureBytes = yuvBytes(params.decodedWidth, params.decodedHeight);
  ExactBuffer picture(affordable(pictureBytes) ? pictureBytes : 0);
  std::uint8_t* yuv = affordable(pictureBytes) ? picture.data() : nullptr;
  for (std::int64_t entry : videoEntries(count)) {
    std::uint32_t size = 0, time = 0, duration = 0;
    const auto e = static_cast<std::int32_t>(entry);
    const std::int32_t plain = decode_video_track(e, yuv, &size, &time);
    const std::int32_t ex = decode_video_trackEx(e, yuv, &size, &time, &duration);
    const bool inside = entry >= 0 && entry < count;
    if (!inside) require(plain == 0 && ex == 0, "a video entry outside the track is refused");
  }
}

// One RGB call at the display size into an exact buffer.
void decodeAtDisplaySize(const MovieParams& params, std::int32_t entry, bool rgb24, bool ex) {
  const std::uint64_t bytes = rgbBytes(params.width, params.height, rgb24 ? 3 : 2);
  if (!affordable(bytes)) return;
  ExactBuffer rgb(bytes);
  std::uint32_t size = 0, time = 0, duration = 0;
  std::int32_t result = 0;
  if (rgb24) {
    result = ex ? decode_RGB24_video_trackEx(entry, rgb.data(), &size, &time, &duration)
                : decode_RGB24_video_track(entry, rgb.data(), &size, &time);
  } else {
    result = ex ? decode_RGB16_video_trackEx(entry, rgb.data(), &size, &time, &duration)
                : decode_RGB16_video_track(entry, rgb.data(), &size, &time);
  }
  if (result != 0) require(size == bytes, "the RGB size reported is the display size's");
}

void decodeAtTargetSize(std::int32_t entry, std::int64_t width, std::int64_t height, bool rgb24) {
  const std::uint64_t bytes = (width > 0 && height > 0) ? rgbBytes(width, height, rgb24 ? 3 : 2) : 0;
  if (!affordable(bytes)) return;
  ExactBuffer rgb(bytes);
  std::uint32_t size = 0, time = 0, duration = 0;
  const auto w = static_cast<std::int32_t>(width);
  const auto h = static_cast<std::int32_t>(height);
  const std::int32_t result = rgb24 ? decode_RGB24_video_trackEx2(entry, rgb.data(), &size, w, h, &time, &duration)
                                    : decode_RGB16_video_trackEx2(entry, rgb.data(), &size, w, h, &time, &duration);
  if (result != 0) require(size == bytes, "the RGB size reported is the target size's");
}

void decodeRgbEntries(const MovieParams& params, std::uint32_t count) {
  const std::int64_t w = params.decodedWidth, h = params.decodedHeight;
  const std::int64_t last = count <= kRandomAccessEntries ? static_cast<std::int64_t>(count) - 1 : 2;
  for (std::int64_t entry : {std::int64_t{0}, std::int64_t{1}, last, std::int64_t{count}}) {
    const auto e = static_cast<std::int32_t>(entry);
    for (bool rgb24 : {true, false}) {
      decodeAtDisplaySize(params, e, rgb24, false);
      decodeAtDisplaySize(params, e, rgb24, true);
      decodeAtTargetSize(e, w, h, rgb24);
      decodeAtTargetSize(e, w / 2 + 1, h / 2 + 1, rgb24);
      decodeAtTargetSize(e, 2 * w + 1, 2 * h + 3, rgb24);
      decodeAtTargetSize(e, 1, 1, rgb24);
      decodeAtTargetSize(e, 7, 5, rgb24);
      decodeAtTargetSize(e, 0, h, rgb24);
      decodeAtTargetSize(e, -1, -1, rgb24);
    }
  }
}

// Reads one audio entry slice by slice; bytes left only ever fall.
void decodeAudioEntry(std::int32_t entry, std::uint32_t count) {
  ExactBuffer pcm(kAudioCapacity);
  std::uint32_t left = UINT32_MAX;
  for (int slice = 0; slice < 64; ++slice) {
    std::uint32_t length = pcm.size(), time = 0, bytesLeft = 0;
    const Mp4Word result = decode_audio_track(entry, pcm.data(), &length, &time, &bytesLeft);
    if (entry < 0 || static_cast<std::uint32_t>(entry) >= count) {
      require(result == 0, "an audio entry outside the track is refused");
      return;
    }
    if ((result & 0xFF) == 0) return;
    require(length <= pcm.size(), "decoded audio fits the capacity given");
    require(bytesLeft < left || left == UINT32_MAX, "bytes left in an audio entry only fall");
    left = bytesLeft;
    if (bytesLeft == 0) return;
  }
}

void decodeAudioEntries(std::uint32_t count) {
  const std::int64_t last = static_cast<std::int64_t>(count) - 1;
  for (std::int64_t entry : {std::int64_t{0}, std::int64_t{1}, last, std::int64_t{count}, std::int64_t{-1}}) {
    decodeAudioEntry(static_cast<std::int32_t>(entry), count);
  }
  // A capacity of 0 stands for the plug-in's minimum.
  ExactBuffer large(MP4LIB_AUDIO_DECODE_MIN_OUTPUT);
  std::uint32_t length = 0, time = 0, left = 0;
  decode_audio_track(0, large.data(), &length, &time, &left);
}

// ---- Queue decoding --------------------------------------------------------------

// RGB from the queue: at the coded size, or the display size when the
// parameter block asks for resizing.
std::uint64_t queueRgbBytes(const MovieParams& params, std::uint32_t pixelBytes) {
  if ((params.lowFlagBits & 1) != 0) return rgbBytes(params.width, params.height, pixelBytes);
  return rgbBytes(params.decodedWidth, params.decodedHeight, pixelBytes);
}

void decodeQueues(const MovieParams& params, int rounds) {
  const std::uint64_t pictureBytes = yuvBytes(params.decodedWidth, params.decodedHeight);
  const std::uint64_t rgb24Bytes = queueRgbBytes(params, 3), rgb16Bytes = queueRgbBytes(params, 2);
  const bool pictures = affordable(pictureBytes) && affordable(rgb24Bytes);
  ExactBuffer yuv(pictures ? pictureBytes : 0), rgb24(pictures ? rgb24Bytes : 0), rgb16(pictures ? rgb16Bytes : 0);
  ExactBuffer pcm(kAudioCapacity);
  for (int round = 0; round < rounds; ++round) {
    std::uint32_t time = 0, duration = 0, length = pcm.size();
    decodeVideo(pictures ? yuv.data() : nullptr, &time);
    decodeVideoEx(nullptr, &time, &duration);
    if (pictures) {
      decodeRGB24Video(rgb24.data(), &time);
      decodeRGB16Video(rgb16.data(), &time);
      decodeRGB24VideoEx(rgb24.data(), &time, &duration);
      decodeRGB16VideoEx(rgb16.data(), &time, &duration);
    }
    const Mp4Word result = decodeAudio(pcm.data(), &length);
    if ((result & 0xFF) != 0) require(length <= pcm.size(), "queued audio fits the capacity given");
    require(getVideoObjSize() <= 16 && getAudioObjSize() <= 8, "queues hold at most 16 and 8 samples");
  }
  std::uint8_t *y = nullptr, *u = nullptr, *v = nullptr;
  std::uint32_t pitch = 0, chromaPitch = 0;
  decode_getyuv(&y, &u, &v, &pitch, &chromaPitch);
  isStreamEnd();
}

// ---- Seeking ---------------------------------------------------------------------

void seekEverywhere(const MovieParams& params, std::uint32_t videoCount) {
  std::uint32_t lastTime = 0, movieMs = 0;
  getVideoTimeByEntry(static_cast<std::int32_t>(videoCount) - 1, &lastTime);
  getMovieDuration(&movieMs);
  for (std::int64_t entry : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{videoCount}, std::int64_t{videoCount} - 1,
                             std::int64_t{INT_MAX}, std::int64_t{INT_MIN}}) {
    std::uint32_t time = 0;
    getVideoTimeByEntry(static_cast<std::int32_t>(entry), &time);
  }
  const std::int64_t times[] = {0, -1, 1, 999, lastTime, std::int64_t{lastTime} + 1, movieMs, INT_MAX, INT_MIN};
  for (std::int64_t t : times) {
    const auto ms = static_cast<std::int32_t>(t);
    std::int32_t used = 0, videoEntry = 0, audioEntry = 0, entry = 0, adjusted = 0;
    std::uint32_t offset = 0;
    const std::int32_t sought = seek(ms, &used, &videoEntry, &audioEntry);
    if (params.audioEnabled) {
      if (ms < 0) require(sought == 0, "a negative seek time is refused with audio");
    } else {
      require(sought == 1, "seek without audio returns 1");
    }
    seek(ms, nullptr, nullptr, nullptr);
    const std::int32_t placed = setAudioEntryByTime(ms, &entry, &offset, &adjusted);
    if (ms < 0 && params.audioEnabled) require(placed == 0, "a negative audio time is refused");
    getVideoEntryByTime(ms, &entry);
    std::uint32_t size = 0, time = 0;
    decode_video_track(videoEntry, nullptr, &size, &time);
  }
}

// ---- Wave-out --------------------------------------------------------------------

void answerFinishedBuffers(InstantWaveDevices& devices, Mp4WaveOutHandle handle) {
  while (Mp4WaveHeader* header = devices.takeFinishedOutput()) processWaveOut(handle, header);
}

void playSome(InstantWaveDevices& devices, Mp4WaveOutHandle handle, int blocks) {
  for (int i = 0; i < blocks; ++i) {
    const Mp4Word result = decodeAudioAndPlayEx();
    answerFinishedBuffers(devices, handle);
    if ((result & 0xFF) == 0) return;
  }
}

void playThroughWaveOut(InstantWaveDevices& devices, const MovieParams& params) {
  static Mp4WaveTarget target{};
  const auto channels = static_cast<std::uint16_t>(params.channels);
  require(openWaveOut(0, &target, params.bitsPerSample, params.sampleRate, channels) == 1, "openWaveOut opens");
  // A second open closes the first device.
  Mp4WaveOutHandle handle = nullptr;
  require(openWaveOutEx(0, &target, params.bitsPerSample, params.sampleRate, channels, &handle) == 1 && handle != nullptr,
          "openWaveOutEx opens and hands out the handle");
  playSome(devices, handle, 24);
  Mp4WaveHeader stranger{};
  processWaveOut(handle, &stranger);  // not one of the device's: ignored
  std::int32_t used = 0, videoEntry = 0, audioEntry = 0;
  seek(500, &used, &videoEntry, &audioEntry);
  playSome(devices, handle, 4);
  resetDecoder(&handle);
  playSome(devices, handle, 4);
  closeWaveOut();
}

// ---- One input -------------------------------------------------------------------

InstantWaveDevices* devices = nullptr;
std::string moviePath;

void play(const MovieParams& params) {
  const Counts counts = askGetters(params);
  if (params.videoEnabled) {
    decodeVideoEntries(params, counts.video);
    decodeRgbEntries(params, counts.video);
  }
  if (params.audioEnabled) decodeAudioEntries(counts.audio);
  decodeQueues(params, 30);
  // Back to the start with samples still queued, then on from there.
  Mp4WaveOutHandle handle = nullptr;
  require(resetDecoder(&handle) == 1, "resetDecoder succeeds with a movie open");
  decodeQueues(params, 10);
  closeWaveOut();
  seekEverywhere(params, counts.video);
  if (params.audioEnabled) playThroughWaveOut(*devices, params);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  initMp4Lib();
  devices = new InstantWaveDevices();
  moviePath = scratchPath("mp4lib-playback-fuzz");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (!writeWholeFile(moviePath, data, size)) return 0;
  MovieParams* params = nullptr;
  if (initDecoder(widePath(moviePath).c_str(), &params) == 1) {
    require(params != nullptr, "initDecoder hands out the parameter block");
    play(*params);
    finalizeDecoder();
  }
  std::uint32_t untouched = 12345;
  require(getMovieDuration(&untouched) == 1 && untouched == 12345,
          "getMovieDuration without a movie returns 1 and writes nothing");
  return 0;
}
