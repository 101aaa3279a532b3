// Copy, paste and clear between editors, with and without "all", and the
// load and save of tag-data files, over tracks opened from real files.

#include "operations/tag_clipboard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "engine/open_track.h"
#include "operations/track_file.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/sample_tracks.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

std::unique_ptr<ID3Tag> openTrack(const std::string& path) {
  TrackFile file = openTrackFile(path, kScanQuick);
  EXPECT_TRUE(file.opened()) << path << ": " << file.cause;
  return std::move(file.track);
}

// A single-track editor whose window holds an unsaved title.
class SingleEditor : public TagEditor {
 public:
  SingleEditor(std::unique_ptr<ID3Tag> opened, const PreferencesController& preferences)
      : track(std::move(opened)), preferences_(preferences) {}
  DocumentKind kind() const override { return DocumentKind::SingleTrack; }
  std::unique_ptr<ID3Tag> tagForCopy() const override {
    auto copy = copyOfTrack(*track);
    if (!unsavedTitle.empty()) copy->tagData.title = UnicodeText::fromUtf8(unsavedTitle);
    return copy;
  }
  void setTagData(const ID3Tag& tag, bool all) override { pasteTagDataInto(*track, tag, all, preferences_); }
  void clearTagData() override { track->tagData.clear(); }
  bool loadTagDataFromFile(const std::string& path) override { return loadTagDataInto(*track, path); }
  bool saveTagDataToFile(const std::string& path) override { return saveTagDataFile(*track, path); }

  std::unique_ptr<ID3Tag> track;
  std::string unsavedTitle;

 private:
  const PreferencesController& preferences_;
};

// A group editor: the values its window shows for every track.
class GroupEditor : public TagEditor {
 public:
  DocumentKind kind() const override { return DocumentKind::Group; }
  std::unique_ptr<ID3Tag> tagForCopy() const override { return copyOfTrack(values); }
  void setTagData(const ID3Tag& tag, bool all) override {
    receivedAll = all;
    CopyTagData(values, tag, false, false, false, false, false);
  }
  void clearTagData() override { values.tagData.clear(); }

  ID3Tag values;
  bool receivedAll = true;
};

class OtherDocument : public GroupEditor {
 public:
  DocumentKind kind() const override { return DocumentKind::Other; }
};

std::string title(const ID3Tag& track) { return track.tagData.title.toUtf8(); }
std::string album(const ID3Tag& track) { return track.tagData.album.toUtf8(); }

class TagClipboardTest : public ::testing::Test {
 protected:
  TagClipboardTest() : preferences_(std::make_unique<MemoryPreferenceStore>(), dir_.path()) {}

  std::unique_ptr<SingleEditor> editor(const std::string& name, const std::string& trackTitle,
                                       const std::string& albumName) {
    auto track = openTrack(dir_.write(name, sampleMp3(trackTitle)));
    track->tagData.album = UnicodeText::latin1(albumName);
    return std::make_unique<SingleEditor>(std::move(track), preferences_);
  }

  TempDir dir_;
  PreferencesController preferences_;
  TagClipboard clipboard_;
};

TEST_F(TagClipboardTest, CopyAllCarriesUnsavedEditsAndTheTitle) {
  auto from = editor("from.mp3", "Saved", "From album");
  from->unsavedTitle = "Typed but unsaved";
  auto to = editor("to.mp3", "Target", "To album");
  clipboard_.copyTagData(from.get(), true);
  EXPECT_TRUE(clipboard_.pasteAll());
  ASSERT_TRUE(clipboard_.pasteTagData(to.get()));
  EXPECT_EQ(title(*to->track), "Typed but unsaved");
  EXPECT_EQ(album(*to->track), "From album");
  EXPECT_EQ(to->track->v1.title, "Saved");  // the V1 tag is copied as it was read
  EXPECT_TRUE(to->track->v2Changed);
}

TEST_F(TagClipboardTest, CopyWithoutAllKeepsTheTargetsTitleUnlessThePreferenceSaysSo) {
  auto from = editor("from.mp3", "Source title", "From album");
  auto to = editor("to.mp3", "Target title", "To album");
  clipboard_.copyTagData(from.get(), false);
  EXPECT_FALSE(clipboard_.pasteAll());
  clipboard_.pasteTagData(to.get());
  EXPECT_EQ(title(*to->track), "Target title");
  EXPECT_EQ(album(*to->track), "From album");

  preferences_.setBoolPreferenceNamed("Copy title", true);
  clipboard_.pasteTagData(to.get());
  EXPECT_EQ(title(*to->track), "Source title");
}

