#pragma once
// What the update-flow tests share: questions answered from a script, an
// observer that records, a writer whose results a test can force, and track
// files to write.

#include <gtest/gtest.h>

#include <map>
#include <mutex>

#include "engine/open_track.h"
#include "operations/group_update.h"
#include "operations/questions.h"
#include "operations/track_writer.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/open_helpers.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

struct Asked {
  std::string title, message;
  std::vector<std::string> buttons;
};

// Answers by title, in order; the last answer of a title repeats. An alert
// with the one button "OK" needs no script; any other unscripted question
// fails the test. Safe to ask from the worker thread.
class ScriptedQuestions : public Questions {
 public:
  void answer(const std::string& title, std::vector<std::string> answers) { script_[title] = std::move(answers); }
  std::string ask(const std::string& title, const std::string& message, const std::vector<std::string>& buttons) override {
    std::lock_guard lock(mutex_);
    asked_.push_back({title, message, buttons});
    const auto found = script_.find(title);
    if (found != script_.end()) return found->second[std::min(next_[title]++, found->second.size() - 1)];
    if (buttons != std::vector<std::string>{"OK"}) ADD_FAILURE() << "unexpected question: " << title;
    return buttons.front();
  }
  std::vector<Asked> asked() const {
    std::lock_guard lock(mutex_);
    return asked_;
  }
  std::vector<std::string> messages(const std::string& title) const {
    std::vector<std::string> found;
    for (const Asked& a : asked())
      if (a.title == title) found.push_back(a.message);
    return found;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::vector<std::string>> script_;
  std::map<std::string, size_t> next_;
  std::vector<Asked> asked_;
};

class RecordingObserver : public UpdateObserver {
 public:
  void updateStarted(size_t count, const std::string&) override { maximum = count; }
  void progressAdvanced() override { ++progress; }
  void trackUpdated(size_t index, const TrackOutcome& outcome) override {
    if (onTrackUpdated) onTrackUpdated(index, outcome);
  }
  void updateFinished(bool error, bool close) override { finishedError = error, closeWindow = close, finished = true; }
  size_t maximum = 0;
  std::atomic<int> progress{0};
  std::atomic<bool> finished{false};
  bool finishedError = false, closeWindow = false;
  std::function<void(size_t, const TrackOutcome&)> onTrackUpdated;
};

// The engine's writer, unless a test forces a result: forceV1 is returned
// after the engine has done its work, the fail* results instead of it.
class ForcingWriter : public TrackWriter {
 public:
  int saveV1(ID3Tag& track, bool removeApe, bool keepDates, bool trim) override {
    if (failV1Before) return *failV1Before;
    const int result = TrackWriter::saveV1(track, removeApe, keepDates, trim);
    return forceV1.value_or(result);
  }
  int saveV2(ID3Tag& track, bool moveToTrash, int version, bool keepDates, bool trim) override {
    ++v2Saves;
    if (failV2Before && (failV2Of.empty() || track.path() == failV2Of)) return *failV2Before;
    return TrackWriter::saveV2(track, moveToTrash, version, keepDates, trim);
  }
  bool rename(ID3Tag& track, const SaveSettings& settings) override {
    return ++renames, !failRename && TrackWriter::rename(track, settings);
  }
  bool makeWritable(const std::string& path) override {
    return ++unlocks, !failUnlock && TrackWriter::makeWritable(path);
  }
  unsigned reopen(ID3Tag& track, int scanMode) override { return ++reopens, TrackWriter::reopen(track, scanMode); }

  std::optional<int> forceV1, failV1Before, failV2Before;
  std::string failV2Of;  // when set, failV2Before is for this track alone
  bool failRename = false, failUnlock = false;
  std::atomic<int> v2Saves{0}, renames{0}, unlocks{0}, reopens{0};
};

// Track files in a folder of their own with the bytes first written, and
// what an update talks to; both update flows build on it.
struct TrackFiles {
  TrackFiles() { settings.moveToTrash = false; }
  const std::string& addFile(const std::string& name, const Bytes& bytes) {
    paths.push_back(dir.write(name, bytes));
    originals.push_back(bytes);
    return paths.back();
  }
  bool untouched(size_t index) const { return readFile(paths[index]) == originals[index]; }

  TempDir dir;
  ScopedEnv dataHome{"XDG_DATA_HOME", dir.path() + "/data"};
  ScriptedQuestions questions;
  ForcingWriter writer;
  SaveSettings settings;
  std::vector<std::string> paths;
  std::vector<Bytes> originals;
};

// "Always apply default tag data" with set 2 current, which supplies the album.
inline void alwaysApplyDefaultAlbum(PreferencesController& prefs, const std::string& album) {
  prefs.setBoolPreferenceNamed(prefs::kAlwaysApplyDefTagData.key, true);
  prefs.setIntPreferenceNamed(prefs::kDefaultsIndex.key, 2);
  prefs.setBoolPreferenceNamed(PreferencesController::getPreferenceName("Use default album", 2), true);
  prefs.setStringPreferenceNamed(PreferencesController::getPreferenceName("Default album", 2), album);
  prefs.setBoolPreferenceNamed(prefs::kMoveToTrash.key, false);
}

inline std::unique_ptr<ID3Tag> openTrack(const std::string& path) {
  auto track = std::make_unique<ID3Tag>();
  EXPECT_NE(OpenTrack(*track, path, kScanQuick, nullptr, true), 0u) << path;
  return track;
}
inline ID3Tag reopened(const std::string& path) {
  ID3Tag track;
  OpenTrack(track, path, kScanQuick, nullptr, false);
  return track;
}

// A 2.3 tag whose fields differ from track to track, with the frames a save
// must keep (a user text, a picture, a UTF-16 text), and a V1 tag.
inline Bytes numberedTrack(int n) {
  const std::string k = std::to_string(n);
  const Bytes v2 = Id3v2Builder(3)
                       .text("TIT2", Enc::Latin1, "Song " + k)
                       .text("TPE1", Enc::Utf16LE, "Artist \xE4\xB8\xAD " + k)
                       .text("TALB", Enc::Latin1, "Old Album " + k)
                       .text("TRCK", Enc::Latin1, k + "/12")
                       .text("TCON", Enc::Latin1, "(17)")
                       .text("TSRC", Enc::Latin1, "GBAAA000000" + k)
                       .frame(commentFrame(Enc::Latin1, "eng", "", "Comment " + k))
                       .frame(userTextFrame(Enc::Latin1, "NOTE", "kept " + k))
                       .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpegBytes(64 + size_t(n))))
                       .padding(64)
                       .build();
  const Id3v1Fields v1{"V1 Song " + k, "V1 Artist", "V1 Album", "1999", "V1 comment", uint8_t(n), 17};
  return mp3File({v2, shortAudio(12 + size_t(n)), {}, id3v1Tag(v1)});
}

// The bytes of the file behind its leading ID3v2 tag: the audio and any V1 tag.
inline Bytes afterTag(const Bytes& bytes) {
  const size_t size = (size_t{bytes[6]} << 21) | (size_t{bytes[7]} << 14) | (size_t{bytes[8]} << 7) | bytes[9];
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(10 + size), bytes.end());
}

}  // namespace melos::test
