/*
 * Control block of the test codec plug-in. A test finds it in a loaded
 * plug-in with the symbol "testPluginControl", sets the results and hooks it
 * wants and reads back every call the library made.
 */
#ifndef MP4LIB_TEST_PLUGIN_CONTROL_H
#define MP4LIB_TEST_PLUGIN_CONTROL_H

#include "mp4lib_plugin.h"

#ifdef __cplusplus
extern "C" {
#endif

enum TestPluginEntry {
  TP_GET_CODEC_ID,
  TP_GET_CODEC_CATEGORY,
  TP_GET_CODEC_TAG,
  TP_GET_CODEC_TYPE,
  TP_GET_VERSION,
  TP_GET_AUTHOR,
  TP_IS_INIT_ENCODE,
  TP_IS_INIT_DECODE,
  TP_INIT_ENCODE,
  TP_INIT_DECODE,
  TP_FINALIZE_ENCODE,
  TP_FINALIZE_DECODE,
  TP_ENCODE,
  TP_DECODE,
  TP_GET_FRAME_TIME,
  TP_GET_DECODE_YUV,
  TP_GET_RECON_YUV,
  TP_DECODE_FRAME_HEADER
};

#define TEST_PLUGIN_MAX_CALLS 4096
#define TEST_PLUGIN_DATA_BYTES 16

typedef struct TestPluginCall {
  int entry;                                   /* TestPluginEntry */
  Mp4Word args[5];                             /* arguments as passed */
  uint32_t dataLength;                         /* encode/decode/header: input length */
  uint8_t data[TEST_PLUGIN_DATA_BYTES];        /* its first bytes */
} TestPluginCall;

typedef Mp4Word (*TestInitHook)(Mp4Word a, Mp4Word b);
typedef Mp4Word (*TestCodeHook)(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e);
typedef Mp4Word (*TestHeaderHook)(Mp4Word frame, Mp4Word length, Mp4Word p3);

typedef struct TestPluginControl {
  /* Identity, compiled into each variant; reported at discovery. */
  Mp4Word codecId, category, tag, type;

  /* Results of the default behaviours. */
  Mp4Word initEncodeResult;  /* 1 */
  Mp4Word initDecodeResult;  /* 1 */
  Mp4Word encodeResult;      /* 1 */
  Mp4Word decodeResult;      /* 1 */

  /* Hooks replace the default behaviour of their entry when set. */
  TestInitHook initEncodeHook;
  TestInitHook initDecodeHook;
  TestCodeHook encodeHook;
  TestCodeHook decodeHook;
  TestHeaderHook frameHeaderHook;

  /* Default video encode writes this many bytes: byte 0 is 'K' for the
   * first frame and every keyInterval-th after it, else 'P'; byte 1 the
   * low byte of the frame number; the rest the low byte of (frame + i).
   * Default audio encode copies its input (a pass-through codec). */
  uint32_t videoOutputSize;  /* 100 */
  uint32_t keyInterval;      /* 10 */
  uint32_t framesEncoded;

  /* Default frame header: byte 0 'K' is a key frame, anything else inter. */
  /* Default audio decode copies its input; video decode keeps nothing,
   * except in variants built with TEST_PLUGIN_SIZED_PICTURES, whose video
   * decode makes a picture of the size written in the sample (see
   * test_plugin.c) and hands it out through the planes below. */

  /* Planes handed out by getDecodeYUV and getReconYUV (null = no picture). */
  uint8_t* planeY;
  uint8_t* planeU;
  uint8_t* planeV;
  uint32_t pitch;

  int callCount; /* calls recorded, capped at TEST_PLUGIN_MAX_CALLS */
  TestPluginCall calls[TEST_PLUGIN_MAX_CALLS];

  /* Sized-picture variants only: nonzero makes every picture the size
   * announced at initDecode, whatever the sample says (0). */
  int keepAnnouncedSize;
} TestPluginControl;

typedef TestPluginControl* (*TestPluginControlFn)(void);

#ifdef __cplusplus
}
#endif

#endif
