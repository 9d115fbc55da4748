#include "container/box_table.h"

#include "container/box_handlers.h"

namespace mp4lib::container {

namespace {

// Searched from the top. "stss" and "ctts" are skipped: key frames and
// composition offsets are never read. "cmov" (a compressed movie header) is
// skipped too, so such movies have no tracks.
constexpr BoxRow kBoxTable[kBoxRowCount + 1] = {
    {fourcc("kelv"), readVendorBlock},
    {fourcc("co64"), readChunkOffsets},
    {fourcc("cprt"), parseChildren},
    {fourcc("crhd"), parseChildren},
    {fourcc("ctts"), skipPayload},
    {fourcc("dinf"), parseChildren},
    {fourcc("dpnd"), skipPayload},
    {fourcc("dref"), skipPayload},
    {fourcc("edts"), parseChildren},
    {fourcc("elst"), skipPayload},
    {fourcc("free"), skipPayload},
    {fourcc("hdlr"), readHandlerReference},
    {fourcc("hint"), skipPayload},
    {fourcc("hmhd"), skipPayload},
    {fourcc("iods"), skipPayload},
    {fourcc("mdat"), readMediaData},
    {fourcc("mdhd"), readMediaHeader},
    {fourcc("mdia"), parseChildren},
    {fourcc("minf"), parseChildren},
    {fourcc("moov"), readMovie},
    {fourcc("mp4a"), parseChildren},
    {fourcc("mp4s"), parseChildren},
    {fourcc("mp4v"), parseChildren},
    {fourcc("mpod"), skipPayload},
    {fourcc("mvhd"), readMovieHeader},
    {fourcc("nmhd"), skipPayload},
    {fourcc("odhd"), parseChildren},
    {fourcc("sdhd"), parseChildren},
    {fourcc("skip"), parseChildren},
    {fourcc("smhd"), skipPayload},
    {fourcc("SMI "), readSvq3Extension},
    {fourcc("stbl"), parseChildren},
    {fourcc("stco"), readChunkOffsets},
    {fourcc("stdp"), parseChildren},
    {fourcc("stsc"), readSampleToChunk},
    {fourcc("stsd"), readSampleDescription},
    {fourcc("stsh"), parseChildren},
    {fourcc("stss"), skipPayload},
    {fourcc("stsz"), readSampleSizes},
    {fourcc("stts"), readDecodingTimes},
    {fourcc("tkhd"), readTrackHeader},
    {fourcc("trak"), readTrack},
    {fourcc("tref"), parseChildren},
    {fourcc("udta"), skipPayload},
    {fourcc("url "), skipPayload},
    {fourcc("urn "), skipPayload},
    {fourcc("uuid"), parseChildren},
    {fourcc("vmhd"), skipPayload},
    {fourcc("wave"), parseChildren},
    {fourcc("MDES"), skipPayload},
    {fourcc("chap"), skipPayload},
    {fourcc("clip"), parseChildren},
    {fourcc("crgn"), skipPayload},
    {fourcc("esds"), readElementaryStreamDescriptor},
    {fourcc("kmat"), skipPayload},
    {fourcc("matt"), parseChildren},
    {fourcc("rdrf"), skipPayload},
    {fourcc("rmda"), parseChildren},
    {fourcc("rmdr"), skipPayload},
    {fourcc("rmra"), parseChildren},
    {fourcc("scpt"), skipPayload},
    {fourcc("ssrc"), skipPayload},
    {fourcc("sync"), skipPayload},
    {fourcc("tcmd"), skipPayload},
    {fourcc("wide"), readWideWrapper},
    {fourcc("cmov"), skipPayload},
    {0, skipPayload},
};

}  // namespace

const BoxRow* boxTable() { return kBoxTable; }

BoxHandler handlerFor(std::uint32_t type) {
  const BoxRow* row = kBoxTable;
  while (row->type != 0 && row->type != type) ++row;
  return row->handler;
}

}  // namespace mp4lib::container
