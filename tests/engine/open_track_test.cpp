#include "engine/open_track.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/log.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

using test::Enc;
using test::Id3v2Builder;

Bytes tagWithTitle(uint8_t major, const char* title) {
  return Id3v2Builder(major).text("TIT2", Enc::Latin1, title).padding(10).build();
}

TEST(FileKind, ByTheFourCharactersAfterTheLastDot) {
  // Flags: m MP3, a AIFF, t tag data; none means no track.
  const std::pair<const char*, std::string> cases[] = {
      {"song.MP3", "m"}, {"song.mp3x", "m"}, {"song.aiff", "a"}, {"song.AIFC", "a"}, {"a.b/song.tdf", "t"},
      {"song.mp", ""},   {"song", ""},       {"song.mp3.wav", ""}};
  for (const auto& [path, flags] : cases) {
    ID3Tag track;
    EXPECT_EQ(GetFileKind(path, &track), flags.empty() ? 0 : 1) << path;
    EXPECT_EQ(std::string(track.isMp3File ? "m" : "") + (track.isAiffFile ? "a" : "") + (track.isTagDataFile ? "t" : ""),
              flags) << path;
  }
}

TEST(OpenTrack, ContainerChecks) {
  auto padded = [](Bytes head, size_t zeros) {
    head.insert(head.begin(), zeros, 0);
    return head;
  };
  const struct {
    const char* name;
    Bytes bytes;
    const char* refusal;  // nullptr: opens
  } cases[] = {
      {"id3.mp3", tagWithTitle(3, "x"), nullptr},
      {"mp4.mp3", {0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'M', '4', 'A', ' '}, "File appears to be an MP4 not a valid MP3 file"},
      {"late.mp3", padded(test::mpegHeaderBytes({}), 8192), "File is not a valid MP3 file (0x00000000)"},
      {"ontime.mp3", padded(test::shortAudio(), 100), nullptr},
      {"fffa.mp3", {0x12, 0xFF, 0xFA, 0x90, 0x00, 0x55, 0x55}, nullptr},  // the low layer bit: accepted at once
      {"fffc-last.mp3", {0x12, 0x34, 0xFF, 0xFC}, nullptr},  // FF FC only when it is the last pair examined
      {"fffc-then.mp3", {0x12, 0xFF, 0xFC, 0x00, 0x55}, "File is not a valid MP3 file (0x12FFFFFFFFFFFFFF"},
      {"fffc.tdf", {0x12, 0xFF, 0xFC, 0x00, 0x55}, nullptr},
      {"bad.aif", {'R', 'I', 'F', 'F', 0, 0, 0, 0}, "File is not a valid AIFF file (0x52494646)"},
  };
  for (const auto& c : cases) {
    test::TempDir dir;
    test::LogCapture log;
    ID3Tag track;
    OpenTrack(track, dir.write(c.name, c.bytes), kScanFull, nullptr, false);
    if (c.refusal == nullptr)
      EXPECT_FALSE(log.hasText("is not a valid") || log.hasText("MP4")) << c.name << log.dump();
    else
      EXPECT_TRUE(log.has(LogError, c.refusal)) << c.name << "\n" << log.dump();
  }
}

TEST(OpenTrack, Mp3WithBothTagsAudioAndProgress) {
  test::TempDir dir;
  test::Id3v1Fields v1;
  v1.title = "V1 title";
  v1.track = 4;
  // A fresh track drops frames that are no standard ID3 frame.
  Bytes v2 = Id3v2Builder(3).text("TIT2", Enc::Latin1, "V2 title").frame("XYZ1", {0, 'x'}).padding(30).build();
  Bytes file = test::mp3File({v2, test::shortAudio(40), {}, test::id3v1Tag(v1)});
  std::vector<std::pair<std::string, int>> stages;
  ProgressCallback progress{[](const char* stage, int percent, void* context) {
                              static_cast<decltype(stages)*>(context)->emplace_back(stage, percent);
                            },
                            &stages};
  ID3Tag track;
  std::string path = dir.write("both.mp3", file);
  EXPECT_EQ(OpenTrack(track, path, kScanFull, &progress, true), 1u);
  EXPECT_EQ(track.tagData.title.toUtf8(), "V2 title");
  EXPECT_TRUE(track.tagData.enabled);
  EXPECT_TRUE(track.tagData.privdata.empty());
  EXPECT_EQ(track.v1.title, "V1 title");
  EXPECT_EQ(track.v1.track, 4);
  EXPECT_EQ(track.versionText, "V1 and V2.3");
  EXPECT_EQ(track.fileSize, file.size());
  EXPECT_FALSE(track.readOnly);
  EXPECT_EQ(track.audio.bitrate, 128u);
  EXPECT_EQ(stages, (decltype(stages){{"Starting...", 0}, {"Loading V1...", 20}, {"Loading V2...", 40},
                                      {"Parsing...", 70}, {"Loading " + path, 70}, {"Finished", 90}}));

  // Writable only when checked.
  ID3Tag unchecked;
  OpenTrack(unchecked, path, kScanFull, nullptr, false);
  EXPECT_TRUE(unchecked.readOnly);
  EXPECT_EQ(IsFileReadOnly(path), 0);
  EXPECT_EQ(IsFileReadOnly(dir.file("missing.mp3")), 1);
}

