/* A codec plug-in for tests: reports the identity it was built with, records
 * every call and behaves as its control block says. */
#define MP4LIB_BUILDING_PLUGIN
#include <stdlib.h>
#include <string.h>

#include "test_plugin_control.h"

static TestPluginControl control = {
    TEST_CODEC_ID, TEST_CODEC_CATEGORY, TEST_CODEC_TAG, TEST_CODEC_TYPE,
    1, 1, 1, 1,
    0, 0, 0, 0, 0,
    100, 10, 0,
    0, 0, 0, 0,
    0, {{0}},
    0};

MP4LIB_PLUGIN_EXPORT TestPluginControl* testPluginControl(void) { return &control; }

static void record(int entry, Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e) {
  if (control.callCount >= TEST_PLUGIN_MAX_CALLS) return;
  TestPluginCall* call = &control.calls[control.callCount++];
  memset(call, 0, sizeof *call);
  call->entry = entry;
  call->args[0] = a;
  call->args[1] = b;
  call->args[2] = c;
  call->args[3] = d;
  call->args[4] = e;
}

static void recordData(const void* data, Mp4Word length) {
  if (control.callCount == 0 || control.callCount > TEST_PLUGIN_MAX_CALLS) return;
  TestPluginCall* call = &control.calls[control.callCount - 1];
  call->dataLength = (uint32_t)length;
  if (data != NULL) memcpy(call->data, data, length < TEST_PLUGIN_DATA_BYTES ? length : TEST_PLUGIN_DATA_BYTES);
}

static int isAudio(void) { return control.type >= MP4LIB_CODEC_TYPE_PCM; }

MP4LIB_PLUGIN_EXPORT Mp4Word getCodecID(void) { record(TP_GET_CODEC_ID, 0, 0, 0, 0, 0); return control.codecId; }
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecCategory(void) { record(TP_GET_CODEC_CATEGORY, 0, 0, 0, 0, 0); return control.category; }
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecTag(void) { record(TP_GET_CODEC_TAG, 0, 0, 0, 0, 0); return control.tag; }
#ifndef TEST_PLUGIN_WITHOUT_TYPE
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecType(void) { record(TP_GET_CODEC_TYPE, 0, 0, 0, 0, 0); return control.type; }
#endif
MP4LIB_PLUGIN_EXPORT Mp4Word getVersion(void) { record(TP_GET_VERSION, 0, 0, 0, 0, 0); return 1; }
MP4LIB_PLUGIN_EXPORT Mp4Word getAuthor(void) { record(TP_GET_AUTHOR, 0, 0, 0, 0, 0); return (Mp4Word) "mp4lib tests"; }
MP4LIB_PLUGIN_EXPORT Mp4Word isInitEncode(void) { record(TP_IS_INIT_ENCODE, 0, 0, 0, 0, 0); return 0; }
MP4LIB_PLUGIN_EXPORT Mp4Word isInitDecode(void) { record(TP_IS_INIT_DECODE, 0, 0, 0, 0, 0); return 0; }

/* Like a real video plug-in: the coded size is the requested one, or the
 * picture size, and a difference asks the converters to resample. */
static void fillEncoderContext(const EncoderParams* params, EncoderContext* context) {
  context->width = params->width;
  context->height = params->height;
  context->codedWidth = params->codedWidth ? params->codedWidth : params->width;
  context->codedHeight = params->codedHeight ? params->codedHeight : params->height;
  context->frameRate = params->frameRate;
  context->timingMode = params->timingMode;
  context->conversionFlags =
      (context->codedWidth != context->width || context->codedHeight != context->height) ? MP4LIB_CONVERT_RESIZE : 0;
  context->headerWordA = 0xA1;
  context->headerWordB = 0xB2;
  context->headerWordC = 0xC3;
  context->headerWordD = 0xD4;
}

MP4LIB_PLUGIN_EXPORT Mp4Word initEncode(Mp4Word a, Mp4Word b) {
  record(TP_INIT_ENCODE, a, b, 0, 0, 0);
  if (control.initEncodeHook) return control.initEncodeHook(a, b);
  control.framesEncoded = 0;
  if (!isAudio() && a != 0 && b != 0) fillEncoderContext((const EncoderParams*)a, (EncoderContext*)b);
  return control.initEncodeResult;
}

#ifdef TEST_PLUGIN_SIZED_PICTURES
/* Sized pictures: as with a real decoder, the picture size travels in the
 * stream and may differ from what the file's sample description announced.
 * A video sample (codec id 13: a unit, after its 4-byte start code) reads
 *   byte 0     'K' for a key frame, anything else for an inter frame
 *   bytes 1-2  picture width, big-endian, even, 2..TEST_SIZED_MAX_SIDE
 *   bytes 3-4  picture height, likewise
 *   bytes 5-   payload, repeated over the Y, U and V planes
 * Each plane is a heap block of exactly its size (Y width x height, U and V
 * a quarter), so a caller that reads past the picture is caught. */
