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
 *
 * Each section below names the source file that holds its exports.
 * Extensions (at the end, prefixed mp4lib) come beside the calls above and
 * never change what those do.
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

/* ==== Lifecycle and byte order (src/api/lifecycle.cpp) ========================= */

/* Loads the codec plug-ins beside the library and builds the conversion
 * tables. A second call does nothing. */
MP4LIB_API void initMp4Lib(void);

/* Unloads the plug-ins and frees the tables. Harmless without initMp4Lib.
 * Does not end an open encoder or decoder. */
MP4LIB_API void finalizeMp4Lib(void);

/* Four characters to a code with a in the most significant byte. Each
 * character is sign-extended before it is or-ed in, so a later character of
 * 0x80 or above sets every bit above its own byte: makeFourCC(0, 0x80, 0, 0)
 * is 0xFF800000. */
MP4LIB_API uint32_t makeFourCC(int8_t a, int8_t b, int8_t c, int8_t d);

/* Reverses the four bytes of x (0x11223344 -> 0x44332211). */
MP4LIB_API uint32_t convertDWORDToBigEndian(uint32_t x);

/* The same reversal, under the name the reader uses. */
MP4LIB_API uint32_t convertDWORDToLittleEndian(uint32_t x);

/* ==== Recording (src/api/recording.cpp) ========================================
 * Order: initEncoder -> createEncodeFile -> writeVideoFileHeader -> encode
 * calls and writeEncodeData -> closeEncodeFile -> finalizeEncoder.
 * Timestamps are in ms; 0xFFFFFFFF means "now" (the system's millisecond
 * clock). Results passed on from a codec plug-in fail when their lowest 8
 * bits are 0. `out`/`outSize` belong to the plug-in: *outSize is the
 * capacity of out on entry (0 = at least coded width x coded height x 3
 * bytes for video, one PCM block for audio) and the compressed size on
 * return. */

/* Starts a recording context: checks that the current volume has more than
 * 10,000 free bytes, opens the video (flag 4) and audio (flag 8) plug-ins
 * and allocates the frame buffer; *context receives the library's
 * EncoderContext. 1, 0, or a failing plug-in's result. Refused while a
 * decoder or another encoder context is active, or while a file of an
 * earlier context is still open, and 0 when the video plug-in reports a
 * frame rate no video time scale (1000 x the rate) can hold: below 0.001
 * or above 2,147,483 frames a second. */
MP4LIB_API Mp4Word initEncoder(EncoderParams* params, EncoderContext** context);

/* Creates the output file (any extension; always 3GP) and prepares its
 * tracks. 1 when the file is open. Needs initEncoder; refused while a file
 * is open. */
MP4LIB_API int32_t createEncodeFile(const wchar_t* path);

/* Bytes of the output file that have reached the file (not those still
 * buffered), or 0 without a file. */
MP4LIB_API int32_t getEncodeFilePos(void);

/* Ends the recording context: frees the track tables and the frame buffer
 * and finalizes the plug-ins. Call closeEncodeFile first. */
MP4LIB_API void finalizeEncoder(void);

/* Writes the file header ("ftyp", vendor header box, "mdat" header) with
 * the application's `value` in the vendor header. A nonzero `rewrite`
 * writes nothing for a 3GP file. 1, or 0 without a file. */
MP4LIB_API int32_t writeVideoFileHeader(uint32_t value, uint8_t rewrite);

/* Settles the timing tables, appends the movie box, patches the media data
 * size and closes the file. 1 when a file was open, 0 when none was. */
MP4LIB_API int32_t closeEncodeFile(void);

/* ---- Recording: encoding (src/api/recording_encode.cpp) ---------------------- */

/* Encodes one frame already in short planar YUV 4:2:0 at the coded size and
 * keeps its timing; the caller stores the result with writeEncodeData.
 * Returns the plug-in's result. */
MP4LIB_API Mp4Word encode_video(const int16_t* frame, Mp4Word arg, uint8_t* out, uint32_t* outSize, uint32_t ts);

