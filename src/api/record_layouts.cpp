// Plug-ins built for 32-bit targets read these records by byte offset, so
// there the offsets are part of the binary interface. 64-bit targets keep the
// field order with natural alignment.
#include <cstddef>

#include "codecs/plugin_registry.h"
#include "container/sample_records.h"
#include "mp4lib_plugin.h"

static_assert(sizeof(SampleEntry) == 16, "SampleEntry is 16 bytes");
static_assert(sizeof(TimeToSampleEntry) == 16, "TimeToSampleEntry is 16 bytes");

static_assert(offsetof(EncoderParams, flags) == 0x28, "EncoderParams.flags");
static_assert(offsetof(EncoderParams, videoCodecType) == 0x40, "EncoderParams.videoCodecType");
static_assert(offsetof(EncoderParams, audioCodecType) == 0x44, "EncoderParams.audioCodecType");
static_assert(offsetof(EncoderParams, audioBits) == 0x48, "EncoderParams.audioBits");
static_assert(offsetof(EncoderParams, audioSampleRate) == 0x4C, "EncoderParams.audioSampleRate");
static_assert(offsetof(EncoderParams, audioChannels) == 0x50, "EncoderParams.audioChannels");
static_assert(offsetof(EncoderParams, audioBlockMs) == 0x54, "EncoderParams.audioBlockMs");
static_assert(offsetof(EncoderParams, audioOption) == 0x58, "EncoderParams.audioOption");

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(offsetof(EncoderContext, width) == 0x00, "EncoderContext.width");
static_assert(offsetof(EncoderContext, height) == 0x04, "EncoderContext.height");
static_assert(offsetof(EncoderContext, codedWidth) == 0x08, "EncoderContext.codedWidth");
static_assert(offsetof(EncoderContext, codedHeight) == 0x0C, "EncoderContext.codedHeight");
static_assert(offsetof(EncoderContext, frameRate) == 0x10, "EncoderContext.frameRate");
static_assert(offsetof(EncoderContext, conversionFlags) == 0x18, "EncoderContext.conversionFlags");
static_assert(offsetof(EncoderContext, flags) == 0x1C, "EncoderContext.flags");
static_assert(offsetof(EncoderContext, timingMode) == 0x20, "EncoderContext.timingMode");
static_assert(offsetof(EncoderContext, headerWordA) == 0x24, "EncoderContext.headerWordA");
static_assert(offsetof(EncoderContext, headerWordB) == 0x28, "EncoderContext.headerWordB");
static_assert(offsetof(EncoderContext, audioBits) == 0x2C, "EncoderContext.audioBits");
static_assert(offsetof(EncoderContext, audioSampleRate) == 0x30, "EncoderContext.audioSampleRate");
static_assert(offsetof(EncoderContext, audioChannels) == 0x34, "EncoderContext.audioChannels");
static_assert(offsetof(EncoderContext, audioBlockMs) == 0x38, "EncoderContext.audioBlockMs");
static_assert(offsetof(EncoderContext, outputFile) == 0x3C, "EncoderContext.outputFile");
static_assert(offsetof(EncoderContext, containerMode) == 0x40, "EncoderContext.containerMode");
static_assert(offsetof(EncoderContext, videoCodecType) == 0x44, "EncoderContext.videoCodecType");
static_assert(offsetof(EncoderContext, audioCodecType) == 0x48, "EncoderContext.audioCodecType");
static_assert(offsetof(EncoderContext, audioPlugin) == 0x4C, "EncoderContext.audioPlugin");
static_assert(offsetof(EncoderContext, videoPlugin) == 0x50, "EncoderContext.videoPlugin");
static_assert(offsetof(EncoderContext, headerWordC) == 0x54, "EncoderContext.headerWordC");
static_assert(offsetof(EncoderContext, headerWordD) == 0x58, "EncoderContext.headerWordD");
static_assert(offsetof(EncoderContext, vendorBoxOffset) == 0x5C, "EncoderContext.vendorBoxOffset");
static_assert(offsetof(EncoderContext, pcmBytesPerBlock) == 0x60, "EncoderContext.pcmBytesPerBlock");
static_assert(offsetof(EncoderContext, frameSampleCount) == 0x64, "EncoderContext.frameSampleCount");
static_assert(offsetof(EncoderContext, frameBuffer) == 0x68, "EncoderContext.frameBuffer");
static_assert(offsetof(EncoderContext, planeY) == 0x6C, "EncoderContext.planeY");
static_assert(offsetof(EncoderContext, planeU) == 0x70, "EncoderContext.planeU");
static_assert(offsetof(EncoderContext, planeV) == 0x74, "EncoderContext.planeV");
static_assert(offsetof(EncoderContext, freeBytes) == 0x78, "EncoderContext.freeBytes");
static_assert(offsetof(EncoderContext, totalBytes) == 0x80, "EncoderContext.totalBytes");
static_assert(offsetof(EncoderContext, encodedBytes) == 0x88, "EncoderContext.encodedBytes");
static_assert(offsetof(EncoderContext, spare) == 0x8C, "EncoderContext.spare");
static_assert(sizeof(EncoderContext) == 144, "EncoderContext is 144 bytes");

static_assert(offsetof(CodecDescriptor, bitRate) == 0, "CodecDescriptor.bitRate");
static_assert(offsetof(CodecDescriptor, extraData) == 4, "CodecDescriptor.extraData");
static_assert(offsetof(CodecDescriptor, extraDataSize) == 8, "CodecDescriptor.extraDataSize");
static_assert(offsetof(CodecDescriptor, width) == 12, "CodecDescriptor.width");
static_assert(offsetof(CodecDescriptor, height) == 16, "CodecDescriptor.height");
static_assert(offsetof(CodecDescriptor, sampleRate) == 20, "CodecDescriptor.sampleRate");
static_assert(offsetof(CodecDescriptor, channels) == 24, "CodecDescriptor.channels");
static_assert(offsetof(CodecDescriptor, compressorName) == 28, "CodecDescriptor.compressorName");
static_assert(offsetof(CodecDescriptor, kind) == 60, "CodecDescriptor.kind");
static_assert(offsetof(CodecDescriptor, codecId) == 64, "CodecDescriptor.codecId");
static_assert(offsetof(CodecDescriptor, codecTag) == 68, "CodecDescriptor.codecTag");
static_assert(offsetof(CodecDescriptor, bitsPerSample) == 72, "CodecDescriptor.bitsPerSample");
static_assert(offsetof(CodecDescriptor, colorTableId) == 76, "CodecDescriptor.colorTableId");
static_assert(offsetof(CodecDescriptor, amrModeSet) == 80, "CodecDescriptor.amrModeSet");
static_assert(offsetof(CodecDescriptor, amrModeChangePeriod) == 82, "CodecDescriptor.amrModeChangePeriod");
static_assert(offsetof(CodecDescriptor, amrFramesPerSample) == 83, "CodecDescriptor.amrFramesPerSample");
static_assert(sizeof(CodecDescriptor) == 84, "CodecDescriptor is 84 bytes");

static_assert(sizeof(AudioDecoderConfig) == 12, "AudioDecoderConfig is three words");
static_assert(sizeof(CodecPlugin) == 23 * 4, "CodecPlugin is 23 words");
#endif
