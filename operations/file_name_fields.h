#pragma once
// Tag fields read from a track's file name, by the standard split or by the
// user's format ("%A - %N %T"). Texts are the file name's own bytes (UTF-8 on
// Linux); the editor decides whether to read them as UTF-8 or Latin-1.

#include <optional>
#include <string>
#include <string_view>

namespace melos {

inline constexpr size_t kMaxFileNameBytes = 1023;
inline constexpr size_t kMaxFileNamePlaceholders = 6;

struct FileNameFields {
  std::optional<std::string> title;
  std::optional<std::string> artist;
  std::optional<std::string> album;
  std::optional<std::string> year;
  int track = -1;  // -1 when no number was found

  // The count of outputs filled, the track number included.
  int count() const noexcept;
  bool operator==(const FileNameFields&) const = default;
};

// An empty format means the standard split. A name without an extension of 3
// or 4 letters (".mp3", ".aiff") gives nothing.
FileNameFields parseFileName(std::string_view path, std::string_view format = {}) noexcept;

// What the editor sets from a split. The modifier keys widen it; a custom
// format always sets what it found.
struct FileNameUse {
  bool shift = false;    // also the track number
  bool control = false;  // also artist and album
  bool customFormat = false;
};

struct FileNameUpdate {
  std::optional<std::u16string> title;
  std::optional<std::u16string> artist;
  std::optional<std::u16string> album;
  std::optional<std::u16string> year;
  std::optional<std::u16string> track;  // the number as "%d"
  bool operator==(const FileNameUpdate&) const = default;
};

// With utf8 the texts are read as UTF-8, else as Latin-1 bytes.
FileNameUpdate fileNameUpdate(const FileNameFields& fields, const FileNameUse& use, bool utf8);

}  // namespace melos
