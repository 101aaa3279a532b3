#include "engine/id3v1.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "engine/open_track.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

V1Tag readBlock(const test::Id3v1Fields& fields) {
  Bytes block = test::id3v1Tag(fields);
  V1Tag tag;
  parseV1Block(tag, block.data());
  return tag;
}

TEST(V1Read, TrackAndGenreBytes) {
  struct Case {
    uint8_t track, genre, expectedTrack, expectedGenre;
  };
  const Case cases[] = {{0, 0, kUnsetV1, 0}, {1, 79, 1, 79}, {255, 80, 255, 12}, {3, 255, 3, 12}};
  for (const Case& c : cases) {
    test::Id3v1Fields fields;
    fields.track = c.track;
    fields.genre = c.genre;
    V1Tag tag = readBlock(fields);
    EXPECT_EQ(tag.track, c.expectedTrack);
    EXPECT_EQ(tag.genre, c.expectedGenre);
  }
}

TEST(V1Read, ShortFileIsLogged) {
  test::TempDir dir;
  std::string path = dir.write("short.mp3", Bytes{'I', 'D', '3', 3, 0, 0, 0, 0, 0, 0});
  File file = File::openRead(path);
  ID3Tag track;
  test::LogCapture log;
  EXPECT_EQ(loadV1(track, file), 0);
  EXPECT_TRUE(log.has(LogError, "Failed to load the V1 tag (error: "));
  EXPECT_FALSE(track.v1Loaded);
}

}  // namespace
}  // namespace melos
