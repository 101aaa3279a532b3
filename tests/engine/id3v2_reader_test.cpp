#include "engine/id3v2_reader.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "engine/open_track.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

using test::Enc;
using test::Id3Frame;
using test::Id3v2Builder;

ID3Tag walk(const Bytes& tag, int keepMode = 1) { return test::walkTag(tag, keepMode); }

std::string title(const ID3Tag& track) { return track.tagData.title.toUtf8(); }

TEST(V2Header, AcceptsAndRefuses) {
  struct Case {
    Bytes header;
    uint32_t size;
  };
  const Case cases[] = {
      {{'I', 'D', '3', 3, 0, 0x00, 0, 0, 0x02, 0x01}, 257 + 10},
      {{'I', 'D', '3', 4, 0, 0x80, 0, 0, 0, 0x10}, 16 + 10},
      {{'I', 'D', '3', 3, 0, 0x40, 0, 0, 0, 0x10}, 26},
      {{'I', 'D', '3', 4, 0, 0x10, 0, 0, 0, 0x10}, 26},
      // No defined flag among the set bits: no tag.
      {{'I', 'D', '3', 3, 0, 0x01, 0, 0, 0, 0x10}, 0},
      {{'I', 'D', '3', 3, 0, 0x20, 0, 0, 0, 0x10}, 0},
      // Case counts, and ten bytes are needed.
      {{'i', 'd', '3', 3, 0, 0, 0, 0, 0, 0x10}, 0},
      {{'I', 'D', '3', 3, 0, 0, 0, 0, 0}, 0},
      // A size byte with its top bit set is taken as it stands.
      {{'I', 'D', '3', 3, 0, 0, 0, 0, 0x80, 0x00}, 0x80 * 128 + 10},
  };
  for (const Case& c : cases) EXPECT_EQ(ParseV2Header(c.header.data(), c.header.size()), c.size);
}

TEST(V2Header, LaterVersionIsLoggedAndStillRead) {
  test::LogCapture log;
  Bytes header{'I', 'D', '3', 5, 0, 0, 0, 0, 0, 0x10};
  EXPECT_EQ(ParseV2Header(header.data(), header.size()), 26u);
  EXPECT_TRUE(log.has(LogError, "ID3 tag version 2.5 is incompatible (max 2.4)"));

  Bytes tag = Id3v2Builder(5).text("TIT2", Enc::Latin1, "Five").padding(8).build();
  ID3Tag track = walk(tag);
  EXPECT_TRUE(log.has(LogWarning, "Warning: Tag version 2.5 found (max allowed is 2.4)"));
  EXPECT_EQ(title(track), "Five");
  EXPECT_EQ(track.v2Version, 5);
}