TEST_F(TagClipboardTest, AGroupsCopyIsNeverPastedWhole) {
  GroupEditor group;
  group.values.tagData.title = UnicodeText::latin1("Group title");
  group.values.tagData.album = UnicodeText::latin1("Group album");
  auto to = editor("to.mp3", "Target title", "To album");
  clipboard_.copyTagData(&group, true);
  EXPECT_FALSE(clipboard_.pasteAll());
  clipboard_.pasteTagData(to.get());
  EXPECT_EQ(title(*to->track), "Target title");
  EXPECT_EQ(album(*to->track), "Group album");
}

TEST_F(TagClipboardTest, PasteIntoAGroupGivesTheCopyWithoutAll) {
  auto from = editor("from.mp3", "Source", "From album");
  GroupEditor group;
  clipboard_.copyTagData(from.get(), true);
  ASSERT_TRUE(clipboard_.pasteTagData(&group));
  EXPECT_FALSE(group.receivedAll);
  EXPECT_EQ(album(group.values), "From album");
}

TEST_F(TagClipboardTest, NothingToPasteBeforeACopyAndOtherDocumentsAreLeftAlone) {
  auto to = editor("to.mp3", "Target", "To album");
  EXPECT_FALSE(clipboard_.pasteTagData(to.get()));
  EXPECT_EQ(album(*to->track), "To album");

  auto from = editor("from.mp3", "Source", "From album");
  clipboard_.copyTagData(from.get(), true);
  OtherDocument other;
  other.values.tagData.album = UnicodeText::latin1("Other album");
  clipboard_.copyTagData(&other, false);
  ASSERT_TRUE(clipboard_.hasCopy());
  EXPECT_EQ(album(*clipboard_.copiedTag()), "From album");
  EXPECT_FALSE(clipboard_.pasteTagData(&other));
  EXPECT_EQ(album(other.values), "Other album");
  EXPECT_FALSE(clipboard_.pasteTagData(nullptr));
}

TEST_F(TagClipboardTest, ClearEmptiesTheFrontEditorsTag) {
  auto to = editor("to.mp3", "Target", "To album");
  clipboard_.clearTagData(to.get());
  EXPECT_TRUE(to->track->tagData.title.empty());
  EXPECT_TRUE(to->track->tagData.album.empty());
}

TEST_F(TagClipboardTest, LoadsATagDataFileAndSavesOneThatReadsBack) {
  auto to = editor("to.mp3", "Target", "To album");
  ASSERT_TRUE(to->loadTagDataFromFile(dir_.write("source.tdf", sampleTagData("Loaded album"))));
  EXPECT_EQ(album(*to->track), "Loaded album");
  EXPECT_EQ(to->track->tagData.composer.toUtf8(), "A. Composer");

  to->track->tagData.title = UnicodeText::latin1("Saved into tdf");
  const std::string saved = dir_.file("saved.tdf");
  ASSERT_TRUE(to->saveTagDataToFile(saved));
  const Bytes bytes = readFile(saved);
  ASSERT_GE(bytes.size(), 10u);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 3), "ID3");
  auto reread = openTrack(saved);
  ASSERT_TRUE(reread);
  EXPECT_TRUE(reread->isTagDataFile);
  EXPECT_EQ(title(*reread), "Saved into tdf");
  EXPECT_EQ(album(*reread), "Loaded album");
  EXPECT_FALSE(std::filesystem::exists(saved + ".t0"));
}

TEST_F(TagClipboardTest, LoadFromAnMp3AndFailuresLeaveTheTrackAlone) {
  auto to = editor("to.mp3", "Target", "To album");
  EXPECT_TRUE(to->loadTagDataFromFile(dir_.write("other.mp3", sampleMp3("From an mp3"))));
  EXPECT_EQ(title(*to->track), "From an mp3");
  EXPECT_FALSE(to->loadTagDataFromFile(dir_.file("missing.tdf")));
  EXPECT_EQ(title(*to->track), "From an mp3");
  EXPECT_FALSE(to->saveTagDataToFile(dir_.file("no-such-folder/x.tdf")));
}

TEST_F(TagClipboardTest, StartFolderExpandsTheHomeSign) {
  EXPECT_EQ(tagDataStartFolder(preferences_), "");
  preferences_.setStringPreferenceNamed("Default path", "/srv/music");
  EXPECT_EQ(tagDataStartFolder(preferences_), "/srv/music");
  preferences_.setStringPreferenceNamed("Default path", "~/Music");
  EXPECT_EQ(tagDataStartFolder(preferences_), std::string(std::getenv("HOME")) + "/Music");
}

}  // namespace
}  // namespace melos::test
