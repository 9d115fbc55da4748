/*
 * Prints what a movie holds, writes its first picture as a PPM file and its
 * sound as a WAV file: play IN.3gp OUT-PREFIX. Build against an installed
 * mp4lib (see README.md).
 */
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include "mp4lib.h"

static void put16(FILE* out, uint32_t value) {
  fputc((int)(value & 0xFF), out);
  fputc((int)((value >> 8) & 0xFF), out);
}

static void put32(FILE* out, uint32_t value) {
  put16(out, value & 0xFFFF);
  put16(out, value >> 16);
}

/* The first picture as binary PPM (the library gives blue, green, red). */
static int writeFirstPicture(const MovieParams* movie, const char* name) {
  const uint32_t width = movie->width, height = movie->height;
  uint8_t* rgb = malloc((size_t)width * height * 3);
  uint32_t size = 0, timeMs = 0;
  if (rgb == NULL || decode_RGB24_video_track(0, rgb, &size, &timeMs) != 1) {
    free(rgb);
    return 0;
  }
  FILE* out = fopen(name, "wb");
  if (out == NULL) {
    free(rgb);
    return 0;
  }
  fprintf(out, "P6\n%u %u\n255\n", (unsigned)width, (unsigned)height);
  for (size_t i = 0; i < (size_t)width * height; ++i) {
    const uint8_t pixel[3] = {rgb[3 * i + 2], rgb[3 * i + 1], rgb[3 * i]};
    fwrite(pixel, 1, 3, out);
  }
  fclose(out);
  free(rgb);
  return 1;
}

/* Every audio entry, slice by slice, as 16-bit PCM in a WAV file. */
static long writeSound(const MovieParams* movie, uint32_t entries, const char* name) {
  FILE* out = fopen(name, "wb");
  if (out == NULL) return -1;
  fseek(out, 44, SEEK_SET);
  static uint8_t pcm[MP4LIB_AUDIO_DECODE_MIN_OUTPUT];
  long bytes = 0;
  for (uint32_t entry = 0; entry < entries; ++entry) {
    uint32_t left = 0;
    do {
      uint32_t length = sizeof pcm, timeMs = 0;
      if ((decode_audio_track((int32_t)entry, pcm, &length, &timeMs, &left) & 0xFF) == 0) break;
      fwrite(pcm, 1, length, out);
      bytes += (long)length;
    } while (left > 0);
  }
  const uint32_t channels = movie->channels != 0 ? movie->channels : 1;
  fseek(out, 0, SEEK_SET);
  fwrite("RIFF", 1, 4, out);
  put32(out, (uint32_t)bytes + 36);
  fwrite("WAVEfmt ", 1, 8, out);
  put32(out, 16);
  put16(out, 1);
  put16(out, channels);
  put32(out, movie->sampleRate);
  put32(out, movie->sampleRate * channels * 2);
  put16(out, channels * 2);
  put16(out, 16);
  fwrite("data", 1, 4, out);
  put32(out, (uint32_t)bytes);
  fclose(out);
  return bytes;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: play IN.3gp OUT-PREFIX\n");
    return 2;
  }
  wchar_t path[1024];
  if (mbstowcs(path, argv[1], 1023) == (size_t)-1) return 2;
  path[1023] = 0;
  char picture[1024], sound[1024];
  snprintf(picture, sizeof picture, "%s.ppm", argv[2]);
  snprintf(sound, sizeof sound, "%s.wav", argv[2]);

  initMp4Lib();
  MovieParams* movie = NULL;
  if (initDecoder(path, &movie) != 1) {
    fprintf(stderr, "play: %s cannot be played\n", argv[1]);
    finalizeMp4Lib();
    return 1;
  }
  uint32_t duration = 0, frames = 0, entries = 0;
  getMovieDuration(&duration);
  printf("%s: %u ms\n", argv[1], (unsigned)duration);
  int result = 0;
  if (getVideoFrameNum(&frames) == 1) {
    printf("  video: %ux%u, %u pictures, %.2f per second\n", (unsigned)movie->width, (unsigned)movie->height,
           (unsigned)frames, movie->frameRate);
    if (!writeFirstPicture(movie, picture)) result = 1;
  }
  if (getAudioFrameNum(&entries) == 1) {
    const long bytes = writeSound(movie, entries, sound);
    printf("  audio: %u Hz, %u entries, %ld bytes of PCM\n", (unsigned)movie->sampleRate, (unsigned)entries, bytes);
    if (bytes <= 0) result = 1;
  }
  finalizeDecoder();
  finalizeMp4Lib();
  return result;
}
