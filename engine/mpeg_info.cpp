#include "engine/mpeg_info.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "engine/bytes.h"
#include "engine/log.h"

namespace melos {

namespace {

// [MPEG-1 (version low bit 1) or MPEG-2/2.5 (0)][layer: 0 I, 1 II, 2 III][index].
// Index 0 is free format and index 15 is invalid; both read as 0.
constexpr uint32_t kBitrates[2][3][16] = {
    {
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
    },
    {
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},
    },
};

// [version bits: 0 MPEG-2.5, 1 reserved, 2 MPEG-2, 3 MPEG-1][rate index].
constexpr uint32_t kSampleRates[4][4] = {
    {11025, 12000, 8000, 0},
    {0, 0, 0, 0},
    {22050, 24000, 16000, 0},
    {44100, 48000, 32000, 0},
};

constexpr uint32_t kFrameLengthFactor = 144000;

// The longest frame the tables allow (Layer I MPEG-2 at 256 kbps and 8000 Hz,
// padded), so that one fixed buffer holds any frame for the encoder search.
constexpr size_t kMaxFrameLength = 256 * kFrameLengthFactor / 8000 + 1;

// Where a Xing or Info header stands: 32 bytes behind the 4-byte header.
constexpr uint64_t kEncoderTagOffset = 4 + 32;
// The LAME tag follows the Xing identifier, flags, counts, TOC and quality.
constexpr uint64_t kXingSkip = 116;
constexpr size_t kLameTagRead = 255;
constexpr size_t kRawLameLength = 8;
// The search for "LAME" starts 13 bytes before a frame's end, so the frame must
// be longer than 12 bytes.
constexpr uint32_t kLameSearchTail = 13;
constexpr uint32_t kLameSearchMinLength = kLameSearchTail - 1;

constexpr uint64_t kQuickScanStableFrames = 200;
constexpr uint32_t kQuickScanDrift = 2;  // kbps
constexpr int kProgressPercent = 70;     // the share of the "Parsing..." stage
constexpr size_t kMaxBitrateText = 63;

// Top 12 bits: the 11 sync bits and the version bit that MPEG-1 and MPEG-2 set.
constexpr uint32_t kSyncMask = 0xFFF00000u;
// "TAG" in the top three bytes; a bit test, so other bytes with these bits pass.
constexpr uint32_t kTagBits = 0x54414700u;

struct FrameHeader {
  unsigned version;
  unsigned layer;
  unsigned bitrateIndex;
  unsigned sampleRateIndex;
  unsigned padding;
};

FrameHeader decode(uint32_t word) noexcept {
  FrameHeader h{};
  h.version = (word >> 19) & 3;
  h.layer = ~(word >> 17) & 3;
  h.bitrateIndex = (word >> 12) & 15;
  h.sampleRateIndex = (word >> 10) & 3;
  h.padding = (word >> 9) & 1;
  return h;
}

uint32_t bitrateOf(const FrameHeader& h) noexcept {
  return mpegBitrate(h.version, h.layer, h.bitrateIndex);
}

// The bitrate and length of the frames of one version, layer and sample rate,
// by bitrate index, worked out once each: a stream repeats a few headers, and
// a VBR stream changes only the bitrate index.
class FrameShapes {
 public:
  struct Shape {
    uint32_t bitrate;
    uint32_t unpaddedLength;  // 0 where the sample rate is unknown
  };

  const Shape& of(const FrameHeader& h) noexcept {
    const uint32_t kind = h.version << 4 | h.layer << 2 | h.sampleRateIndex;
    if (kind != kind_) {
      kind_ = kind;
      known_ = 0;
    }
    Shape& shape = shapes_[h.bitrateIndex];
    if ((known_ & (1u << h.bitrateIndex)) == 0) {
      shape.bitrate = bitrateOf(h);
      const uint32_t rate = mpegSampleRate(h.version, h.sampleRateIndex);
      shape.unpaddedLength = rate != 0 ? shape.bitrate * kFrameLengthFactor / rate : 0;
      rateKnown_ = rate != 0;
      known_ |= 1u << h.bitrateIndex;
    }
    return shape;
  }
  // Whether the sample rate of the kind last asked for is known.
  bool rateKnown() const noexcept { return rateKnown_; }

