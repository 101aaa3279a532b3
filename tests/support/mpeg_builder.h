#pragma once
// MPEG audio frames and streams made in memory for tests.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/bytes.h"

namespace melos::test {

// The two version bits of a frame header.
inline constexpr uint8_t kMpeg1 = 3;
inline constexpr uint8_t kMpeg2 = 2;
inline constexpr uint8_t kMpeg25 = 0;

// A byte that can never start a frame sync, so frame bodies made of it are not
// mistaken for headers.
inline constexpr uint8_t kMpegFill = 0x00;

struct MpegHeader {
  uint8_t version = kMpeg1;     // two bits: 3 MPEG-1, 2 MPEG-2, 0 MPEG-2.5, 1 reserved
  uint8_t layer = 3;            // the layer number 1..3; 0 writes the reserved layer bits 00
  uint8_t protectionBit = 1;    // as stored: 1 means no CRC follows
  uint8_t bitrateIndex = 9;     // 4 bits; MPEG-1 Layer III index 9 is 128 kbps
  uint8_t sampleRateIndex = 0;  // 2 bits; 0 is 44100 Hz for MPEG-1
  uint8_t padding = 0;
  uint8_t channelMode = 0;      // 2 bits: 0 stereo, 1 joint, 2 dual, 3 mono
  uint8_t copyright = 0;
  uint8_t original = 0;
};

// The header's four bytes.
Bytes mpegHeaderBytes(const MpegHeader& header);

// The standard tables, independent of the engine's own, so that tests compare two
// sources. 0 for free format, the "bad" index 15 and reserved values.
uint32_t mpegTestBitrate(uint8_t version, uint8_t layer, uint8_t index);
uint32_t mpegTestSampleRate(uint8_t version, uint8_t index);

// padding + bitrate * 144000 / sample rate, the length the engine steps by for
// every layer and version; 0 when the rate or bitrate is 0.
uint32_t mpegFrameLength(const MpegHeader& header);

// One frame: the header then `fill` up to mpegFrameLength (at least the 4 header
// bytes when the length is 0 or shorter than the header).
Bytes mpegFrame(const MpegHeader& header, uint8_t fill = kMpegFill);

// A Xing or Info header at offset 36 of the first frame (32 bytes behind the
// 4-byte header) and, 120 bytes behind its identifier (offset 156), the LAME tag.
struct XingHeader {
  static constexpr size_t kOffset = 36;       // from the frame start
  static constexpr size_t kLameOffset = 156;  // identifier + 4 + 116 skipped bytes
  std::string id = "Info";                    // "Xing", "Info", or anything to test
  uint32_t flags = 0x0F;                      // frames, bytes, TOC, quality present
  uint32_t frames = 0;
  uint32_t bytes = 0;
  std::string lame = "LAME3.100";             // written at kLameOffset; empty for none
};

// A raw text put into one frame of a stream.
struct FrameText {
  size_t frame = 0;
  size_t offset = 0;  // from the frame start
  std::string text;
};

struct MpegStream {
  MpegHeader header;                   // every frame; bitrateIndex unless `bitrates`
  size_t frames = 0;                   // CBR: this many frames at header.bitrateIndex
  std::vector<uint8_t> bitrates;       // VBR: one frame per bitrate index (wins over `frames`)
  bool xing = false;                   // the first frame carries `xingHeader`
  XingHeader xingHeader;
  std::vector<FrameText> texts;
};

Bytes mpegStream(const MpegStream& stream);
// The simple cases.
Bytes cbrStream(const MpegHeader& header, size_t frames);
Bytes vbrStream(const MpegHeader& header, const std::vector<uint8_t>& bitrateIndexes);

// Bitrate indexes for a VBR stream: `count` entries cycling through `pattern`.
std::vector<uint8_t> repeatBitrates(const std::vector<uint8_t>& pattern, size_t count);

}  // namespace melos::test
