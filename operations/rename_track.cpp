#include "operations/rename_track.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "engine/bytes.h"
#include "engine/file_io.h"
#include "engine/log.h"
#include "operations/track_name.h"

namespace melos {
namespace {

bool endsWithNoCase(std::string_view text, std::string_view tail) {
  return text.size() >= tail.size() && equalsNoCase(text.substr(text.size() - tail.size()), tail);
}

bool exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 || errno != ENOENT;
}

bool sameFile(const std::string& a, const std::string& b) {
  struct stat first {}, second {};
  return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::string extensionOf(std::string_view path) {
  const std::string_view base = path.substr(path.rfind('/') + 1);
  const size_t dot = base.rfind('.');
  return dot == std::string_view::npos ? std::string() : std::string(base.substr(dot));
}

// An empty folder is the current one, named by relative paths.
std::string joinPath(const std::string& folder, std::string_view name) {
  if (folder.empty()) return std::string(name);
  return folder.back() == '/' ? folder + std::string(name) : folder + "/" + std::string(name);
}

std::string targetFolder(const std::string& folder, std::optional<std::string_view> subfolder) {
  if (!subfolder || subfolder->empty()) return folder;
  std::string target;
  if (subfolder->front() == '/')
    target = std::string(*subfolder);
  else if (endsWithNoCase(folder, *subfolder))
    target = folder;
  else
    target = joinPath(folder, *subfolder);
  if (makeFolders(target) == 0) return target;
  LogMessage(LogError, "Failed to create the folder '%s' (error: %s)", target.c_str(),
             errorText(errno).c_str());
  return folder;
}

bool renameInto(ID3Tag& track, const std::string& from, const std::string& to) {
  for (int number = 0; number <= kMaxUniqueSuffix; ++number) {
    const std::string candidate = numberedPath(to, number);
    if (moveWithoutReplacing(from, candidate)) {
      LogMessage(LogStatus, "Renamed the file '%s' to '%s'", from.c_str(), candidate.c_str());
      track.setPath(candidate);
      return true;
    }
    const int error = errno;
    if (error != EEXIST) {
      LogMessage(LogError, "Failed to rename the file '%s' to '%s' (error: %s)", from.c_str(),
                 candidate.c_str(), errorText(error).c_str());
      return false;
    }
    // Another name of the very same file (a file system that ignores case).
    if (sameFile(from, candidate)) return true;
  }
  // Every numbered name is taken: the file keeps its name, deliberately not an error.
  LogMessage(LogWarning, "The file '%s' keeps its name: '%s' and its numbered forms exist",
             from.c_str(), to.c_str());
  return true;
}

}  // namespace

std::string numberedPath(const std::string& path, int number) {
  if (number == 0) return path;
  const size_t baseStart = path.rfind('/') + 1;
  size_t dot = path.rfind('.');
  if (dot == std::string::npos || dot < baseStart) dot = path.size();
  char suffix[16];
  std::snprintf(suffix, sizeof suffix, "-%d", number);
  return path.substr(0, dot) + suffix + path.substr(dot);
}

std::optional<std::string> uniquePath(const std::string& path) {
  for (int number = 0; number <= kMaxUniqueSuffix; ++number) {
    std::string candidate = numberedPath(path, number);
    if (!exists(candidate)) return candidate;
  }
  return std::nullopt;
}

int makeFolders(const std::string& path, mode_t mode) {
  if (path.empty()) {
    errno = ENOENT;
    return -1;
  }
  for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    const std::string part = path.substr(0, end);
    if (::mkdir(part.c_str(), mode) != 0 && errno != EEXIST) return -1;
    if (end == std::string::npos) break;
  }
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return -1;
  if (!S_ISDIR(info.st_mode)) {
    errno = ENOTDIR;
    return -1;
  }
  return 0;
}

bool moveWithoutReplacing(const std::string& from, const std::string& to) noexcept {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return false;
  // A file system without the no-replace rename: a new link fails rather than replace.
  if (sys::link(from.c_str(), to.c_str()) != 0) return false;
  if (sys::unlink(from.c_str()) != 0) {
    const int error = errno;
    sys::unlink(to.c_str());
    errno = error;
    return false;
  }
  return true;
}

std::string datePrefix(std::time_t when) {
  struct tm local {};
  localtime_r(&when, &local);
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%04d%02d%02d-", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday);
  return buffer;
}

std::string renamedFileName(std::string_view oldPath, std::string_view name, int trackNumber,
                            std::optional<std::time_t> datedAt) {
  std::string fileName;
  if (datedAt) fileName += datePrefix(*datedAt);
  if (trackNumber != 0) {
    char number[16];
    std::snprintf(number, sizeof number, "%02d-", trackNumber);
    fileName += number;
  }
  fileName += name;
  fileName += extensionOf(oldPath);
  return fileName;
}

bool renameTo(ID3Tag& track, bool dateTracks, int trackNumber, std::string_view name,
              std::optional<std::string_view> subfolder, std::optional<std::string_view> path) noexcept {
  try {
    const std::string oldPath(path ? *path : std::string_view(track.path()));
    if (name.empty() || oldPath.empty()) return false;
    const size_t slash = oldPath.rfind('/');
    // A path without a folder stays one: the new name is relative as well.
    const std::string folder =
        slash == std::string::npos ? std::string() : oldPath.substr(0, std::max<size_t>(slash, 1));

    const std::string fileName =
        renamedFileName(oldPath, name, trackNumber, dateTracks ? std::optional(std::time(nullptr)) : std::nullopt);
    const std::string newPath = joinPath(targetFolder(folder, subfolder), fileName);

    if (equalsNoCase(newPath, oldPath)) return true;
    return renameInto(track, oldPath, newPath);
  } catch (...) {
    LogMessage(LogError, "Failed to rename the file");
    return false;
  }
}

bool renameByTags(ID3Tag& track, bool addTrackNumber, bool dateTracks, bool createFolder, bool utf8,
                  std::string_view format) noexcept {
  try {
    const std::optional<NamingTexts> texts = namingTexts(track, utf8);
    if (!texts) {
      LogMessage(LogError, "Failed to rename the file '%s': both of its tags are disabled",
                 track.path().c_str());
      return false;
    }
    const TrackName target = format.empty()
                                 ? standardTrackName(track, *texts, addTrackNumber, createFolder)
                                 : customTrackName(track, *texts, format);
    if (target.name.empty()) {
      LogMessage(LogError, "Failed to rename the file '%s': its tags give no name",
                 track.path().c_str());
      return false;
    }
    return renameTo(track, dateTracks, target.trackNumber, target.name, target.subfolder);
  } catch (...) {
    LogMessage(LogError, "Failed to rename the file");
    return false;
  }
}

}  // namespace melos