/* Converts an RGB24 picture (rgb24_yuv420, `option` passed on) into the
 * frame buffer and encodes it like encode_video. */
MP4LIB_API Mp4Word encode_RGB24_video(const uint8_t* rgb, Mp4Word arg, uint8_t* out, uint32_t* outSize, uint32_t ts,
                                      uint8_t option);

/* The same for RGB16 (rgb16_yuv420). */
MP4LIB_API Mp4Word encode_RGB16_video(const uint16_t* rgb, Mp4Word arg, uint8_t* out, uint32_t* outSize, uint32_t ts,
                                      uint8_t option);

/* Packed YUV 4:2:2 (yuv422_yuv420), then encode_video. */
MP4LIB_API Mp4Word encode_YUV422_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out, uint32_t* outSize, uint32_t ts);

/* Byte planar 4:2:2 in one buffer (byte_yuv422_yuv420_planner), then
 * encode_video. */
MP4LIB_API Mp4Word encode_YUV422_byte_planner_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                    uint32_t ts);

/* Byte planar 4:2:2 as three planes, then encode_video. */
MP4LIB_API Mp4Word encode_YUV422_byte_planner_video_s3(const uint8_t* y, const uint8_t* u, const uint8_t* v,
                                                       Mp4Word arg, uint8_t* out, uint32_t* outSize, uint32_t ts);

/* Byte planar 4:2:0 in one buffer, then encode_video. */
MP4LIB_API Mp4Word encode_YUV420_byte_planner_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                    uint32_t ts);

/* Byte planar 4:2:0 as three planes, then encode_video. */
MP4LIB_API Mp4Word encode_YUV420_byte_planner_video_s3(const uint8_t* y, const uint8_t* u, const uint8_t* v,
                                                       Mp4Word arg, uint8_t* out, uint32_t* outSize, uint32_t ts);

/* Short planar 4:2:0 at the picture size, then encode_video. */
MP4LIB_API Mp4Word encode_YUV420_short_planner_video(const int16_t* yuv, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                     uint32_t ts);

/* Encodes one frame like encode_video and, when `store` is nonzero, stores
 * the compressed sample in the file. 1 or 0. */
MP4LIB_API int32_t encodeVideo(const int16_t* frame, Mp4Word arg, uint8_t* out, uint32_t* outSize, uint8_t store,
                               uint32_t ts);

/* Converts an RGB24 picture and calls encodeVideo with the frame buffer and
 * the frame sample count as `arg`. 1 or 0. */
MP4LIB_API int32_t encodeRGB24Video(const uint8_t* rgb, Mp4Word unused, uint8_t* out, uint32_t* outSize, uint8_t store,
                                    uint32_t ts, uint8_t option);

/* The same for RGB16. */
MP4LIB_API int32_t encodeRGB16Video(const uint16_t* rgb, Mp4Word unused, uint8_t* out, uint32_t* outSize,
                                    uint8_t store, uint32_t ts, uint8_t option);

/* Encodes one PCM block with the audio plug-in; its result, 0 without one. */
MP4LIB_API Mp4Word encode_audio(const uint8_t* pcm, uint32_t length, uint8_t* out, uint32_t* outSize);

/* Encodes the oldest captured PCM block, if any, and stores it when `store`
 * is nonzero. 1 when a block was encoded, else 0. */
MP4LIB_API int32_t encodeWaveInAudio(uint8_t* out, uint32_t* outSize, uint8_t store);

/* Stores one compressed sample: type 0 video, 1 audio. 1 stored, 0 not. */
MP4LIB_API int32_t writeEncodeData(const uint8_t* data, uint32_t size, uint32_t type, uint32_t ts);

/* The video plug-in's reconstructed picture (see getReconYUV in
 * mp4lib_plugin.h); 0 without a video plug-in. */
MP4LIB_API Mp4Word encode_getReconYUV(uint8_t** y, uint8_t** u, uint8_t** v, uint32_t* pitch, uint32_t* chromaPitch);

