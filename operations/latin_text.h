#pragma once
// Between the editors' strings (UTF-16, as Qt holds them) and the bytes the tag
// data stores: Latin-1, or UTF-16 with a byte order mark. What may be stored
// as Latin-1 is narrower than Latin-1 itself: characters above 207 are sent
// to Unicode too.

#include <string>
#include <string_view>

namespace melos {

class LatinText {
 public:
  static constexpr char16_t kLatin1Limit = 207;

  // Latin-1 bytes up to the first zero byte.
  static std::u16string convertToISOLatin1String(std::string_view bytes);
  // UTF-16 units up to the first zero unit; a leading mark sets the order
  // (a swapped mark means the other order), none means the machine's own.
  static std::u16string convertToUnicodeString(std::u16string_view units);
  // The stored bytes of a tag text, Latin-1 or UTF-16 units in the machine's order.
  static std::u16string convertToUISOString(std::string_view bytes, bool asUnicode);

  // The bytes to store, always ending in two zero bytes: UTF-16 when Unicode
  // is allowed and the text needs it, else Latin-1 where a character beyond
  // Latin-1 becomes "?".
  static std::string createISOLatin1String(std::u16string_view text, bool useUnicodeIfRequired = false);
  // Those bytes read back as a C string (Latin-1, up to the first zero byte).
  static std::u16string createISOLatin1NSString(std::u16string_view text, bool useUnicodeIfRequired);

  static bool isStringUnicode(std::u16string_view text);
};

}  // namespace melos
