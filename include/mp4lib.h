/*
 * mp4lib: records and plays 3GPP movie files ("3gp4" brand).
 *
 * Plain C exports. State is library-global: one movie is recorded or played
 * at a time. Results are 1 for success and 0 for failure unless a function
 * says otherwise; where a codec plug-in's result is passed on, only its lowest
 * 8 bits tell success (nonzero) from failure.
 *
 * Paths are wide strings on every platform (L"movie.3gp"); on POSIX they are
 * converted to UTF-8.
 *
 * Calling order: initMp4Lib once; then either recording (initEncoder ...
 * finalizeEncoder) or playback (initDecoder ... finalizeDecoder); finally
 * finalizeMp4Lib.
 */
#ifndef MP4LIB_H
#define MP4LIB_H

#include <stddef.h>
#include <stdint.h>

#include "mp4lib_plugin.h"

#if defined(_WIN32)
#if defined(MP4LIB_BUILDING_LIBRARY)
#define MP4LIB_API __declspec(dllexport)
#elif defined(MP4LIB_STATIC)
#define MP4LIB_API
#else
#define MP4LIB_API __declspec(dllimport)
#endif
#else
#define MP4LIB_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Library lifecycle ----------------------------------------------------- */

/* Loads the codec plug-ins beside the library and builds the conversion
 * tables. A second call does nothing. */
MP4LIB_API void initMp4Lib(void);

/* Unloads the plug-ins and frees the tables. Harmless without initMp4Lib.
 * Does not end an open encoder or decoder. */
MP4LIB_API void finalizeMp4Lib(void);

/* ---- Byte-order utilities -------------------------------------------------- */

/* Four characters to a code with a in the most significant byte. Each
 * character is sign-extended before it is or-ed in, so a later character of
 * 0x80 or above sets every bit above its own byte: makeFourCC(0, 0x80, 0, 0)
 * is 0xFF800000. */
MP4LIB_API uint32_t makeFourCC(int8_t a, int8_t b, int8_t c, int8_t d);

/* Reverses the four bytes of x (0x11223344 -> 0x44332211). */
MP4LIB_API uint32_t convertDWORDToBigEndian(uint32_t x);

/* The same reversal, under the name the reader uses. */
MP4LIB_API uint32_t convertDWORDToLittleEndian(uint32_t x);

/* ---- RGB to YUV 4:2:0 ------------------------------------------------------
 * Short planar YUV 4:2:0: Y plane of width x height 16-bit samples (0..255),
 * then U and V of (width/2) x (height/2). RGB16 is one little-endian 5-6-5
 * word per pixel, RGB24 three bytes per pixel (blue, green, red); both top
 * row first without row padding. */

/* Converts an RGB16 picture of the encoder's input size into the encoder's
 * frame planes at its coded size (resampling when the encoder resizes).
 * `option` is passed by encode_RGB16_video and not used. */
MP4LIB_API void rgb16_yuv420(const uint16_t* rgb, int16_t* y, int16_t* u, int16_t* v, int32_t width, int32_t height,
                             uint8_t option);

/* The same for RGB24. */
MP4LIB_API void rgb24_yuv420(const uint8_t* rgb, int16_t* y, int16_t* u, int16_t* v, int32_t width, int32_t height,
                             uint8_t option);

/* ---- YUV repacking into the encoder's frame planes ----------------------------
 * Width and height are the input size; the encoder context supplies the
 * coded size and whether to resample. */

/* Packed 4:2:2, bytes U Y0 V Y1 per pixel pair. */
MP4LIB_API void yuv422_yuv420(const uint8_t* yuv, int16_t* y, int16_t* u, int16_t* v, int32_t width, int32_t height);
/* Byte planar 4:2:2 in one buffer (Y, then U, then V). */
MP4LIB_API void byte_yuv422_yuv420_planner(const uint8_t* yuv, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                           int32_t height);
/* Byte planar 4:2:2 as three planes. */
MP4LIB_API void byte_yuv422_yuv420_planner_s3(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int16_t* y,
                                              int16_t* u, int16_t* v, int32_t width, int32_t height);
/* Byte planar 4:2:0 in one buffer. */
MP4LIB_API void byte_yuv420_yuv420_planner(const uint8_t* yuv, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                           int32_t height);
/* Byte planar 4:2:0 as three planes. */
MP4LIB_API void byte_yuv420_yuv420_planner_s3(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int16_t* y,
                                              int16_t* u, int16_t* v, int32_t width, int32_t height);
/* Short planar 4:2:0 in one buffer. */
MP4LIB_API void short_yuv420_yuv420_planner(const int16_t* yuv, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                            int32_t height);

#ifdef __cplusplus
}
#endif

#endif /* MP4LIB_H */
