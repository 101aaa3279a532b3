#include "tests/support/mpeg_builder.h"

#include <algorithm>

namespace melos::test {

namespace {

constexpr uint32_t kBitratesV1[3][16] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0},  // Layer I
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0},     // Layer II
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},      // Layer III
};
constexpr uint32_t kBitratesV2[3][16] = {
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0},  // Layer I
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},       // Layer II
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},       // Layer III
};

void putU32BE(Bytes& out, size_t at, uint32_t value) {
  if (at + 4 <= out.size()) writeU32BE(out.data() + at, value);
}

uint32_t mpegHeaderWord(const MpegHeader& h) {
  // Layer I, II, III are stored as the bits 11, 10, 01; 00 is reserved.
  uint32_t layerBits = static_cast<uint32_t>(4 - h.layer) & 3u;
  uint32_t word = 0xFFE00000u;                         // 11 sync bits
  word |= static_cast<uint32_t>(h.version & 3) << 19;  // version
  word |= layerBits << 17;                             // layer
  word |= static_cast<uint32_t>(h.protectionBit & 1) << 16;
  word |= static_cast<uint32_t>(h.bitrateIndex & 15) << 12;
  word |= static_cast<uint32_t>(h.sampleRateIndex & 3) << 10;
  word |= static_cast<uint32_t>(h.padding & 1) << 9;
  word |= static_cast<uint32_t>(h.channelMode & 3) << 6;
  word |= static_cast<uint32_t>(h.copyright & 1) << 3;
  word |= static_cast<uint32_t>(h.original & 1) << 2;
  return word;
}

}  // namespace

Bytes mpegHeaderBytes(const MpegHeader& header) {
  Bytes out(4);
  writeU32BE(out.data(), mpegHeaderWord(header));
  return out;
}

uint32_t mpegTestBitrate(uint8_t version, uint8_t layer, uint8_t index) {
  if (layer < 1 || layer > 3 || index > 15 || version == 1 /* reserved */) return 0;
  return version == kMpeg1 ? kBitratesV1[layer - 1][index] : kBitratesV2[layer - 1][index];
}

uint32_t mpegTestSampleRate(uint8_t version, uint8_t index) {
  static constexpr uint32_t kRates[3] = {44100, 48000, 32000};
  if (index > 2) return 0;
  switch (version) {
    case kMpeg1: return kRates[index];
    case kMpeg2: return kRates[index] / 2;
    case kMpeg25: return kRates[index] / 4;
    default: return 0;
  }
}

uint32_t mpegFrameLength(const MpegHeader& h) {
  uint32_t rate = mpegTestSampleRate(h.version, h.sampleRateIndex);
  uint32_t bitrate = mpegTestBitrate(h.version, h.layer, h.bitrateIndex);
  if (rate == 0 || bitrate == 0) return 0;
  return (h.padding & 1u) + bitrate * 144000u / rate;
}

Bytes mpegFrame(const MpegHeader& header, uint8_t fill) {
  Bytes frame(std::max<size_t>(4, mpegFrameLength(header)), fill);
  writeU32BE(frame.data(), mpegHeaderWord(header));
  return frame;
}

namespace {

// Writes text at `offset` into bytes, growing nothing: what falls beyond the end
// is cut.
void placeText(Bytes& bytes, size_t offset, std::string_view text) {
  for (size_t i = 0; i < text.size() && offset + i < bytes.size(); ++i)
    bytes[offset + i] = static_cast<uint8_t>(text[i]);
}

Bytes xingFrame(const MpegHeader& header, const XingHeader& xing, uint8_t fill) {
  Bytes frame = mpegFrame(header, fill);
  size_t at = XingHeader::kOffset;
  placeText(frame, at, xing.id.substr(0, 4));  // "Xing" or "Info"
  putU32BE(frame, at + 4, xing.flags);         // which fields follow
  putU32BE(frame, at + 8, xing.frames);        // frame count
  putU32BE(frame, at + 12, xing.bytes);        // byte count
  // at + 16: 100 TOC bytes, at + 116: quality; left as fill.
  placeText(frame, XingHeader::kLameOffset, xing.lame);  // encoder string, e.g. "LAME3.100"
  return frame;
}

}  // namespace

Bytes mpegStream(const MpegStream& s) {
  Bytes out;
  const size_t count = s.bitrates.empty() ? s.frames : s.bitrates.size();
  for (size_t i = 0; i < count; ++i) {
    MpegHeader h = s.header;
    if (!s.bitrates.empty()) h.bitrateIndex = s.bitrates[i];
    Bytes frame = (i == 0 && s.xing) ? xingFrame(h, s.xingHeader, kMpegFill) : mpegFrame(h);
    for (const FrameText& t : s.texts)
      if (t.frame == i) placeText(frame, t.offset, t.text);
    out.insert(out.end(), frame.begin(), frame.end());
  }
  return out;
}

Bytes cbrStream(const MpegHeader& header, size_t frames) {
  MpegStream s;
  s.header = header;
  s.frames = frames;
  return mpegStream(s);
}

Bytes vbrStream(const MpegHeader& header, const std::vector<uint8_t>& bitrateIndexes) {
  MpegStream s;
  s.header = header;
  s.bitrates = bitrateIndexes;
  return mpegStream(s);
}

std::vector<uint8_t> repeatBitrates(const std::vector<uint8_t>& pattern, size_t count) {
  std::vector<uint8_t> out;
  if (pattern.empty()) return out;
  for (size_t i = 0; i < count; ++i) out.push_back(pattern[i % pattern.size()]);
  return out;
}

}  // namespace melos::test
