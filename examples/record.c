/*
 * Records a few seconds of generated pictures and a tone: H.263 176x144 at
 * 15 frames per second with AMR sound, into the file named on the command
 * line. Build against an installed mp4lib (see README.md).
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "mp4lib.h"

enum { kWidth = 176, kHeight = 144, kFramesPerSecond = 15, kSeconds = 3, kBlockMs = 20, kRate = 8000 };

/* A gradient that slides a little with every frame, as RGB16 (5-6-5). */
static void makePicture(uint16_t* rgb, int frame) {
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const unsigned red = (unsigned)(x + 2 * frame) % 32u, green = (unsigned)y % 64u, blue = (unsigned)(x + y) % 32u;
      rgb[y * kWidth + x] = (uint16_t)(red << 11 | green << 5 | blue);
    }
  }
}

/* One 20 ms block of a 440 Hz tone, 16-bit mono little-endian PCM. */
static void makeTone(uint8_t* pcm, int block) {
  const int samples = kRate * kBlockMs / 1000;
  for (int i = 0; i < samples; ++i) {
    const double t = (double)(block * samples + i) / kRate;
    const int16_t value = (int16_t)(8000.0 * sin(2.0 * 3.14159265358979 * 440.0 * t));
    pcm[2 * i] = (uint8_t)(value & 0xFF);
    pcm[2 * i + 1] = (uint8_t)((uint16_t)value >> 8);
  }
}

static int fail(const char* what) {
  fprintf(stderr, "record: %s failed\n", what);
  finalizeEncoder();
  finalizeMp4Lib();
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: record OUT.3gp\n");
    return 2;
  }
  wchar_t path[1024];
  if (mbstowcs(path, argv[1], 1023) == (size_t)-1) return 2;
  path[1023] = 0;

  initMp4Lib();
  EncoderParams params;
  memset(&params, 0, sizeof params);
  params.width = kWidth;
  params.height = kHeight;
  params.frameRate = kFramesPerSecond;
  params.timingMode = 1; /* timestamps decide durations */
  params.flags = MP4LIB_RECORD_VIDEO | MP4LIB_RECORD_AUDIO;
  params.videoCodecType = MP4LIB_CODEC_TYPE_H263;
  params.audioCodecType = MP4LIB_CODEC_TYPE_AMR;
  params.audioBits = 16;
  params.audioSampleRate = kRate;
  params.audioChannels = 1;
  params.audioBlockMs = kBlockMs;
  EncoderContext* context = NULL;
  if ((initEncoder(&params, &context) & 0xFF) == 0) return fail("initEncoder (are the codec plug-ins installed?)");
  if (createEncodeFile(path) != 1) return fail("createEncodeFile");
  if (writeVideoFileHeader(0, 0) != 1) return fail("writeVideoFileHeader");

  static uint16_t picture[kWidth * kHeight];
  static uint8_t compressed[kWidth * kHeight * 3];
  uint8_t pcm[kRate * kBlockMs / 1000 * 2];
  const int frames = kSeconds * kFramesPerSecond;
  const int blocks = kSeconds * 1000 / kBlockMs;
  int block = 0;
  for (int frame = 0; frame < frames; ++frame) {
    const uint32_t frameMs = (uint32_t)(frame * 1000 / kFramesPerSecond);
    makePicture(picture, frame);
    uint32_t size = sizeof compressed;
    if (encodeRGB16Video(picture, 0, compressed, &size, 1, frameMs, 0) != 1) return fail("encodeRGB16Video");
    /* The sound up to the next picture. */
    for (; block < blocks && (uint32_t)(block * kBlockMs) < frameMs + 1000 / kFramesPerSecond; ++block) {
      makeTone(pcm, block);
      size = sizeof compressed;
      if ((encode_audio(pcm, sizeof pcm, compressed, &size) & 0xFF) == 0) return fail("encode_audio");
      if (size > 0 && writeEncodeData(compressed, size, 1, (uint32_t)(block * kBlockMs)) != 1) {
        return fail("writeEncodeData");
      }
    }
  }
  if (closeEncodeFile() != 1) return fail("closeEncodeFile");
  finalizeEncoder();
  finalizeMp4Lib();
  printf("recorded %s: %d pictures and %d sound blocks\n", argv[1], frames, blocks);
  return 0;
}
