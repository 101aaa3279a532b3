#include "engine/trash.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "engine/file_io.h"
#include "engine/log.h"

namespace melos {

namespace {

std::string homeDirectory() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
  if (const passwd* entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_dir != nullptr)
    return entry->pw_dir;
  return "/";
}

bool makeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) return true;
  return false;
}

bool makeTrashFolders(const std::string& trash) {
  size_t slash = trash.find('/', 1);
  while (slash != std::string::npos) {
    makeFolder(trash.substr(0, slash));
    slash = trash.find('/', slash + 1);
  }
  return makeFolder(trash) && makeFolder(trash + "/files") && makeFolder(trash + "/info");
}

std::string baseNameOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string absolutePathOf(const std::string& path) {
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved) != nullptr) return resolved;
  if (!path.empty() && path[0] == '/') return path;
  char cwd[PATH_MAX];
  return ::getcwd(cwd, sizeof cwd) != nullptr ? std::string(cwd) + "/" + path : path;
}

// A copy where a hard link cannot reach: the trash is on another file system.
bool copyFile(const std::string& from, const std::string& to) {
  File source = File::openRead(from);
  if (!source.isOpen()) return false;
  File target(sys::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
  if (!target.isOpen()) return false;
  Bytes block(65536);
  uint64_t offset = 0;
  for (;;) {
    int64_t n = source.readAt(offset, block);
    if (n < 0) return false;
    if (n == 0) break;
    if (target.writeAt(offset, ByteSpan(block.data(), static_cast<size_t>(n))) != n) return false;
    offset += static_cast<uint64_t>(n);
  }
  return sys::fsync(target.fd()) == 0;
}

}  // namespace

std::string trashDirectory() {
  const char* data = std::getenv("XDG_DATA_HOME");
  std::string base = data != nullptr && data[0] == '/' ? data : homeDirectory() + "/.local/share";
  return base + "/Trash";
}

std::string trashCandidate(const std::string& baseName, int number) {
  if (number == 0) return baseName;
  size_t dot = baseName.rfind('.');
  if (dot == std::string::npos || dot == 0) return baseName + "-" + std::to_string(number);
  return baseName.substr(0, dot) + "-" + std::to_string(number) + baseName.substr(dot);
}

std::string trashInfoText(const std::string& absolutePath, std::time_t deleted) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (unsigned char c : absolutePath) {
    bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '/' ||
                 c == '-' || c == '_' || c == '.' || c == '~';
    if (plain) {
      encoded += static_cast<char>(c);
    } else {
      encoded += '%';
      encoded += kHex[c >> 4];
      encoded += kHex[c & 15];
    }
  }
  std::tm local{};
  ::localtime_r(&deleted, &local);
  char date[32];
  std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
  return "[Trash Info]\nPath=" + encoded + "\nDeletionDate=" + date + "\n";
}

std::string copyToTrash(const std::string& path) noexcept {
  try {
    const std::string trash = trashDirectory();
    if (!makeTrashFolders(trash)) {
      LogMessage(LogError, "Error moving the original to the trash (%d)", errno);
      return {};
    }
    const std::string base = baseNameOf(path);
    for (int number = 0; number <= kMaxTrashNumber; ++number) {
      const std::string name = trashCandidate(base, number);
      const std::string info = trash + "/info/" + name + ".trashinfo";
      const std::string target = trash + "/files/" + name;
      struct stat st;
      if (::lstat(target.c_str(), &st) == 0) continue;
      // The info file is made first and exclusively: it reserves the name
      // against another program trashing a file of the same name.
      File infoFile(sys::open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
      if (!infoFile.isOpen()) {
        if (errno == EEXIST) continue;
        LogMessage(LogError, "Error moving the original to the trash (%d)", errno);
        return {};
      }
      const std::string text = trashInfoText(absolutePathOf(path), std::time(nullptr));
      const ByteSpan bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
      bool done = infoFile.writeAt(0, bytes) == static_cast<int64_t>(bytes.size());
      infoFile.close();
      if (done) {
        done = sys::link(path.c_str(), target.c_str()) == 0;
        if (!done && (errno == EXDEV || errno == EPERM || errno == EMLINK)) {
          done = copyFile(path, target);
          if (!done) {
            int error = errno;
            ::unlink(target.c_str());
            errno = error;
          }
        }
      }
      if (!done) {
        int error = errno;
        ::unlink(info.c_str());
        LogMessage(LogError, "Error moving the original to the trash (%d)", error);
        return {};
      }
      return name;
    }
    // Every name taken: no copy is made, and the save goes on.
    LogMessage(LogError, "Error moving the original to the trash (%d)", EEXIST);
  } catch (...) {
    LogMessage(LogError, "Error moving the original to the trash (%d)", ENOMEM);
  }
  return {};
}

}  // namespace melos
