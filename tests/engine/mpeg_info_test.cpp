#include "engine/mpeg_info.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "tests/support/ape_builder.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

constexpr uint32_t kLength128 = 417, kLength192 = 626, kLength32 = 104, kLength320 = 1044;  // 44100 Hz frames
constexpr uint8_t k128 = 9, k192 = 11, k32 = 1, k320 = 14;

struct MpegInfo : ::testing::Test {
  int parse(const Bytes& bytes, int mode, const std::string& name = "track.mp3", uint64_t start = 0) {
    std::string path = dir.write(name, bytes);
    track.setPath(path), track.isMp3File = name.ends_with(".mp3"), track.resetAudio();
    return parseMpeg(track, File::openRead(path), start, mode, nullptr);
  }
  test::TempDir dir;
  ID3Tag track;
};

// An early stop has counted N frames and N - 1 lengths: the mean length is
// 416, so 2000 frames of 417 bytes are estimated as 834000 / 416 = 2004.
TEST_F(MpegInfo, ScanModesStopCbrAndVbrWhereTheySay) {
  struct Case { int mode; std::vector<uint8_t> rates; uint64_t byteSum, frames; bool vbr, estimated; const char *text, *log; };
  std::vector<uint8_t> blocks;  // 300 frames each at 32 and 320 kbps keep the average moving
  for (int block = 0; block < 6; ++block) blocks.insert(blocks.end(), 300, block % 2 == 0 ? k32 : k320);
  const std::vector<uint8_t> cbr(2000, k128), mixed = test::repeatBitrates({k128, k192}, 2000);
  const Case cases[] = {
      {kScanQuick, cbr, 499 * kLength128, 2004, false, true, "128 kbps (CBR quick)", "500 frames (assuming CBR)"},
      {kScanLimited, cbr, 999 * kLength128, 2004, false, true, "128 kbps (CBR quick)", "1000 frames (assuming CBR)"},
      {kScanFull, cbr, 1999 * kLength128, 2000, false, false, "128 kbps (CBR)", nullptr},
      {3, cbr, 1999 * kLength128, 2000, false, false, "128 kbps (CBR)", nullptr},
      // The average of 128 and 192 settles within a few dozen frames: the scan stops at 501.
      {kScanQuick, mixed, 250 * kLength128 + 250 * kLength192, 2005, true, true, "159 kbps (VBR quick)", nullptr},
      {kScanFull, mixed, 1000 * kLength128 + 999 * kLength192, 2000, true, false, "160 kbps (VBR average)", nullptr},
      {kScanLimited, mixed, 1000 * kLength128 + 999 * kLength192, 2000, true, false, "160 kbps (VBR average)", nullptr},
      {kScanFull, {k128, 10 /* 160 kbps */}, kLength128, 2, true, false, "144 kbps (VBR average)", nullptr},
      {kScanQuick, blocks, 600 * kLength32 + 400 * kLength320, 2156, true, true, "147 kbps (VBR quick)", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text + std::to_string(c.mode));
    test::LogCapture log;
    Bytes stream = test::vbrStream({}, c.rates);
    ASSERT_EQ(parse(stream, c.mode), 1);
    const AudioInfo& a = track.audio;
    EXPECT_EQ(std::make_tuple(a.byteSum, a.frames, a.vbr, a.estimated, a.bitrateText, a.dataAfterAudio, track.duration),
              std::make_tuple(c.byteSum, c.frames, c.vbr, c.estimated, std::string(c.text), false, stream.size() / (a.bitrate * 125u)));
    EXPECT_EQ(log.has(LogStatus, std::string("VBR has not been found in the first ") + (c.log ? c.log : "")), c.log != nullptr);
  }
}

