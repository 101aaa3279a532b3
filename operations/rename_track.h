#pragma once
// Renaming a track's file by its tags and filing it into folders. A file that
// is already at the new name is never replaced: the name is made unique
// instead, and the move itself refuses to overwrite, so a file that appears
// in the meantime is safe too.

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "engine/id3_tag.h"

namespace melos {

inline constexpr int kMaxUniqueSuffix = 99;

// The path with "-n" before its extension (n from 1), or the path itself for 0.
std::string numberedPath(const std::string& path, int number);
// The path itself when nothing is there yet, else the first free numbered path
// up to -99; none when all are taken.
std::optional<std::string> uniquePath(const std::string& path);
// Makes the folder and its missing parents: 0, or -1 with errno set.
int makeFolders(const std::string& path, mode_t mode = 0777);
// Moves the file unless something exists at `to` (then false with errno EEXIST).
bool moveWithoutReplacing(const std::string& from, const std::string& to) noexcept;
// "YYYYMMDD-" of the local date at `when`.
std::string datePrefix(std::time_t when);

// The file name a rename gives: the date of `datedAt` and "%02d-" of the
// track number in front when asked, and the old path's extension behind.
std::string renamedFileName(std::string_view oldPath, std::string_view name, int trackNumber,
                            std::optional<std::time_t> datedAt);

// Renames the file to NAME (with the date and "%02d-" of the track number in
// front when asked, and the old extension behind) in the track's folder or in
// a subfolder of it, made when missing. Without `path`, the track's own path
// is renamed. On success the track's path is the new one.
bool renameTo(ID3Tag& track, bool dateTracks, int trackNumber, std::string_view name,
              std::optional<std::string_view> subfolder = std::nullopt,
              std::optional<std::string_view> path = std::nullopt) noexcept;

// Standard naming without a format, the user's format otherwise. Fails when
// both tags are disabled or they give no name.
bool renameByTags(ID3Tag& track, bool addTrackNumber, bool dateTracks, bool createFolder, bool utf8,
                  std::string_view format = {}) noexcept;

}  // namespace melos