/* ==== Pixels (src/api/pixels.cpp) ===============================================
 * RGB to YUV 4:2:0. Short planar YUV 4:2:0: Y plane of width x height 16-bit samples (0..255),
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

/* YUV repacking into the encoder's frame planes. Width and height are the input size; the encoder context supplies the
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

/* Stand-alone converters, interpolation and PSNR. */

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

/* ==== Playback (src/api/playback.cpp) ============================================
 * One movie is played at a time. Times are milliseconds; entries count from
 * 0 (video: samples; audio: samples, or chunks on tracks of constant sample
 * size). */

/* Opens and parses a 3GP/MP4 file, chooses one video and one audio track and
 * starts their codec plug-ins; *params receives the movie parameter block.
 * 1, or 0 (encoder open, file unreadable, first track empty, no plug-in).
 * A file is refused (0) when it asks for more than the library plays, so
 * that buffers sized from the parameter block stay reasonable: picture
 * sides (display and decoded) above 8192 pixels; a sound of more than
 * 384,000 Hz, 8 channels or 32 bits per sample; a sample (or, for sound of
 * constant sample size, a chunk) of the chosen tracks larger than 64 MiB
 * that lies in the file. mp4libLastFailure tells which. */
MP4LIB_API int32_t initDecoder(const wchar_t* path, MovieParams** params);

/* Closes the movie and frees everything initDecoder built. */
MP4LIB_API void finalizeDecoder(void);

/* Movie duration in ms; 1, also with no movie open (then *ms is untouched). */
MP4LIB_API int32_t getMovieDuration(uint32_t* ms);
/* Video track duration in ms; 1, or 0 without video. */
MP4LIB_API int32_t getVideoDuration(uint32_t* ms);
/* Duration of ONE audio sample in ms (not of the track); 1, or 0 without audio. */
MP4LIB_API int32_t getAudioDuration(uint32_t* ms);
/* Video entries; 1, or 0 without video. */
MP4LIB_API int32_t getVideoFrameNum(uint32_t* count);
/* Audio entries; 1, or 0 without audio. */
MP4LIB_API int32_t getAudioFrameNum(uint32_t* count);
/* Video samples waiting in the read-ahead queue. */
MP4LIB_API int32_t getVideoObjSize(void);
/* Audio samples waiting in the read-ahead queue. */
MP4LIB_API int32_t getAudioObjSize(void);
/* 1 once every sample has been read into the queues (frames may still wait
 * there), else 0. */
MP4LIB_API int32_t isStreamEnd(void);

/* ---- Playback: track decoding (src/api/playback_tracks.cpp) -------------------- */

/* Decodes video entry `entry` (from the preceding key frame when needed).
 * yuv: byte planar YUV 4:2:0 at the decoded size, or null; *size: picture
 * bytes from the plug-in; *timeMs: the entry's time. 1, or 0 (also when the
 * same entry is asked again and the picture the plug-in holds is smaller than
 * the announced size; nothing is copied then). */
MP4LIB_API int32_t decode_video_track(int32_t entry, uint8_t* yuv, uint32_t* size, uint32_t* timeMs);
/* As decode_video_track, and *durationMs the entry's duration. 1, or 0. */
MP4LIB_API int32_t decode_video_trackEx(int32_t entry, uint8_t* yuv, uint32_t* size, uint32_t* timeMs,
                                        uint32_t* durationMs);
/* Decodes the next slice (at most 2048 bytes) of audio entry `entry` into
 * pcm (*pcmLength: capacity in, bytes out); *timeMs: the entry's start;
 * *bytesLeft: bytes of the entry still to read. The plug-in's result, or 0. */
MP4LIB_API Mp4Word decode_audio_track(int32_t entry, uint8_t* pcm, uint32_t* pcmLength, uint32_t* timeMs,
                                      uint32_t* bytesLeft);

/* Entry `entry` as RGB24 at the display size (resized when the parameter
 * block asks for it); *size = width x height x 3. 1, or 0 (entry outside the
 * track, nothing decoded). Every RGB call also fails, writing nothing, when
 * the decoded picture is smaller than the size the movie announces; a larger
 * one is converted from its top-left corner. */