// Where the audio starts and ends, and what follows the last frame.
TEST_F(MpegInfo, StreamShapes) {
  test::ApeTag ape;
  ape.items = {test::apeText("Title", "t")};
  Bytes unknownRate = test::mpegFrame({}), reservedHeader = test::mpegHeaderBytes({.sampleRateIndex = 3});
  std::copy(reservedHeader.begin(), reservedHeader.end(), unknownRate.begin());
  auto withTail = [](size_t frames, const Bytes& tail) { return test::mp3File({{}, test::cbrStream({}, frames), {}, tail}); };
  auto at64 = [](uint8_t version, uint8_t rate) { return test::cbrStream({.version = version, .bitrateIndex = 8, .sampleRateIndex = rate}, 100); };
  struct Case { const char* name; Bytes bytes; int result; uint64_t frames; bool after; uint64_t start; uint32_t duration, rate = 44100; };
  const Case cases[] = {
      {"lead-zero.mp3", test::concat({{0}, test::cbrStream({}, 3)}), 1, 3, false, 1, 0}, {"ape.mp3", withTail(20, test::apeTag(ape)), 1, 20, true, 0, 0},
      {"none.mp3", withTail(20, {}), 1, 20, false, 0, 0}, {"v1.mp3", withTail(20, test::id3v1Tag({})), 1, 20, false, 0, 0},
      {"short-tail.mp3", withTail(20, {0x12, 0x34}), 1, 20, false, 0, 0}, {"junk.mp3", withTail(20, Bytes(64, 0)), 1, 20, true, 0, 0},
      {"v1-behind-ape.mp3", withTail(20, test::concat({test::apeTag(ape), test::id3v1Tag({})})), 1, 20, true, 0, 0},
      {"tag-bits.mp3", withTail(20, {0x7F, 0xFF, 0xFF, 0x00}), 1, 20, false, 0, 0},  // 7F FF FF holds every bit of "TAG"
      // 422 frames are 10.998 s at 128 kbps; the 128 bytes of an ID3v1 tag pass 11 s.
      {"10s.mp3", withTail(422, {}), 1, 422, false, 0, 10}, {"11s.mp3", withTail(422, test::id3v1Tag({})), 1, 422, false, 0, 11},
      // An ".mp3" needs the low layer bit, which passes over Layer II.
      {"layer2.mp3", test::cbrStream({.layer = 2}, 50), 0, 0, false, 0, 0}, {"layer2.mp2", test::cbrStream({.layer = 2}, 50), 1, 50, false, 0, 1},
      {"low-bit.mp3", {0xFF, 0xE0, 0xFF, 0xFB, 0x90, 0x00}, 1, 1, false, 2, 0}, {"low-bit.mpa", {0xFF, 0xE0, 0xFF, 0xFB, 0x90, 0x00}, 1, 1, false, 0, 0, 0},
      {"unknown-rate.mp3", test::concat({test::mpegFrame({}), unknownRate, test::cbrStream({}, 3)}), 1, 5, false, 0, 0},
      {"no-length.mp3", Bytes(64, 0xFF), 1, 1, false, 0, 0, 0},  // Layer I, bitrate index 15, rate index 3
      // Free format with padding is one byte long; the next "header" is not one.
      {"free.mp3", test::concat({test::mpegHeaderBytes({.bitrateIndex = 0, .padding = 1}), Bytes(40, 0)}), 1, 1, true, 0, 0},
      // MPEG-2.5 walks end after the first frame: the walk wants the top 12 bits set and MPEG-2.5 clears the twelfth.
      {"22050.mp3", at64(test::kMpeg2, 0), 1, 100, false, 0, 5, 22050}, {"24000.mp3", at64(test::kMpeg2, 1), 1, 100, false, 0, 4, 24000},
      {"16000.mp3", at64(test::kMpeg2, 2), 1, 100, false, 0, 7, 16000}, {"11025.mp3", at64(test::kMpeg25, 0), 1, 1, true, 0, 10, 11025},
      {"12000.mp3", at64(test::kMpeg25, 1), 1, 1, true, 0, 9, 12000},   {"8000.mp3", at64(test::kMpeg25, 2), 1, 1, true, 0, 14, 8000},
      {"empty.mp3", {}, 0, 0, false, 0, 0}, {"zeros.mp3", Bytes(5000, 0), 0, 0, false, 0, 0}, {"cut.mp3", {0x00, 0xFF, 0xFB}, 0, 0, false, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(parse(c.bytes, kScanFull, c.name), c.result);
    const AudioInfo& a = track.audio;
    if (c.result == 0) continue;
    EXPECT_EQ(std::make_tuple(a.frames, a.dataAfterAudio, a.audioStart, track.duration, mpegSampleRate(a.version, a.sampleRateIndex)),
              std::make_tuple(c.frames, c.after, c.start, c.duration, c.rate));
  }
  EXPECT_EQ(parse({0xFF, 0xFB, 0x90, 0x00}, kScanFull, "track.mp3", 10), 0);  // start past the end
}

// From a Xing or Info frame, else a bare "LAME" where the Xing header would
// stand, else searched in the first 199 frames from 13 bytes before a frame's
// end back over printable bytes to the first 'L' or 'l'.
TEST_F(MpegInfo, LameString) {
  struct Case { const char* xingId; std::string lame; std::vector<test::FrameText> texts; const char* expected; };
  const std::string abc = "ABCDEFGHIJKLMNOP", u20(20, 'U');
  const Case cases[] = {
      {"Info", "LAME3.99r" + abc, {}, "LAME3.99r"}, {"Xing", "LAME3.99r" + abc, {}, "LAME3.99r"},
      {"xing", "LAME3.98", {}, "LAME3.98"},         {"INFO", "LAME3.90.3ABCDEFGHIJ", {}, "LAME3.90"},  // 8 when the ninth is '.'
      {"Info", "LAME4.0 " + abc, {}, "LAME4.0 A"},  {"Info", "LAMEbeta" + abc, {}, "LAMEbetaA"},
      // Earlier versions keep 20 characters; "3.100" reads as the decimal 3.1.
      {"Info", "LAME3.88 (beta)" + abc, {}, "LAME3.88 (beta)ABCDE"}, {"Info", "LAME3.100" + abc, {}, "LAME3.100ABCDEFGHIJK"},
      {"Info", "LAME3.100", {}, "LAME3.100"}, {"Info", "lame3.99r", {}, ""}, {"Info", "GOGO", {}, ""}, {"Nope", "LAME3.99r", {}, ""},
      {"Info", "LAME3.99r", {{2, 400, "LAME3.98r"}}, "LAME3.99r"}, {nullptr, "", {{4, 400, "LAME3.99r"}}, "LAME3.99"},
      {nullptr, "", {{0, test::XingHeader::kOffset, "LAME3.97 and more"}}, "LAME3.97"}, {nullptr, "", {{4, 400, "lame3.99r"}}, "lame3.99"},
      {nullptr, "", {{4, 380, "LAME3.99r" + u20}}, "LAME3.99"}, {nullptr, "", {{198, 400, "LAME3.99r"}}, "LAME3.99"}, {nullptr, "", {{199, 400, "LAME3.99r"}}, ""},
      {nullptr, "", {{4, 390, "LAME3.99r"}}, ""},
      {nullptr, "", {{4, 380, "LAME3.99r\x01" + u20}}, ""}, {nullptr, "", {{4, 380, "LAME3.99r\x7F" + u20}}, ""}, {nullptr, "", {{4, 380, "LAME3.99r L" + u20}}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.lame + (c.texts.empty() ? "" : c.texts[0].text));
    test::XingHeader xing{.id = c.xingId ? c.xingId : "", .lame = c.lame};
    ASSERT_EQ(parse(test::mpegStream({.header = {}, .frames = 250, .bitrates = {}, .xing = c.xingId != nullptr, .xingHeader = xing, .texts = c.texts}), kScanFull), 1);
    // The Xing frame is a frame like the others.
    EXPECT_EQ(track.audio.lame + "|" + std::to_string(track.audio.frames), std::string(c.expected) + "|250");
  }
}

TEST(MpegTables, BitratesAndSampleRatesAreTheStandardOnes) {
  for (uint8_t version : {test::kMpeg1, test::kMpeg2, test::kMpeg25})
    for (uint8_t layer = 1; layer <= 3; ++layer)
      for (uint8_t index = 0; index < 16; ++index)
        EXPECT_EQ(mpegBitrate(version, layer - 1u, index), test::mpegTestBitrate(version, layer, index)) << version * 100 + layer * 20 + index;
  for (uint8_t version = 0; version < 4; ++version)
    for (uint8_t index = 0; index < 4; ++index) EXPECT_EQ(mpegSampleRate(version, index), test::mpegTestSampleRate(version, index));
  EXPECT_EQ(mpegBitrate(3, 3, 5) + mpegBitrate(3, 2, 99) + mpegSampleRate(9, 0), 0u);
  EXPECT_EQ(std::string(channelModeName(kMono)) + channelModeName(kMultiChannel + 1), "mono");
}

}  // namespace
}  // namespace melos
