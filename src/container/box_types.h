// Four-character codes, brands and fixed values of the 3GP files the
// recorder writes.
#pragma once

#include <cstdint>

#include "mp4lib_plugin.h"

namespace mp4lib::writer {

// Brands of "ftyp": major "3gp4", compatible "3gp4" and "isom".
constexpr std::uint32_t kBrand3gp4 = MP4LIB_FOURCC('3', 'g', 'p', '4');
constexpr std::uint32_t kBrandIsom = MP4LIB_FOURCC('i', 's', 'o', 'm');

// Our vendor code, in the vendor header box type and the sample entries.
constexpr std::uint32_t kVendorKelv = MP4LIB_FOURCC('k', 'e', 'l', 'v');
// First four bytes of the vendor header payload.
constexpr std::uint32_t kVendorPayloadMagic = MP4LIB_FOURCC('W', 'M', 'V', 'H');
// Format version in the vendor header payload.
constexpr std::uint32_t kVendorVersion3gp = 0x00010005;
constexpr std::uint32_t kVendorVersionRawStream = 0x00010004;

constexpr std::uint32_t kBoxFtyp = MP4LIB_FOURCC('f', 't', 'y', 'p');
constexpr std::uint32_t kBoxMdat = MP4LIB_FOURCC('m', 'd', 'a', 't');
constexpr std::uint32_t kBoxMoov = MP4LIB_FOURCC('m', 'o', 'o', 'v');
constexpr std::uint32_t kBoxMvhd = MP4LIB_FOURCC('m', 'v', 'h', 'd');
constexpr std::uint32_t kBoxTrak = MP4LIB_FOURCC('t', 'r', 'a', 'k');
constexpr std::uint32_t kBoxTkhd = MP4LIB_FOURCC('t', 'k', 'h', 'd');
constexpr std::uint32_t kBoxMdia = MP4LIB_FOURCC('m', 'd', 'i', 'a');
constexpr std::uint32_t kBoxMdhd = MP4LIB_FOURCC('m', 'd', 'h', 'd');
constexpr std::uint32_t kBoxHdlr = MP4LIB_FOURCC('h', 'd', 'l', 'r');
constexpr std::uint32_t kBoxMinf = MP4LIB_FOURCC('m', 'i', 'n', 'f');
constexpr std::uint32_t kBoxVmhd = MP4LIB_FOURCC('v', 'm', 'h', 'd');
constexpr std::uint32_t kBoxSmhd = MP4LIB_FOURCC('s', 'm', 'h', 'd');
constexpr std::uint32_t kBoxDinf = MP4LIB_FOURCC('d', 'i', 'n', 'f');
constexpr std::uint32_t kBoxDref = MP4LIB_FOURCC('d', 'r', 'e', 'f');
constexpr std::uint32_t kBoxUrl = MP4LIB_FOURCC('u', 'r', 'l', ' ');
constexpr std::uint32_t kBoxStbl = MP4LIB_FOURCC('s', 't', 'b', 'l');
constexpr std::uint32_t kBoxStsd = MP4LIB_FOURCC('s', 't', 's', 'd');
constexpr std::uint32_t kBoxStts = MP4LIB_FOURCC('s', 't', 't', 's');
constexpr std::uint32_t kBoxStsc = MP4LIB_FOURCC('s', 't', 's', 'c');
constexpr std::uint32_t kBoxStsz = MP4LIB_FOURCC('s', 't', 's', 'z');
constexpr std::uint32_t kBoxStco = MP4LIB_FOURCC('s', 't', 'c', 'o');
constexpr std::uint32_t kBoxStss = MP4LIB_FOURCC('s', 't', 's', 's');

// Handler types.
constexpr std::uint32_t kHandlerVideo = MP4LIB_FOURCC('v', 'i', 'd', 'e');
constexpr std::uint32_t kHandlerSound = MP4LIB_FOURCC('s', 'o', 'u', 'n');

// Sample entries and their configuration boxes.
constexpr std::uint32_t kEntryS263 = MP4LIB_FOURCC('s', '2', '6', '3');
constexpr std::uint32_t kBoxD263 = MP4LIB_FOURCC('d', '2', '6', '3');
constexpr std::uint32_t kEntryMp4v = MP4LIB_FOURCC('m', 'p', '4', 'v');
constexpr std::uint32_t kBoxEsds = MP4LIB_FOURCC('e', 's', 'd', 's');
constexpr std::uint32_t kEntrySamr = MP4LIB_FOURCC('s', 'a', 'm', 'r');
constexpr std::uint32_t kBoxDamr = MP4LIB_FOURCC('d', 'a', 'm', 'r');
constexpr std::uint32_t kEntryG723 = MP4LIB_FOURCC('g', '7', '2', '3');

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

}  // namespace mp4lib::writer
