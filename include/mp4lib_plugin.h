/*
 * mp4lib codec plug-in SDK.
 *
 * A codec plug-in is a shared library that lies in the same folder as mp4lib
 * and whose file name matches "codec*.so" (POSIX) or "codec*.dll" (Windows).
 * At initMp4Lib the library loads every such file (at most
 * MP4LIB_MAX_PLUGINS), looks up the eighteen entry points below by name,
 * calls the four identity functions once and then selects plug-ins by their
 * codec type. Four entry points are mandatory (getCodecID, getCodecCategory,
 * getCodecTag, getCodecType): a file that lacks one of them is not loaded.
 * The others are optional as far as loading goes; a plug-in must export the
 * ones its codec's paths use (the library calls them without checking).
 * Files are tried in the order the folder search returns them (POSIX: byte
 * order of the names); two plug-ins of one codec type may both load, and the
 * first one found is the one selected.
 *
 * Every argument and result is one machine word: a 32-bit value on 32-bit
 * targets, and on 64-bit targets a pointer-sized slot where a pointer may
 * travel (Mp4Word). "bool" results: only the lowest 8 bits are tested and
 * nonzero means success; the library passes the whole value on unchanged.
 *
 * This header is the one place where the contracts between mp4lib and its
 * plug-ins are written down. Plug-ins include it; so does the library.
 */
#ifndef MP4LIB_PLUGIN_H
#define MP4LIB_PLUGIN_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32)
#define MP4LIB_PLUGIN_EXPORT __declspec(dllexport)
#else
#define MP4LIB_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

/* One argument or result slot: an integer or a pointer. */
typedef uintptr_t Mp4Word;

/* The library loads at most this many plug-ins; later files are not loaded. */
#define MP4LIB_MAX_PLUGINS 10

/* ---- Codec types: the key by which the library selects a plug-in ---------- */
#define MP4LIB_CODEC_TYPE_MPEG4V 0u        /* MPEG-4 visual ("mp4v", "DIVX") */
#define MP4LIB_CODEC_TYPE_H263 1u          /* H.263 and any other video */
#define MP4LIB_CODEC_TYPE_VIDEO_70 2u      /* video codec id 70 */
#define MP4LIB_CODEC_TYPE_MPEG1V 3u        /* "mpeg" */
#define MP4LIB_CODEC_TYPE_VIDEO_2 4u       /* video codec id 2 */
#define MP4LIB_CODEC_TYPE_VIDEO_33 5u      /* video codec id 33 */
#define MP4LIB_CODEC_TYPE_PCM 0x10101010u  /* little-endian PCM ("sowt") */
#define MP4LIB_CODEC_TYPE_G723 0x10101011u /* G.723 and any other audio */
#define MP4LIB_CODEC_TYPE_AUDIO_8 0x10101012u
#define MP4LIB_CODEC_TYPE_AUDIO_7 0x10101013u
#define MP4LIB_CODEC_TYPE_AMR 0x10101014u  /* AMR narrow-band ("samr") */
#define MP4LIB_CODEC_TYPE_AAC 0x10101015u  /* MPEG-4 audio ("mp4a") */

/* ---- Codec identifiers (getCodecID), as the file reader assigns them ------ */
#define MP4LIB_CODEC_ID_MPEG1V 1
#define MP4LIB_CODEC_ID_H263 4
#define MP4LIB_CODEC_ID_MPEG4V 13  /* split at start codes; its stream header goes first */
#define MP4LIB_CODEC_ID_VIDEO_70 70 /* its stream header goes first too */
#define MP4LIB_CODEC_ID_AAC 36
#define MP4LIB_CODEC_ID_PCM_LE 49
#define MP4LIB_CODEC_ID_AMR 63
#define MP4LIB_CODEC_ID_G723 69

/* ---- Codec categories (getCodecCategory; stored, never consulted) -------- */
#define MP4LIB_CATEGORY_VIDEO 0
#define MP4LIB_CATEGORY_AUDIO 1

/* Four-character code with the first character in the most significant byte
 * (the value makeFourCC returns for plain ASCII). */
#define MP4LIB_FOURCC(a, b, c, d) \
  (((uint32_t)(uint8_t)(a) << 24) | ((uint32_t)(uint8_t)(b) << 16) | ((uint32_t)(uint8_t)(c) << 8) | (uint32_t)(uint8_t)(d))

