#pragma once
// How paths handed to the editor become documents: a single-track editor per
// track, or a group editor for a folder and for files opened as a group.
// Failures are gathered and told once, at the end. The window layer supplies
// the documents through DocumentHost and shows the questions.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "operations/questions.h"

namespace melos {

class PreferencesController;

enum class DocumentKind { SingleTrack, Group, Other };

// The editors as the opening rules see them. Each call that makes or fills a
// window shows it; a track that a group cannot read is told by the group.
class DocumentHost {
 public:
  virtual ~DocumentHost() = default;
  // The front document's kind; none when no document is open.
  virtual std::optional<DocumentKind> frontKind() const = 0;
  // The front single-track editor is the one window that takes every file.
  virtual bool frontIsSingleEditWindow() const = 0;
  // The front group editor takes one more track; false when it could not.
  virtual bool addTrackToFrontGroup(const std::string& path) = 0;
  // A new group editor with these tracks; its window is closed again when
  // none of them could be added, and the result is then false.
  virtual bool openGroup(const std::vector<std::string>& paths) = 0;
  // The front single-track editor shows this file instead of its track.
  virtual bool replaceFrontTrack(const std::string& path, std::string& cause) = 0;
  // A new single-track editor; the file is noted as a recent document.
  virtual bool openSingleTrack(const std::string& path, std::string& cause) = 0;
  // A group opened from this folder; noted for the start panel and Open Recent.
  virtual void noteRecentGroup(const std::string& /*folder*/) {}
};

struct OpenFailure {
  std::string path;
  std::string reason;  // may be empty

  // What the alert says about one failure alone.
  std::string description() const;
};

// An alert as the window layer shows it.
struct Alert {
  std::string title;
  std::string message;
  std::vector<std::string> buttons;
};

// The name a person knows a file by: its last path component, else the path.
std::string displayName(const std::string& path);
// A folder entry becomes a track of its group when its last four characters
// are ".mp3" or ".aif" in any case; ".aiff" is deliberately not taken.
bool isFolderTrackName(std::string_view name);
// The folder's track entries in the order the file system gives them, without
// descending. Throws std::filesystem::filesystem_error when the folder cannot
// be read.
std::vector<std::string> folderTracks(const std::string& folder);
// The alert for the failures of one open request.
Alert openFailuresAlert(const std::vector<OpenFailure>& failures, bool someSucceeded);

inline constexpr std::string_view kNoTracksTitle = "No tracks found";
inline constexpr std::string_view kNoTracksMessage = "There are no valid tracks in the folder.";
inline constexpr std::string_view kAndOthers = "(And others)";
inline constexpr size_t kListAllFailuresBelow = 6;
inline constexpr size_t kFailuresListedOfMany = 3;

class DocumentOpener {
 public:
  // `ctrlHeld` is asked for the modifier state at the moment each file opens.
  DocumentOpener(DocumentHost& host, Questions& questions, const PreferencesController& preferences,
                 std::function<bool()> ctrlHeld);

  // True when at least one path opened (or nothing failed).
  bool openFiles(const std::vector<std::string>& paths);
  // True when a document took the path. On failure, `reason` says why when it
  // can; the failure is not to be reported when reportFailure() is false.
  bool createDocumentWithContentsOfFile(const std::string& path, bool asGroup, std::string& reason);
  bool createGroupFromFolder(const std::string& folder, std::string& reason);
  bool createGroupDocument(const std::vector<std::string>& paths);

  bool reportFailure() const { return m_bReportFailure; }

 private:
  bool openOne(const std::string& path, bool asGroup, std::string& reason);

  DocumentHost& host_;
  Questions& questions_;
  const PreferencesController& preferences_;
  std::function<bool()> ctrlHeld_;
  bool m_bReportFailure = true;
};

// Shows the failures of one open request as one alert.
void displayOpenFailures(Questions& questions, const std::vector<OpenFailure>& failures,
                         bool someSucceeded);

}  // namespace melos
