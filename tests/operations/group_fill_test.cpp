// Filling the group window from its tracks, and its edits as states that undo
// puts back, without a window.

#include "operations/group_fill.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

using G = GroupField;

GroupValues albumValues(std::u16string album, std::u16string artist, bool compilation = false) {
  GroupValues values;
  values.album = std::move(album);
  values.artist = std::move(artist);
  values.compilation = compilation;
  return values;
}

std::unique_ptr<ID3Tag> mp3Track() {
  auto track = std::make_unique<ID3Tag>();
  track->isMp3File = true;
  return track;
}

TEST(GroupFillTest, EverySlotHasItsOwnMemberAndEveryFieldASlot) {
  const auto& slots = groupSlots();
  ASSERT_EQ(slots.size(), kGroupSlotCount);
  std::array<int, kGroupFieldCount> perField{};
  for (const GroupSlot& slot : slots) ++perField[static_cast<size_t>(slot.field)];
  for (size_t field = 0; field < kGroupFieldCount; ++field) {
    SCOPED_TRACE(changeBoxLabel(static_cast<G>(field)));
    EXPECT_EQ(perField[field], static_cast<G>(field) == G::V2SetAndSets ? 2 : 1);
  }
  for (size_t i = 0; i < slots.size(); ++i)
    if (slots[i].text != nullptr) {
      EXPECT_EQ(slotOfText(slots[i].text), i);
    }
}

TEST(GroupFillTest, SharedValuesShowAndDifferingOnesStayEmpty) {
  struct Case {
    const char* name;
    std::vector<GroupValues> tracks;
    std::u16string album, artist;
    bool albumDiffers, artistDiffers, compilation, compilationDiffers;
  };
  const Case cases[] = {
      {"one track shows all", {albumValues(u"A", u"X", true)}, u"A", u"X", false, false, true, false},
      {"same album, other artist", {albumValues(u"A", u"X"), albumValues(u"A", u"Y")}, u"A", u"", false, true,
       false, false},
      {"a differing value stays differing", {albumValues(u"A", u"X"), albumValues(u"B", u"X"), albumValues(u"A", u"X")},
       u"", u"X", true, false, false, false},
      {"the flag differs", {albumValues(u"A", u"X", true), albumValues(u"A", u"X", false)}, u"A", u"X", false, false,
       false, true},
  };
  const size_t album = slotOfText(&GroupValues::album);
  const size_t artist = slotOfText(&GroupValues::artist);
  size_t compilation = 0;
  while (groupSlots()[compilation].field != G::V2Compilation) ++compilation;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CommonValues common;
    for (const GroupValues& values : c.tracks) common.add(values, {}, true, false);
    EXPECT_EQ(common.values().album, c.album);
    EXPECT_EQ(common.values().artist, c.artist);
    EXPECT_EQ(common.values().compilation, c.compilation);
    EXPECT_EQ(common.differing()[album], c.albumDiffers);
    EXPECT_EQ(common.differing()[artist], c.artistDiffers);
    EXPECT_EQ(common.differing()[compilation], c.compilationDiffers);
    EXPECT_TRUE(common.anyV1() && !common.anyV2());
  }
}

