// The facts of a track as text: values aligned in one column, and the track
// and disc numbers shown whichever half of them is set.

#include "operations/track_text.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

std::string lineOf(const std::string& text, const std::string& label) {
  const size_t at = text.find("  " + label + ":");
  return at == std::string::npos ? std::string() : text.substr(at, text.find('\n', at) - at);
}

TEST(TrackText, ValuesShareOneColumnAndHalfNumbersShow) {
  // shown: the value of the "Track" line; "" when there is none.
  struct Row { uint16_t track, tracks; const char* shown; } rows[] = {
      {3, kUnsetNumber, "3"}, {kUnsetNumber, 12, "/12"}, {3, 12, "3/12"}, {kUnsetNumber, kUnsetNumber, ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.shown);
    ID3Tag track;
    track.tagData.enabled = true, track.tagData.title = UnicodeText::latin1("T");
    track.tagData.composer = UnicodeText::fromUtf8("\xC3\x89mile");
    track.tagData.track = row.track, track.tagData.tracks = row.tracks;
    const std::string text = trackText("/m/a.mp3", track);
    const std::string title = lineOf(text, "Title"), composer = lineOf(text, "Composer");
    ASSERT_FALSE(title.empty() || composer.empty()) << text;
    EXPECT_EQ(title.find_last_of(' ') + 1, composer.find_last_of(' ') + 1) << text;
    EXPECT_EQ(composer.substr(composer.find_last_of(' ') + 1), "\xC3\x89mile");
    const std::string number = lineOf(text, "Track");
    EXPECT_EQ(number.empty() ? "" : number.substr(number.find_last_of(' ') + 1), row.shown) << text;
  }
}

}  // namespace
}  // namespace melos