#define TEST_SIZED_MAX_SIDE 512
#define TEST_SIZED_HEADER_BYTES 5

static uint32_t announcedWidth, announcedHeight;
static uint32_t pictureHeight; /* rows of the picture held; its width is the pitch */

static void announceDecodedSize(Mp4Word movieParams) {
  const MovieParams* params = (const MovieParams*)movieParams;
  announcedWidth = params != NULL ? params->decodedWidth : 0;
  announcedHeight = params != NULL ? params->decodedHeight : 0;
}

static void releasePicture(void) {
  free(control.planeY);
  free(control.planeU);
  free(control.planeV);
  control.planeY = control.planeU = control.planeV = NULL;
  control.pitch = 0;
  pictureHeight = 0;
}

/* Skips the start code that codec id 13 units keep in front. */
static const uint8_t* sizedHeader(const uint8_t* in, uint32_t* length) {
  if (control.codecId == MP4LIB_CODEC_ID_MPEG4V && *length >= 4 && in[0] == 0 && in[1] == 0 && in[2] == 1) {
    *length -= 4;
    return in + 4;
  }
  return in;
}

static int validSide(uint32_t side) { return side >= 2 && side <= TEST_SIZED_MAX_SIDE && side % 2 == 0; }

static uint8_t* filledPlane(uint32_t bytes, const uint8_t* payload, uint32_t payloadLength) {
  uint8_t* plane = (uint8_t*)malloc(bytes);
  if (plane == NULL) return NULL;
  for (uint32_t i = 0; i < bytes; ++i) plane[i] = payloadLength > 0 ? payload[i % payloadLength] : 0x80;
  return plane;
}

static Mp4Word sizedFrameKind(const uint8_t* frame, uint32_t length) {
  const uint8_t* header = sizedHeader(frame, &length);
  if (length == 0) return MP4LIB_FRAME_NONE;
  return header[0] == 'K' ? MP4LIB_FRAME_KEY : MP4LIB_FRAME_INTER;
}

/* A picture buffer is filled only when the picture has the announced size;
 * a stream of another size fails there rather than overrun the buffer. */
static Mp4Word decodeSizedPicture(const uint8_t* in, uint32_t length, uint8_t* picture, uint32_t* pictureBytes) {
  const uint8_t* header = in != NULL ? sizedHeader(in, &length) : NULL;
  if (header == NULL || length < TEST_SIZED_HEADER_BYTES) return 0;
  const uint32_t width = control.keepAnnouncedSize ? announcedWidth : (uint32_t)header[1] << 8 | header[2];
  const uint32_t height = control.keepAnnouncedSize ? announcedHeight : (uint32_t)header[3] << 8 | header[4];
  if (!validSide(width) || !validSide(height)) return 0;
  const uint32_t luma = width * height, chroma = luma / 4;
  const uint8_t* payload = header + TEST_SIZED_HEADER_BYTES;
  const uint32_t payloadLength = length - TEST_SIZED_HEADER_BYTES;
  releasePicture();
  control.planeY = filledPlane(luma, payload, payloadLength);
  control.planeU = filledPlane(chroma, payload, payloadLength);
  control.planeV = filledPlane(chroma, payload, payloadLength);
  if (control.planeY == NULL || control.planeU == NULL || control.planeV == NULL) {
    releasePicture();
    return 0;
  }
  control.pitch = width;
  pictureHeight = height;
  if (pictureBytes != NULL) *pictureBytes = luma + 2 * chroma;
  if (picture == NULL) return control.decodeResult;
  if (width != announcedWidth || height != announcedHeight) return 0;
  memcpy(picture, control.planeY, luma);
  memcpy(picture + luma, control.planeU, chroma);
  memcpy(picture + luma + chroma, control.planeV, chroma);
  return control.decodeResult;
}
/* The size of the picture getDecodeYUV hands out, which the library checks
 * before it reads the planes. */
MP4LIB_PLUGIN_EXPORT Mp4Word getDecodeSize(Mp4Word width, Mp4Word height) {
  if (control.planeY == NULL) return 0;
  if (width) *(uint32_t*)width = control.pitch;
  if (height) *(uint32_t*)height = pictureHeight;
  return 1;
}
#else
static void announceDecodedSize(Mp4Word movieParams) { (void)movieParams; }
static void releasePicture(void) {}
#endif

MP4LIB_PLUGIN_EXPORT Mp4Word initDecode(Mp4Word a, Mp4Word b) {
  record(TP_INIT_DECODE, a, b, 0, 0, 0);
  if (control.initDecodeHook) return control.initDecodeHook(a, b);
  if (!isAudio()) announceDecodedSize(b);
  return control.initDecodeResult;
}

