#include "engine/mpeg_info.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "engine/log.h"
#include "tests/support/ape_builder.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using test::MpegHeader;
using test::MpegStream;

constexpr uint32_t kLength128 = 417;   // MPEG-1 Layer III, 128 kbps, 44100 Hz
constexpr uint32_t kLength192 = 626;   // 192 kbps
constexpr uint32_t kLength32 = 104;    // 32 kbps
constexpr uint32_t kLength320 = 1044;  // 320 kbps
constexpr uint8_t k128 = 9, k192 = 11, k32 = 1, k320 = 14;

class MpegInfo : public ::testing::Test {
 protected:
  // Writes the bytes, opens them as a track named `name` and scans from `start`.
  int parse(const Bytes& bytes, int mode, const std::string& name = "track.mp3",
            uint64_t start = 0, const ProgressCallback* progress = nullptr) {
    std::string path = dir.write(name, bytes);
    track.setPath(path);
    track.isMp3File = name.size() >= 4 && name.substr(name.size() - 4) == ".mp3";
    track.resetAudio();
    File file = File::openRead(path);
    EXPECT_TRUE(file.isOpen());
    return parseMpeg(track, file, start, mode, progress);
  }

  test::TempDir dir;
  ID3Tag track;
};

struct CbrCase {
  int mode;
  bool estimated;
  uint64_t framesCounted;
  uint64_t framesReported;
  const char* text;
  const char* logLine;  // nullptr: none
};

TEST_F(MpegInfo, CbrStopsWhereTheModeSays) {
  // 2000 frames of 417 bytes: 834000 bytes. An early stop has counted N frames
  // and N - 1 frame lengths, so the mean length is (N - 1) * 417 / N = 416 and
  // the estimate 834000 / 416 = 2004.
  const CbrCase cases[] = {
      {kScanQuick, true, 500, 2004, "128 kbps (CBR quick)",
       "VBR has not been found in the first 500 frames (assuming CBR)"},
      {kScanLimited, true, 1000, 2004, "128 kbps (CBR quick)",
       "VBR has not been found in the first 1000 frames (assuming CBR)"},
      {kScanFull, false, 2000, 2000, "128 kbps (CBR)", nullptr},
      {3, false, 2000, 2000, "128 kbps (CBR)", nullptr},
  };
  Bytes stream = test::cbrStream({}, 2000);
  for (const CbrCase& c : cases) {
    SCOPED_TRACE(c.mode);
    test::LogCapture log;
    ASSERT_EQ(parse(stream, c.mode), 1);
    EXPECT_EQ(track.audio.byteSum, (c.framesCounted - 1) * kLength128);
    EXPECT_EQ(track.audio.frames, c.framesReported);
    EXPECT_EQ(track.audio.estimated, c.estimated);
    EXPECT_FALSE(track.audio.vbr);
    EXPECT_EQ(track.audio.bitrate, 128u);
    EXPECT_EQ(track.audio.bitrateText, c.text);
    EXPECT_FALSE(track.audio.dataAfterAudio);
    EXPECT_EQ(track.duration, 52u);  // 834000 * 8 / 128000 = 52.1
    if (c.logLine != nullptr)
      EXPECT_TRUE(log.has(LogStatus, c.logLine)) << log.dump();
    else
      EXPECT_FALSE(log.hasText("VBR has not been found")) << log.dump();
  }
}

TEST_F(MpegInfo, QuickVbrStopsWhenTheAverageSettles) {
  // 128 and 192 kbps alternate: the average settles at 160 within a few dozen
  // frames, so the scan stops at the first count past 500 (501).
  ASSERT_EQ(parse(test::vbrStream({}, test::repeatBitrates({k128, k192}, 2000)), kScanQuick), 1);
  EXPECT_TRUE(track.audio.vbr);
  EXPECT_TRUE(track.audio.estimated);
  EXPECT_EQ(track.audio.byteSum, 250u * kLength128 + 250u * kLength192);  // 500 lengths
  EXPECT_EQ(track.audio.bitrate, 159u);  // (251 * 128 + 250 * 192) / 501
  EXPECT_EQ(track.audio.bitrateText, "159 kbps (VBR quick)");
  // 1043000 bytes / (260750 / 501 = 520)
  EXPECT_EQ(track.audio.frames, 2005u);
  EXPECT_EQ(track.duration, 1043000u / (159u * 125u));
}

