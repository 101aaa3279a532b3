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

std::string title(const ID3Tag& track) { return track.tagData.title.toUtf8(); }

TEST(V2Header, AcceptsAndRefuses) {
  const std::pair<Bytes, uint32_t> cases[] = {
      {{'I', 'D', '3', 3, 0, 0x00, 0, 0, 0x02, 0x01}, 257 + 10}, {{'I', 'D', '3', 4, 0, 0x80, 0, 0, 0, 0x10}, 16 + 10},
      {{'I', 'D', '3', 3, 0, 0x40, 0, 0, 0, 0x10}, 26},          {{'I', 'D', '3', 4, 0, 0x10, 0, 0, 0, 0x10}, 26},
      // No defined flag among the set bits: no tag. Case counts, and ten bytes are needed.
      {{'I', 'D', '3', 3, 0, 0x01, 0, 0, 0, 0x10}, 0},           {{'I', 'D', '3', 3, 0, 0x20, 0, 0, 0, 0x10}, 0},
      {{'i', 'd', '3', 3, 0, 0, 0, 0, 0, 0x10}, 0},              {{'I', 'D', '3', 3, 0, 0, 0, 0, 0}, 0},
      // A size byte with its top bit set is taken as it stands.
      {{'I', 'D', '3', 3, 0, 0, 0, 0, 0x80, 0x00}, 0x80 * 128 + 10}, {{'I', 'D', '3', 5, 0, 0, 0, 0, 0, 0x10}, 26},
  };
  test::LogCapture log;
  for (const auto& [header, size] : cases) EXPECT_EQ(ParseV2Header(header.data(), header.size()), size);
  ID3Tag track = test::walkTag(Id3v2Builder(5).text("TIT2", Enc::Latin1, "Five").padding(8).build());  // later versions still read
  EXPECT_TRUE(log.has(LogError, "ID3 tag version 2.5 is incompatible (max 2.4)") &&
              log.has(LogWarning, "Warning: Tag version 2.5 found (max allowed is 2.4)"));
  EXPECT_EQ(title(track) + std::to_string(track.v2Version), "Five5");
}

// Without resynchronising 2.2 and 2.3 tags, their frames would be dropped by
// the next save; the 2.4 extended header size counts its own four bytes, and
// skipping four more would misread the first frame.
TEST(V2Walk, EveryFrameFormReachesTheField) {
  const Bytes image = test::jpegBytes(32);  // FF D8 ... needs unsynchronising
  Id3Frame unsync24("TIT2", {0x00, 'a', 0xFF, 0x00, 0xE0, 'b'});
  unsync24.flags = 0x0002;  // the body is already unsynchronised
  Id3Frame indicated = test::textFrame("TIT2", Enc::Latin1, "Indicated");
  indicated.dataLengthIndicator = true;
  auto song = [](uint8_t major) { return Id3v2Builder(major).text(major == 2 ? "TT2" : "TIT2", Enc::Latin1, "Song"); };
  const struct { Id3v2Builder tag; std::string title; uint8_t version; bool picture; } cases[] = {
      {song(2), "Song", 2, false}, {song(3), "Song", 3, false}, {song(4), "Song", 4, false}, {Id3v2Builder(3), "", 3, false},
      {song(2).unsynchronised().frame(test::picture22Frame(Enc::Latin1, "JPG", 3, "", image)), "Song", 2, true},
      {song(3).unsynchronised().frame(test::pictureFrame(Enc::Latin1, "image/jpeg", 3, "", image)), "Song", 3, true},
      {Id3v2Builder(4).frame(unsync24), "a\xFF\xE0" "b", 4, false},
      {Id3v2Builder(3).extendedHeader({}).text("TIT2", Enc::Latin1, "Three"), "Three", 3, false},
      {Id3v2Builder(4).extendedHeader({}).text("TIT2", Enc::Latin1, "Four"), "Four", 4, false},
      {Id3v2Builder(4).frame(indicated), "Indicated", 4, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.title + std::to_string(c.version));
    Id3v2Builder builder = c.tag;
    ID3Tag track = test::walkTag(builder.padding(20).build());
    EXPECT_EQ(track.tagData.title.data + std::to_string(track.v2Version), c.title + std::to_string(c.version));
    EXPECT_TRUE(track.v2Read && track.tagData.privdata.empty());
    EXPECT_TRUE(c.picture ? track.tagData.picdata.size() == 1 && track.tagData.picdata[0].data == image : track.tagData.picdata.empty());
  }
}

