// The reset pop-up and the clearing of the quick lists: what they ask, what
// each answer does, and what they leave alone; and the file-name previews.

#include <gtest/gtest.h>

#include <memory>

#include "operations/name_preview.h"
#include "operations/preferences_actions.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

// Answers every question with one button and keeps what was asked.
struct AnsweringQuestions : Questions {
  explicit AnsweringQuestions(std::string button) : answer(std::move(button)) {}
  std::string ask(const std::string& title, const std::string& message,
                  const std::vector<std::string>& buttons) override {
    return askWithDefault(title, message, buttons, 0);
  }
  std::string askWithDefault(const std::string& title, const std::string& message,
                             const std::vector<std::string>& buttons, size_t defaultButton) override {
    asked.push_back({title, message, buttons, defaultButton});
    return buttons == std::vector<std::string>{"OK"} ? "OK" : answer;
  }
  struct Asked {
    std::string title, message;
    std::vector<std::string> buttons;
    size_t defaultButton;
  };
  std::string answer;
  std::vector<Asked> asked;
};

struct Prefs {
  TempDir dir;
  PreferencesController controller{std::make_unique<MemoryPreferenceStore>(), dir.path()};
};

TEST(ResetItem, EveryAnswerButTheDefaultNoResetsAndTheOtherItemAsksNothing) {
  struct Row {
    ResetItem item;
    const char* answer;
    bool asked, reset, splash;
  } rows[] = {
      {ResetItem::Preferences, "No", true, false, false},
      {ResetItem::Preferences, "Yes", true, true, false},
      {ResetItem::Preferences, "", true, true, false},  // the alert closed without a button
      {ResetItem::DoNotShowAgain, "No", false, false, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.answer) + (row.item == ResetItem::Preferences ? " preferences" : " windows"));
    Prefs prefs;
    PreferencesController& p = prefs.controller;
    p.setBoolPreferenceNamed(prefs::kMoveToTrash.key, false);
    p.setBoolPreferenceNamed(prefs::kShowSplash.key, false);
    AnsweringQuestions questions(row.answer);
    EXPECT_EQ(resetItemSelected(row.item, p, questions), row.reset || row.splash);
    ASSERT_EQ(questions.asked.size(), row.asked ? 1u : 0u);
    if (row.asked) {
      EXPECT_EQ(questions.asked[0].title, "Reset the preferences");
      EXPECT_EQ(questions.asked[0].message, "Do you want to set all the preferences to their default values?");
      EXPECT_EQ(questions.asked[0].buttons, (std::vector<std::string>{"No", "Yes"}));
      EXPECT_EQ(questions.asked[0].defaultButton, 0u);
    }
    EXPECT_EQ(p.isMoveToTrashSet(), row.reset);
    EXPECT_EQ(p.showSplash(), row.splash);  // a reset leaves the start panel's switch alone
  }
}

TEST(ClearQuickLists, OnYesTheFirst25GoTheFourStayAndTheUserIsTold) {
  for (const char* answer : {"No", "Yes"}) {
    SCOPED_TRACE(answer);
    Prefs prefs;
    for (std::string_view key : prefs::kQuickListKeys) prefs.controller.setRecentList(key, {"kept?"});
    AnsweringQuestions questions(answer);
    const bool yes = std::string(answer) == "Yes";
    EXPECT_EQ(clearQuickListsSelected(prefs.controller, questions), yes);
    for (size_t i = 0; i < prefs::kQuickListKeys.size(); ++i)
      EXPECT_EQ(prefs.controller.getRecentList(prefs::kQuickListKeys[i]).has_value(), !yes || i >= 25)
          << prefs::kQuickListKeys[i];
    ASSERT_EQ(questions.asked.size(), yes ? 2u : 1u);
    EXPECT_EQ(questions.asked[0].defaultButton, 0u);
    if (yes) {
      EXPECT_EQ(questions.asked[1].title, "Cleared previous entry lists");
      EXPECT_EQ(questions.asked[1].message, "All the previous entry lists have been removed.");
    }
  }
}

TEST(NamePreview, ShowsWhatRenamingAndReadingTheFileNameWouldGive) {
  struct Row {
    const char* what;
    std::vector<std::pair<std::string_view, QVariant>> settings;
    const char* toName;
    const char* fromName;
  } rows[] = {
      {"standard", {}, "01-A title.mp3", "Title: 01 A title, Artist: Artist"},
      {"no number, in folders",
       {{prefs::kAddTrackNumber.key, false}, {prefs::kCreateFolder.key, true}},
       "Artist/Album/A title.mp3", "Title: 01 A title, Artist: Artist"},
      {"dated", {{prefs::kDateTracks.key, true}}, "20240302-01-A title.mp3", "Title: 01 A title, Artist: Artist"},
      {"custom formats",
       {{prefs::kToFileNameFormatType.key, 1}, {prefs::kToFileNameFormat.key, "%A - %L (%Y) %T"},
        {prefs::kFromFileNameFormatType.key, 1}, {prefs::kFromFileNameFormat.key, "%A - %N %T"}},
       "Artist - Album (2024) A title.mp3", "Title: A title, Artist: Artist, Track: 1"},
      {"a custom type without a format is the standard",
       {{prefs::kToFileNameFormatType.key, 1}}, "01-A title.mp3", "Title: 01 A title, Artist: Artist"},
  };
  struct tm day {};
  day.tm_year = 124;
  day.tm_mon = 2;
  day.tm_mday = 2;
  day.tm_hour = 12;
  const std::time_t when = std::mktime(&day);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Prefs prefs;
    for (const auto& [key, value] : row.settings) {
      if (value.typeId() == QMetaType::Bool) prefs.controller.setBoolPreferenceNamed(key, value.toBool());
      else if (value.typeId() == QMetaType::Int) prefs.controller.setIntPreferenceNamed(key, value.toInt());
      else prefs.controller.setStringPreferenceNamed(key, value.toString().toStdString());
    }
    const std::unique_ptr<ID3Tag> track = samplePreviewTrack();
    EXPECT_EQ(toFileNamePreview(*track, prefs.controller, when), row.toName);
    EXPECT_EQ(fromFileNamePreview(*track, prefs.controller), row.fromName);
  }
  Prefs prefs;
  ID3Tag untagged;
  untagged.setPath("/music/notes");  // no extension: no name to read
  EXPECT_EQ(toFileNamePreview(untagged, prefs.controller, when), "(no name)");
  EXPECT_EQ(fromFileNamePreview(untagged, prefs.controller), "(nothing found)");
}

// Escape on the reset alert must not reset: closing counts as the way out.
TEST(ClosingAQuestion, NeverCountsAsTheButtonThatActs) {
  const std::pair<std::vector<std::string>, size_t> rows[] = {
      {{"No", "Yes"}, 0},
      {{"Yes", "No"}, 1},
      {{"Save", "Don't save", "Cancel"}, 2},
      {{"Cancel", "No", "Yes"}, 0},
      {{"Reload", "Overwrite"}, 1},
      {{"OK"}, 0},
  };
  for (const auto& [buttons, way] : rows) EXPECT_EQ(wayOutButton(buttons), way) << buttons.front();
}

}  // namespace
}  // namespace melos::test
