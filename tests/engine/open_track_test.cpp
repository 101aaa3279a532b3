#include "engine/open_track.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

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

TEST(FileKind, ByTheFourCharactersAfterTheLastDot) {
  struct Case {
    const char* path;
    int kind;
    bool mp3, aiff, tdf;
  };
  const Case cases[] = {
      {"song.MP3", 1, true, false, false},  {"song.mp3x", 1, true, false, false},
      {"song.aiff", 1, false, true, false}, {"song.AIFC", 1, false, true, false},
      {"a.b/song.tdf", 1, false, false, true}, {"song.mp", 0, false, false, false},
      {"song", 0, false, false, false},     {"song.mp3.wav", 0, false, false, false},
  };
  for (const Case& c : cases) {
    ID3Tag track;
    EXPECT_EQ(GetFileKind(c.path, &track), c.kind) << c.path;
    EXPECT_EQ(track.isMp3File, c.mp3) << c.path;
    EXPECT_EQ(track.isAiffFile, c.aiff) << c.path;
    EXPECT_EQ(track.isTagDataFile, c.tdf) << c.path;
  }
}

TEST(OpenTrack, ContainerChecks) {
  Bytes frame = test::mpegHeaderBytes(test::MpegHeader{});
  auto padded = [](Bytes head, size_t zeros) {
    head.insert(head.begin(), zeros, 0);
    return head;
  };
  struct Case {
    const char* name;
    Bytes bytes;
    bool opens;
    const char* message;
  };
  const Case cases[] = {
      {"id3.mp3", Id3v2Builder(3).text("TIT2", Enc::Latin1, "x").padding(10).build(), true, nullptr},
      {"mp4.mp3", Bytes{0, 0, 0, 0x20, 'f', 't', 'y', 'p', 'M', '4', 'A', ' '}, false,
       "File appears to be an MP4 not a valid MP3 file"},
      {"late.mp3", padded(frame, 8192), false, "File is not a valid MP3 file (0x00000000)"},
      {"ontime.mp3", padded(test::shortAudio(), 100), true, nullptr},
      // FF FA: the low layer bit is set, accepted at once.
      {"fffa.mp3", Bytes{0x12, 0xFF, 0xFA, 0x90, 0x00, 0x55, 0x55}, true, nullptr},
      // FF FC only when it is the last pair examined.
      {"fffc-last.mp3", Bytes{0x12, 0x34, 0xFF, 0xFC}, true, nullptr},
      {"fffc-then.mp3", Bytes{0x12, 0xFF, 0xFC, 0x00, 0x55}, false, "File is not a valid MP3 file (0x12FFFFFFFFFFFFFF"},
      {"fffc.tdf", Bytes{0x12, 0xFF, 0xFC, 0x00, 0x55}, true, nullptr},
      {"bad.aif", Bytes{'R', 'I', 'F', 'F', 0, 0, 0, 0}, false, "File is not a valid AIFF file (0x52494646)"},
  };
  for (const Case& c : cases) {
    test::TempDir dir;
    test::LogCapture log;
    ID3Tag track;
    std::string path = dir.write(c.name, c.bytes);
    OpenTrack(track, path, kScanFull, nullptr, false);
    bool refused = log.count(LogError) > 0 && c.message != nullptr && log.has(LogError, c.message);
    if (c.opens) {
      EXPECT_FALSE(log.hasText("is not a valid")) << c.name << log.dump();
      EXPECT_FALSE(log.hasText("MP4")) << c.name;
    } else {
      EXPECT_TRUE(refused) << c.name << "\n" << log.dump();
    }
  }
}

TEST(OpenTrack, MissingFileAndNoTrack) {
  test::TempDir dir;
  test::LogCapture log;
  ID3Tag track;
  EXPECT_EQ(OpenTrack(track, dir.file("gone.mp3"), kScanFull, nullptr, true), 0u);
  EXPECT_TRUE(log.has(LogError, "Failed to open the file '" + dir.file("gone.mp3") + "' for reading (error: No such file or directory)"));
  log.clear();
  EXPECT_EQ(OpenTrack(track, dir.write("notes.txt", {1, 2, 3}), kScanFull, nullptr, true), 0u);
  EXPECT_TRUE(log.lines().empty());
}

