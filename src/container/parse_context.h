// What the box handlers work on while a file's box tree is read: the movie
// record they fill, the parameter block the vendor box fills, the input, and
// the findings that decoder set-up reads afterwards.
#pragma once

#include <cstdint>

#include "container/byte_reader.h"
#include "container/movie_context.h"
#include "container/vendor_payload.h"
#include "mp4lib_plugin.h"

namespace mp4lib::container {

struct VendorBlock {
  bool seen = false;
  std::uint8_t raw[kVendorPayloadBytes] = {};  // as stored
  std::uint32_t words[kVendorWords] = {};      // decoded
};

// Set while sample descriptions are read; decoder set-up reads them.
struct ParseFindings {
  std::uint32_t videoCodecCode = 0;  // codec type of the last video sample description
  std::uint32_t audioCodecCode = 0;  // codec type of the last audio sample description
  bool videoPresent = false;
  bool audioPresent = false;
  VendorBlock vendor;
};

struct ParseContext {
  MovieContext& movie;
  MovieParams& params;
  InputFile& in;
  ParseFindings& findings;
  std::int64_t fileLength = -1;  // bytes; -1 when unknown
  int depth = 0;                 // containers currently open
};

// The track whose boxes are being read, or null outside any "trak" (boxes
// out of place are then read through without effect).
TrackRecord* currentTrack(ParseContext& context);

// Bytes that a table starting at `position` can really hold: what is left of
// its box and of the file, whichever is less (0 when none).
std::int64_t bytesAvailable(const ParseContext& context, std::int64_t position, std::int64_t boxEnd);

}  // namespace mp4lib::container
