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

std::unique_ptr<ID3Tag> openTrack(const std::string& path) { return std::move(openTrackFile(path, kScanQuick).track); }
std::string title(const ID3Tag& track) { return track.tagData.title.toUtf8(); }
std::string album(const ID3Tag& track) { return track.tagData.album.toUtf8(); }

// A group editor (the values its window shows for every track), or, with
// another kind, a document that is no tag editor.
struct GroupEditor : TagEditor {
  explicit GroupEditor(DocumentKind k = DocumentKind::Group) : kind_(k) {}
  DocumentKind kind() const override { return kind_; }
  std::unique_ptr<ID3Tag> tagForCopy() const override { return copyOfTrack(values); }
  void setTagData(const ID3Tag& tag, bool all) override {
    receivedAll = all;
    CopyTagData(values, tag, false, false, false, false, false);
  }
  void clearTagData() override { values.tagData.clear(); }
  ID3Tag values;
  bool receivedAll = true;
  DocumentKind kind_;
};

class TagClipboardTest : public ::testing::Test {
 protected:
  struct SingleEditor : TagEditor {
    SingleEditor(std::unique_ptr<ID3Tag> opened, const PreferencesController& p) : track(std::move(opened)), prefs(p) {}
    DocumentKind kind() const override { return DocumentKind::SingleTrack; }
    std::unique_ptr<ID3Tag> tagForCopy() const override { return copyOfTrack(*track); }
    void setTagData(const ID3Tag& tag, bool all) override { pasteTagDataInto(*track, tag, all, prefs); }
    void clearTagData() override { track->tagData.clear(); }
    bool loadTagDataFromFile(const std::string& path) override { return loadTagDataInto(*track, path); }
    bool saveTagDataToFile(const std::string& path) override { return saveTagDataFile(*track, path); }
    std::unique_ptr<ID3Tag> track;
    const PreferencesController& prefs;
  };
  TagClipboardTest() : preferences_(std::make_unique<MemoryPreferenceStore>(), dir_.path()) {}
  SingleEditor editor(const std::string& trackTitle) {
    auto track = openTrack(dir_.write(trackTitle + ".mp3", sampleMp3(trackTitle)));
    track->tagData.album = UnicodeText::latin1(trackTitle + " album");
    return SingleEditor(std::move(track), preferences_);
  }

  TempDir dir_;
  PreferencesController preferences_;
  TagClipboard clipboard_;
};

// "All" carries the title too; a group's copy never does, nor a paste into a
// group. Other documents are neither copied nor pasted into.
TEST_F(TagClipboardTest, CopyPasteAndClear) {
  SingleEditor from = editor("From");
  from.track->tagData.lyrics = UnicodeText::latin1("la"), from.track->tagData.lyricsLanguage = "deu";
  SingleEditor to = editor("To");
  GroupEditor group, other(DocumentKind::Other);
  EXPECT_FALSE(clipboard_.pasteTagData(&to));  // nothing copied yet
  clipboard_.copyTagData(&from, false);
  clipboard_.copyTagData(&other, false);
  const TagData& copied = clipboard_.copiedTag()->tagData;
  EXPECT_EQ(std::tuple(album(*clipboard_.copiedTag()), copied.lyrics.toUtf8(), copied.lyricsLanguage),
            std::tuple("From album", "la", "deu"));
  EXPECT_FALSE(clipboard_.pasteAll() || clipboard_.pasteTagData(&other) || clipboard_.pasteTagData(nullptr));
  ASSERT_TRUE(clipboard_.pasteTagData(&to));
  EXPECT_EQ(std::pair(title(*to.track), album(*to.track)), std::pair(std::string("To"), std::string("From album")));
  EXPECT_TRUE(to.track->v2Changed);
  preferences_.setBoolPreferenceNamed("Copy title", true);
  EXPECT_TRUE(clipboard_.pasteTagData(&to) && title(*to.track) == "From");
  clipboard_.copyTagData(&to, true);
  EXPECT_TRUE(clipboard_.pasteAll() && clipboard_.pasteTagData(&group) && !group.receivedAll);
  group.values.tagData.title = UnicodeText::latin1("Group title");
  clipboard_.copyTagData(&group, true);
  EXPECT_FALSE(clipboard_.pasteAll());
  clipboard_.clearTagData(&other);
  clipboard_.clearTagData(nullptr);
  clipboard_.clearTagData(&to);
  EXPECT_TRUE(to.track->tagData.album.empty());
}

TEST_F(TagClipboardTest, LoadsAndSavesTagDataFiles) {
  SingleEditor to = editor("To");
  ASSERT_TRUE(to.loadTagDataFromFile(dir_.write("source.tdf", sampleTagData("Loaded album"))));
  EXPECT_EQ(to.track->tagData.composer.toUtf8(), "A. Composer");
  const std::string saved = dir_.file("saved.tdf");
  ASSERT_TRUE(to.saveTagDataToFile(saved));
  EXPECT_FALSE(std::filesystem::exists(saved + ".t0"));
  auto reread = openTrack(saved);
  ASSERT_TRUE(reread && reread->isTagDataFile);
  EXPECT_EQ(album(*reread), "Loaded album");
  EXPECT_TRUE(to.loadTagDataFromFile(dir_.write("other.mp3", sampleMp3("From an mp3"))) &&
              !to.loadTagDataFromFile(dir_.file("missing.tdf")));
  EXPECT_EQ(title(*to.track), "From an mp3");
  EXPECT_FALSE(to.saveTagDataToFile(dir_.file("no-such-folder/x.tdf")));
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