MP4LIB_API int32_t decode_RGB24_video_track(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs);
/* As decode_RGB24_video_track in RGB16; *size = width x height x 2. */
MP4LIB_API int32_t decode_RGB16_video_track(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs);
/* As decode_RGB24_video_track, and *durationMs the entry's duration. */
MP4LIB_API int32_t decode_RGB24_video_trackEx(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs,
                                              uint32_t* durationMs);
/* As decode_RGB16_video_track, and *durationMs the entry's duration. */
MP4LIB_API int32_t decode_RGB16_video_trackEx(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs,
                                              uint32_t* durationMs);
/* Entry `entry` as RGB24 at targetWidth x targetHeight; *size = target
 * width x height x 3. 1, or 0. */
MP4LIB_API int32_t decode_RGB24_video_trackEx2(int32_t entry, uint8_t* rgb, uint32_t* size, int32_t targetWidth,
                                               int32_t targetHeight, uint32_t* timeMs, uint32_t* durationMs);
/* As decode_RGB24_video_trackEx2 in RGB16; *size = target width x height x 2. */
MP4LIB_API int32_t decode_RGB16_video_trackEx2(int32_t entry, uint8_t* rgb, uint32_t* size, int32_t targetWidth,
                                               int32_t targetHeight, uint32_t* timeMs, uint32_t* durationMs);

/* ---- Playback: seeking (src/api/playback_seeking.cpp) -------------------------- */

/* Moves playback to timeMs: audio first (to a byte inside an entry), video to
 * the time audio lands on. Out pointers may be null. 1; 0 when audio could not
 * be placed (negative time) or the wave-out device could not be reset. */
MP4LIB_API int32_t seek(int32_t timeMs, int32_t* usedMs, int32_t* videoEntry, int32_t* audioEntry);
/* Places the next audio read at timeMs: *entry, *offset (bytes into it),
 * *adjustedMs (the time it stands for). 1, or 0 for a negative time. */
MP4LIB_API int32_t setAudioEntryByTime(int32_t timeMs, int32_t* entry, uint32_t* offset, int32_t* adjustedMs);
/* Video entry shown at timeMs. 1, or 0 without video. */
MP4LIB_API int32_t getVideoEntryByTime(int32_t timeMs, int32_t* entry);
/* Time of a video entry in ms. 1, or 0 without video. */
MP4LIB_API int32_t getVideoTimeByEntry(int32_t entry, uint32_t* timeMs);

/* ---- Playback: queue-driven decoding (src/api/playback_queues.cpp) --------------
 * Samples are read ahead in file order into an 8-slot audio and a 16-slot
 * video queue; each call decodes the oldest. One thread at a time. */

/* Decodes the next audio sample into pcm (*pcmLength as for
 * decode_audio_track). The plug-in's result; 0 when nothing is queued. */
MP4LIB_API Mp4Word decodeAudio(uint8_t* pcm, uint32_t* pcmLength);
/* Decodes the next video sample; yuv (byte planar 4:2:0 at the decoded size,
 * or null) goes to the plug-in as its picture buffer. *timeMs: its time,
 * computed from the low 8 bits of its number (it wraps after 256 samples).
 * The plug-in's result; 0 when no movie is open or nothing is queued. */
MP4LIB_API Mp4Word decodeVideo(uint8_t* yuv, uint32_t* timeMs);
/* As decodeVideo, and *durationMs the sample's duration. */
MP4LIB_API Mp4Word decodeVideoEx(uint8_t* yuv, uint32_t* timeMs, uint32_t* durationMs);
/* The next video sample as RGB24 in rgb: at the coded size, or resized to the
 * output size when bit 0 of the parameter block's lowFlagBits is set. The
 * decode result; nothing is converted when decoding fails. */
