#include "engine/id3v1.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "engine/open_track.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

TEST(V1Read, TrackAndGenreBytesAndAShortFile) {
  const uint8_t cases[][4] = {{0, 0, kUnsetV1, 0}, {1, 79, 1, 79}, {255, 80, 255, 12}, {3, 255, 3, 12}};  // read, expected
  for (const auto& c : cases) {
    test::Id3v1Fields fields;
    fields.track = c[0];
    fields.genre = c[1];
    V1Tag tag;
    parseV1Block(tag, test::id3v1Tag(fields).data());
    EXPECT_EQ(std::make_pair(tag.track, tag.genre), std::make_pair(c[2], c[3]));
  }
  test::TempDir dir;
  ID3Tag track;
  test::LogCapture log;
  EXPECT_EQ(loadV1(track, File::openRead(dir.write("short.mp3", Bytes{'I', 'D', '3', 3, 0, 0, 0, 0, 0, 0}))), 0);
  EXPECT_TRUE(log.has(LogError, "Failed to load the V1 tag (error: "));
  EXPECT_FALSE(track.v1Loaded);
}

}  // namespace
}  // namespace melos