#define MP4LIB_TAG_S263 MP4LIB_FOURCC('s', '2', '6', '3')
#define MP4LIB_TAG_MP4V MP4LIB_FOURCC('m', 'p', '4', 'v')
#define MP4LIB_TAG_SAMR MP4LIB_FOURCC('s', 'a', 'm', 'r')
#define MP4LIB_TAG_G723 MP4LIB_FOURCC('g', '7', '2', '3')
#define MP4LIB_TAG_SOWT MP4LIB_FOURCC('s', 'o', 'w', 't')
#define MP4LIB_TAG_MP4A MP4LIB_FOURCC('m', 'p', '4', 'a')

/* ---- Records a plug-in sees ---------------------------------------------- */

/*
 * EncoderParams: filled by the application, read by initEncoder and by the
 * video plug-in's initEncode. The library reads only flags and the fields from
 * videoCodecType on; the fields before flags are defined here for the video
 * plug-ins, which read them.
 */
typedef struct EncoderParams {
  uint32_t width;            /* 0x00 picture width of the input frames, pixels */
  uint32_t height;           /* 0x04 picture height, pixels */
  uint32_t codedWidth;       /* 0x08 size the codec encodes; 0 = the picture width */
  uint32_t codedHeight;      /* 0x0C 0 = the picture height */
  double frameRate;          /* 0x10 frames per second */
  uint32_t bitRate;          /* 0x18 video bits per second; 0 = the plug-in's default */
  uint32_t keyFrameInterval; /* 0x1C frames between key frames; 0 = the plug-in's default */
  uint32_t timingMode;       /* 0x20 1 = timestamps decide durations, 0 = constant frame rate */
  uint32_t videoOption;      /* 0x24 plug-in specific, 0 by default */
  uint32_t flags;            /* 0x28 MP4LIB_RECORD_VIDEO | MP4LIB_RECORD_AUDIO */
  uint32_t reserved[5];      /* 0x2C..0x3F zero */
  uint32_t videoCodecType;   /* 0x40 selects the video plug-in */
  uint32_t audioCodecType;   /* 0x44 selects the audio plug-in */
  uint16_t audioBits;        /* 0x48 bits per PCM sample */
  uint16_t reserved2;        /* 0x4A */
  uint32_t audioSampleRate;  /* 0x4C Hz */
  uint16_t audioChannels;    /* 0x50 */
  uint16_t reserved3;        /* 0x52 */
  uint32_t audioBlockMs;     /* 0x54 duration of one PCM block handed to the encoder, ms */
  uint32_t audioOption;      /* 0x58 passed to the audio plug-in's initEncode */
} EncoderParams;

#define MP4LIB_RECORD_VIDEO 4u
#define MP4LIB_RECORD_AUDIO 8u

/* Bit 0 of EncoderContext.conversionFlags: the coded size differs from the
 * picture size and the converters resample. */
#define MP4LIB_CONVERT_RESIZE 1u

struct CodecPlugin; /* the library's record of one loaded plug-in */

/*
 * EncoderContext: the library-global recording record whose address
 * initEncoder returns. The video plug-in's initEncode fills the fields marked
 * "plug-in"; the library owns the rest. 144 bytes on 32-bit targets.
 */
