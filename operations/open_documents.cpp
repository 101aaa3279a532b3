#include "operations/open_documents.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "preferences/handler_guard.h"
#include "preferences/preferences_controller.h"

namespace melos {
namespace {

namespace fs = std::filesystem;

constexpr const char* kControllerName = "DocumentController";
constexpr size_t kSuffixLength = 4;

bool endsWithNoCase(std::string_view name, std::string_view suffix) {
  if (name.size() < suffix.size()) return false;
  const std::string_view tail = name.substr(name.size() - suffix.size());
  for (size_t i = 0; i < suffix.size(); ++i) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(tail[i]) != lower(suffix[i])) return false;
  }
  return true;
}

std::string systemError(int error) { return std::strerror(error); }

}  // namespace

std::string OpenFailure::description() const {
  std::string text = "The file '" + displayName(path) + "' could not be opened";
  if (!reason.empty()) text += ": " + reason;
  return text + ".";
}

std::string displayName(const std::string& path) {
  std::string_view view = path;
  while (view.size() > 1 && view.back() == '/') view.remove_suffix(1);
  const size_t slash = view.rfind('/');
  const std::string_view last = slash == std::string_view::npos ? view : view.substr(slash + 1);
  return last.empty() ? path : std::string(last);
}

bool isFolderTrackName(std::string_view name) {
  if (name.size() < kSuffixLength) return false;
  return endsWithNoCase(name, ".mp3") || endsWithNoCase(name, ".aif");
}

std::vector<std::string> folderTracks(const std::string& folder) {
  std::vector<std::string> paths;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (isFolderTrackName(name)) paths.push_back(folder + "/" + name);
  }
  return paths;
}

Alert openFailuresAlert(const std::vector<OpenFailure>& failures, bool someSucceeded) {
  if (failures.size() == 1)
    return {"Could not open the file", failures.front().description(), {std::string(kOkButton)}};
  Alert alert;
  alert.title = someSucceeded ? "Could not open some of the specified files"
                              : "Could not open any of the specified files";
  alert.buttons = {std::string(kOkButton)};
  const bool all = failures.size() < kListAllFailuresBelow;
  const size_t listed = all ? failures.size() : kFailuresListedOfMany;
  for (size_t i = 0; i < listed; ++i) {
    if (i > 0) alert.message += "\n";
    alert.message += displayName(failures[i].path);
    if (!failures[i].reason.empty()) alert.message += " (" + failures[i].reason + ")";
  }
  if (!all) alert.message += "\n" + std::string(kAndOthers);
  return alert;
}

void displayOpenFailures(Questions& questions, const std::vector<OpenFailure>& failures,
                         bool someSucceeded) {
  if (failures.empty()) return;
  const Alert alert = openFailuresAlert(failures, someSucceeded);
  questions.ask(alert.title, alert.message, alert.buttons);
}

DocumentOpener::DocumentOpener(DocumentHost& host, Questions& questions,
                               const PreferencesController& preferences, std::function<bool()> ctrlHeld)
    : host_(host), questions_(questions), preferences_(preferences), ctrlHeld_(std::move(ctrlHeld)) {}

bool DocumentOpener::openFiles(const std::vector<std::string>& paths) {
  const bool asGroup = preferences_.isOpenDroppedFileInGroupSet();
  std::vector<OpenFailure> failures;
  for (const std::string& path : paths) {
    m_bReportFailure = true;
    std::string reason;
    if (!createDocumentWithContentsOfFile(path, asGroup, reason) && m_bReportFailure)
      failures.push_back({path, reason});
  }
  if (failures.empty()) return true;
  const bool someSucceeded = failures.size() < paths.size();
  displayOpenFailures(questions_, failures, someSucceeded);
  return someSucceeded;
}

bool DocumentOpener::createDocumentWithContentsOfFile(const std::string& path, bool asGroup,
                                                      std::string& reason) {
  return guarded(kControllerName, "cdwcof", [&] { return openOne(path, asGroup, reason); }, false);
}

bool DocumentOpener::openOne(const std::string& path, bool asGroup, std::string& reason) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    reason = "the file does not exist";
    return false;
  }
  if (fs::is_directory(status)) return createGroupFromFolder(path, reason);
  // Refused before any window is made, so the cause is the system's own.
  if (::access(path.c_str(), R_OK) != 0) {
    reason = systemError(errno);
    return false;
  }

  const bool toGroup = asGroup != ctrlHeld_();
  if (toGroup) {
    if (host_.frontKind() == DocumentKind::Group) {
      if (host_.addTrackToFrontGroup(path)) return true;
      reason = "the group could not take the track";
      return false;
    }
    if (host_.openGroup({path})) return true;
    reason = "the track could not be read";
    return false;
  }
  if (!preferences_.isMultipleWindowsSet() && host_.frontKind() == DocumentKind::SingleTrack &&
      host_.frontIsSingleEditWindow())
    return host_.replaceFrontTrack(path, reason);
  return host_.openSingleTrack(path, reason);
}

bool DocumentOpener::createGroupFromFolder(const std::string& folder, std::string& reason) {
  return guarded(
      kControllerName, "cgff",
      [&] {
    std::vector<std::string> paths;
    try {
      paths = folderTracks(folder);
    } catch (const fs::filesystem_error& failure) {
      reason = "the folder cannot be read: " + failure.code().message();
      throw;
    }
    if (!createGroupDocument(paths)) return false;
    host_.noteRecentGroup(folder);
    return true;
      },
      false);
}

bool DocumentOpener::createGroupDocument(const std::vector<std::string>& paths) {
  if (paths.empty()) {
    questions_.ask(std::string(kNoTracksTitle), std::string(kNoTracksMessage), {std::string(kOkButton)});
    m_bReportFailure = false;
    return false;
  }
  return host_.openGroup(paths);
}

}  // namespace melos