TEST(OpenTrack, UntaggedMissingAndTagDataFiles) {
  test::TempDir dir;
  test::LogCapture log;
  ID3Tag track;
  EXPECT_EQ(test::openBytes(dir, "bare.mp3", test::shortAudio(), track), 1u);
  EXPECT_EQ(track.tagData.track, kUnsetNumber);
  EXPECT_EQ(track.tagData.sets, kUnsetNumber);
  EXPECT_EQ(track.v1.genre, kUnsetV1);
  EXPECT_FALSE(track.tagData.enabled || track.v1Loaded || track.v2Read);
  EXPECT_EQ(track.versionText, "");

  // A tag data file has no audio; its tag fills it to the last byte.
  EXPECT_EQ(test::openBytes(dir, "clip.tdf", tagWithTitle(4, "Clip"), track), 0u);
  EXPECT_EQ(track.tagData.title.toUtf8(), "Clip");
  EXPECT_EQ(track.versionText, "V2.4");

  log.clear();
  EXPECT_EQ(OpenTrack(track, dir.file("gone.mp3"), kScanFull, nullptr, true), 0u);
  EXPECT_TRUE(log.has(LogError, "Failed to open the file '" + dir.file("gone.mp3") +
                                    "' for reading (error: No such file or directory)"));
  log.clear();
  EXPECT_EQ(OpenTrack(track, dir.write("notes.txt", {1, 2, 3}), kScanFull, nullptr, true), 0u);
  EXPECT_TRUE(log.lines().empty());
}

TEST(OpenAiff, ChunksSizesAndTheAudioFacts) {
  auto aiff = [](std::vector<test::AiffChunk> chunks, std::string formType = "AIFF") {
    test::AiffBuilder builder(formType);
    for (auto& chunk : chunks) builder.chunk(std::move(chunk));
    return builder.build();
  };
  const Bytes tag = tagWithTitle(3, "Aiff song!");  // odd size: the chunk has a pad byte
  const auto comm = test::commChunk(2, 441005, 16, 44100.0);
  const auto ssnd = test::ssndChunk(Bytes(1000, 0x11));
  test::AiffChunk shortComm("COMM", Bytes(16, 1)), broken("JUNK", Bytes(4, 0));
  broken.sizeOverride = 0x7FFFFFF0;  // past the end: ends the walk, the file still opens
  Bytes misfit = aiff({test::commChunk(2, 44100, 16, 44100.0)});
  test::AiffBuilder misfitBuilder;
  misfitBuilder.chunk(test::commChunk(2, 44100, 16, 44100.0)).formSize(static_cast<uint32_t>(misfit.size() - 9));
  const std::string sizeLine = "Size in header is not consistent with file size (" + std::to_string(misfit.size() - 9) +
                               " <> " + std::to_string(misfit.size()) + " - 8)";
  const struct {
    const char* name;
    Bytes bytes;
    bool tolerate;
    unsigned result, rate, bitrate, duration;
    int channels;
    std::string title, logLine;
  } cases[] = {
      // COMM before the ID3 chunk is read; after it the walk has stopped. 10 s and 5 frames round up.
      {"comm first", aiff({comm, ssnd, test::id3Chunk(tag)}), true, 1, 44100, 1411, 11, kStereo, "Aiff song!",
       "AIFF header found"},
      {"tag first", aiff({test::id3Chunk(tag), comm, ssnd}), true, 0, 0, 0, 0, kStereo, "Aiff song!", ""},
      {"remainder below five dropped", aiff({test::commChunk(1, 88204, 8, 22050.0), test::ssndChunk(Bytes(8, 0))}), true,
       1, 22050, 176, 4, kMono, "", ""},
      {"multichannel", aiff({test::commChunk(6, 48000, 24, 48000.0)}), true, 1, 48000, 6912, 1, kMultiChannel, "", ""},
      {"size tolerated", misfitBuilder.build(), true, 1, 44100, 1411, 1, kStereo, "", sizeLine + " (ignoring...)"},
      {"size refused", misfitBuilder.build(), false, 0, 0, 0, 0, kStereo, "", sizeLine},
      {"neither AIFF nor AIFC", aiff({comm}, "WAVE"), true, 0, 0, 0, 0, kStereo, "", ""},
      {"compressed", aiff({test::commChunkAifc(2, 10, 16, 44100.0, "NONE")}, "AIFC"), true, 1, 44100, 1411, 1, kStereo,
       "", "Compressed AIFF header found"},
      {"COMM under 18 bytes skipped", aiff({shortComm}), true, 0, 0, 0, 0, kStereo, "", ""},
      {"chunk past the end", aiff({test::commChunk(1, 100, 16, 8000.0), broken}), true, 1, 8000, 128, 1, kMono, "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    test::LogCapture log;
    ID3Tag track;
    track.aiffSizeTolerance = c.tolerate;
    EXPECT_EQ(OpenTrack(track, dir.write("s.aif", c.bytes), kScanFull, nullptr, false), c.result);
    EXPECT_EQ(track.tagData.title.toUtf8(), c.title);
    EXPECT_EQ(track.aiffId3ChunkSize, c.title.empty() ? 0u : tag.size() + 1);
    EXPECT_EQ(track.sampleRateHz(), c.rate);
    EXPECT_EQ(track.audio.bitrate, c.bitrate);
    EXPECT_EQ(track.duration, c.duration);
    if (c.rate != 0) {
      EXPECT_EQ(track.audio.channelMode, c.channels);
    }
    EXPECT_TRUE(c.logLine.empty() || log.hasText(c.logLine)) << log.dump();
    EXPECT_EQ(log.hasText("AIFF header found"), c.tolerate && std::string(c.name) != "neither AIFF nor AIFC");
  }
}

}  // namespace
}  // namespace melos
