// The records a plug-in sees keep their field order on every target; on
// 32-bit targets their byte offsets are fixed (checked at compile time in
// the library, and here at run time too).
#include <gtest/gtest.h>

#include <cstddef>

#include "codecs/plugin_registry.h"
#include "container/sample_records.h"
#include "mp4lib_plugin.h"

namespace {

TEST(RecordLayout, EncoderParamsLibraryFieldsAtTheirOffsets) {
  // These offsets hold on every target: only 32-bit fields precede them.
  EXPECT_EQ(offsetof(EncoderParams, flags), 0x28u);
  EXPECT_EQ(offsetof(EncoderParams, videoCodecType), 0x40u);
  EXPECT_EQ(offsetof(EncoderParams, audioCodecType), 0x44u);
  EXPECT_EQ(offsetof(EncoderParams, audioBits), 0x48u);
  EXPECT_EQ(offsetof(EncoderParams, audioSampleRate), 0x4Cu);
  EXPECT_EQ(offsetof(EncoderParams, audioChannels), 0x50u);
  EXPECT_EQ(offsetof(EncoderParams, audioBlockMs), 0x54u);
  EXPECT_EQ(offsetof(EncoderParams, audioOption), 0x58u);
}

TEST(RecordLayout, EncoderContextKeepsFieldOrder) {
  EXPECT_EQ(offsetof(EncoderContext, frameRate), 0x10u);
  EXPECT_EQ(offsetof(EncoderContext, audioBlockMs), 0x38u);
  EXPECT_LT(offsetof(EncoderContext, audioBlockMs), offsetof(EncoderContext, outputFile));
  EXPECT_LT(offsetof(EncoderContext, outputFile), offsetof(EncoderContext, containerMode));
  EXPECT_LT(offsetof(EncoderContext, videoPlugin), offsetof(EncoderContext, headerWordC));
  EXPECT_LT(offsetof(EncoderContext, planeV), offsetof(EncoderContext, freeBytes));
  EXPECT_LT(offsetof(EncoderContext, totalBytes), offsetof(EncoderContext, encodedBytes));
  if (sizeof(void*) == 4) {
    EXPECT_EQ(sizeof(EncoderContext), 144u);
    EXPECT_EQ(offsetof(EncoderContext, outputFile), 0x3Cu);
    EXPECT_EQ(offsetof(EncoderContext, freeBytes), 0x78u);
    EXPECT_EQ(offsetof(EncoderContext, encodedBytes), 0x88u);
  }
}

TEST(RecordLayout, CodecDescriptorKeepsFieldOrder) {
  EXPECT_EQ(offsetof(CodecDescriptor, bitRate), 0u);
  EXPECT_LT(offsetof(CodecDescriptor, extraData), offsetof(CodecDescriptor, extraDataSize));
  EXPECT_LT(offsetof(CodecDescriptor, compressorName), offsetof(CodecDescriptor, kind));
  EXPECT_LT(offsetof(CodecDescriptor, amrModeSet), offsetof(CodecDescriptor, amrFramesPerSample));
  if (sizeof(void*) == 4) {
    EXPECT_EQ(sizeof(CodecDescriptor), 84u);
    EXPECT_EQ(offsetof(CodecDescriptor, kind), 60u);
    EXPECT_EQ(offsetof(CodecDescriptor, amrModeSet), 80u);
  }
}

TEST(RecordLayout, SampleRecordsAreSixteenBytes) {
  EXPECT_EQ(sizeof(SampleEntry), 16u);
  EXPECT_EQ(offsetof(SampleEntry, offset), 4u);
  EXPECT_EQ(offsetof(SampleEntry, size), 8u);
  EXPECT_EQ(sizeof(TimeToSampleEntry), 16u);
  EXPECT_EQ(offsetof(TimeToSampleEntry, delta), 4u);
}

TEST(RecordLayout, CodecPluginIsTwentyThreeWordsOn32Bit) {
  EXPECT_LT(offsetof(CodecPlugin, codecType), offsetof(CodecPlugin, getCodecID));
  EXPECT_LT(offsetof(CodecPlugin, getReconYUV), offsetof(CodecPlugin, decodeFrameHeader));
  if (sizeof(void*) == 4) {
    EXPECT_EQ(sizeof(CodecPlugin), 23u * 4u);
  }
}

}  // namespace
