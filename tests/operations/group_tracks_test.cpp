// The group's track rows and their reading on worker threads: order, batches,
// failures told once, and a stop that leaves nothing behind.

#include "operations/group_tracks.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>

#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/support/sample_tracks.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using test::TempDir;

// Collects what a loader hands over, as the window's thread would.
struct Received {
  std::mutex mutex;
  std::condition_variable ended;
  std::vector<std::string> titles;
  std::vector<size_t> batchSizes;
  std::vector<size_t> coversKept;  // per batch
  std::vector<OpenFailure> failures;
  int finishedCalls = 0;

  GroupLoader::Deliver deliver() {
    return [this](std::vector<LoadedTrack> batch) {
      std::lock_guard lock(mutex);
      batchSizes.push_back(batch.size());
      coversKept.push_back(0);
      for (const LoadedTrack& loaded : batch) {
        coversKept.back() += loaded.values.picture.has_value() ? 1 : 0;
        EXPECT_TRUE(loaded.track->tagData.picdata.empty());
        titles.push_back(loaded.row.title);
      }
    };
  }
  GroupLoader::Finished finished() {
    return [this](std::vector<OpenFailure> told) {
      std::lock_guard lock(mutex);
      failures = std::move(told);
      ++finishedCalls;
      ended.notify_all();
    };
  }
  void wait() {
    std::unique_lock lock(mutex);
    ended.wait(lock, [this] { return finishedCalls > 0; });
  }
};