MP4LIB_API Mp4Word decodeRGB24Video(uint8_t* rgb, uint32_t* timeMs);
/* As decodeRGB24Video in RGB16. */
MP4LIB_API Mp4Word decodeRGB16Video(uint8_t* rgb, uint32_t* timeMs);
/* As decodeRGB24Video, and *durationMs the sample's duration. */
MP4LIB_API Mp4Word decodeRGB24VideoEx(uint8_t* rgb, uint32_t* timeMs, uint32_t* durationMs);
/* As decodeRGB16Video, and *durationMs the sample's duration. */
MP4LIB_API Mp4Word decodeRGB16VideoEx(uint8_t* rgb, uint32_t* timeMs, uint32_t* durationMs);
/* The video plug-in's last picture (getDecodeYUV). 0 without a video decoder. */
MP4LIB_API Mp4Word decode_getyuv(uint8_t** y, uint8_t** u, uint8_t** v, uint32_t* pitch, uint32_t* chromaPitch);


/* ==== Audio devices (src/api/devices.cpp) =======================================
 * Wave-in capture and wave-out playback. One wave-in and one wave-out device, opened on the system's default input
 * and output. The device announces every finished buffer to the
 * application's "window" with a message; the application answers each one
 * on its own thread with processWaveIn (MP4LIB_WIM_DATA) or processWaveOut
 * (MP4LIB_WOM_DONE). The block list between capture or playback and the
 * codec is shared, so record and play are never used at the same time, and
 * decodeAudioAndPlayEx and processWaveOut must not run at once.
 *
 * Windows: the window is the application's HWND, the header is the WAVEHDR
 * from the message's lParam, exactly as winmm's CALLBACK_WINDOW delivers
 * them (MM_WIM_DATA / MM_WOM_DONE). The types below are the system's own
 * (declared by their tags, so this header needs no <windows.h>).
 *
 * POSIX: the window is an Mp4WaveTarget the application keeps alive while a
 * device is open. The library runs the device and calls target->post from
 * its own device thread, once per finished buffer, in the order the buffers
 * finish; post must only queue the message (never call back into the
 * library), and the application's thread takes it from its queue and calls
 * the process function, as a window procedure would:
 *
 *   static void post(Mp4WaveTarget* t, uint32_t message, Mp4WaveHeader* h) {
 *     queue_push(t->user, message, h);           // locked queue + wake-up
 *   }
 *   Mp4WaveTarget target = {post, &queue};
 *   openWaveIn(0, &target, 16, 8000, 1);
 *   for (;;) {                                   // the application's thread
 *     Message m = queue_pop(&queue);             // blocks
 *     if (m.message == MP4LIB_WIM_DATA) processWaveIn(0, m.header);
 *     if (m.message == MP4LIB_WOM_DONE) processWaveOut(waveOut, m.header);
 *   }
 *
 * A complete application side, on both systems, is the tool's live sound
 * (tools/live_audio.cpp): capture paced by MP4LIB_WIM_DATA, playback with at
 * most eight buffers in flight paced by MP4LIB_WOM_DONE.
 */

/* Message numbers, the values of MM_WIM_DATA and MM_WOM_DONE. */
#define MP4LIB_WIM_DATA 0x3C0u
#define MP4LIB_WOM_DONE 0x3BDu

/* Header flag: the device has finished with the buffer (WHDR_DONE). */
#define MP4LIB_WHDR_DONE 0x00000001u

#if defined(_WIN32)
struct wavehdr_tag;
struct HWND__;
struct HWAVEIN__;
struct HWAVEOUT__;
typedef struct wavehdr_tag Mp4WaveHeader;     /* WAVEHDR */
typedef struct HWND__* Mp4WaveWindow;         /* HWND */
typedef struct HWAVEIN__* Mp4WaveInHandle;    /* HWAVEIN */
typedef struct HWAVEOUT__* Mp4WaveOutHandle;  /* HWAVEOUT */
#else
/* A wave buffer header, laid out as Windows' WAVEHDR. */
typedef struct Mp4WaveHeader {
  uint8_t* data;                /* the PCM */
  uint32_t bufferLength;        /* bytes */
  uint32_t bytesRecorded;       /* bytes captured (wave-in) */
  uintptr_t user;
  uint32_t flags;               /* MP4LIB_WHDR_DONE once finished */
  uint32_t loops;
  struct Mp4WaveHeader* next;
  uintptr_t reserved;
} Mp4WaveHeader;

