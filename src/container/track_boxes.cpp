// Handlers of the track-level boxes: "trak", "tkhd", "mdhd" and "hdlr".

#include "container/box_handlers.h"
#include "container/box_table.h"
#include "platform/memory.h"

namespace mp4lib::container {

namespace {

void applyHandlerSubtype(TrackRecord* track, std::uint32_t subtype) {
  if (track == nullptr || track->codec == nullptr) return;
  if (subtype == fourcc("vide")) track->codec->kind = MP4LIB_KIND_VIDEO;
  if (subtype == fourcc("soun")) track->codec->kind = MP4LIB_KIND_AUDIO;
}

}  // namespace

std::int32_t readTrack(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size) {
  MovieContext& movie = context.movie;
  // The movie record holds five tracks; any further "trak" is passed over whole.
  if (movie.trackCount >= kMaxTracks) return skipPayload(context, type, offset, size);
  TrackRecord& track = movie.tracks[movie.trackCount++];
  if (track.codec == nullptr) track.codec = static_cast<CodecDescriptor*>(platform::allocateZeroed(1, sizeof(CodecDescriptor)));
  if (track.codec == nullptr) return -1;  // out of memory: the movie is not opened
  track.codec->kind = MP4LIB_KIND_PENDING;
  return parseChildren(context, type, offset, size);
}

std::int32_t readTrackHeader(ParseContext& context, std::uint32_t, std::int64_t, std::int64_t) {
  TrackRecord* track = currentTrack(context);
  if (track == nullptr) return 0;
  InputFile& in = context.in;
  skipInput(in, 4);  // version and flags
  track->creationTime = readBE32(in);
  skipInput(in, 4);  // modification time
  track->trackId = readBE32(in);
  skipInput(in, 4);                    // reserved
  track->trackDuration = readBE32(in);  // movie units; the word above it stays 0
  // Two reserved words, layer, alternate group, volume, reserved, matrix.
  skipInput(in, 8 + 4 * 2 + 36);
  track->width = readBE32(in) >> 16;  // 16.16 pixels, integer part
  track->height = readBE32(in) >> 16;
  return 0;
}

std::int32_t readMediaHeader(ParseContext& context, std::uint32_t, std::int64_t, std::int64_t) {
  TrackRecord* track = currentTrack(context);
  if (track == nullptr) return 0;
  InputFile& in = context.in;
  skipInput(in, 4 + 8);  // version and flags, creation and modification time
  track->mediaTimeScale = readBE32(in);
  track->timeScalePerMs = static_cast<std::int32_t>(track->mediaTimeScale / 1000);
  track->mediaDuration = readBE32(in);
  readBE16(in);  // language
  readBE16(in);  // quality
  return 0;
}

std::int32_t readHandlerReference(ParseContext& context, std::uint32_t, std::int64_t, std::int64_t size) {
  InputFile& in = context.in;
  MovieContext& movie = context.movie;
  skipInput(in, 4);  // version and flags
  const std::uint32_t componentType = readBE32(in);
  const std::uint32_t subtype = readBE32(in);
  // QuickTime media handlers ("mhlr") carry a counted name; MP4 handlers
  // (component type 0) a name ended by a zero byte.
  if (componentType == fourcc("mhlr")) {
    movie.countedName = 0;
    applyHandlerSubtype(currentTrack(context), subtype);
  } else if (componentType == 0) {
    movie.countedName = 1;
    applyHandlerSubtype(currentTrack(context), subtype);
  }
  skipInput(in, 12);
  if (size >= 25 && movie.countedName) {
    for (std::int64_t taken = 0; taken < size - 24 && !atEnd(in); ++taken) {
      if (readByte(in) == 0) break;
    }
  }
  return 0;
}

}  // namespace mp4lib::container
