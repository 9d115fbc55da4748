// Box types, brands and fixed values of the 3GP files the recorder writes.
#pragma once

#include <cstdint>

#include "container/fourcc.h"

namespace mp4lib::container {

// Brands of "ftyp": major "3gp4", compatible "3gp4" and "isom".
constexpr std::uint32_t kBrand3gp4 = fourcc("3gp4");
constexpr std::uint32_t kBrandIsom = fourcc("isom");

// Our vendor code, in the vendor header box type and the sample entries.
constexpr std::uint32_t kVendorKelv = fourcc("kelv");
// First four bytes of the vendor header payload.
constexpr std::uint32_t kVendorPayloadMagic = fourcc("WMVH");
// Format version in the vendor header payload.
constexpr std::uint32_t kVendorVersion3gp = 0x00010005;
constexpr std::uint32_t kVendorVersionRawStream = 0x00010004;

constexpr std::uint32_t kBoxFtyp = fourcc("ftyp");
constexpr std::uint32_t kBoxMdat = fourcc("mdat");
constexpr std::uint32_t kBoxMoov = fourcc("moov");
constexpr std::uint32_t kBoxMvhd = fourcc("mvhd");
constexpr std::uint32_t kBoxTrak = fourcc("trak");
constexpr std::uint32_t kBoxTkhd = fourcc("tkhd");
constexpr std::uint32_t kBoxMdia = fourcc("mdia");
constexpr std::uint32_t kBoxMdhd = fourcc("mdhd");
constexpr std::uint32_t kBoxHdlr = fourcc("hdlr");
constexpr std::uint32_t kBoxMinf = fourcc("minf");
constexpr std::uint32_t kBoxVmhd = fourcc("vmhd");
constexpr std::uint32_t kBoxSmhd = fourcc("smhd");
constexpr std::uint32_t kBoxDinf = fourcc("dinf");
constexpr std::uint32_t kBoxDref = fourcc("dref");
constexpr std::uint32_t kBoxUrl = fourcc("url ");
constexpr std::uint32_t kBoxStbl = fourcc("stbl");
constexpr std::uint32_t kBoxStsd = fourcc("stsd");
constexpr std::uint32_t kBoxStts = fourcc("stts");
constexpr std::uint32_t kBoxStsc = fourcc("stsc");
constexpr std::uint32_t kBoxStsz = fourcc("stsz");
constexpr std::uint32_t kBoxStco = fourcc("stco");
constexpr std::uint32_t kBoxStss = fourcc("stss");

// Handler types.
constexpr std::uint32_t kHandlerVideo = fourcc("vide");
constexpr std::uint32_t kHandlerSound = fourcc("soun");

// Sample entries and their configuration boxes.
constexpr std::uint32_t kEntryS263 = fourcc("s263");
constexpr std::uint32_t kBoxD263 = fourcc("d263");
constexpr std::uint32_t kEntryMp4v = fourcc("mp4v");
constexpr std::uint32_t kBoxEsds = fourcc("esds");
constexpr std::uint32_t kEntrySamr = fourcc("samr");
constexpr std::uint32_t kBoxDamr = fourcc("damr");
constexpr std::uint32_t kEntryG723 = fourcc("g723");

// Fixed box sizes, bytes.
constexpr std::uint32_t kFtypSize = 24;
constexpr std::uint32_t kVendorBoxSize = 72;
constexpr std::uint32_t kVendorPayloadSize = 64;
constexpr std::uint32_t kVendorBlock1Size = 48;
constexpr std::uint32_t kVendorBlock2Size = 16;
constexpr std::uint32_t kMdatHeaderSize = 8;
constexpr std::uint32_t kMvhdSize = 108;
constexpr std::uint32_t kTkhdSize = 92;
constexpr std::uint32_t kMdhdSize = 32;
constexpr std::uint32_t kHdlrSize = 33;
constexpr std::uint32_t kVmhdSize = 20;
constexpr std::uint32_t kSmhdSize = 16;
constexpr std::uint32_t kDinfSize = 36;
constexpr std::uint32_t kDrefSize = 28;
constexpr std::uint32_t kUrlSize = 12;
constexpr std::uint32_t kStscSize = 28;
constexpr std::uint32_t kStssSize = 20;
constexpr std::uint32_t kS263Size = 101;
constexpr std::uint32_t kD263Size = 15;
constexpr std::uint32_t kMp4vSize = 135;  // with an esds of no decoder-specific bytes
constexpr std::uint32_t kEsdsBaseSize = 49;
constexpr std::uint32_t kSamrSize = 53;
constexpr std::uint32_t kDamrSize = 17;
constexpr std::uint32_t kG723Size = 36;
constexpr std::uint32_t kEmptyStsdSize = 16;

// Box header (size and type) plus version and flags, bytes.
constexpr std::uint32_t kFullBoxHeaderSize = 12;
constexpr std::uint32_t kBoxHeaderSize = 8;

// Fixed field values.
constexpr std::uint32_t kFixedOne = 0x00010000;        // 1.0 in 16.16
constexpr std::uint16_t kFullVolume = 0x0100;          // 1.0 in 8.8
constexpr std::uint32_t kMatrixW = 0x40000000;         // 1.0 in 2.30
constexpr std::uint32_t kTrackEnabled = 0x000001;      // tkhd flags
constexpr std::uint32_t kMediaInThisFile = 0x000001;   // "url " flags
constexpr std::uint32_t kResolution72Dpi = 0x00480000;  // 72.0 in 16.16
constexpr std::uint16_t kDepthColour = 0x0018;
constexpr std::uint16_t kPreDefinedMinusOne = 0xFFFF;
constexpr std::uint8_t kH263Level = 10;
constexpr std::uint8_t kH263Profile = 0;

// esds descriptors for MPEG-4 visual.
constexpr std::uint8_t kTagEsDescriptor = 3;
constexpr std::uint8_t kTagDecoderConfig = 4;
constexpr std::uint8_t kTagDecoderSpecific = 5;
constexpr std::uint8_t kTagSlConfig = 6;
constexpr std::uint8_t kObjectTypeMpeg4Visual = 0x20;
constexpr std::uint8_t kStreamTypeVisual = 0x11;  // visual stream, upstream 0, reserved 1
constexpr std::uint32_t kEsdsBufferSize = 0x000DD2;    // bytes, 24 bits
constexpr std::uint32_t kEsdsMaxBitRate = 0x0002E918;  // bits per second
constexpr std::uint32_t kEsdsAverageBitRate = 0x00017E6B;
constexpr std::uint8_t kSlPredefinedMp4 = 2;

}  // namespace mp4lib::container