// Each frame form reaches the field. Without resynchronising 2.2 and 2.3 tags,
// their frames would be dropped by the next save; the 2.4 extended header size
// counts its own four bytes, and skipping four more would misread the first
// frame.
TEST(V2Walk, EveryFrameFormReachesTheField) {
  const Bytes image = test::jpegBytes(32);  // FF D8 ... needs unsynchronising
  Id3Frame unsync24("TIT2", {0x00, 'a', 0xFF, 0x00, 0xE0, 'b'});
  unsync24.flags = 0x0002;  // the body is already unsynchronised
  Id3Frame indicated = test::textFrame("TIT2", Enc::Latin1, "Indicated");
  indicated.dataLengthIndicator = true;
  struct Case {
    const char* name;
    Bytes tag;
    std::string title;
    uint8_t version;
    bool picture = false;
  };
  const Case cases[] = {
      {"2.2", Id3v2Builder(2).text("TT2", Enc::Latin1, "Song").padding(20).build(), "Song", 2},
      {"2.3", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Song").padding(20).build(), "Song", 3},
      {"2.4", Id3v2Builder(4).text("TIT2", Enc::Latin1, "Song").padding(20).build(), "Song", 4},
      {"only padding", Id3v2Builder(3).padding(64).build(), "", 3},
      {"2.2 unsynchronised",
       Id3v2Builder(2).unsynchronised().text("TT2", Enc::Latin1, "Sync")
           .frame(test::picture22Frame(Enc::Latin1, "JPG", 3, "", image)).padding(10).build(), "Sync", 2, true},
      {"2.3 unsynchronised",
       Id3v2Builder(3).unsynchronised().text("TIT2", Enc::Latin1, "Sync")
           .frame(test::pictureFrame(Enc::Latin1, "image/jpeg", 3, "", image)).padding(10).build(), "Sync", 3, true},
      {"2.4 frame unsynchronised", Id3v2Builder(4).frame(unsync24).padding(10).build(), "a\xFF\xE0" "b", 4},
      {"2.3 extended header", Id3v2Builder(3).extendedHeader({}).text("TIT2", Enc::Latin1, "Three").padding(10).build(),
       "Three", 3},
      {"2.4 extended header", Id3v2Builder(4).extendedHeader({}).text("TIT2", Enc::Latin1, "Four").padding(10).build(),
       "Four", 4},
      {"2.4 data length indicator", Id3v2Builder(4).frame(indicated).padding(10).build(), "Indicated", 4},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ID3Tag track = walk(c.tag);
    EXPECT_EQ(track.tagData.title.data, c.title);
    EXPECT_TRUE(track.v2Read);
    EXPECT_EQ(track.v2Version, c.version);
    EXPECT_TRUE(track.tagData.privdata.empty());
    ASSERT_EQ(track.tagData.picdata.size(), c.picture ? 1u : 0u);
    if (c.picture) {
      EXPECT_EQ(track.tagData.picdata[0].data, image);
    }
  }
}

TEST(V2Walk, NonSyncsafeSizesIn24) {
  // 256 bytes of text: size bytes 00 00 01 00 read 128 syncsafe, 256 plain.
  std::string text(255, '-');
  Id3Frame plain = test::textFrame("TIT2", Enc::Latin1, text);
  plain.plainSize = true;
  ID3Tag track = walk(Id3v2Builder(4).frame(plain).text("TALB", Enc::Latin1, "After").padding(10).build());
  EXPECT_EQ(title(track).size(), 255u);
  EXPECT_EQ(track.tagData.album.toUtf8(), "After");

  // When a valid ID follows at the syncsafe end, the syncsafe size stands.
  std::string shortText(127, 'y');
  Id3Frame syncsafe = test::textFrame("TIT2", Enc::Latin1, shortText);
  ASSERT_EQ(syncsafe.body.size(), 128u);
  Id3Frame odd("TIT2", syncsafe.body);
  odd.sizeOverride = 0x80;  // syncsafe 128 = 00 00 01 00, plain 256
  Id3v2Builder builder(4);
  builder.frame(odd).raw({'T', 'A', 'L', 'B', 0, 0, 0, 3, 0, 0, 0, 'o', 'k'});
  builder.raw(Bytes(120, 0));
  ID3Tag second = walk(builder.build());
  EXPECT_EQ(title(second).size(), 127u);
  EXPECT_EQ(second.tagData.album.toUtf8(), "ok");
}

TEST(V2Walk, LowerCaseLettersCountAsAValidNextId) {
  std::string text(255, '-');
  Id3Frame plain = test::textFrame("TIT2", Enc::Latin1, text);
  plain.plainSize = true;
  test::LogCapture log;
  ID3Tag track = walk(Id3v2Builder(4).frame(plain).frame("abcd", {0, 'z'}).padding(10).build(), 2);
  EXPECT_EQ(title(track).size(), 255u);
  ASSERT_EQ(track.tagData.privdata.size(), 1u);
  EXPECT_EQ(track.tagData.privdata[0].id, "abcd");
}

TEST(V2Walk, FaultsEndTheWalkAndKeepEarlierFrames) {
  struct Case {
    const char* name;
    Bytes tag;
    unsigned level;
    const char* message;
  };
  Id3Frame zero("TALB", {});
  Id3Frame huge = test::textFrame("TALB", Enc::Latin1, "x");
  huge.sizeOverride = 100000;
  const Case cases[] = {
      {"zero size", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Kept").frame(zero).build(), LogError,
       "Tag 2.3 frame TALB size error (0, max "},
      {"size past the tag", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Kept").frame(huge).build(), LogError,
       "Tag 2.3 frame TALB size error (100000, max "},
      {"cut frame ID", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Kept").raw({'T', 'A'}).build(), LogError,
       "Failed to get the 2.3 frame ID ("},
      {"cut frame header", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Kept").raw({'T', 'A', 'L', 'B', 0, 0}).build(),
       LogError, "Failed to get the frame size ("},
      {"cut 2.2 frame ID", Id3v2Builder(2).text("TT2", Enc::Latin1, "Kept").raw({'T', 'A'}).build(), LogError,
       "Failed to read the 2.2 frame ID ("},
      {"2.2 size with top bit", Id3v2Builder(2).text("TT2", Enc::Latin1, "Kept").raw({'T', 'A', 'L', 0x80, 0, 1, 'x'}).build(),
       LogError, "Tag 2.2 frame TAL size error ("},
  };
  for (const Case& c : cases) {
    test::LogCapture log;
    ID3Tag track = walk(c.tag);
    EXPECT_EQ(title(track), "Kept") << c.name;
    EXPECT_TRUE(track.v2Read) << c.name;
    EXPECT_TRUE(log.has(c.level, c.message)) << c.name << "\n" << log.dump();
  }
}

TEST(V2Walk, KeepModesDecideWhatUnknownFramesBecome) {
  struct Case {
    int keepMode;
    const char* id;
    bool kept;
    const char* message;
  };
  const Case cases[] = {
      {1, "TLAN", true, "Adding non-standard tag field 'TLAN'"},
      {1, "XYZ1", false, nullptr},
      {2, "XYZ1", true, "Adding unsupported but valid tag field 'XYZ1'"},
      {2, "TLAN", true, "Adding unsupported but valid tag field 'TLAN'"},
      {0, "TLAN", false, nullptr},
  };
  for (const Case& c : cases) {
    test::LogCapture log;
    Bytes body{0, 'x', 'y'};
    ID3Tag track = walk(Id3v2Builder(3).frame(c.id, body).padding(10).build(), c.keepMode);
    ASSERT_EQ(track.tagData.privdata.size(), c.kept ? 1u : 0u) << c.id << c.keepMode;
    if (c.kept) {
      EXPECT_EQ(track.tagData.privdata[0].id, c.id);
      EXPECT_EQ(track.tagData.privdata[0].body, body);
    }
    if (c.message != nullptr) {
      EXPECT_TRUE(log.has(LogStatus, c.message)) << log.dump();
    }
    if (std::string(c.id) == "XYZ1") {
      EXPECT_TRUE(log.has(LogError, "Non-standard 2.3 tag ID found 'XYZ1' (size 3)"));
    }
  }
}

TEST(V2Walk, FramesOfA22TagAreNeverKept) {
  test::LogCapture log;
  ID3Tag track = walk(Id3v2Builder(2).frame("TLA", {0, 'e', 'n'}).padding(10).build(), 2);
  EXPECT_TRUE(track.tagData.privdata.empty());
  EXPECT_TRUE(log.has(LogWarning, "Copying all tag data is not supported for frame ID TLA in version 2.2"));
}

TEST(V2Walk, StandardTables) {
  EXPECT_TRUE(isStandardFrameId("WFD ", 3));
  EXPECT_TRUE(isStandardFrameId("TDRC", 4));
  EXPECT_FALSE(isStandardFrameId("TDRC", 3));
  EXPECT_TRUE(isStandardFrameId("TYER", 4));  // 2.3-only IDs stay standard in 2.4
  EXPECT_TRUE(isStandardFrameId("TDRC", 5));
  EXPECT_TRUE(isStandardFrameId("TDR", 2));
  EXPECT_FALSE(isStandardFrameId("TIT2", 2));
}

// A tag header that claims more than the file holds is a short read: no
// allocation of the claimed size is attempted.
TEST(V2Load, SizeBeyondTheFileIsAShortRead) {
  test::TempDir dir;
  Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, "Big").rawHeaderSize({0x7F, 0x7F, 0x7F, 0x7F}).build();
  test::LogCapture log;
  ID3Tag track;
  test::openBytes(dir, "big.tdf", tag, track);
  EXPECT_TRUE(log.has(LogError, "Failed to load the tag data (error: "));
  EXPECT_FALSE(track.v2Read);
}

}  // namespace
}  // namespace melos