typedef struct EncoderContext {
  uint32_t width;                      /* 0x00 plug-in: picture width (input frames, track header) */
  uint32_t height;                     /* 0x04 plug-in: picture height */
  uint32_t codedWidth;                 /* 0x08 plug-in: frame buffer and sample description width */
  uint32_t codedHeight;                /* 0x0C plug-in */
  double frameRate;                    /* 0x10 plug-in: frames per second */
  uint32_t conversionFlags;            /* 0x18 plug-in: MP4LIB_CONVERT_RESIZE */
  uint32_t flags;                      /* 0x1C copy of EncoderParams.flags */
  uint32_t timingMode;                 /* 0x20 plug-in: 1 timestamps, 0 constant rate */
  uint32_t headerWordA;                /* 0x24 plug-in: vendor header box words */
  uint32_t headerWordB;                /* 0x28 plug-in */
  uint16_t audioBits;                  /* 0x2C */
  uint32_t audioSampleRate;            /* 0x30 */
  uint16_t audioChannels;              /* 0x34 */
  uint32_t audioBlockMs;               /* 0x38 */
  void* outputFile;                    /* 0x3C null when no file is open */
  uint32_t containerMode;              /* 0x40 3 after createEncodeFile; 2, 3 = 3GP, 1 = raw stream */
  uint32_t videoCodecType;             /* 0x44 */
  uint32_t audioCodecType;             /* 0x48 */
  struct CodecPlugin* audioPlugin;     /* 0x4C */
  struct CodecPlugin* videoPlugin;     /* 0x50 */
  uint32_t headerWordC;                /* 0x54 plug-in */
  uint32_t headerWordD;                /* 0x58 plug-in */
  uint32_t vendorBoxOffset;            /* 0x5C file offset of the vendor header box */
  uint32_t pcmBytesPerBlock;           /* 0x60 bits x ms x rate x channels / 8000 */
  uint32_t frameSampleCount;           /* 0x64 coded width x coded height x 3 / 2 */
  int16_t* frameBuffer;                /* 0x68 short planar YUV 4:2:0 at the coded size */
  int16_t* planeY;                     /* 0x6C = frameBuffer */
  int16_t* planeU;                     /* 0x70 */
  int16_t* planeV;                     /* 0x74 */
  uint64_t freeBytes;                  /* 0x78 free bytes of the current volume for the caller */
  uint64_t totalBytes;                 /* 0x80 */
  uint32_t encodedBytes;               /* 0x88 compressed bytes written so far */
  uint32_t spare;                      /* 0x8C */
} EncoderContext;

/*
 * CodecDescriptor: per-track codec description, filled from "stsd" when
 * reading and by the encoder when writing. 84 bytes on 32-bit targets.
 */
typedef struct CodecDescriptor {
  uint32_t bitRate;            /* 0   */
  uint8_t* extraData;          /* 4   codec-specific configuration bytes, owned by the record */
  uint32_t extraDataSize;      /* 8   */
  uint32_t width;              /* 12  coded picture size */
  uint32_t height;             /* 16  */
  uint32_t sampleRate;         /* 20  Hz */
  uint32_t channels;           /* 24  */
  char compressorName[32];     /* 28  NUL-terminated when written by the library */
  int32_t kind;                /* 60  MP4LIB_KIND_* */
  int32_t codecId;             /* 64  */
  uint32_t codecTag;           /* 68  sample entry type */
  uint32_t bitsPerSample;      /* 72  video depth or audio sample size */
  uint32_t colorTableId;       /* 76  */
  uint16_t amrModeSet;         /* 80  */
  uint8_t amrModeChangePeriod; /* 82  */
  uint8_t amrFramesPerSample;  /* 83  */
} CodecDescriptor;

/* Values of CodecDescriptor.kind. */
#define MP4LIB_KIND_VIDEO 0
#define MP4LIB_KIND_AUDIO 1
#define MP4LIB_KIND_PENDING 2      /* not yet known while a file is read */
#define MP4LIB_KIND_UNSUPPORTED (-1)

/*
 * MovieParams: the library-global block whose address initDecoder returns; a
 * video plug-in gets it as the second argument of initDecode.
 */
