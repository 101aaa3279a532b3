#include "engine/open_track.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

using test::Enc, test::Id3v2Builder;

Bytes tagWithTitle(uint8_t major, const char* title) { return Id3v2Builder(major).text("TIT2", Enc::Latin1, title).padding(10).build(); }

// Four characters after the last dot decide the kind: ".MP3x" is MP3, ".txt" no track.
TEST(OpenTrack, ContainerChecks) {
  const std::tuple<const char*, Bytes, const char*> cases[] = {  // name, bytes, refusal (nullptr: opens)
      {"id3.MP3x", tagWithTitle(3, "x"), nullptr},
      {"mp4.mp3", {0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'M', '4', 'A', ' '}, "File appears to be an MP4 not a valid MP3 file"},
      {"late.mp3", test::concat({Bytes(8192, 0), test::mpegHeaderBytes({})}), "File is not a valid MP3 file (0x00000000)"},
      {"ontime.mp3", test::concat({Bytes(100, 0), test::shortAudio()}), nullptr},
      {"fffa.mp3", {0x12, 0xFF, 0xFA, 0x90, 0x00, 0x55, 0x55}, nullptr},  // the low layer bit: accepted at once
      {"fffc-last.mp3", {0x12, 0x34, 0xFF, 0xFC}, nullptr},  // FF FC only when it is the last pair examined
      {"fffc-then.mp3", {0x12, 0xFF, 0xFC, 0x00, 0x55}, "File is not a valid MP3 file (0x12FFFFFFFFFFFFFF"},
      {"fffc.tdf", {0x12, 0xFF, 0xFC, 0x00, 0x55}, nullptr},
      {"bad.aif", {'R', 'I', 'F', 'F', 0, 0, 0, 0}, "File is not a valid AIFF file (0x52494646)"},
  };
  test::TempDir dir;
  for (const auto& [name, bytes, refusal] : cases) {
    test::LogCapture log;
    ID3Tag track;
    OpenTrack(track, dir.write(name, bytes), kScanFull, nullptr, false);
    EXPECT_TRUE(refusal ? log.has(LogError, refusal) : !log.hasText("is not a valid") && !log.hasText("MP4")) << name << log.dump();
  }
}

TEST(OpenTrack, TagsAudioProgressAndWhatIsNoTrack) {
  test::TempDir dir;
  const test::Id3v1Fields v1{"V1 title", "", "", "", "", 4, 17};
  // A fresh track drops frames that are no standard ID3 frame.
  Bytes file = test::mp3File({Id3v2Builder(3).text("TIT2", Enc::Latin1, "V2 title").frame("XYZ1", {0, 'x'}).padding(30).build(), test::shortAudio(40), {},
                              test::id3v1Tag(v1)});
  std::vector<std::pair<std::string, int>> stages;
  ProgressCallback progress{[](const char* stage, int percent, void* into) { static_cast<decltype(stages)*>(into)->emplace_back(stage, percent); }, &stages};
  ID3Tag track;
  std::string path = dir.write("both.mp3", file);
  EXPECT_EQ(OpenTrack(track, path, kScanFull, &progress, true), 1u);
  EXPECT_EQ(track.tagData.title.toUtf8() + "|" + track.v1.title + "|" + track.versionText, "V2 title|V1 title|V1 and V2.3");
  EXPECT_TRUE(track.tagData.enabled && track.tagData.privdata.empty() && !track.readOnly);
  EXPECT_EQ(std::make_tuple(track.v1.track, track.v1.genre, track.fileSize, track.audio.bitrate), std::make_tuple(uint8_t{4}, uint8_t{17}, uint64_t{file.size()}, 128u));
  EXPECT_EQ(stages, (decltype(stages){{"Starting...", 0}, {"Loading V1...", 20}, {"Loading V2...", 40},
                                      {"Parsing...", 70}, {"Loading " + path, 70}, {"Finished", 90}}));
  for (int n = 1; n <= 4; ++n) {  // a failed read of the container, V1 or V2 header, or tag ends the open
    test::FailNth fail(FileOp::Read, n);
    test::ScopedInjector scoped(fail);
    EXPECT_EQ(OpenTrack(track, path, kScanNone, nullptr, false) * 100 + track.readError, EIO) << n;
  }
  EXPECT_TRUE(OpenTrack(track, path, kScanFull, nullptr, false) == 1 && track.readOnly);  // writable only when checked
  EXPECT_EQ(IsFileReadOnly(path) * 10 + IsFileReadOnly(dir.file("missing.mp3")), 1);

  EXPECT_EQ(test::openBytes(dir, "bare.mp3", test::shortAudio(), track), 1u);
  EXPECT_EQ(std::make_tuple(track.tagData.track, track.tagData.sets, track.v1.genre, track.versionText),
            std::make_tuple(kUnsetNumber, kUnsetNumber, kUnsetV1, std::string()));
  EXPECT_FALSE(track.tagData.enabled || track.v1Loaded || track.v2Read);
  // A tag data file has no audio; its tag fills it to the last byte.
  EXPECT_EQ(test::openBytes(dir, "clip.tdf", tagWithTitle(4, "Clip"), track), 0u);
  EXPECT_EQ(track.tagData.title.toUtf8() + "|" + track.versionText, "Clip|V2.4");

  test::LogCapture log;
  EXPECT_EQ(OpenTrack(track, dir.file("gone.mp3"), kScanFull, nullptr, true), 0u);
  EXPECT_TRUE(log.has(LogError, "Failed to open the file '" + dir.file("gone.mp3") + "' for reading (error: No such file or directory)"));
  log.clear();
  EXPECT_EQ(OpenTrack(track, dir.write("notes.txt", {1}), kScanFull, nullptr, true) + OpenTrack(track, dir.write("notes", {1}), kScanFull, nullptr, true), 0u);
  EXPECT_TRUE(log.lines().empty());
}