TEST_F(MpegInfo, QuickVbrThatNeverSettlesStopsPast1000Frames) {
  // Blocks of 300 frames at 32 and 320 kbps keep the average moving.
  std::vector<uint8_t> rates;
  for (int block = 0; block < 6; ++block)
    rates.insert(rates.end(), 300, block % 2 == 0 ? k32 : k320);
  ASSERT_EQ(parse(test::vbrStream({}, rates), kScanQuick), 1);
  EXPECT_TRUE(track.audio.estimated);
  EXPECT_EQ(track.audio.byteSum, 600u * kLength32 + 400u * kLength320);  // 1000 lengths
  EXPECT_EQ(track.audio.bitrateText.substr(track.audio.bitrateText.find('(')), "(VBR quick)");
}

TEST_F(MpegInfo, FullAndLimitedScansOfVbrWalkEveryFrame) {
  Bytes stream = test::vbrStream({}, test::repeatBitrates({k128, k192}, 2000));
  for (int mode : {kScanFull, kScanLimited}) {
    SCOPED_TRACE(mode);
    test::LogCapture log;
    ASSERT_EQ(parse(stream, mode), 1);
    EXPECT_TRUE(track.audio.vbr);
    EXPECT_FALSE(track.audio.estimated);
    EXPECT_EQ(track.audio.frames, 2000u);
    EXPECT_EQ(track.audio.bitrate, 160u);
    EXPECT_EQ(track.audio.bitrateText, "160 kbps (VBR average)");
    EXPECT_EQ(track.duration, stream.size() / (160u * 125u));
    EXPECT_FALSE(log.hasText("VBR has not been found"));
  }
}

TEST_F(MpegInfo, LayerTwoInAnMp3FileHasNoSync) {
  MpegHeader layer2;
  layer2.layer = 2;
  Bytes stream = test::cbrStream(layer2, 50);
  EXPECT_EQ(parse(stream, kScanFull, "track.mp3"), 0);
  EXPECT_EQ(track.audio.frames, 0u);
  EXPECT_EQ(track.audio.bitrateText, "");
  // The restriction is for ".mp3" names only.
  EXPECT_EQ(parse(stream, kScanFull, "track.mp2"), 1);
  EXPECT_EQ(track.audio.layer, 1);
  EXPECT_EQ(track.audio.frames, 50u);
}

TEST_F(MpegInfo, HeaderFieldsOfTheFirstFrame) {
  MpegHeader h;
  h.protectionBit = 0;
  h.channelMode = kMono;
  h.copyright = 1;
  h.original = 1;
  Bytes junk(100, 0x00);
  Bytes tag = test::Id3v2Builder(3).text("TIT2", test::Enc::Latin1, "x").padding(20).build();
  ASSERT_EQ(parse(test::concat({tag, junk, test::cbrStream(h, 10)}), kScanFull, "track.mp3",
                  tag.size()),
            1);
  EXPECT_EQ(track.audio.version, test::kMpeg1);
  EXPECT_EQ(track.audio.layer, 2);  // Layer III
  EXPECT_EQ(track.audio.protection, 0);
  EXPECT_EQ(track.audio.sampleRateIndex, 0);
  EXPECT_EQ(track.audio.channelMode, kMono);
  EXPECT_EQ(track.audio.copyright, 1);
  EXPECT_EQ(track.audio.original, 1);
  EXPECT_EQ(track.audio.audioStart, tag.size() + 100);
  EXPECT_EQ(track.audio.streamStart, tag.size() + 100);
  EXPECT_EQ(track.audio.frames, 10u);
}

struct TailCase {
  const char* name;
  Bytes tail;
  bool dataAfterAudio;
};