typedef struct MovieParams {
  uint32_t width;             /* display size */
  uint32_t height;
  uint32_t decodedWidth;      /* size from the sample description */
  uint32_t decodedHeight;
  uint32_t lowFlagBits;       /* stream flags & 3; bit 0 asks for resizing to the display size */
  uint32_t vendorWord10;
  double frameRate;           /* frames per second */
  uint32_t frameCount;        /* video samples */
  uint32_t videoCodecCode;    /* codec type of the video plug-in */
  uint32_t audioCodecCode;    /* codec type of the audio plug-in */
  uint32_t bitsPerSample;     /* audio format */
  uint32_t sampleRate;
  uint32_t channels;
  uint32_t audioFrameMs;      /* milliseconds per audio sample */
  float audioFrameMsFloat;
  uint8_t videoEnabled;
  uint8_t audioEnabled;
  uint16_t reserved;
  uint32_t pictureSizeCode;   /* 1 QCIF, 2 CIF, 3 352x240, 5 720x480, 7 QVGA, 8 QQVGA, 9 SQCIF, 10 4CIF, 11 16CIF */
  uint32_t vendorWord3;
  uint32_t vendorWord9;
  uint32_t streamFlags;       /* MP4LIB_RECORD_VIDEO | MP4LIB_RECORD_AUDIO */
  void* inputFile;
  uint32_t mode;              /* 3 while decoding */
  uint32_t formatVersion;     /* from the vendor box, else 1 */
  uint32_t formatRevision;    /* from the vendor box, else 5 */
  struct CodecPlugin* audioPlugin;
  struct CodecPlugin* videoPlugin;
  uint32_t lumaSize;          /* width x height */
  uint32_t rgb24Size;         /* width x height x 3 */
  uint32_t decodedLumaSize;   /* decodedWidth x decodedHeight */
  uint32_t decodedChromaSize; /* a quarter of decodedLumaSize */
  uint8_t* rgbBuffer;         /* width x height x 3 bytes */
  uint32_t audioFrameCount;   /* audio samples */
} MovieParams;

/* Passed to initDecode of an MP4LIB_CODEC_TYPE_AAC plug-in. */
typedef struct AudioDecoderConfig {
  uint32_t flag;             /* always 1 */
  const uint8_t* config;     /* the track's decoder configuration (AudioSpecificConfig) */
  uint32_t configSize;       /* bytes at config */
} AudioDecoderConfig;

/* ---- Values of decodeFrameHeader ------------------------------------------ */
#define MP4LIB_FRAME_NONE 0  /* not a frame this plug-in understands */
#define MP4LIB_FRAME_KEY 1   /* an intra-coded frame: decoding can start here */
#define MP4LIB_FRAME_INTER 2 /* a frame that needs earlier frames */

/* Minimum output capacity for an audio decode whose caller gave none, bytes. */
#define MP4LIB_AUDIO_DECODE_MIN_OUTPUT 65536u