TEST(V2Walk, NonSyncsafeSizesIn24) {
  // 256 bytes of text: size bytes 00 00 01 00 read 128 syncsafe, 256 plain.
  Id3Frame plain = test::textFrame("TIT2", Enc::Latin1, std::string(255, '-'));
  plain.plainSize = true;
  ID3Tag track = test::walkTag(Id3v2Builder(4).frame(plain).text("TALB", Enc::Latin1, "After").padding(10).build());
  EXPECT_EQ(title(track).size() + track.tagData.album.length(), 255u + 5);
  // Lower-case letters count as a valid next ID.
  ID3Tag lower = test::walkTag(Id3v2Builder(4).frame(plain).frame("abcd", {0, 'z'}).padding(10).build(), 2);
  EXPECT_TRUE(title(lower).size() == 255u && lower.tagData.privdata.size() == 1u && lower.tagData.privdata[0].id == "abcd");

  // When a valid ID follows at the syncsafe end, the syncsafe size stands.
  Id3Frame odd("TIT2", test::textBody(Enc::Latin1, std::string(127, 'y')));
  odd.sizeOverride = 0x80;  // syncsafe 128 = 00 00 01 00, plain 256
  Id3v2Builder builder(4);
  builder.frame(odd).raw({'T', 'A', 'L', 'B', 0, 0, 0, 3, 0, 0, 0, 'o', 'k'}).raw(Bytes(120, 0));
  ID3Tag second = test::walkTag(builder.build());
  EXPECT_EQ(title(second).size() + second.tagData.album.length(), 127u + 2);
}

TEST(V2Walk, FaultsEndTheWalkAndKeepEarlierFrames) {
  Id3Frame huge = test::textFrame("TALB", Enc::Latin1, "x");
  huge.sizeOverride = 100000;
  auto kept = [](uint8_t major) { return Id3v2Builder(major).text(major == 2 ? "TT2" : "TIT2", Enc::Latin1, "Kept"); };
  const std::pair<Id3v2Builder, const char*> cases[] = {
      {kept(3).frame(Id3Frame("TALB", {})), "Tag 2.3 frame TALB size error (0, max "},
      {kept(3).frame(huge), "Tag 2.3 frame TALB size error (100000, max "},
      {kept(3).raw({'T', 'A'}), "Failed to get the 2.3 frame ID ("},
      {kept(3).raw({'T', 'A', 'L', 'B', 0, 0}), "Failed to get the frame size ("},
      {kept(2).raw({'T', 'A'}), "Failed to read the 2.2 frame ID ("},
      {kept(2).raw({'T', 'A', 'L', 0x80, 0, 1, 'x'}), "Tag 2.2 frame TAL size error ("},
  };
  for (const auto& [tag, message] : cases) {
    test::LogCapture log;
    ID3Tag track = test::walkTag(tag.build());
    EXPECT_TRUE(title(track) == "Kept" && track.v2Read && log.has(LogError, message)) << message << log.dump();
  }
}

TEST(V2Walk, KeepModesDecideWhatUnknownFramesBecome) {
  const struct { int keepMode; uint8_t major; const char* id; bool kept; unsigned level; const char* message; } cases[] = {
      {1, 3, "TLAN", true, LogStatus, "Adding non-standard tag field 'TLAN'"},
      {1, 3, "XYZ1", false, LogError, "Non-standard 2.3 tag ID found 'XYZ1' (size 3)"},
      {2, 3, "XYZ1", true, LogStatus, "Adding unsupported but valid tag field 'XYZ1'"},
      {2, 3, "TLAN", true, LogStatus, "Adding unsupported but valid tag field 'TLAN'"},
      {0, 3, "TLAN", false, LogStatus, ""},
      {2, 2, "TLA", false, LogWarning, "Copying all tag data is not supported for frame ID TLA in version 2.2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.id) + std::to_string(c.keepMode));
    test::LogCapture log;
    ID3Tag track = test::walkTag(Id3v2Builder(c.major).frame(c.id, {0, 'x', 'y'}).padding(10).build(), c.keepMode);
    EXPECT_EQ(track.tagData.privdata, (c.kept ? std::vector<PrivateData>{{c.id, {0, 'x', 'y'}}} : std::vector<PrivateData>{}));
    EXPECT_TRUE(*c.message == 0 || log.has(c.level, c.message)) << log.dump();
  }
  // 2.3-only IDs stay standard in 2.4.
  const std::tuple<const char*, int, bool> ids[] = {{"WFD ", 3, true}, {"TDRC", 4, true}, {"TDRC", 3, false},
      {"TYER", 4, true}, {"TDRC", 5, true}, {"TDR", 2, true}, {"TIT2", 2, false}};
  for (const auto& [id, major, standard] : ids) EXPECT_EQ(isStandardFrameId(id, major), standard) << id << major;
}

// A tag header that claims more than the file holds is a short read: no
// allocation of the claimed size is attempted.
TEST(V2Load, SizeBeyondTheFileIsAShortRead) {
  test::TempDir dir;
  test::LogCapture log;
  ID3Tag track;
  test::openBytes(dir, "big.tdf", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Big").rawHeaderSize({0x7F, 0x7F, 0x7F, 0x7F}).build(), track);
  EXPECT_TRUE(log.has(LogError, "Failed to load the tag data (error: ") && !track.v2Read);
}

}  // namespace
}  // namespace melos