 private:
  uint32_t kind_ = ~0u;
  uint32_t known_ = 0;
  bool rateKnown_ = false;
  std::array<Shape, 16> shapes_{};
};

std::string cString(const uint8_t* bytes, size_t maxLength) {
  const void* zero = std::memchr(bytes, 0, maxLength);
  size_t length =
      zero == nullptr ? maxLength : static_cast<size_t>(static_cast<const uint8_t*>(zero) - bytes);
  return std::string(reinterpret_cast<const char*>(bytes), length);
}

// The LAME tag's version ("3.99", "3.100") decides how much of the tag is its
// name: 3.9 and later (or no number) write 9 characters, earlier ones up to 20.
// The number is read as a decimal, so "3.100" counts as 3.1, an earlier version.
size_t lameNameLength(const uint8_t* tag) noexcept {
  size_t at = 4;
  unsigned major = 0;
  bool digits = false;
  while (at < kLameTagRead && tag[at] >= '0' && tag[at] <= '9') {
    if (major < 1000) major = major * 10 + static_cast<unsigned>(tag[at] - '0');
    digits = true;
    ++at;
  }
  char firstFraction = 0;
  if (at < kLameTagRead && tag[at] == '.') {
    ++at;
    if (at < kLameTagRead && tag[at] >= '0' && tag[at] <= '9') {
      firstFraction = static_cast<char>(tag[at]);
      digits = true;
    }
  }
  bool atLeast39 = !digits || major > 3 || (major == 3 && firstFraction == '9');
  if (!atLeast39) return 20;
  return tag[8] == '.' ? 8 : 9;
}

// The Xing or Info header of the first frame and the LAME tag behind it, or a
// bare "LAME" in its place.
std::string readEncoderTag(BufferedReader& reader, uint64_t headerPos) noexcept {
  std::array<uint8_t, kLameTagRead> tag{};
  reader.seek(headerPos + kEncoderTagOffset);
  if (reader.read(tag.data(), 4) != 4) return {};
  std::string_view id(reinterpret_cast<const char*>(tag.data()), 4);
  if (equalsNoCase(id, "Xing") || equalsNoCase(id, "info")) {
    reader.seek(reader.tell() + kXingSkip);
    tag.fill(0);
    reader.read(tag.data(), tag.size());
    if (std::memcmp(tag.data(), "LAME", 4) != 0) return {};
    return cString(tag.data(), lameNameLength(tag.data()));
  }
  if (id == "LAME") {
    reader.read(tag.data() + 4, kRawLameLength - 4);
    return cString(tag.data(), kRawLameLength);
  }
  return {};
}

bool isPrintable(uint8_t c) noexcept { return c >= 0x20 && c < 0x7F; }

// Encoders leave their name in the ancillary data near a frame's end, padded
// with printable bytes: walk back over those to the first 'L'.
std::string findLameInFrame(const uint8_t* frame, uint32_t length) noexcept {
  for (size_t i = length - kLameSearchTail + 1; i-- > 0;) {
    uint8_t c = frame[i];
    if (c == 'L' || c == 'l') {
      std::string_view word(reinterpret_cast<const char*>(frame + i), 4);
      if (!equalsNoCase(word, "LAME")) return {};
      return cString(frame + i, kRawLameLength);
    }
    if (!isPrintable(c)) return {};
  }
  return {};
}

const char* bitrateLabel(bool vbr, bool estimated) noexcept {
  if (vbr) return estimated ? "VBR quick" : "VBR average";
  return estimated ? "CBR quick" : "CBR";
}

}  // namespace

uint32_t mpegBitrate(unsigned version, unsigned layer, unsigned index) noexcept {
  if (layer > 2 || index > 15) return 0;
  return kBitrates[version & 1][layer][index];
}

uint32_t mpegSampleRate(unsigned version, unsigned index) noexcept {
  if (version > 3 || index > 3) return 0;
  return kSampleRates[version][index];
}

const char* channelModeName(unsigned mode) noexcept {
  static constexpr const char* kNames[] = {"stereo", "joint stereo", "dual channel", "mono",
                                           "multichannel"};
  return mode < std::size(kNames) ? kNames[mode] : "";
}