/* ---- The eighteen entry points ------------------------------------------- */
/*
 * Identity, called once each at discovery, in this order:
 *   getCodecID()        codec identifier (MP4LIB_CODEC_ID_*); the library
 *                       compares video decoders' ids with 13 and 70 and copies
 *                       encoders' ids into the sample description.
 *   getCodecCategory()  MP4LIB_CATEGORY_*; stored, never used.
 *   getCodecTag()       sample entry four-character code (MP4LIB_TAG_*).
 *   getCodecType()      MP4LIB_CODEC_TYPE_*: the selection key.
 * Bound but never called: getVersion, getAuthor, isInitEncode, isInitDecode,
 * getFrameTime.
 *
 * initEncode(a, b) -> bool
 *   video: a = const EncoderParams*, b = EncoderContext*. The plug-in fills
 *          width, height, codedWidth, codedHeight (never 0, both even),
 *          frameRate, timingMode, conversionFlags (MP4LIB_CONVERT_RESIZE when
 *          the coded size differs from the picture size) and header words A-D.
 *          Recorded files carry no decoder configuration of their own (the
 *          MPEG-4 visual "esds" has an empty decoder-specific block), so a
 *          stream's configuration must travel in-band, in its key frames.
 *   audio: a = EncoderParams.audioOption, b = 0. The PCM format is that of
 *          EncoderParams; an audio plug-in that needs it is told through
 *          audioOption or uses 16-bit mono 8000 Hz.
 * finalizeEncode(0), finalizeDecode(0): release everything; result ignored.
 *
 * encode(a, b, out, outSize, e) -> bool
 *   video: a = const int16_t* short planar YUV 4:2:0 frame at the coded size,
 *          b = the application's value (the one-step RGB calls pass the frame
 *          sample count), out = buffer for the compressed frame,
 *          outSize = uint32_t*; e = timestamp in ms as the caller gave it
 *          (0xFFFFFFFF = "now").
 *   audio: a = const uint8_t* PCM block, b = its length in bytes,
 *          out, outSize as for video, e = 0. One call encodes the block into
 *          whole codec frames, concatenated.
 *   Output capacity: when *outSize is nonzero on entry it is the capacity of
 *   out in bytes; when it is 0 the capacity is at least
 *   codedWidth x codedHeight x 3 bytes for video and pcm-bytes for audio.
 *   A plug-in never writes past the capacity: it fails (returns 0) instead.
 *   On success *outSize receives the bytes written; *outSize = 0 with success
 *   means the codec buffered the input and produced nothing yet.
 *
 * initDecode(a, b) -> bool
 *   video: a = const uint8_t* 64-byte vendor header payload beginning "WMVH"
 *          (twelve big-endian words, then four host-order words),
 *          b = MovieParams* (decodedWidth/decodedHeight give the coded size).
 *   audio: a = const AudioDecoderConfig* for MP4LIB_CODEC_TYPE_AAC, else 0;
 *          b = 0.
 *
 * decode(in, inLength, c, d, e) -> bool
 *   audio: c = uint8_t* PCM output, d = uint32_t* output length (capacity on
 *          entry as for encode, MP4LIB_AUDIO_DECODE_MIN_OUTPUT when 0; bytes
 *          written on return), e = uint32_t* leftover or 0: when nonzero the
 *          plug-in stores how many trailing input bytes it did not consume
 *          (the library carries them into the next call); when 0 the plug-in
 *          consumes what it can and drops the rest.
 *          Output is interleaved signed 16-bit little-endian PCM.
 *   video: in = one access unit (codec id 13: one start-code unit, and e is
 *          its start-code byte; other ids: one whole frame, e = 0),
 *          c = uint8_t* buffer that receives the picture as byte planar YUV
 *          4:2:0 at decodedWidth x decodedHeight (Y, then U, then V, rows
 *          packed), or 0 when the picture is not wanted there: while the
 *          library only decodes up to a later frame, for the RGB forms (which
 *          convert from getDecodeYUV) and when the application passed none.
 *          d = uint32_t* receiving the decoded picture size in bytes
 *          (decodedWidth x decodedHeight x 3 / 2), or 0.
 *          After a successful decode getDecodeYUV describes the picture,
 *          whether or not c was given.
 *
 * getDecodeYUV(y, u, v, pitch, chromaPitch) and getReconYUV(same)
 *   y, u, v = uint8_t** receiving the three 8-bit planes of the last decoded
 *   (reconstructed) picture; pitch = uint32_t* receiving the luma row pitch in
 *   bytes; chromaPitch = uint32_t* receiving the chroma pitch, which is
 *   always pitch / 2 (the library assumes it). The planes stay valid until the
 *   next decode (encode) or finalize. Returns 1, or 0 when there is no picture.
 *
 * decodeFrameHeader(frame, length, p3) -> MP4LIB_FRAME_*
 *   frame = the bytes of one frame (codec id 13: the unit with start code
 *   0xB6, or at initDecoder the stream header, which configures the decoder);
 *   p3 = 0, reserved. Never decodes pixels.
 *
 * The picture a video decoder hands out. Its size is the one the stream
 * decoded to, which a file can set apart from the size its sample
 * description announced (decodedWidth x decodedHeight). A nineteenth entry
 * point, optional, tells it:
 *
 * getDecodeSize(width, height) -> 1, or 0 when there is no picture
 *   width, height = uint32_t* receiving the size in pixels of the picture
 *   getDecodeYUV describes. Its Y plane holds `height` rows of `pitch`
 *   bytes, its U and V planes height / 2 rows of pitch / 2 bytes.
 *
 * The library converts and copies only what the picture holds: when the
 * picture (or its pitch) is smaller than the announced size in either
 * direction, the RGB calls and the repeated-entry copy of
 * decode_video_track fail (0) and leave the caller's buffer as it was; a
 * larger picture is taken at the announced size from its top-left corner.
 * A plug-in that does not export getDecodeSize promises pictures of exactly
 * the announced size. The plug-ins that come with mp4lib export it.
 */
