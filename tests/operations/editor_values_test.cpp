// The single-track editor's values: filled from a track and copied back
// without loss, the copies between the versions, the twins and the warnings
// as a field's text changes, and the default sets over what is typed.

#include "operations/editor_values.h"

#include <gtest/gtest.h>

#include "engine/genres.h"
#include "engine/text.h"
#include "tests/operations/update_fixtures.h"
#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

using enum EditorField;

ID3Tag fullTrack(bool unicode) {
  ID3Tag track;
  track.isMp3File = true;
  track.tagData = test::fullTagData(unicode);
  track.tagData.enabled = true;
  track.v1 = V1Tag{true, "V1 title", "V1 artist", "V1 album", "1999", "V1 comment", 7, 17};
  return track;
}

TEST(EditorValuesTest, ATrackGoesThroughTheWindowUnchanged) {
  for (bool unicode : {false, true}) {
    SCOPED_TRACE(unicode);
    const ID3Tag original = fullTrack(unicode);
    const EditorValues values = valuesFromTrack(original);
    EXPECT_EQ(values[V1Genre], u"Rock");
    EXPECT_EQ(values[UserIsrc], values[Isrc]);
    ID3Tag saved = fullTrack(unicode);  // a copy would leave out what the editor never shows
    saved.tagData.isrc = "overwritten";
    saved.v1.clear();
    updateV1TagData(values, saved);
    updateV2TagData(values, saved, false);
    EXPECT_EQ(saved.v1, original.v1);
    EXPECT_EQ(saved.tagData, original.tagData);
  }
}

TEST(EditorValuesTest, TextIsStoredAsLatin1OrUnicodeAsAllowed) {
  struct Row {
    std::u16string typed;
    bool allowUnicode;
    UnicodeText stored;
  };
  const Row rows[] = {
      {u"Caf\u00e9", true, UnicodeText::utf16(u"Caf\u00e9")},  // above 207: Unicode when allowed
      {u"Caf\u00e9", false, UnicodeText::latin1("Caf\xe9")},    // else kept as Latin-1
      {u"\u00c7a", true, UnicodeText::latin1("\xc7" "a")},       // 199 stays Latin-1
      {u"\u2603 snow", false, UnicodeText::latin1("? snow")},
      {u"\u05e9\u05dc\u05d5\u05dd \U0001F600", true, UnicodeText::utf16(u"\u05e9\u05dc\u05d5\u05dd \U0001F600")},
  };
  for (const Row& row : rows) {
    EditorValues values;
    values.v2Enabled = true;
    setFieldText(values, Title, row.typed);
    setFieldText(values, V1Title, row.typed);
    ID3Tag track;
    updateV2TagData(values, track, row.allowUnicode);
    updateV1TagData(values, track);
    EXPECT_EQ(track.tagData.title, row.stored);
    EXPECT_EQ(track.v1.title, u16ToLatin1(row.typed));
  }
}

TEST(EditorValuesTest, CopiesBetweenTheVersionsTouchOnlyTheirFields) {
  EditorValues values = valuesFromTrack(fullTrack(true));
  values[V1Title] = u"A title of thirty-five characters!!";
  const EditorValues before = values;
  copyV1ToV2(values);
  EXPECT_TRUE(values.v2Enabled);
  using Pairs = std::initializer_list<std::pair<EditorField, EditorField>>;
  for (auto [v2, v1] : Pairs{{Title, V1Title}, {Artist, V1Artist}, {Album, V1Album}, {Year, V1Year},
                             {Comment, V1Comment}, {Track, V1Track}, {Genre, V1Genre}})
    EXPECT_EQ(values[v2], before[v1]);
  EXPECT_EQ(values[Tracks], u"");
  EXPECT_EQ(values[Lyrics], u"");
  EXPECT_EQ(values[Composer], before[Composer]);
  EXPECT_EQ(values[Isrc], before[Isrc]);

  const std::vector<std::string> v1Genres(kGenres.begin(), kGenres.end());
  values = before;
  values.v1Enabled = false;
  values[Title] = u"Cr\u00e8me \u2603";
  values[Genre] = u"Synthwave";
  copyV2ToV1(values, v1Genres);
  EXPECT_TRUE(values.v1Enabled);
  EXPECT_EQ(values[V1Title], u"Cr\u00e8me ?");  // Latin-1, and not cut here
  EXPECT_EQ(values[V1Genre], u"Other");
  EXPECT_EQ(values[V1Track], before[Track]);
  using Texts = std::initializer_list<std::pair<std::u16string_view, std::u16string_view>>;
  for (auto [typed, v1] : Texts{{u"Jazz", u"Jazz"}, {u"hard rock", u"Hard Rock"}, {u"", u"Other"}}) {
    values[Genre] = typed;
    copyV2ToV1(values, v1Genres);
    EXPECT_EQ(values[V1Genre], v1);
  }
  EXPECT_EQ(values[Composer], before[Composer]);
}

TEST(EditorValuesTest, TypingKeepsTwinsInStepAndWarnsOnBoth) {
  struct Row {
    EditorField typedInto;
    std::u16string text;
    EditorField twin;
    std::optional<std::u16string> warning;  // on both
  };
  const Row rows[] = {
      {UserIsrc, u"CCXXX1500729X", Isrc, u"This entry will result in: CCXXX1500729"},
      {ReleaseTime, u"2007-5-3 9:7", UserReleaseTime, u"This entry will result in: 2007-05-03 09:07"},
      {UserRecordTime, u"1099", RecordTime, u"This field is incorrect"},
      {Publisher, u"Label", UserPublisher, std::nullopt},
  };
  for (const Row& row : rows) {
    EditorValues values;
    setFieldText(values, row.typedInto, row.text);
    EXPECT_EQ(values[row.twin], row.text);
    EXPECT_EQ(fieldWarningFor(values, row.typedInto), row.warning);
    EXPECT_EQ(fieldWarningFor(values, row.twin), row.warning);
  }
  EditorValues values;
  setFieldText(values, Genre, u"r");
  EXPECT_EQ(values[Genre], u"R");
  EXPECT_FALSE(fieldWarningFor(values, PodcastId));
  values.podcast = true;
  EXPECT_EQ(fieldWarningFor(values, UserPodcastId), u"This field should not be empty");
}

TEST(EditorValuesTest, ADefaultSetGoesOverWhatIsTyped) {
  test::TempDir config;
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), config.path());
  test::alwaysApplyDefaultAlbum(prefs, "Default album");
  prefs.setBoolPreferenceNamed(prefs::kApplyDefaultsToV1.key, false);
  EditorValues values;
  values[Title] = u"typed, kept";
  values[V1Album] = u"V1 typed";
  applyDefaultTagData(values, 2, prefs, 0);
  EXPECT_EQ(values[Album], u"Default album");
  EXPECT_EQ(values[Title], u"typed, kept");
  EXPECT_EQ(values[V1Album], u"V1 typed");
  prefs.setBoolPreferenceNamed(prefs::kApplyDefaultsToV1.key, true);
  applyDefaultTagData(values, 2, prefs, 0);
  EXPECT_EQ(values[V1Album], u"Default album");
}

}  // namespace
}  // namespace melos