TEST(GroupFillTest, PicturesAreComparedByTheirSummaries) {
  const PicData cover{test::pngBytes(16), "png"};
  const PicData other{test::pngBytes(20), "png"};
  PicData backCover = cover;
  backCover.pictureType = 4;
  const PictureSummary one = summarisePictures({cover});
  EXPECT_EQ(one.count, 1u);
  EXPECT_EQ(one.bytes, cover.data.size());
  EXPECT_EQ(summarisePictures({cover, other}).bytes, cover.data.size() + other.data.size());
  EXPECT_EQ(summarisePictures({}).firstHash, 0u);
  EXPECT_NE(summarisePictures({other}).firstHash, one.firstHash);
  EXPECT_NE(summarisePictures({backCover}).firstHash, one.firstHash);
  // A large cover is read in part: equal ones match, and a change at its end
  // or in the bytes read is seen.
  PicData large{test::pngBytes(200000), "png"};
  const uint64_t largeHash = summarisePictures({large}).firstHash;
  EXPECT_EQ(summarisePictures({PicData{test::pngBytes(200000), "png"}}).firstHash, largeHash);
  for (size_t at : {size_t{100}, size_t{199999}, size_t{512}}) {
    PicData changed = large;
    changed.data[at] ^= 0xFF;
    EXPECT_NE(summarisePictures({changed}).firstHash, largeHash) << at;
  }

  GroupValues withCover;
  withCover.picture = cover;
  CommonValues same;
  same.add(withCover, one, false, true);
  same.add(GroupValues{}, one, false, true);  // a later track's picture need not come along
  EXPECT_EQ(same.values().picture, cover);
  CommonValues differ;
  differ.add(withCover, one, false, true);
  differ.add(GroupValues{}, {}, false, true);
  EXPECT_FALSE(differ.values().picture.has_value());
}

TEST(GroupFillTest, AnEditTicksItsBoxMarksItsVersionAndUndoPutsItBack) {
  GroupModel model;
  model.addTrack(mp3Track());
  model.addTrack(mp3Track());
  SlotSet differing;
  const size_t v1Title = slotOfText(&GroupValues::v1Title);
  const size_t sets = slotOfText(&GroupValues::sets);
  differing[v1Title] = true;
  const GroupEditState before = captureEdit(model, differing);

  model.values.v1Title = u"New";
  slotEdited(model, differing, v1Title);
  EXPECT_TRUE(model.changeBox(G::V1Title) && model.enableV1 && !model.enableV2);
  EXPECT_TRUE(model.tracks()[1]->v1Changed && !model.tracks()[1]->v2Changed);
  EXPECT_TRUE(model.isDirty());
  EXPECT_FALSE(differing[v1Title]);
  slotEdited(model, differing, sets);
  EXPECT_TRUE(model.changeBox(G::V2SetAndSets) && model.enableV2 && model.tracks()[0]->v2Changed);

  restoreEdit(model, before);
  EXPECT_EQ(model.values.v1Title, u"");
  EXPECT_FALSE(model.changeBox(G::V1Title) || model.changeBox(G::V2SetAndSets));
  EXPECT_FALSE(model.enableV1 || model.enableV2 || model.isDirty());
  EXPECT_FALSE(model.tracks()[1]->v1Changed || model.tracks()[1]->v2Changed);
  EXPECT_TRUE(captureEdit(model, differing).differing.none());
  EXPECT_TRUE(before.differing[v1Title]);
}

TEST(GroupFillTest, TurningAnEnableBoxOffMarksThatTagForRemoval) {
  GroupModel model;
  model.addTrack(mp3Track());
  model.enableV1 = true;
  enableBoxToggled(model, true, false);
  EXPECT_FALSE(model.enableV1);
  EXPECT_TRUE(model.tracks()[0]->v1Changed && !model.tracks()[0]->v2Changed && model.isDirty());
}

