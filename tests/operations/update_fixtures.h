#pragma once
// What the update-flow tests share: questions answered from a script, an
// observer that records, a writer whose results a test can force, and track
// files to write.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/open_track.h"
#include "operations/group_update.h"
#include "operations/questions.h"
#include "operations/save_settings.h"
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
  std::string title;
  std::string message;
  std::vector<std::string> buttons;
  std::string answer;
};

// Answers by title, in order; the last answer of a title repeats. An alert
// with the one button "OK" needs no script. Any other question without a
// script fails the test. Safe to ask from the worker thread.
class ScriptedQuestions : public Questions {
 public:
  void answer(const std::string& title, std::vector<std::string> answers) { script_[title] = std::move(answers); }

  std::string ask(const std::string& title, const std::string& message,
                  const std::vector<std::string>& buttons) override {
    Asked asked{title, message, buttons, {}};
    {
      std::lock_guard lock(mutex_);
      auto found = script_.find(title);
      if (found != script_.end() && !found->second.empty()) {
        size_t& next = next_[title];
        asked.answer = found->second[std::min(next, found->second.size() - 1)];
        ++next;
      } else if (buttons == std::vector<std::string>{"OK"}) {
        asked.answer = "OK";
      } else {
        ADD_FAILURE() << "unexpected question: " << title << " / " << message;
        asked.answer = buttons.empty() ? std::string() : buttons.front();
      }
      asked_.push_back(asked);
    }
    return asked.answer;
  }

  std::vector<Asked> asked() const {
    std::lock_guard lock(mutex_);
    return asked_;
  }
  std::vector<Asked> askedTitled(const std::string& title) const {
    std::vector<Asked> found;
    for (const Asked& a : asked())
      if (a.title == title) found.push_back(a);
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
  void statusChanged(const std::string&) override {}
  void trackUpdated(size_t index, const TrackOutcome& outcome) override {
    {
      std::lock_guard lock(mutex_);
      updated.push_back(index);
    }
    if (onTrackUpdated) onTrackUpdated(index, outcome);
  }
  void updateFinished(bool error, bool close) override {
    finishedError = error;
    closeWindow = close;
    finished = true;
  }

  size_t maximum = 0;
  std::atomic<int> progress{0};
  std::vector<size_t> updated;
  std::atomic<bool> finished{false};
  bool finishedError = false;
  bool closeWindow = false;
  std::function<void(size_t, const TrackOutcome&)> onTrackUpdated;

 private:
  std::mutex mutex_;  // tracks written at once end on several threads
};

// The engine's writer, unless a test forces a result: a forced result is
// returned after the engine has done its work, so the file is as the engine
// left it.
class ForcingWriter : public TrackWriter {
 public:
  int saveV1(ID3Tag& track, bool removeApe, bool keepDates, bool trim) override {
    ++v1Saves;
    if (failV1Before) return *failV1Before;
    const int result = TrackWriter::saveV1(track, removeApe, keepDates, trim);
    return forceV1.value_or(result);
  }
  int saveV2(ID3Tag& track, bool moveToTrash, int version, bool keepDates, bool trim) override {
    ++v2Saves;
    if (failV2Before && (failV2Of.empty() || track.path() == failV2Of)) return *failV2Before;
    return TrackWriter::saveV2(track, moveToTrash, version, keepDates, trim);
  }
  int removeV1(ID3Tag& track, bool removeApe, bool keepDates) override {
    ++v1Removals;
    return TrackWriter::removeV1(track, removeApe, keepDates);
  }
  int removeV2(ID3Tag& track, bool moveToTrash, bool keepDates) override {
    ++v2Removals;
    return TrackWriter::removeV2(track, moveToTrash, keepDates);
  }
  bool rename(ID3Tag& track, const SaveSettings& settings) override {
    ++renames;
    if (failRename) return false;
    return TrackWriter::rename(track, settings);
  }
  bool makeWritable(const std::string& path) override {
    ++unlocks;
    if (failUnlock) return false;
    return TrackWriter::makeWritable(path);
  }
  unsigned reopen(ID3Tag& track, int scanMode) override {
    ++reopens;
    return TrackWriter::reopen(track, scanMode);
  }

  std::optional<int> forceV1, failV1Before, failV2Before;
  std::string failV2Of;  // when set, failV2Before is for this track alone
  bool failRename = false;
  bool failUnlock = false;
  std::atomic<int> v1Saves{0}, v2Saves{0}, v1Removals{0}, v2Removals{0}, renames{0}, unlocks{0}, reopens{0};
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

// A 2.3 tag whose fields differ from track to track, with the frames a save
// must keep: a user text, a picture, a UTF-16 text.
inline Bytes numberedV2Tag(int n) {
  const std::string k = std::to_string(n);
  return Id3v2Builder(3)
      .text("TIT2", Enc::Latin1, "Song " + k)
      .text("TPE1", Enc::Utf16LE, "Artist \xE4\xB8\xAD " + k)
      .text("TALB", Enc::Latin1, "Old Album " + k)
      .text("TYER", Enc::Latin1, "199" + k)
      .text("TRCK", Enc::Latin1, k + "/12")
      .text("TPOS", Enc::Latin1, "1/2")
      .text("TCON", Enc::Latin1, "(17)")
      .text("TCOM", Enc::Latin1, "Composer " + k)
      .text("TSRC", Enc::Latin1, "GBAAA000000" + k)
      .frame(commentFrame(Enc::Latin1, "eng", "", "Comment " + k))
      .frame(userTextFrame(Enc::Latin1, "NOTE", "kept " + k))
      .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpegBytes(64 + static_cast<size_t>(n))))
      .padding(64)
      .build();
}

inline Bytes numberedV1Tag(int n) {
  Id3v1Fields fields;
  fields.title = "V1 Song " + std::to_string(n);
  fields.artist = "V1 Artist";
  fields.album = "V1 Album";
  fields.year = "1999";
  fields.comment = "V1 comment";
  fields.track = static_cast<uint8_t>(n);
  fields.genre = 17;
  return id3v1Tag(fields);
}

inline Bytes numberedTrack(int n) {
  return mp3File({numberedV2Tag(n), shortAudio(12 + static_cast<size_t>(n)), {}, numberedV1Tag(n)});
}

inline ID3Tag reopened(const std::string& path) {
  ID3Tag track;
  OpenTrack(track, path, kScanQuick, nullptr, false);
  return track;
}

// The bytes of the file behind its leading ID3v2 tag: the audio and any V1 tag.
inline Bytes afterTag(const std::string& path) {
  const Bytes bytes = readFile(path);
  if (bytes.size() < 10 || bytes[0] != 'I' || bytes[1] != 'D' || bytes[2] != '3') return bytes;
  const size_t size = (size_t{bytes[6]} << 21) | (size_t{bytes[7]} << 14) | (size_t{bytes[8]} << 7) | bytes[9];
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(10 + size), bytes.end());
}


}  // namespace melos::test