TEST(GroupTracksTest, RowsShowV2ValuesElseV1AndTheTrackNumber) {
  struct Case {
    const char* name;
    std::string v2Title, v1Title;
    uint16_t track, tracks;
    uint8_t v1Track;
    std::string title, trackText;
  };
  const Case cases[] = {
      {"V2 first", "Vee two", "Vee one", 3, 12, 3, "Vee two", "3/12"},
      {"V1 when V2 is empty", "", "Vee one\xe9", kUnsetNumber, kUnsetNumber, 7, "Vee one\xc3\xa9", "7"},
      {"number alone", "T", "", 4, kUnsetNumber, kUnsetV1, "T", "4"},
      {"total alone", "T", "", kUnsetNumber, 9, kUnsetV1, "T", "/9"},
      {"none", "", "", kUnsetNumber, kUnsetNumber, kUnsetV1, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ID3Tag track;
    track.setPath("/music/album/01 song.mp3");
    track.tagData.title = UnicodeText::fromUtf8(c.v2Title);
    track.v1.enabled = true;
    track.v1.title = c.v1Title;
    track.v1.track = c.v1Track;
    track.tagData.track = c.track;
    track.tagData.tracks = c.tracks;
    const TrackRow row = trackRow(track);
    EXPECT_EQ(row.fileName, "01 song.mp3");
    EXPECT_EQ(row.folder, "/music/album");
    EXPECT_EQ(row.title, c.title);
    EXPECT_EQ(row.track, c.trackText);
  }
}

TEST(GroupTracksTest, StatusTexts) {
  const std::pair<TrackStatus, const char*> statuses[] = {
      {TrackStatus::NotReached, ""},        {TrackStatus::Saved, "Written"},
      {TrackStatus::Unchanged, "Passed over"}, {TrackStatus::ReadOnly, "Passed over"},
      {TrackStatus::CheckDeclined, "Passed over"}, {TrackStatus::Failed, "Failed"}};
  for (const auto& [status, text] : statuses) EXPECT_EQ(trackStatusText(status), text);
}

TEST(GroupTracksTest, LoadingKeepsThePathOrderAndTellsFailuresOnce) {
  TempDir dir;
  std::vector<std::string> paths;
  std::vector<std::string> expected;
  for (int i = 0; i < 40; ++i) {
    const std::string name = "t" + std::to_string(i) + ".mp3";
    if (i % 3 == 1) {
      paths.push_back(dir.write(name, Bytes{'n', 'o', 't'}));  // broken
    } else {
      paths.push_back(dir.write(name, test::sampleMp3("Song " + std::to_string(i))));
      expected.push_back("Song " + std::to_string(i));
    }
  }
  paths.push_back(dir.path() + "/gone.mp3");
  // Also with one worker first and the others once the window has drawn,
  // the last of them asked for after the end.
  for (const auto& [jobs, staged] : {std::pair{1, false}, std::pair{4, false}, std::pair{4, true}}) {
    SCOPED_TRACE(jobs);
    Received received;
    {
      GroupLoader loader(paths, jobs, received.deliver(), received.finished(), 5);
      loader.start(staged ? 1 : 0);
      if (staged) loader.startRest();
      received.wait();
      loader.startRest();
    }
    EXPECT_EQ(received.titles, expected);
    EXPECT_EQ(received.finishedCalls, 1);
    ASSERT_EQ(received.failures.size(), paths.size() - expected.size());
    EXPECT_EQ(received.failures.front().path, paths[1]);
    EXPECT_EQ(received.failures.back().path, dir.path() + "/gone.mp3");
    for (size_t size : received.batchSizes) EXPECT_LE(size, 5u);
  }
}

TEST(GroupTracksTest, TheFirstBatchIsSmallSoRowsShowAtOnce) {
  TempDir dir;
  std::vector<std::string> paths;
  for (int i = 0; i < 100; ++i) paths.push_back(dir.write(std::to_string(i) + ".mp3", test::sampleMp3("B")));
  Received received;
  {
    GroupLoader loader(paths, 1, received.deliver(), received.finished(), 60);
    loader.start();
    received.wait();
  }
  const size_t first = GroupLoader::kFirstBatch;
  EXPECT_EQ(received.batchSizes, (std::vector<size_t>{first, 60, 100 - 60 - first}));
}

TEST(GroupTracksTest, PicturesAreCountedThenDropped) {
  TempDir dir;
  const Bytes tag = test::Id3v2Builder(3)
                        .text("TIT2", test::Enc::Latin1, "With cover")
                        .frame(test::pictureFrame(test::Enc::Latin1, "image/png", 3, "", test::pngBytes(64)))
                        .build();
  const std::string path = dir.write("c.mp3", test::mp3File({tag, test::cbrStream(test::MpegHeader{}, 40), {}, {}}));
  std::string cause;
  const LoadedTrack loaded = loadGroupTrack(path, cause);
  ASSERT_TRUE(loaded.track) << cause;
  EXPECT_EQ(loaded.row.pictures.count, 1u);
  EXPECT_GT(loaded.row.pictures.bytes, 0u);
  EXPECT_TRUE(loaded.track->tagData.picdata.empty());
  ASSERT_TRUE(loaded.values.picture.has_value());  // the window may still show it
  EXPECT_TRUE(loaded.hasV2);
}

TEST(GroupTracksTest, OneCoverPerBatchTravelsTheFirstTrackReadAmongThem) {
  TempDir dir;
  const Bytes withCover = test::mp3File(
      {test::Id3v2Builder(3)
           .frame(test::pictureFrame(test::Enc::Latin1, "image/png", 3, "", test::pngBytes(64)))
           .build(),
       test::cbrStream(test::MpegHeader{}, 40), {}, {}});
  std::vector<std::string> paths;
  for (int i = 0; i < 3; ++i) paths.push_back(dir.write("broken" + std::to_string(i) + ".mp3", Bytes{'n', 'o'}));
  for (int i = 0; i < 10; ++i) paths.push_back(dir.write(std::to_string(i) + ".mp3", withCover));
  Received received;
  {
    GroupLoader loader(paths, 2, received.deliver(), received.finished(), 5);
    loader.start();
    received.wait();
  }
  // Batches of 5: two tracks read after three broken ones, then 5 and 3.
  EXPECT_EQ(received.batchSizes, (std::vector<size_t>{2, 5, 3}));
  EXPECT_EQ(received.coversKept, (std::vector<size_t>{1, 1, 1}));
}

TEST(GroupTracksTest, AStoppedLoaderBeginsNoFurtherTrack) {
  TempDir dir;
  std::vector<std::string> paths;
  for (int i = 0; i < 200; ++i) paths.push_back(dir.write("s" + std::to_string(i) + ".mp3", test::sampleMp3("S")));
  Received received;
  {
    GroupLoader loader(paths, 2, received.deliver(), received.finished(), 4);
    loader.start();
    loader.stop();
  }
  EXPECT_EQ(received.finishedCalls, 1);  // the end is still told, once
  EXPECT_LT(received.titles.size(), paths.size());
}

TEST(GroupTracksTest, OneAlertForTheFailures) {
  const std::vector<OpenFailure> one = {{"/a/x.mp3", "no MPEG audio frames found"}};
  const Alert single = groupLoadFailuresAlert(one);
  EXPECT_EQ(single.title, "Open failed");
  EXPECT_EQ(single.message, "Could not read the tag information from the file '/a/x.mp3'.");
  struct Case {
    size_t count;
    size_t lines;
    bool others;
  };
  for (const Case& c : {Case{5, 5, false}, Case{6, 4, true}, Case{500, 4, true}}) {
    SCOPED_TRACE(c.count);
    std::vector<OpenFailure> many;
    for (size_t i = 0; i < c.count; ++i) many.push_back({"/a/" + std::to_string(i) + ".mp3", ""});
    const Alert alert = groupLoadFailuresAlert(many);
    EXPECT_EQ(alert.title, "Open failed");
    EXPECT_EQ(static_cast<size_t>(std::count(alert.message.begin(), alert.message.end(), '\n')) + 1, c.lines);
    EXPECT_EQ(alert.message.find("(And others)") != std::string::npos, c.others);
  }
}

}  // namespace
}  // namespace melos
