// Writers of the boxes of a recorded 3GP file. Each writer first works out
// its size with the size function of the same box, writes it up front and
// returns it; nothing is patched afterwards except the "mdat" size. In debug
// builds each writer checks that it wrote exactly the size it announced.
//
// Only tracks that hold samples reach "moov". A track is audio when its
// codec descriptor says so (kind 1), video otherwise.
#pragma once

#include <cstdint>

#include "container/buffered_file.h"
#include "container/recorded_movie.h"

namespace mp4lib::container {

// ---- Sizes, bytes -----------------------------------------------------------
std::uint32_t sampleEntrySize(const RecordedTrack& track);  // 0 for an unknown codec
std::uint32_t stsdSize(const RecordedTrack& track);
std::uint32_t sttsSize(const RecordedTrack& track);
std::uint32_t stszSize(const RecordedTrack& track);
std::uint32_t stcoSize(const RecordedTrack& track);
std::uint32_t stblSize(const RecordedTrack& track);
std::uint32_t minfSize(const RecordedTrack& track);
std::uint32_t mdiaSize(const RecordedTrack& track);
std::uint32_t trakSize(const RecordedTrack& track);
std::uint32_t moovSize(const RecordedMovie& movie);

bool isAudioTrack(const RecordedTrack& track);
bool trackHoldsSamples(const RecordedTrack& track);

// The four bytes of a descriptor length: 0x80 | bits 24-30, 0x80 | bits
// 16-22, 0x80 | bits 8-14, bits 0-6. Each byte takes seven bits of its own
// byte of the value; for lengths below 128 this is the usual four-byte form,
// and files already written depend on it.
void encodeLengthField(std::uint32_t value, std::uint8_t (&bytes)[4]);

// ---- File header --------------------------------------------------------------
std::uint32_t writeFtyp(BufferedFile& file);
std::uint32_t writeVendorBox(BufferedFile& file, const std::uint8_t (&payload)[64]);
std::uint32_t writeMdatHeader(BufferedFile& file);  // size 0 until the file is closed

// ---- Movie box tree -------------------------------------------------------------
std::uint32_t writeMoov(BufferedFile& file, const RecordedMovie& movie);
std::uint32_t writeMvhd(BufferedFile& file, const RecordedMovie& movie);
std::uint32_t writeTrak(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeTkhd(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeMdia(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeMdhd(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeHdlr(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeMinf(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeVmhd(BufferedFile& file);
std::uint32_t writeSmhd(BufferedFile& file);
std::uint32_t writeDinf(BufferedFile& file);
std::uint32_t writeStbl(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeStsd(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeSampleEntry(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeStts(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeStsc(BufferedFile& file);
std::uint32_t writeStsz(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeStco(BufferedFile& file, const RecordedTrack& track);
std::uint32_t writeStss(BufferedFile& file);

}  // namespace mp4lib::container