/*
 * The plug-ins that come with mp4lib (plugins/) add these choices:
 *   codech263   H.263 encode/decode. Encodes only 128x96, 176x144, 352x288,
 *               704x576 and 1408x1152: the requested coded size if it is one
 *               of them, else the picture size if it is, else the smallest
 *               that holds the picture (resize flag set). Key frames every
 *               keyFrameInterval frames (default 30); bit rate default about
 *               0.3 bit per pixel and frame (QCIF 15 fps: 114 kbit/s).
 *   codecmpeg4  MPEG-4 visual encode/decode, any even size up to 4096. The
 *               configuration travels in-band in key frames. Units that are
 *               not pictures (start codes other than 0xB6) are kept and sent
 *               with the next picture; decodeFrameHeader keeps the
 *               configuration units of a stream header it is given.
 *   codecamr    AMR-NB encode/decode, 16-bit mono 8000 Hz. audioOption 0
 *               selects 12.2 kbit/s (32-byte frames), 1..8 the modes
 *               4.75 ... 12.2 kbit/s. PCM short of a whole 20 ms frame waits
 *               for the next block.
 *   codecg723   G.723.1 encode at 6.3 kbit/s (24-byte frames per 30 ms) and
 *               decode of all frame types.
 *   codecpcm    little-endian 16-bit PCM decode (a copy).
 *   codecaac    AAC decode: one raw access unit per call with the track's
 *               AudioSpecificConfig, or ADTS frames (any number, a partial
 *               last frame reported as leftover).
 * Header words A-D are 0. Video pictures are handed out with pitch = width.
 * The libavcodec-based plug-ins keep libavcodec's own log quiet. An
 * application that wants its messages sets MP4LIB_PLUGIN_LOG=verbose in the
 * environment before initMp4Lib; each plug-in reads it once, when loaded.
 * Any other value, or none, means quiet.
 * A video decode given a picture buffer fills it only when the stream's
 * picture has the size MovieParams announced at initDecode (decodedWidth x
 * decodedHeight); a stream of another size fails there rather than overrun
 * the buffer.
 */
typedef Mp4Word (*Mp4PluginIdentityFn)(void);
typedef Mp4Word (*Mp4PluginInitFn)(Mp4Word a, Mp4Word b);
typedef Mp4Word (*Mp4PluginFinalizeFn)(Mp4Word reserved);
typedef Mp4Word (*Mp4PluginCodeFn)(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e);
typedef Mp4Word (*Mp4PluginPlanesFn)(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch);
typedef Mp4Word (*Mp4PluginHeaderFn)(Mp4Word frame, Mp4Word length, Mp4Word p3);
typedef Mp4Word (*Mp4PluginSizeFn)(Mp4Word width, Mp4Word height);

/* Declarations a plug-in implements (define MP4LIB_BUILDING_PLUGIN first). */
#ifdef MP4LIB_BUILDING_PLUGIN
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecID(void);
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecCategory(void);
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecTag(void);
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecType(void);
MP4LIB_PLUGIN_EXPORT Mp4Word getVersion(void);
MP4LIB_PLUGIN_EXPORT Mp4Word getAuthor(void);
MP4LIB_PLUGIN_EXPORT Mp4Word isInitEncode(void);
MP4LIB_PLUGIN_EXPORT Mp4Word isInitDecode(void);
MP4LIB_PLUGIN_EXPORT Mp4Word initEncode(Mp4Word a, Mp4Word b);
MP4LIB_PLUGIN_EXPORT Mp4Word initDecode(Mp4Word a, Mp4Word b);
MP4LIB_PLUGIN_EXPORT Mp4Word finalizeEncode(Mp4Word reserved);
MP4LIB_PLUGIN_EXPORT Mp4Word finalizeDecode(Mp4Word reserved);
MP4LIB_PLUGIN_EXPORT Mp4Word encode(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e);
MP4LIB_PLUGIN_EXPORT Mp4Word decode(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e);
MP4LIB_PLUGIN_EXPORT Mp4Word getFrameTime(void);
MP4LIB_PLUGIN_EXPORT Mp4Word getDecodeYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch);
MP4LIB_PLUGIN_EXPORT Mp4Word getReconYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch);
MP4LIB_PLUGIN_EXPORT Mp4Word decodeFrameHeader(Mp4Word frame, Mp4Word length, Mp4Word p3);
MP4LIB_PLUGIN_EXPORT Mp4Word getDecodeSize(Mp4Word width, Mp4Word height); /* optional */
#endif

#ifdef __cplusplus
}
#endif

#endif /* MP4LIB_PLUGIN_H */
