#pragma once
// The freedesktop.org trash in the user's data folder: a copy of the original
// goes there before a save replaces it, with the .trashinfo that lets a file
// manager put it back.

#include <ctime>
#include <string>

namespace melos {

inline constexpr int kMaxTrashNumber = 99;

// $XDG_DATA_HOME/Trash, else ~/.local/share/Trash.
std::string trashDirectory();

// The name tried for the n-th collision: "-n" before the extension
// ("song.mp3", "song-1.mp3", ..., "song-99.mp3").
std::string trashCandidate(const std::string& baseName, int number);

// The .trashinfo text: the absolute path, percent-encoded, and the local time.
std::string trashInfoText(const std::string& absolutePath, std::time_t deleted);

// Puts a copy of the file into the trash: a hard link where the trash is on the
// same file system, else a copy. Returns the name in the trash's files folder,
// or an empty text when no copy was made (the cause is logged).
std::string copyToTrash(const std::string& path) noexcept;

}  // namespace melos
