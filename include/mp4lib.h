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
 * Builds the RGB16 lookup tables if initMp4Lib has not; without memory for
 * them the frame is left as it was. Without the resize flag the planes are
 * written at the input size. `option` is passed by encode_RGB16_video and
 * not used. */
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

/* ---- Pixels: stand-alone converters, interpolation, PSNR ----------------------- */

/* Converts a whole RGB24 picture to short planar YUV 4:2:0 at its own size;
 * flip nonzero turns it upside down. Returns 1, also for an odd width or
 * height, for which nothing is written. (It needs no temporary memory, so the
 * failure result 0 does not occur.) */
MP4LIB_API int32_t convertRGB2YUV420(int32_t width, int32_t height, const uint8_t* rgb, int16_t* y, int16_t* u,
                                     int16_t* v, int32_t flip);

/* The same for RGB16 (5-6-5, low bits of each channel left zero). Y is summed
 * red first, so 17 colours get a luma one off rgb16_yuv420's. Returns 1. */
MP4LIB_API int32_t convertRGB162YUV420(int32_t width, int32_t height, const uint16_t* rgb, int16_t* y, int16_t* u,
                                       int16_t* v, int32_t flip);

/* Byte planar YUV 4:2:0 to packed RGB24 (blue, green, red; rows 3 x width
 * bytes). Luma rows are pitch samples apart, chroma rows pitch / 2; reserved is
 * ignored. An odd last column or row is left unwritten, and below two rows
 * nothing is written. Returns 1. */
MP4LIB_API int32_t transferByteYUV2RGBEx(uint32_t pitch, uint32_t reserved, int32_t width, int32_t height,
                                         const uint8_t* y, const uint8_t* u, const uint8_t* v, uint8_t* rgb);

/* Chooses how YUV becomes RGB16 for the player: 1 error diffusion, 2 additive
 * with diffusion, any other value direct (the default). */
MP4LIB_API void setYUV2RGBMethod(int32_t method);

/* Grey RGB24 from 16-bit luma samples: the low byte of each sample (not
 * clamped) three times. Source rows are pitch samples apart. Returns 1. */
MP4LIB_API int32_t transferY2RGB(uint32_t pitch, uint32_t reserved, int32_t width, int32_t height,
                                 const int16_t* samples, uint8_t* rgb);

/* Doubles a byte planar 4:2:0 picture into destination (Y, U, V one after the
 * other at width x height, the output size) by averaging neighbours. Source
 * luma rows are pitch bytes apart, chroma rows pitch / 2; each source row must
 * have one readable byte after its width/2 (chroma: width/4) samples. */
MP4LIB_API void interpolateYUV(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, uint8_t* destination,
                               int32_t width, int32_t height, int32_t pitch);

/* PSNR in dB of two short planar 4:2:0 pictures (Y, U, V one after the other):
 * +inf when equal, NaN for an empty picture or a squared error of 2^31 or more. */
MP4LIB_API float getYUV420PSNR(const int16_t* a, const int16_t* b, int32_t width, int32_t height);

/* The same with the three planes of each picture passed apart. */
MP4LIB_API float getYUV420PSNREx(const int16_t* aY, const int16_t* aU, const int16_t* aV, const int16_t* bY,
                                 const int16_t* bU, const int16_t* bV, int32_t width, int32_t height);

#ifdef __cplusplus
}
#endif

#endif /* MP4LIB_H */
