#pragma once
// One text of a tag in either of the two forms the tag data holds: Latin-1 bytes,
// or UTF-16 code units (byte-order mark first, in the byte order it came in).

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/bytes.h"

namespace melos {

struct UnicodeText {
  // Latin-1 bytes, or the UTF-16 code units as bytes, mark first, no terminator.
  std::string data;
  bool unicode = false;

  bool empty() const noexcept { return data.empty(); }
  uint32_t bytes() const noexcept { return static_cast<uint32_t>(data.size()); }
  uint32_t length() const noexcept;  // characters, the mark not counted

  static UnicodeText latin1(std::string text);
  // Stored little-endian with the mark FF FE.
  static UnicodeText utf16(std::u16string_view text);
  // From UTF-8: Latin-1 when every character fits, else UTF-16.
  static UnicodeText fromUtf8(std::string_view utf8);

  std::u16string toU16() const;
  std::string toUtf8() const;

  bool operator==(const UnicodeText&) const = default;
};

std::string latin1ToUtf8(std::string_view latin1);
std::u16string latin1ToU16(std::string_view latin1);
// Characters above U+00FF become '?'.
std::string u16ToLatin1(std::u16string_view text);
std::string u16ToUtf8(std::u16string_view text);
std::u16string utf8ToU16(std::string_view utf8);  // invalid bytes become U+FFFD
bool fitsLatin1(std::u16string_view text) noexcept;

// UTF-16 bytes with or without a mark (little-endian assumed without one).
std::u16string decodeUtf16(ByteSpan bytes);
// The stored form of a UTF-16 text in the given byte order, mark first.
std::string encodeUtf16(std::u16string_view text, bool bigEndian);
bool isBigEndianUtf16(const UnicodeText& text) noexcept;

// Strips tab, line feed, carriage return and space at both ends.
std::string_view trimLatin1(std::string_view text) noexcept;
std::u16string_view trimU16(std::u16string_view text) noexcept;

}  // namespace melos