TEST(OpenTrack, Mp3WithBothTagsAndAudio) {
  test::TempDir dir;
  test::Id3v1Fields v1;
  v1.title = "V1 title";
  v1.genre = 17;
  v1.track = 4;
  Bytes file = test::mp3File({Id3v2Builder(3).text("TIT2", Enc::Latin1, "V2 title").padding(30).build(),
                              test::shortAudio(40), {}, test::id3v1Tag(v1)});
  ID3Tag track;
  EXPECT_EQ(test::openBytes(dir, "both.mp3", file, track), 1u);
  EXPECT_EQ(track.tagData.title.toUtf8(), "V2 title");
  EXPECT_TRUE(track.tagData.enabled);
  EXPECT_EQ(track.v1.title, "V1 title");
  EXPECT_EQ(track.v1.track, 4);
  EXPECT_EQ(track.versionText, "V1 and V2.3");
  EXPECT_EQ(track.v2Version, 3);
  EXPECT_EQ(track.fileSize, file.size());
  EXPECT_FALSE(track.readOnly);
  EXPECT_EQ(track.audio.bitrate, 128u);
}

TEST(OpenTrack, UntaggedTrackHasUnsetNumbersAndNoTexts) {
  test::TempDir dir;
  ID3Tag track;
  EXPECT_EQ(test::openBytes(dir, "bare.mp3", test::shortAudio(), track), 1u);
  EXPECT_EQ(track.tagData.track, kUnsetNumber);
  EXPECT_EQ(track.tagData.sets, kUnsetNumber);
  EXPECT_EQ(track.v1.track, kUnsetV1);
  EXPECT_EQ(track.v1.genre, kUnsetV1);
  EXPECT_TRUE(track.tagData.title.empty());
  EXPECT_FALSE(track.tagData.enabled);
  EXPECT_FALSE(track.v1Loaded);
  EXPECT_EQ(track.versionText, "");
}

TEST(OpenTrack, WritableOnlyWhenChecked) {
  test::TempDir dir;
  std::string path = dir.write("w.mp3", test::shortAudio());
  ID3Tag unchecked;
  OpenTrack(unchecked, path, kScanFull, nullptr, false);
  EXPECT_TRUE(unchecked.readOnly);
  ID3Tag checked;
  OpenTrack(checked, path, kScanFull, nullptr, true);
  EXPECT_FALSE(checked.readOnly);
  EXPECT_EQ(IsFileReadOnly(path), 0);
  EXPECT_EQ(IsFileReadOnly(dir.file("missing.mp3")), 1);
}

TEST(OpenTrack, ProgressStagesInOrder) {
  struct Recorder {
    std::vector<std::pair<std::string, int>> stages;
    static void report(const char* stage, int percent, void* context) {
      static_cast<Recorder*>(context)->stages.emplace_back(stage, percent);
    }
  };
  test::TempDir dir;
  std::string path = dir.write("p.mp3", test::mp3File({Id3v2Builder(3).text("TIT2", Enc::Latin1, "x").padding(10).build(),
                                                       test::shortAudio(), {}, {}}));
  Recorder recorder;
  ProgressCallback progress{&Recorder::report, &recorder};
  ID3Tag track;
  OpenTrack(track, path, kScanFull, &progress, false);
  std::vector<std::pair<std::string, int>> open;
  for (const auto& stage : recorder.stages)
    if (stage.first.rfind("Loading /", 0) != 0) open.push_back(stage);
  std::vector<std::pair<std::string, int>> expected{
      {"Starting...", 0}, {"Loading V1...", 20}, {"Loading V2...", 40}, {"Parsing...", 70}, {"Finished", 90}};
  EXPECT_EQ(open, expected);
}

TEST(OpenTrack, TagDataFileReadsItsTagButHasNoAudio) {
  test::TempDir dir;
  ID3Tag track;
  EXPECT_EQ(test::openBytes(dir, "clip.tdf", Id3v2Builder(4).text("TIT2", Enc::Latin1, "Clip").padding(10).build(), track), 0u);
  EXPECT_EQ(track.tagData.title.toUtf8(), "Clip");
  EXPECT_EQ(track.versionText, "V2.4");
}

Bytes aiffWith(std::vector<test::AiffChunk> chunks, std::string formType = "AIFF") {
  test::AiffBuilder builder(formType);
  for (auto& chunk : chunks) builder.chunk(std::move(chunk));
  return builder.build();
}