/* The POSIX stand-in for a window: post receives the message number and
 * the finished header; user is the application's own. */
typedef struct Mp4WaveTarget {
  void (*post)(struct Mp4WaveTarget* target, uint32_t message, Mp4WaveHeader* header);
  void* user;
} Mp4WaveTarget;
typedef Mp4WaveTarget* Mp4WaveWindow;
typedef struct Mp4WaveInDevice* Mp4WaveInHandle;   /* opaque */
typedef struct Mp4WaveOutDevice* Mp4WaveOutHandle; /* opaque */
#endif

/* The device format, laid out as the fields of Windows' WAVEFORMATEX. */
typedef struct Mp4WaveFormat {
  uint16_t formatTag;      /* 1: PCM */
  uint16_t channels;
  uint32_t samplesPerSec;
  uint32_t avgBytesPerSec; /* blockAlign x samplesPerSec */
  uint16_t blockAlign;     /* (bits >> 3) x channels, low 16 bits */
  uint16_t bitsPerSample;
  uint16_t extraSize;      /* 0 */
} Mp4WaveFormat;

/* Opens the default input in PCM (low 16 bits of `bits`, rate in Hz,
 * channels), hands it five buffers of one encoder audio block each and
 * starts capture; drops blocks still on the block list. 1, also when the
 * device did not open (the buffers then never come back). */
MP4LIB_API int32_t openWaveIn(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate, uint16_t channels);
/* As openWaveIn; *handle receives the wave-in handle (may be null). */
MP4LIB_API int32_t openWaveInEx(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                uint16_t channels, Mp4WaveInHandle* handle);
/* For each MP4LIB_WIM_DATA: copies the captured bytes to a new block at the
 * tail of the block list (encodeWaveInAudio takes them) and gives the buffer
 * back to the device. The device's result (0 = accepted); a header that is
 * not one of the open device's buffers is refused with 5, one the device has
 * not finished (no MP4LIB_WHDR_DONE) with 33. */
MP4LIB_API uint32_t processWaveIn(uintptr_t unused, Mp4WaveHeader* header);
/* Stops capture and frees the buffers; captured blocks stay for the
 * encoder. 1, or 0 when the device refused to reset or stop. */
MP4LIB_API int32_t closeWaveIn(void);

/* Opens the default output in PCM, left channel at full volume and right
 * at 0 (volume word 0x0000FFFF), and drops blocks still on the block list.
 * 1, or 0 when the device did not open. */
MP4LIB_API int32_t openWaveOut(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate, uint16_t channels);
/* As openWaveOut; *handle receives the wave-out handle, also on failure. */
MP4LIB_API int32_t openWaveOutEx(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                 uint16_t channels, Mp4WaveOutHandle* handle);
/* Decodes the next part of the current audio entry of the open movie and
 * queues its PCM on the output. 1 without decoding while 8 blocks are
 * queued; else the decode result (the plug-in's, 0 at the end). */
MP4LIB_API Mp4Word decodeAudioAndPlayEx(void);
/* For each MP4LIB_WOM_DONE: releases the oldest queued block. Headers that
 * are not the oldest block, or not finished, are ignored. */
MP4LIB_API void processWaveOut(Mp4WaveOutHandle handle, Mp4WaveHeader* header);
/* Stops playback, waits for the device to give back every queued block
 * (at most about 2 s each), frees them and closes. 1, or 0 when the device
 * refused to reset or close. */
MP4LIB_API int32_t closeWaveOut(void);
/* Closes and reopens the output with the last instance and window and the
 * movie's audio format (*handle receives the new handle) and moves playback
 * back to the start. 1, or 0 when no movie is open. */
MP4LIB_API int32_t resetDecoder(Mp4WaveOutHandle* handle);

