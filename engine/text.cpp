#include "engine/text.h"

namespace melos {

namespace {

constexpr char16_t kMark = 0xFEFF;

bool isBlank(char32_t c) { return c == '\t' || c == '\n' || c == '\r' || c == ' '; }

void appendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

}  // namespace

uint32_t UnicodeText::length() const noexcept {
  if (!unicode) return static_cast<uint32_t>(data.size());
  size_t units = data.size() / 2;
  bool hasMark = units > 0 && ((static_cast<uint8_t>(data[0]) == 0xFF && static_cast<uint8_t>(data[1]) == 0xFE) ||
                               (static_cast<uint8_t>(data[0]) == 0xFE && static_cast<uint8_t>(data[1]) == 0xFF));
  return static_cast<uint32_t>(hasMark ? units - 1 : units);
}

UnicodeText UnicodeText::latin1(std::string text) { return UnicodeText{std::move(text), false}; }

UnicodeText UnicodeText::utf16(std::u16string_view text) {
  if (text.empty()) return UnicodeText{{}, true};
  return UnicodeText{encodeUtf16(text, false), true};
}

UnicodeText UnicodeText::fromUtf8(std::string_view utf8) {
  std::u16string wide = utf8ToU16(utf8);
  if (fitsLatin1(wide)) return latin1(u16ToLatin1(wide));
  return utf16(wide);
}

std::u16string UnicodeText::toU16() const {
  if (!unicode) return latin1ToU16(data);
  return decodeUtf16({reinterpret_cast<const uint8_t*>(data.data()), data.size()});
}

std::string UnicodeText::toUtf8() const {
  return unicode ? u16ToUtf8(toU16()) : latin1ToUtf8(data);
}

std::u16string latin1ToU16(std::string_view latin1) {
  std::u16string text;
  text.reserve(latin1.size());
  for (char c : latin1) text += static_cast<char16_t>(static_cast<uint8_t>(c));
  return text;
}

std::string latin1ToUtf8(std::string_view latin1) {
  std::string out;
  out.reserve(latin1.size());
  for (char c : latin1) appendUtf8(out, static_cast<uint8_t>(c));
  return out;
}

std::string u16ToLatin1(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char16_t c : text) out += c <= 0xFF ? static_cast<char>(c) : '?';
  return out;
}

std::string u16ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    appendUtf8(out, c);
  }
  return out;
}

std::u16string utf8ToU16(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    uint8_t b = static_cast<uint8_t>(utf8[i]);
    char32_t c;
    size_t extra;
    if (b < 0x80) { c = b; extra = 0; }
    else if ((b & 0xE0) == 0xC0) { c = b & 0x1F; extra = 1; }
    else if ((b & 0xF0) == 0xE0) { c = b & 0x0F; extra = 2; }
    else if ((b & 0xF8) == 0xF0) { c = b & 0x07; extra = 3; }
    else { out += u'\uFFFD'; ++i; continue; }
    bool valid = true;
    for (size_t k = 1; k <= extra; ++k) {
      if (i + k >= utf8.size() || (static_cast<uint8_t>(utf8[i + k]) & 0xC0) != 0x80) {
        valid = false;
        break;
      }
      c = (c << 6) | (static_cast<uint8_t>(utf8[i + k]) & 0x3F);
    }
    if (!valid || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      out += u'\uFFFD';
      ++i;
      continue;
    }
    i += extra + 1;
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
  }
  return out;
}

bool fitsLatin1(std::u16string_view text) noexcept {
  for (char16_t c : text)
    if (c > 0xFF) return false;
  return true;
}

std::u16string decodeUtf16(ByteSpan bytes) {
  std::u16string out;
  size_t i = 0;
  bool bigEndian = false;
  if (bytes.size() >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF) {
    bigEndian = true;
    i = 2;
  } else if (bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
    i = 2;
  }
  out.reserve(bytes.size() / 2);
  for (; i + 1 < bytes.size(); i += 2) {
    char16_t c = bigEndian ? static_cast<char16_t>((bytes[i] << 8) | bytes[i + 1])
                           : static_cast<char16_t>((bytes[i + 1] << 8) | bytes[i]);
    if (c == 0) break;
    out += c;
  }
  return out;
}

std::string encodeUtf16(std::u16string_view text, bool bigEndian) {
  std::string out;
  out.reserve(text.size() * 2 + 2);
  auto put = [&](char16_t c) {
    char hi = static_cast<char>(c >> 8), lo = static_cast<char>(c & 0xFF);
    if (bigEndian) {
      out += hi;
      out += lo;
    } else {
      out += lo;
      out += hi;
    }
  };
  put(kMark);
  for (char16_t c : text) put(c);
  return out;
}

bool isBigEndianUtf16(const UnicodeText& text) noexcept {
  return text.unicode && text.data.size() >= 2 && static_cast<uint8_t>(text.data[0]) == 0xFE;
}

std::string_view trimLatin1(std::string_view text) noexcept {
  size_t begin = 0, end = text.size();
  while (begin < end && isBlank(static_cast<uint8_t>(text[begin]))) ++begin;
  while (end > begin && isBlank(static_cast<uint8_t>(text[end - 1]))) --end;
  return text.substr(begin, end - begin);
}

std::u16string_view trimU16(std::u16string_view text) noexcept {
  size_t begin = 0, end = text.size();
  while (begin < end && isBlank(text[begin])) ++begin;
  while (end > begin && isBlank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

}  // namespace melos