TEST(OpenAiff, ChunksInAnyOrderAndTheAudioFacts) {
  Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, "Aiff song").padding(11).build();
  Bytes sound(1000, 0x11);
  std::vector<std::vector<test::AiffChunk>> orders{
      {test::commChunk(2, 441005, 16, 44100.0), test::ssndChunk(sound), test::id3Chunk(tag)},
      {test::id3Chunk(tag), test::commChunk(2, 441005, 16, 44100.0), test::ssndChunk(sound)},
  };
  for (auto& chunks : orders) {
    test::TempDir dir;
    test::LogCapture log;
    ID3Tag track;
    unsigned result = test::openBytes(dir, "s.aif", aiffWith(chunks), track);
    EXPECT_EQ(track.tagData.title.toUtf8(), "Aiff song");
    EXPECT_TRUE(log.has(LogStatus, "AIFF header found"));
    // COMM before the ID3 chunk is read; after it the walk has stopped.
    bool commFirst = chunks[0].id == "COMM";
    EXPECT_EQ(result, commFirst ? 1u : 0u);
    if (commFirst) {
      EXPECT_EQ(track.audio.sampleRate, 44100u);
      EXPECT_EQ(track.sampleRateHz(), 44100u);
      EXPECT_EQ(track.audio.bitrate, 1411u);
      EXPECT_EQ(track.duration, 11u);  // 10 s and 5 sample frames round up
      EXPECT_EQ(track.audio.channelMode, kStereo);
    }
    EXPECT_EQ(track.aiffId3ChunkSize, tag.size() + (tag.size() % 2));
  }
}

TEST(OpenAiff, DurationRemainderBelowFiveIsDropped) {
  test::TempDir dir;
  ID3Tag track;
  test::openBytes(dir, "d.aif", aiffWith({test::commChunk(1, 88204, 8, 22050.0), test::ssndChunk(Bytes(8, 0))}), track);
  EXPECT_EQ(track.duration, 4u);
  EXPECT_EQ(track.audio.channelMode, kMono);
  ID3Tag many;
  test::openBytes(dir, "m.aif", aiffWith({test::commChunk(6, 48000, 24, 48000.0)}), many);
  EXPECT_EQ(many.audio.channelMode, kMultiChannel);
  EXPECT_EQ(many.audio.bitrate, 6912u);
}

TEST(OpenAiff, FormSizeMismatch) {
  Bytes good = aiffWith({test::commChunk(2, 44100, 16, 44100.0)});
  test::AiffBuilder builder("AIFF");
  builder.chunk(test::commChunk(2, 44100, 16, 44100.0));
  builder.formSize(static_cast<uint32_t>(good.size() - 8 - 1));
  Bytes bad = builder.build();
  for (bool tolerate : {true, false}) {
    test::TempDir dir;
    test::LogCapture log;
    ID3Tag track;
    track.aiffSizeTolerance = tolerate;
    std::string path = dir.write("s.aif", bad);
    unsigned result = OpenTrack(track, path, kScanFull, nullptr, false);
    std::string expected = "Size in header is not consistent with file size (" + std::to_string(good.size() - 9) +
                           " <> " + std::to_string(good.size()) + " - 8)" + (tolerate ? " (ignoring...)" : "");
    EXPECT_TRUE(log.has(LogWarning, expected)) << log.dump();
    EXPECT_EQ(result, tolerate ? 1u : 0u);
  }
}

TEST(OpenAiff, OddShapes) {
  test::TempDir dir;
  {
    // Neither AIFF nor AIFC: no chunk walk, no tag, no facts.
    test::LogCapture log;
    ID3Tag track;
    EXPECT_EQ(test::openBytes(dir, "w.aif", aiffWith({test::commChunk(2, 10, 16, 44100.0)}, "WAVE"), track), 0u);
    EXPECT_FALSE(log.hasText("AIFF header found"));
  }
  {
    test::LogCapture log;
    ID3Tag track;
    test::openBytes(dir, "c.aifc", aiffWith({test::commChunkAifc(2, 10, 16, 44100.0, "NONE")}, "AIFC"), track);
    EXPECT_TRUE(log.has(LogStatus, "Compressed AIFF header found"));
  }
  {
    // A COMM chunk shorter than 18 bytes is skipped.
    ID3Tag track;
    EXPECT_EQ(test::openBytes(dir, "s.aif", aiffWith({test::AiffChunk("COMM", Bytes(16, 1))}), track), 0u);
    EXPECT_EQ(track.audio.sampleRate, 0u);
  }
  {
    // A chunk size past the end ends the walk; the file still opens.
    test::AiffChunk broken("JUNK", Bytes(4, 0));
    broken.sizeOverride = 0x7FFFFFF0;
    ID3Tag track;
    EXPECT_EQ(test::openBytes(dir, "b.aif", aiffWith({test::commChunk(1, 100, 16, 8000.0), broken}), track), 1u);
  }
}

}  // namespace
}  // namespace melos