TEST(GroupFillTest, BoxesTickedByHandMarkTheTracksTheyWrite) {
  struct Case {
    const char* name;
    std::function<void(GroupModel&)> toggle;
    bool v1Changed, v2Changed, enableV1;
  };
  const Case cases[] = {
      {"a V2 box on", [](GroupModel& m) { changeBoxToggled(m, G::V2Album, true); }, false, true, false},
      {"a V1 box on", [](GroupModel& m) { changeBoxToggled(m, G::V1Year, true); }, true, false, true},
      {"a box off", [](GroupModel& m) { changeBoxToggled(m, G::V2Album, false); }, false, false, false},
      {"file names", [](GroupModel& m) { optionToggled(m, GroupOption::FileName, true); }, true, true, false},
      {"V2 for V1", [](GroupModel& m) { optionToggled(m, GroupOption::CopyV2Details, true); }, true, false, false},
      {"ISRC + 1", [](GroupModel& m) { optionToggled(m, GroupOption::IsrcIncrement, true); }, false, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    GroupModel model;
    model.addTrack(mp3Track());
    c.toggle(model);
    EXPECT_EQ(model.tracks()[0]->v1Changed, c.v1Changed);
    EXPECT_EQ(model.tracks()[0]->v2Changed, c.v2Changed);
    EXPECT_EQ(model.enableV1, c.enableV1);
  }
  GroupModel model;
  optionToggled(model, GroupOption::ReplacePictures, true);
  EXPECT_TRUE(model.replacePictures && optionValue(model, GroupOption::ReplacePictures));
}

TEST(GroupFillTest, ApplyingValuesEditsWhatChangesAndOptionallyWhatDiffers) {
  struct Case {
    const char* name;
    bool takeDiffering;
    bool albumBox, artistBox, titleBox;
  };
  // The album differs across tracks and stays empty; the artist is shared and
  // is given a new value; the title is shared and given the same one.
  const Case cases[] = {{"a paste takes differing fields", true, true, true, false},
                        {"a default set leaves them", false, false, true, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    GroupModel model;
    model.addTrack(mp3Track());
    SlotSet differing;
    differing[slotOfText(&GroupValues::album)] = true;
    model.values.artist = u"Old";
    model.values.title = u"Same";
    GroupValues incoming = model.values;
    incoming.artist = u"New";
    const SlotSet edited = applyValues(model, differing, incoming, c.takeDiffering);
    EXPECT_EQ(model.changeBox(G::V2Album), c.albumBox);
    EXPECT_EQ(model.changeBox(G::V2Artist), c.artistBox);
    EXPECT_EQ(model.changeBox(G::V2Title), c.titleBox);
    EXPECT_EQ(edited.count(), static_cast<size_t>(c.albumBox + c.artistBox + c.titleBox));
    EXPECT_EQ(differing[slotOfText(&GroupValues::album)], !c.takeDiffering);
    EXPECT_EQ(model.values.artist, u"New");
    EXPECT_TRUE(model.tracks()[0]->v2Changed);
  }
}

TEST(GroupFillTest, TracksReadLateKeepWhatTheUserTypedAndTakeTheGroupsFlags) {
  GroupModel model;
  SlotSet differing;
  CommonValues common;
  common.add(albumValues(u"A", u"X"), {}, false, true);
  joinGroup(model, mp3Track(), {});
  showCommonValues(model, differing, common);
  EXPECT_EQ(model.values.album, u"A");
  EXPECT_TRUE(model.enableV2 && !model.enableV1);

  model.values.album = u"Typed";
  slotEdited(model, differing, slotOfText(&GroupValues::album));
  common.add(albumValues(u"B", u"Y"), {1, 10, 5}, true, true);
  joinGroup(model, mp3Track(), {1, 10, 5});
  showCommonValues(model, differing, common);
  EXPECT_EQ(model.values.album, u"Typed");
  EXPECT_FALSE(differing[slotOfText(&GroupValues::album)]);
  EXPECT_EQ(model.values.artist, u"");
  EXPECT_TRUE(differing[slotOfText(&GroupValues::artist)]);
  EXPECT_TRUE(model.tracks()[1]->v2Changed);  // the edit reaches the late track
  EXPECT_TRUE(model.imagesExist());
  EXPECT_TRUE(model.enableV1);  // V1 untouched by the user: shown as the tracks have it
}

TEST(GroupFillTest, RemovingATrackTakesItsShareOfTheTotals) {
  GroupModel model;
  for (uint64_t size : {100u, 250u}) {
    auto track = mp3Track();
    track->fileSize = size;
    track->duration = size / 10;
    model.addTrack(std::move(track));
  }
  EXPECT_EQ(model.removeTrack(0)->fileSize, 100u);
  EXPECT_EQ(model.totalSize(), 250u);
  EXPECT_EQ(model.totalLength(), 25u);
  EXPECT_EQ(model.removeTrack(5), nullptr);
  EXPECT_EQ(model.count(), 1u);
}

}  // namespace
}  // namespace melos