/* ==== Extensions ===================================================================
 * Beyond the calls above; they change nothing those do. */

/* ---- Extensions: codec plug-ins (src/api/ext_plugins.cpp) ---------------------- */

/* Identity of a loaded codec plug-in, as it answered at initMp4Lib. */
typedef struct Mp4PluginInfo {
  uint32_t codecType; /* MP4LIB_CODEC_TYPE_*: the key the library selects by */
  uint32_t codecId;   /* MP4LIB_CODEC_ID_* */
  uint32_t codecTag;  /* sample entry code, MP4LIB_FOURCC order */
  uint32_t category;  /* MP4LIB_CATEGORY_VIDEO or MP4LIB_CATEGORY_AUDIO */
} Mp4PluginInfo;

/* Number of codec plug-ins initMp4Lib loaded (0 before it). */
MP4LIB_API int32_t mp4libPluginCount(void);
/* The plug-in at `index` (0 = first found). 1, or 0 for an index outside
 * 0 .. count - 1 (info is then left as it was). */
MP4LIB_API int32_t mp4libPluginInfo(int32_t index, Mp4PluginInfo* info);

/* ---- Extensions: why a call failed (src/api/ext_failures.cpp) ------------------
 * initDecoder, initEncoder and createEncodeFile answer only 1 or 0 (or a
 * plug-in's failing value), and closeEncodeFile answers 1 even when the
 * disk filled up on the way. Each of the four also notes why it failed, or
 * that it did not; mp4libLastFailure tells what the last of them noted. */

#define MP4LIB_FAILURE_NONE 0               /* the last of the three calls succeeded (or none ran) */
#define MP4LIB_FAILURE_BUSY 1               /* a recording or a playback is open: one at a time */
#define MP4LIB_FAILURE_ARGUMENT 2           /* a required pointer was null */
#define MP4LIB_FAILURE_CANNOT_OPEN_FILE 3   /* the file cannot be opened for reading */
#define MP4LIB_FAILURE_CANNOT_CREATE_FILE 4 /* the file cannot be created for writing */
#define MP4LIB_FAILURE_NOT_A_MOVIE 5        /* neither a movie box nor media data */
#define MP4LIB_FAILURE_DAMAGED_TABLE 6      /* a box or sample table cannot be read */
#define MP4LIB_FAILURE_EMPTY_FIRST_TRACK 7  /* the first track has no samples */
#define MP4LIB_FAILURE_BAD_TIME_SCALE 8     /* a time scale of 0 */
#define MP4LIB_FAILURE_PICTURE_TOO_LARGE 9  /* a picture side above 8192 pixels */
#define MP4LIB_FAILURE_NO_PLUGIN 10         /* no codec plug-in of the codec type needed */
#define MP4LIB_FAILURE_PLUGIN_REFUSED 11    /* the plug-in refused the stream or the parameters */
#define MP4LIB_FAILURE_NO_MEMORY 12
#define MP4LIB_FAILURE_DISK_FULL 13         /* 10,000 bytes or less free on the current volume */
#define MP4LIB_FAILURE_ORDER 14             /* out of order: no initEncoder, or a file still open */
#define MP4LIB_FAILURE_WRITE 15             /* closeEncodeFile: bytes did not reach the file (disk full?) */
#define MP4LIB_FAILURE_SIZE_TOO_LARGE 16    /* a sample or audio format beyond the limits of initDecoder */
#define MP4LIB_FAILURE_FRAME_RATE 17        /* initEncoder: a frame rate below 0.001 or above 2,147,483 a second */

/* The code (MP4LIB_FAILURE_*) the last initDecoder, initEncoder,
 * createEncodeFile or closeEncodeFile noted. When text is not null it receives a short English
 * sentence saying why (at most capacity bytes, terminated), e.g. "no audio
 * plug-in for codec type 0x10101014 (AMR)"; empty after a success. */
MP4LIB_API int32_t mp4libLastFailure(char* text, uint32_t capacity);

#ifdef __cplusplus
}
#endif

#endif /* MP4LIB_H */
