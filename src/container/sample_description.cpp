// Handlers of the sample description ("stsd") and of the codec boxes found
// inside its entries: "esds" (MPEG-4 decoder configuration) and "SMI "
// (SVQ3 extension).
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "container/box_handlers.h"
#include "container/box_table.h"
#include "container/codec_table.h"
#include "platform/memory.h"

namespace mp4lib::container {

namespace {

// 8-bit "twos" PCM gets an id of its own.
constexpr std::int32_t kTwosEightBitId = 53;

// Bytes of a sample entry read before its own fields: size, tag, 6 reserved
// bytes and the data reference index.
constexpr std::int64_t kEntryHeaderBytes = 16;
// A video entry's fields end here; its codec boxes follow.
constexpr std::int64_t kVideoEntryBytes = 86;
// The fixed fields of a sound entry end here (version 0) ...
constexpr std::int64_t kSoundEntryBytes = 36;
// ... or, with the four words of a version 1 entry, here.
constexpr std::int64_t kSoundEntryV1Bytes = 52;

// The codec boxes inside an entry. A negative size would mean "to the end
// of the file" to the parse loop; inside an entry it means none.
void parseEntryBoxes(ParseContext& context, std::uint32_t tag, std::int64_t offset, std::int64_t size) {
  if (size >= 0) parseChildren(context, tag, offset, size);
}

void describeVideo(ParseContext& context, CodecDescriptor& codec, std::int32_t id, std::int64_t entryStart,
                   std::int64_t entrySize) {
  InputFile& in = context.in;
  context.findings.videoPresent = true;
  context.findings.videoCodecCode = videoCodecTypeForId(id);
  codec.codecId = id;
  skipInput(in, 16);  // version, revision, vendor, temporal and spatial quality
  codec.width = readBE16(in);
  codec.height = readBE16(in);
  skipInput(in, 12);  // horizontal and vertical resolution, data size
  readBE16(in);       // frame count
  readBlock(in, codec.compressorName, sizeof codec.compressorName);
  codec.bitsPerSample = readBE16(in);
  codec.colorTableId = readBE16(in);
  parseEntryBoxes(context, codec.codecTag, entryStart + kVideoEntryBytes, entrySize - kVideoEntryBytes);
}

void describeAmr(InputFile& in, CodecDescriptor& codec) {
  skipInput(in, 20 + 8 + 4);  // the sound entry's fixed fields, the "damr" header and its vendor
  readByte(in);               // decoder version
  codec.amrModeSet = static_cast<std::uint16_t>(readBE16(in));
  codec.amrModeChangePeriod = static_cast<std::uint8_t>(readByte(in));
  codec.amrFramesPerSample = static_cast<std::uint8_t>(readByte(in));
  codec.sampleRate = 8000;
  codec.channels = 1;
  codec.bitsPerSample = 16;
  codec.bitRate = 0;
}

void describeSound(ParseContext& context, CodecDescriptor& codec, std::int64_t entryStart, std::int64_t entrySize) {
  InputFile& in = context.in;
  const std::uint32_t tag = codec.codecTag;
  const std::uint32_t version = readBE16(in);
  skipInput(in, 2 + 4);  // revision, vendor
  codec.channels = readBE16(in);
  codec.bitsPerSample = readBE16(in);
  skipInput(in, 2 + 2);             // compression id, packet size
  codec.sampleRate = readBE32(in) >> 16;  // 16.16 Hz, integer part
  if (tag == fourcc("twos") && codec.bitsPerSample == 8) codec.codecId = kTwosEightBitId;
  if (tag == fourcc("twos") || tag == fourcc("raw ")) codec.bitRate = codec.sampleRate * 8;
  // A version 1 entry carries four more words before its codec boxes;
  // "mp4a" entries of version 0 have their "esds" right after the fields.
  if (version == 1 && entrySize >= kSoundEntryV1Bytes) {
    skipInput(in, 16);
    // The children's size is 8 bytes short of the entry's rest (size - 60);
    // a child's own size still carries it to its end.
    if (entrySize >= kSoundEntryV1Bytes + 1) {
      parseChildrenWithin(context, tag, entryStart + kSoundEntryV1Bytes, entrySize - 60, entryStart + entrySize);
    }
  } else if (tag == fourcc("mp4a")) {
    parseEntryBoxes(context, tag, entryStart + kSoundEntryBytes, entrySize - kSoundEntryBytes);
  } else {
    skipInput(in, entrySize - kSoundEntryBytes);
  }
}

void describeAudio(ParseContext& context, CodecDescriptor& codec, std::int32_t id, std::int64_t entryStart,
                   std::int64_t entrySize) {
  codec.kind = MP4LIB_KIND_AUDIO;
  codec.codecId = id;
  context.findings.audioPresent = true;
  context.findings.audioCodecCode = audioCodecTypeForId(id);
  if (id == MP4LIB_CODEC_ID_AMR) {
    describeAmr(context.in, codec);
  } else if (entrySize >= kSoundEntryBytes) {
    describeSound(context, codec, entryStart, entrySize);
  }
}

void describeEntry(ParseContext& context, CodecDescriptor& codec, std::int64_t entryStart, std::int64_t entrySize) {
  const std::uint32_t tag = codec.codecTag;
  const std::int32_t videoId = videoCodecIdForTag(tag);
  if (videoId != 0) {
    codec.kind = codecKindForId(videoId);
    if (codec.kind == MP4LIB_KIND_VIDEO) {
      describeVideo(context, codec, videoId, entryStart, entrySize);
      return;
    }
  }
  const std::int32_t audioId = audioCodecIdForTag(tag);
  if (audioId != 0) {
    describeAudio(context, codec, audioId, entryStart, entrySize);
    return;
  }
  skipInput(context.in, entrySize - kEntryHeaderBytes);
  if (tag == fourcc("mp4s")) context.movie.countedName = 1;
}

}  // namespace

std::int32_t readSampleDescription(ParseContext& context, std::uint32_t, std::int64_t offset, std::int64_t size) {
  TrackRecord* track = currentTrack(context);
  if (track == nullptr || track->codec == nullptr) return 0;
  InputFile& in = context.in;
  skipInput(in, 4);  // version and flags
  const std::uint32_t count = readBE32(in);
  const std::int64_t end = offset + size;
  std::int64_t entryStart = offset + 8;
  // Every entry is at least its 16-byte header, so the box bounds the count.
  for (std::uint32_t i = 0; i < count && entryStart + kEntryHeaderBytes <= end && !atEnd(in); ++i) {
    if (tellInput(in) != entryStart) seekInput(in, entryStart, SEEK_SET);
    const std::int64_t entrySize = readBE32(in);
    track->codec->codecTag = readBE32(in);
    skipInput(in, 8);  // reserved, data reference index
    if (entrySize < kEntryHeaderBytes) break;
    // An entry is read no further than the end of its box.
    describeEntry(context, *track->codec, entryStart, std::min(entrySize, end - entryStart));
    entryStart += entrySize;
  }
  return 0;
}

std::int32_t readElementaryStreamDescriptor(ParseContext& context, std::uint32_t, std::int64_t offset,
                                            std::int64_t size) {
  InputFile& in = context.in;
  TrackRecord* track = currentTrack(context);
  const std::int64_t end = offset + size;
  skipInput(in, 4);  // version and flags
  bool go = track != nullptr;
  if (go && readByte(in) == 3) {
    // Elementary stream descriptor: id (16) and flags (8).
    if (readDescriptorLength(in) < 20) {
      go = false;
    } else {
      readBE16(in);
      readByte(in);
    }
  } else if (go) {
    readBE16(in);
  }
  if (go && readByte(in) == 4 && readDescriptorLength(in) > 14) {
    track->esdsObjectType = static_cast<std::uint8_t>(readByte(in));
    track->esdsStreamType = static_cast<std::uint8_t>(readByte(in));
    track->esdsBufferSize = readBE24(in);
    track->esdsMaxBitRate = readBE32(in);
    track->esdsAverageBitRate = readBE32(in);
    if (readByte(in) == 5 && track->codec != nullptr) {
      const std::uint32_t length = readDescriptorLength(in);
      // Decoder-specific information longer than what is left of the box is
      // not the track's: it is left alone rather than read from elsewhere.
      const std::int64_t position = tellInput(in);
      if (length > 0 && length <= bytesAvailable(context, position, end)) {
        CodecDescriptor& codec = *track->codec;
        platform::release(codec.extraData);
        codec.extraData = static_cast<std::uint8_t*>(platform::allocate(length));
        codec.extraDataSize = codec.extraData != nullptr ? length : 0;
        if (codec.extraData == nullptr) return -1;  // out of memory: the movie is not opened
        readBlock(in, codec.extraData, length);
      }
    }
  }
  // The box is always consumed whole.
  seekInput(in, end, SEEK_SET);
  return 0;
}

std::int32_t readSvq3Extension(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size) {
  constexpr std::int64_t kHeaderRoom = 90;  // bytes kept in front of the payload
  TrackRecord* track = currentTrack(context);
  if (track == nullptr || track->codec == nullptr || size > bytesAvailable(context, offset, offset + size) ||
      size > 0x7FFFFFFF - kHeaderRoom) {
    return skipPayload(context, type, offset, size);
  }
  CodecDescriptor& codec = *track->codec;
  platform::release(codec.extraData);
  codec.extraDataSize = 0;
  codec.extraData = static_cast<std::uint8_t*>(platform::allocateZeroed(static_cast<std::size_t>(size + kHeaderRoom), 1));
  if (codec.extraData == nullptr) return -1;  // out of memory: the movie is not opened
  codec.extraDataSize = static_cast<std::uint32_t>(size + kHeaderRoom);
  std::memcpy(codec.extraData, "SVQ3", 4);
  if (size > 0) readBlock(context.in, codec.extraData + kHeaderRoom, static_cast<std::uint32_t>(size));
  return 0;
}

}  // namespace mp4lib::container