TEST(OpenAiff, ChunksSizesAndTheAudioFacts) {
  auto aiff = [](std::vector<test::AiffChunk> chunks, std::string form = "AIFF") {
    test::AiffBuilder builder(form);
    for (auto& chunk : chunks) builder.chunk(std::move(chunk));
    return builder.build();
  };
  const Bytes tag = tagWithTitle(3, "Aiff song!");  // odd size: the chunk has a pad byte
  const auto comm = test::commChunk(2, 441005, 16, 44100.0), ssnd = test::ssndChunk(Bytes(1000, 0x11));
  test::AiffChunk broken("JUNK", Bytes(4, 0));
  broken.sizeOverride = 0x7FFFFFF0;  // past the end: ends the walk, the file still opens
  const Bytes misfit = test::AiffBuilder().chunk(test::commChunk(2, 44100, 16, 44100.0)).formSize(29).build();  // 38 bytes
  const std::string sizeLine = "Size in header is not consistent with file size (29 <> 38 - 8)";
  // Channel modes count only where there is a rate; a COMM chunk under 18 bytes is skipped.
  const struct { const char* name; Bytes bytes; bool tolerate; unsigned result, rate, bitrate, duration; int channels; std::string title, log; } cases[] = {
      // COMM before the ID3 chunk is read; after it the walk has stopped. 10 s and 5 frames round up.
      {"comm first", aiff({comm, ssnd, test::id3Chunk(tag)}), true, 1, 44100, 1411, 11, kStereo, "Aiff song!", "AIFF header found"},
      {"tag first", aiff({test::id3Chunk(tag), comm, ssnd}), true, 0, 0, 0, 0, 0, "Aiff song!", ""},
      {"below five", aiff({test::commChunk(1, 88204, 8, 22050.0), test::ssndChunk(Bytes(8, 0))}), true, 1, 22050, 176, 4, kMono, "", ""},
      {"multichannel", aiff({test::commChunk(6, 48000, 24, 48000.0)}), true, 1, 48000, 6912, 1, kMultiChannel, "", ""},
      {"size tolerated", misfit, true, 1, 44100, 1411, 1, kStereo, "", sizeLine + " (ignoring...)"},
      {"size refused", misfit, false, 0, 0, 0, 0, 0, "", sizeLine},
      {"WAVE", aiff({comm}, "WAVE"), true, 0, 0, 0, 0, 0, "", ""},
      {"AIFC", aiff({test::commChunkAifc(2, 10, 16, 44100.0, "NONE")}, "AIFC"), true, 1, 44100, 1411, 1, kStereo, "", "Compressed AIFF header found"},
      {"short COMM", aiff({test::AiffChunk("COMM", Bytes(16, 1))}), true, 0, 0, 0, 0, 0, "", ""},
      {"past the end", aiff({test::commChunk(1, 100, 16, 8000.0), broken}), true, 1, 8000, 128, 1, kMono, "", ""},
  };
  test::TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::LogCapture log;
    ID3Tag track;
    track.aiffSizeTolerance = c.tolerate;
    EXPECT_EQ(OpenTrack(track, dir.write("s.aif", c.bytes), kScanFull, nullptr, false), c.result);
    EXPECT_EQ(std::make_pair(track.tagData.title.toUtf8(), size_t{track.aiffId3ChunkSize}), std::make_pair(c.title, c.title.empty() ? 0u : tag.size() + 1));
    EXPECT_EQ(std::make_tuple(track.sampleRateHz(), track.audio.bitrate, track.duration, c.rate ? track.audio.channelMode : 0),
              std::make_tuple(c.rate, c.bitrate, c.duration, c.channels));
    EXPECT_TRUE(log.hasText(c.log) && log.hasText("AIFF header found") == (c.tolerate && std::string(c.name) != "WAVE")) << log.dump();
  }
  // The builder pads an odd chunk and counts the pad in the form size, as the walk above expects.
  EXPECT_EQ(test::AiffBuilder().chunk("ID3 ", {1, 2, 3}).build(),
            (Bytes{'F', 'O', 'R', 'M', 0, 0, 0, 16, 'A', 'I', 'F', 'F', 'I', 'D', '3', ' ', 0, 0, 0, 3, 1, 2, 3, 0 /* pad */}));
}

}  // namespace
}  // namespace melos