MP4LIB_PLUGIN_EXPORT Mp4Word finalizeEncode(Mp4Word reserved) { record(TP_FINALIZE_ENCODE, reserved, 0, 0, 0, 0); return 1; }
MP4LIB_PLUGIN_EXPORT Mp4Word finalizeDecode(Mp4Word reserved) {
  record(TP_FINALIZE_DECODE, reserved, 0, 0, 0, 0);
  releasePicture();
  return 1;
}

static uint32_t capacity(const uint32_t* size, uint32_t otherwise) { return *size != 0 ? *size : otherwise; }

static Mp4Word encodeVideoFrame(uint8_t* out, uint32_t* outSize) {
  const uint32_t frame = control.framesEncoded++;
  const uint32_t length = control.videoOutputSize;
  if (length > capacity(outSize, length)) return 0;
  for (uint32_t i = 0; i < length; ++i) out[i] = (uint8_t)(frame + i);
  if (length > 0) out[0] = (control.keyInterval == 0 || frame % control.keyInterval == 0) ? 'K' : 'P';
  if (length > 1) out[1] = (uint8_t)frame;
  *outSize = length;
  return control.encodeResult;
}

static Mp4Word copyThrough(const uint8_t* in, uint32_t length, uint8_t* out, uint32_t* outSize) {
  if (length > capacity(outSize, MP4LIB_AUDIO_DECODE_MIN_OUTPUT)) return 0;
  if (length > 0) memcpy(out, in, length);
  *outSize = length;
  return 1;
}

MP4LIB_PLUGIN_EXPORT Mp4Word encode(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e) {
  record(TP_ENCODE, a, b, c, d, e);
  if (isAudio()) recordData((const void*)a, b);
  if (control.encodeHook) return control.encodeHook(a, b, c, d, e);
  if (control.encodeResult == 0 || (control.encodeResult & 0xFF) == 0) return control.encodeResult;
  if (isAudio()) return copyThrough((const uint8_t*)a, (uint32_t)b, (uint8_t*)c, (uint32_t*)d) ? control.encodeResult : 0;
  return encodeVideoFrame((uint8_t*)c, (uint32_t*)d);
}

MP4LIB_PLUGIN_EXPORT Mp4Word decode(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e) {
  record(TP_DECODE, a, b, c, d, e);
  recordData((const void*)a, b);
  if (control.decodeHook) return control.decodeHook(a, b, c, d, e);
  if (isAudio() && c != 0 && d != 0) {
    if (e != 0) *(uint32_t*)e = 0;
    if (!copyThrough((const uint8_t*)a, (uint32_t)b, (uint8_t*)c, (uint32_t*)d)) return 0;
  }
#ifdef TEST_PLUGIN_SIZED_PICTURES
  if (!isAudio()) return decodeSizedPicture((const uint8_t*)a, (uint32_t)b, (uint8_t*)c, (uint32_t*)d);
#endif
  return control.decodeResult;
}

MP4LIB_PLUGIN_EXPORT Mp4Word getFrameTime(void) { record(TP_GET_FRAME_TIME, 0, 0, 0, 0, 0); return 0; }

static Mp4Word handOutPlanes(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) {
  if (control.planeY == NULL) return 0;
  if (y) *(uint8_t**)y = control.planeY;
  if (u) *(uint8_t**)u = control.planeU;
  if (v) *(uint8_t**)v = control.planeV;
  if (pitch) *(uint32_t*)pitch = control.pitch;
  if (chromaPitch) *(uint32_t*)chromaPitch = control.pitch / 2;
  return 1;
}

MP4LIB_PLUGIN_EXPORT Mp4Word getDecodeYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) {
  record(TP_GET_DECODE_YUV, y, u, v, pitch, chromaPitch);
  return handOutPlanes(y, u, v, pitch, chromaPitch);
}

MP4LIB_PLUGIN_EXPORT Mp4Word getReconYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) {
  record(TP_GET_RECON_YUV, y, u, v, pitch, chromaPitch);
  return handOutPlanes(y, u, v, pitch, chromaPitch);
}

MP4LIB_PLUGIN_EXPORT Mp4Word decodeFrameHeader(Mp4Word frame, Mp4Word length, Mp4Word p3) {
  record(TP_DECODE_FRAME_HEADER, frame, length, p3, 0, 0);
  recordData((const void*)frame, length);
  if (control.frameHeaderHook) return control.frameHeaderHook(frame, length, p3);
  if (frame == 0 || length == 0) return MP4LIB_FRAME_NONE;
#ifdef TEST_PLUGIN_SIZED_PICTURES
  return sizedFrameKind((const uint8_t*)frame, (uint32_t)length);
#else
  return ((const uint8_t*)frame)[0] == 'K' ? MP4LIB_FRAME_KEY : MP4LIB_FRAME_INTER;
#endif
}
