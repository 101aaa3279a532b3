#include "operations/latin_text.h"

#include <algorithm>

#include "engine/text.h"

namespace melos {
namespace {

bool hasCharacterAboveLimit(std::u16string_view text) {
  return std::any_of(text.begin(), text.end(), [](char16_t c) { return c > LatinText::kLatin1Limit; });
}

}  // namespace

std::u16string LatinText::convertToISOLatin1String(std::string_view bytes) {
  return latin1ToU16(bytes.substr(0, bytes.find('\0')));
}

std::u16string LatinText::convertToUnicodeString(std::u16string_view units) {
  units = units.substr(0, units.find(u'\0'));
  std::string bytes;
  bytes.reserve(units.size() * 2);
  for (char16_t unit : units) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return decodeUtf16({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

std::u16string LatinText::convertToUISOString(std::string_view bytes, bool asUnicode) {
  if (!asUnicode) return convertToISOLatin1String(bytes);
  std::u16string units;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                   static_cast<unsigned char>(bytes[i + 1]) << 8);
  return convertToUnicodeString(units);
}

std::string LatinText::createISOLatin1String(std::u16string_view text, bool useUnicodeIfRequired) {
  // Latin-1 storage keeps every Latin-1 character: the bound only decides
  // where Unicode may be used instead.
  std::string bytes = useUnicodeIfRequired && isStringUnicode(text) ? encodeUtf16(text, false) : u16ToLatin1(text);
  // Two zero bytes end the text whether it is read as 8-bit or 16-bit.
  bytes.append(2, '\0');
  return bytes;
}

std::u16string LatinText::createISOLatin1NSString(std::u16string_view text, bool useUnicodeIfRequired) {
  return convertToISOLatin1String(createISOLatin1String(text, useUnicodeIfRequired));
}

bool LatinText::isStringUnicode(std::u16string_view text) {
  return !fitsLatin1(text) || hasCharacterAboveLimit(text);
}

}  // namespace melos