int parseMpeg(ID3Tag& track, const File& file, uint64_t start, int scanMode,
              const ProgressCallback* progress) noexcept {
  try {
    if (progress != nullptr && progress->report != nullptr) {
      std::string text = "Loading " + track.path();
      progress->report(text.c_str(), kProgressPercent, progress->context);
    }

    int64_t size = file.size();
    if (size < 0) {
      LogMessage(LogError, "Failed to parse the MPEG data");
      return 0;
    }
    auto fileSize = static_cast<uint64_t>(size);

    // Sync search. In a ".mp3" the low layer bit must be set, which passes over
    // Layer II and reserved-layer headers as false syncs.
    BufferedReader reader(file, start);
    // A read error is no end of the audio: on every way out it is noted, so
    // that the open fails instead of showing facts of half a file.
    struct NoteReadError {
      ID3Tag& track;
      const BufferedReader& reader;
      ~NoteReadError() {
        if (reader.failed() && track.readError == 0) track.readError = reader.error();
      }
    } note{track, reader};
    int previous = reader.readByte();
    if (previous < 0) return 0;
    for (;;) {
      int current = reader.readByte();
      if (current < 0) return 0;
      bool sync = previous == 0xFF && (current & 0xE0) == 0xE0;
      if (sync && (!track.isMp3File || (current & 0x02) != 0)) break;
      previous = current;
    }
    const uint64_t headerPos = reader.tell() - 2;
    uint8_t header[4] = {};
    reader.seek(headerPos);
    if (reader.read(header, 4) != 4) return 0;

    AudioInfo& audio = track.audio;
    audio.version = static_cast<uint8_t>((header[1] >> 3) & 3);
    audio.layer = static_cast<uint8_t>(~(header[1] >> 1) & 3);
    audio.protection = static_cast<uint8_t>(header[1] & 1);
    audio.sampleRateIndex = static_cast<uint8_t>((header[2] >> 2) & 3);
    audio.channelMode = static_cast<uint8_t>(header[3] >> 6);
    audio.copyright = static_cast<uint8_t>((header[3] >> 3) & 1);
    audio.original = static_cast<uint8_t>((header[3] >> 2) & 1);
    audio.audioStart = headerPos;
    audio.streamStart = headerPos;
    audio.vbr = false;
    audio.estimated = false;
    audio.dataAfterAudio = false;

    std::string lame = readEncoderTag(reader, headerPos);

    FrameHeader frame = decode(readU32BE(header));
    uint32_t bitrate = bitrateOf(frame);
    uint64_t bitrateSum = bitrate;
    uint64_t byteSum = 0;
    uint64_t count = 1;
    uint32_t notedAverage = bitrate;
    uint64_t notedCount = 1;
    uint32_t length = 0;
    uint64_t frameStart = headerPos;
    std::array<uint8_t, kMaxFrameLength> frameBytes{};
    FrameShapes shapes;
    const FrameShapes::Shape* shape = &shapes.of(frame);

    for (;;) {
      // A frame whose rate is unknown is stepped over by the length before it.
      if (shapes.rateKnown()) length = frame.padding + shape->unpaddedLength;
      if (length == 0) break;

      if (count <= kLameSearchFrames && length > kLameSearchMinLength && lame.empty() &&
          length <= frameBytes.size()) {
        reader.seek(frameStart);
        if (reader.read(frameBytes.data(), length) == length)
          lame = findLameInFrame(frameBytes.data(), length);
      }

      frameStart += length;
      reader.seek(frameStart);
      if (reader.read(header, 4) != 4) break;
      uint32_t word = readU32BE(header);
      if ((word & kSyncMask) != kSyncMask) {
        if ((word & kTagBits) != kTagBits) audio.dataAfterAudio = true;
        break;
      }

      frame = decode(word);
      shape = &shapes.of(frame);
      ++count;
      const uint32_t frameBitrate = shape->bitrate;
      if (frameBitrate != bitrate) audio.vbr = true;
      bitrate = frameBitrate;
      bitrateSum += frameBitrate;
      byteSum += length;

      if (scanMode == kScanQuick) {
        // The running average (sum / count, rounded down) moved by more than
        // the drift from the one noted, tested without a division a frame.
        const bool above = bitrateSum >= (uint64_t{notedAverage} + kQuickScanDrift + 1) * count;
        const bool below =
            notedAverage > kQuickScanDrift && bitrateSum < (uint64_t{notedAverage} - kQuickScanDrift) * count;
        if (above || below) {
          notedAverage = static_cast<uint32_t>(bitrateSum / count);
          notedCount = count;
        }
        if ((count - notedCount > kQuickScanStableFrames &&
             count > static_cast<uint64_t>(kQuickScanCbrFrames)) ||
            count > static_cast<uint64_t>(kQuickScanMaxFrames)) {
          audio.estimated = true;
          break;
        }
      }
      if ((scanMode == kScanQuick || scanMode == kScanLimited) && !audio.vbr) {
        int limit = scanMode == kScanQuick ? kQuickScanCbrFrames : kLimitedScanCbrFrames;
        if (count == static_cast<uint64_t>(limit)) {
          LogMessage(LogStatus, "VBR has not been found in the first %d frames (assuming CBR)",
                     limit);
          audio.estimated = true;
          break;
        }
      }
    }

    auto average = static_cast<uint32_t>(bitrateSum / count);
    audio.bitrate = average;
    audio.byteSum = byteSum;
    audio.frames = count;
    const uint64_t audioBytes = fileSize > headerPos ? fileSize - headerPos : 0;
    if (audio.estimated) {
      uint64_t meanLength = byteSum / count;
      if (meanLength != 0) audio.frames = audioBytes / meanLength;
    }
    audio.lame = lame;

    char text[kMaxBitrateText + 1];
    std::snprintf(text, sizeof text, "%d kbps (%s)", static_cast<int>(average),
                  bitrateLabel(audio.vbr, audio.estimated));
    audio.bitrateText = text;

    // bytes * 8 / (kbps * 1000), reduced so that no product can overflow.
    track.setDuration(average == 0 ? 0 : audioBytes / (uint64_t{average} * 125));
    return 1;
  } catch (...) {
    LogMessage(LogError, "Failed to parse the MPEG data");
    return 0;
  }
}

}  // namespace melos