TEST_F(MpegInfo, WhatFollowsTheLastFrame) {
  test::Id3v1Fields v1;
  v1.title = "t";
  test::ApeTag ape;
  ape.items = {test::apeText("Title", "t")};
  const TailCase cases[] = {
      {"nothing", {}, false},
      {"ID3v1 tag", test::id3v1Tag(v1), false},
      {"short tail", {0x12, 0x34}, false},
      {"junk", Bytes(64, 0x00), true},
      {"APE tag", test::apeTag(ape), true},
      {"ID3v1 behind APE", test::concat({test::apeTag(ape), test::id3v1Tag(v1)}), true},
      // A bit test, not a comparison: 7F FF FF holds every bit of "TAG".
      {"TAG bits", {0x7F, 0xFF, 0xFF, 0x00}, false},
  };
  for (const TailCase& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(parse(test::mp3File({{}, test::cbrStream({}, 20), {}, c.tail}), kScanFull), 1);
    EXPECT_EQ(track.audio.frames, 20u);
    EXPECT_EQ(track.audio.dataAfterAudio, c.dataAfterAudio);
  }
}

TEST_F(MpegInfo, TagBytesAtTheEndCountTowardsTheDuration) {
  // 422 frames: 175974 bytes are 10.998 s at 128 kbps; with the 128 bytes of an
  // ID3v1 tag they pass 11 s.
  Bytes audio = test::cbrStream({}, 422);
  ASSERT_EQ(parse(audio, kScanFull), 1);
  EXPECT_EQ(track.duration, 10u);
  ASSERT_EQ(parse(test::mp3File({{}, audio, {}, test::id3v1Tag({})}), kScanFull), 1);
  EXPECT_EQ(track.duration, 11u);
  EXPECT_EQ(track.audio.frames, 422u);
}

// The encoder string: from a Xing or Info frame, else from a bare "LAME" where
// the Xing header would stand, else searched in the first 199 frames from 13
// bytes before a frame's end back over printable bytes to the first 'L' or 'l'.
TEST_F(MpegInfo, LameString) {
  struct Case {
    const char* name;
    const char* xingId;  // nullptr: no Xing frame
    std::string lame;
    std::vector<test::FrameText> texts;
    const char* expected;
  };
  const std::string letters = "ABCDEFGHIJKLMNOP";
  const Case cases[] = {
      {"Info", "Info", "LAME3.99r" + letters, {}, "LAME3.99r"},
      {"Xing", "Xing", "LAME3.99r" + letters, {}, "LAME3.99r"},
      {"lower-case xing", "xing", "LAME3.98", {}, "LAME3.98"},
      {"8 when the ninth is '.'", "INFO", "LAME3.90.3ABCDEFGHIJ", {}, "LAME3.90"},
      {"later versions: 9", "Info", "LAME4.0 " + letters, {}, "LAME4.0 A"},
      {"no number: 9", "Info", "LAMEbeta" + letters, {}, "LAMEbetaA"},
      {"earlier versions: 20", "Info", "LAME3.88 (beta)" + letters, {}, "LAME3.88 (beta)ABCDE"},
      // The number is read as a decimal: 3.100 is 3.1, an earlier version.
      {"3.100 is earlier", "Info", "LAME3.100" + letters, {}, "LAME3.100ABCDEFGHIJK"},
      {"cut at the first zero byte", "Info", "LAME3.100", {}, "LAME3.100"},
      {"lower-case lame in Xing", "Info", "lame3.99r", {}, ""},
      {"other encoder", "Info", "GOGO", {}, ""},
      {"not a Xing id", "Nope", "LAME3.99r", {}, ""},
      {"the Xing string wins", "Info", "LAME3.99r", {{2, 400, "LAME3.98r"}}, "LAME3.99r"},
      {"bare where Xing would stand", nullptr, "", {{0, test::XingHeader::kOffset, "LAME3.97 and more"}}, "LAME3.97"},
      {"across the search start", nullptr, "", {{4, 400, "LAME3.99r"}}, "LAME3.99"},
      {"padded with U", nullptr, "", {{4, 380, "LAME3.99r" + std::string(20, 'U')}}, "LAME3.99"},
      {"lower case in a frame", nullptr, "", {{4, 400, "lame3.99r"}}, "lame3.99"},
      {"199th frame", nullptr, "", {{198, 400, "LAME3.99r"}}, "LAME3.99"},
      {"200th frame", nullptr, "", {{199, 400, "LAME3.99r"}}, ""},
      {"ends before the start", nullptr, "", {{4, 390, "LAME3.99r"}}, ""},
      {"broken by a control byte", nullptr, "", {{4, 380, "LAME3.99r\x01" + std::string(20, 'U')}}, ""},
      {"another L comes first", nullptr, "", {{4, 380, "LAME3.99r L" + std::string(20, 'U')}}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MpegStream s;
    s.frames = 250;
    s.xing = c.xingId != nullptr;
    if (s.xing) s.xingHeader.id = c.xingId;
    s.xingHeader.lame = c.lame;
    s.texts = c.texts;
    ASSERT_EQ(parse(test::mpegStream(s), kScanFull), 1);
    EXPECT_EQ(track.audio.lame, c.expected);
    EXPECT_EQ(track.audio.frames, 250u);  // the Xing frame is a frame like the others
  }
}

// MPEG-2.5 walks end after the first frame: the walk wants the top 12 bits set
// and MPEG-2.5 clears the twelfth, so its second header is no frame.
TEST_F(MpegInfo, Mpeg2And25SampleRates) {
  struct Case {
    uint8_t version;
    uint8_t rateIndex;
    uint32_t rate;
    uint64_t frames;
  };
  const Case cases[] = {{test::kMpeg2, 0, 22050, 100}, {test::kMpeg2, 1, 24000, 100}, {test::kMpeg2, 2, 16000, 100},
                        {test::kMpeg25, 0, 11025, 1},  {test::kMpeg25, 1, 12000, 1},  {test::kMpeg25, 2, 8000, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rate);
    MpegHeader h;
    h.version = c.version;
    h.sampleRateIndex = c.rateIndex;
    h.bitrateIndex = 8;  // 64 kbps
    Bytes stream = test::cbrStream(h, 100);
    ASSERT_EQ(parse(stream, kScanFull), 1);
    EXPECT_EQ(track.audio.version, c.version);
    EXPECT_EQ(mpegSampleRate(track.audio.version, track.audio.sampleRateIndex), c.rate);
    EXPECT_EQ(track.audio.bitrate, 64u);
    EXPECT_EQ(track.audio.frames, c.frames);
    EXPECT_EQ(track.audio.byteSum, (c.frames - 1) * test::mpegFrameLength(h));
    EXPECT_EQ(track.audio.dataAfterAudio, c.frames == 1);
    if (c.frames > 1) {
      EXPECT_EQ(track.duration, stream.size() / (64u * 125u));
    }
  }
}

TEST_F(MpegInfo, AFrameOfUnknownRateIsSteppedOverByThePreviousLength) {
  MpegHeader reserved;
  reserved.sampleRateIndex = 3;
  Bytes middle = test::mpegFrame({});
  Bytes header = test::mpegHeaderBytes(reserved);
  std::copy(header.begin(), header.end(), middle.begin());
  Bytes stream = test::concat({test::mpegFrame({}), middle, test::cbrStream({}, 3)});
  ASSERT_EQ(parse(stream, kScanFull), 1);
  EXPECT_EQ(track.audio.frames, 5u);
  EXPECT_FALSE(track.audio.dataAfterAudio);
}

TEST_F(MpegInfo, DegenerateStreamsNeverDivideByZero) {
  // FF FF FF FF: Layer I, bitrate index 15, rate index 3: no length, no bitrate.
  ASSERT_EQ(parse(Bytes(64, 0xFF), kScanFull), 1);
  EXPECT_EQ(track.audio.frames, 1u);
  EXPECT_EQ(track.audio.bitrate, 0u);
  EXPECT_EQ(track.audio.bitrateText, "0 kbps (CBR)");
  EXPECT_EQ(track.duration, 0u);

  // Free format with padding is one byte long; the next "header" is not one.
  MpegHeader free;
  free.bitrateIndex = 0;
  free.padding = 1;
  ASSERT_EQ(parse(test::concat({test::mpegHeaderBytes(free), Bytes(40, 0)}), kScanQuick), 1);
  EXPECT_EQ(track.audio.frames, 1u);
  EXPECT_TRUE(track.audio.dataAfterAudio);
  EXPECT_EQ(track.duration, 0u);
}

TEST_F(MpegInfo, NoSyncGivesNothing) {
  EXPECT_EQ(parse({}, kScanFull), 0);
  EXPECT_EQ(parse(Bytes(5000, 0x00), kScanFull), 0);
  EXPECT_EQ(parse({0x00, 0xFF, 0xFB}, kScanFull), 0);       // header cut short
  EXPECT_EQ(parse({0xFF, 0xFB, 0x90, 0x00}, kScanFull, "track.mp3", 10), 0);  // start past the end
}

TEST_F(MpegInfo, AnMp3SyncNeedsTheLowLayerBit) {
  const Bytes bytes = {0xFF, 0xE0,               // no low layer bit: no sync in an ".mp3"
                       0xFF, 0xFB, 0x90, 0x00};  // Layer III
  ASSERT_EQ(parse(bytes, kScanFull, "track.mp3"), 1);
  EXPECT_EQ(track.audio.audioStart, 2u);
  ASSERT_EQ(parse(bytes, kScanFull, "track.mpa"), 1);
  EXPECT_EQ(track.audio.audioStart, 0u);
}

TEST_F(MpegInfo, ProgressReportsTheTrack) {
  std::vector<std::string> stages;
  ProgressCallback progress;
  progress.context = &stages;
  progress.report = [](const char* stage, int, void* context) {
    static_cast<std::vector<std::string>*>(context)->push_back(stage);
  };
  ASSERT_EQ(parse(test::cbrStream({}, 3), kScanFull, "track.mp3", 0, &progress), 1);
  ASSERT_EQ(stages.size(), 1u);
  EXPECT_EQ(stages[0], "Loading " + dir.file("track.mp3"));
}

TEST_F(MpegInfo, ArbitraryBytesAreSafe) {
  std::mt19937 random(1234);
  for (int round = 0; round < 300; ++round) {
    Bytes bytes(static_cast<size_t>(random() % 3000));
    for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
    // Plant a few syncs so that the walk has something to follow.
    for (int i = 0; i < 8 && bytes.size() > 4; ++i) {
      size_t at = random() % (bytes.size() - 1);
      bytes[at] = 0xFF;
      bytes[at + 1] = static_cast<uint8_t>(bytes[at + 1] | 0xE2);
    }
    int result = parse(bytes, static_cast<int>(round % 4));
    if (result == 1) {
      EXPECT_LT(track.audio.audioStart, bytes.size());
      EXPECT_LE(track.audio.bitrateText.size(), 63u);
      EXPECT_LE(track.audio.lame.size(), 255u);
    }
  }
}

TEST(MpegTables, BitratesAndSampleRatesAreTheStandardOnes) {
  for (uint8_t version : {test::kMpeg1, test::kMpeg2, test::kMpeg25})
    for (uint8_t layer = 1; layer <= 3; ++layer)
      for (uint8_t index = 0; index < 16; ++index)
        EXPECT_EQ(mpegBitrate(version, layer - 1u, index),
                  test::mpegTestBitrate(version, layer, index))
            << int{version} << " " << int{layer} << " " << int{index};
  for (uint8_t version = 0; version < 4; ++version)
    for (uint8_t index = 0; index < 4; ++index)
      EXPECT_EQ(mpegSampleRate(version, index), test::mpegTestSampleRate(version, index));
  EXPECT_EQ(mpegBitrate(3, 3, 5), 0u);  // reserved layer
  EXPECT_EQ(mpegBitrate(3, 2, 99), 0u);
  EXPECT_EQ(mpegSampleRate(9, 0), 0u);
}

TEST(MpegTables, ChannelModeNames) {
  const char* names[] = {"stereo", "joint stereo", "dual channel", "mono", "multichannel", ""};
  for (int mode = kStereo; mode <= kMultiChannel + 1; ++mode) EXPECT_STREQ(channelModeName(mode), names[mode]);
}

}  // namespace
}  // namespace melos
