#include "engine/frames_write.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "engine/genres.h"

namespace melos {

namespace {

constexpr uint8_t kLatin1 = 0;
constexpr uint8_t kUtf16 = 1;
constexpr std::string_view kLanguage = "eng";

// TXXX holds a description and a value; it is never a plain text frame.
bool isTextFrameId(std::string_view id) { return !id.empty() && id[0] == 'T' && id != "TXXX"; }

bool isMark(std::string_view units) {
  if (units.size() < 2) return false;
  auto a = static_cast<uint8_t>(units[0]), b = static_cast<uint8_t>(units[1]);
  return (a == 0xFF && b == 0xFE) || (a == 0xFE && b == 0xFF);
}

std::string_view latin1Text(std::string_view text) { return text.substr(0, text.find('\0')); }

// Whole units up to a first zero unit, as a C reader of the text would see it.
std::string_view utf16Units(std::string_view text) {
  const size_t whole = text.size() / 2 * 2;
  for (size_t i = 0; i < whole; i += 2)
    if (text[i] == 0 && text[i + 1] == 0) return text.substr(0, i);
  return text.substr(0, whole);
}

void swapToLittleEndian(std::string& text) {
  if (text.empty() || static_cast<uint8_t>(text[0]) != 0xFE) return;
  for (size_t i = 0; i + 1 < text.size(); i += 2) std::swap(text[i], text[i + 1]);
}

bool isBlankUnit(char low, char high) {
  return high == 0 && (low == '\t' || low == '\n' || low == '\r' || low == ' ');
}

// UTF-16 here is little-endian: big-endian texts were swapped before.
std::string trimmedText(std::string_view text, bool unicode) {
  if (!unicode) return std::string(trimLatin1(latin1Text(text)));
  std::string_view units = utf16Units(text);
  const size_t markBytes = isMark(units) ? 2 : 0;
  size_t begin = markBytes, end = units.size();
  while (begin < end && isBlankUnit(units[begin], units[begin + 1])) begin += 2;
  while (end > begin && isBlankUnit(units[end - 2], units[end - 1])) end -= 2;
  std::string out(units.substr(0, markBytes));
  out.append(units.substr(begin, end - begin));
  return out;
}

// "(17)" before a standard genre name, in the text's own form; empty otherwise.
std::string genrePrefix(std::string_view text, bool unicode) {
  std::string name;
  if (unicode) {
    std::u16string wide = decodeUtf16({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    if (!fitsLatin1(wide)) return {};
    name = u16ToLatin1(wide);
  } else {
    name = std::string(text);
  }
  const int index = genreIndex(name, false);
  if (index < 0) return {};
  const std::string prefix = "(" + std::to_string(index) + ")";
  if (!unicode) return prefix;
  std::string units;
  for (char c : prefix) {
    units += c;
    units += '\0';
  }
  return units;
}

void append(Bytes& content, std::string_view text) {
  if (text.empty()) return;
  const size_t at = content.size();
  content.resize(at + text.size());
  std::memcpy(content.data() + at, text.data(), text.size());
}

uint32_t appendFrame(Bytes& out, std::string_view id, ByteSpan content, int version, bool& error) noexcept {
  const uint64_t limit = version >= 4 ? kMaxSyncsafe : std::numeric_limits<uint32_t>::max() - kFrameHeaderSize;
  if (id.size() != 4 || content.size() > limit) {
    error = true;
    return 0;
  }
  const size_t start = out.size();
  try {
    out.resize(start + kFrameHeaderSize + content.size());
  } catch (...) {
    error = true;
    return 0;
  }
  uint8_t* header = out.data() + start;
  std::memcpy(header, id.data(), 4);
  const auto size = static_cast<uint32_t>(content.size());
  if (version >= 4)
    syncsafeEncode(header + 4, size);
  else
    writeU32BE(header + 4, size);
  // The two flag bytes stay zero.
  if (!content.empty()) std::memcpy(header + kFrameHeaderSize, content.data(), content.size());
  return static_cast<uint32_t>(kFrameHeaderSize + content.size());
}

}  // namespace

uint32_t frameTextSize(std::string_view text, bool unicode) noexcept {
  if (!unicode) return static_cast<uint32_t>(latin1Text(text).size());
  std::string_view units = utf16Units(text);
  const size_t characterBytes = units.size() - (isMark(units) ? 2 : 0);
  if (characterBytes == 0) return 0;
  return static_cast<uint32_t>(units.size() + 2);
}

std::string trackString(uint16_t number, uint16_t total, bool allowTotalOnly) noexcept {
  if (number == kUnsetNumber) {
    if (total == kUnsetNumber || !allowTotalOnly) return {};
    return "/" + std::to_string(total);
  }
  if (total == kUnsetNumber) return std::to_string(number);
  return std::to_string(number) + "/" + std::to_string(total);
}

namespace {

// A description (or a further value) in the frame's encoding, its terminator
// included: Latin-1, or UTF-16 little-endian with a mark.
void appendTerminated(Bytes& content, const UnicodeText& text, bool wide) {
  if (!wide) {
    append(content, latin1Text(text.unicode ? u16ToLatin1(text.toU16()) : text.data));
    content.push_back(0);
    return;
  }
  const std::u16string units = text.toU16();
  if (!units.empty()) append(content, encodeUtf16(units, false));
  else content.insert(content.end(), {0xFF, 0xFE});
  content.insert(content.end(), 2, 0);
}

std::string_view languageOf(std::string_view language) {
  return language.size() == 3 ? language : kLanguage;
}

}  // namespace

uint32_t writeFrame(Bytes& out, std::string_view id, std::string& text, bool unicode, bool& error,
                    int version, bool trim, const std::vector<std::u16string>* moreValues) noexcept {
  try {
    const bool textFrame = isTextFrameId(id);
    const bool commentLike = id == "COMM" || id == "USLT";
    const bool wide = unicode && (textFrame || commentLike);
    if (wide) swapToLittleEndian(text);

    std::string trimmed;
    std::string_view value = text;
    if (trim && textFrame) {
      trimmed = trimmedText(text, wide);
      value = trimmed;
    }
    const uint32_t textSize = frameTextSize(value, wide);
    if (textSize == 0) return 0;
    // The characters without the terminator; the terminator is added below.
    value = value.substr(0, wide ? textSize - 2 : textSize);

    Bytes content;
    if (textFrame) {
      content.push_back(wide ? kUtf16 : kLatin1);
      const size_t markBytes = wide && isMark(value) ? 2 : 0;
      append(content, value.substr(0, markBytes));
      if (id == "TCON") append(content, genrePrefix(value.substr(markBytes), wide));
      append(content, value.substr(markBytes));
      if (wide) content.insert(content.end(), 2, 0);
      if (moreValues != nullptr) {
        // A Latin-1 value has no terminator of its own, so one zero parts it
        // from the next; a UTF-16 value already ends in one.
        for (const std::u16string& more : *moreValues) {
          if (wide) {
            appendTerminated(content, UnicodeText::utf16(more), true);
          } else {
            content.push_back(0);
            append(content, u16ToLatin1(more));
          }
        }
      }
    } else if (commentLike) {
      return writeLangDescFrame(out, id, kLanguage, UnicodeText{}, text, unicode, error, version);
    } else if (id == "WXXX") {
      content.insert(content.end(), {kLatin1, 0});
      append(content, value);
    } else if (id == "WFED") {
      // A URL frame written like a text frame, as the podcast players read it.
      content.push_back(kLatin1);
      append(content, value);
    } else {
      append(content, value);
    }
    return appendFrame(out, id, content, version, error);
  } catch (...) {
    error = true;
    return 0;
  }
}

uint32_t writeLangDescFrame(Bytes& out, std::string_view id, std::string_view language,
                            const UnicodeText& description, std::string& text, bool unicode, bool& error,
                            int version) noexcept {
  try {
    // One encoding serves the whole frame: UTF-16 as soon as either text needs it.
    const bool wide = unicode || (description.unicode && !description.empty());
    std::string wideText;
    if (wide && !unicode) wideText = UnicodeText::utf16(UnicodeText::latin1(std::string(latin1Text(text))).toU16()).data;
    std::string& source = wide && !unicode ? wideText : text;
    if (wide) swapToLittleEndian(source);
    const uint32_t textSize = frameTextSize(source, wide);
    if (textSize == 0) return 0;
    const std::string_view value = std::string_view(source).substr(0, wide ? textSize - 2 : textSize);

    Bytes content;
    content.push_back(wide ? kUtf16 : kLatin1);
    append(content, languageOf(language));
    appendTerminated(content, description, wide);
    append(content, value);
    // The text's terminator and two further zero bytes: the size counts them
    // on purpose, and readers tolerate the overshoot.
    if (wide) content.insert(content.end(), 4, 0);
    return appendFrame(out, id, content, version, error);
  } catch (...) {
    error = true;
    return 0;
  }
}

uint32_t writeFrame(Bytes& out, std::string_view id, const PicData& picture, bool& error,
                    int version) noexcept {
  if (picture.data.empty()) return 0;
  try {
    std::string mime = "image/" + std::string(latin1Text(picture.pictureSubtype));
    if (mime.size() > kMaxPictureMimeWritten) mime.resize(kMaxPictureMimeWritten);
    const bool wide = picture.description.unicode && !picture.description.empty();
    Bytes content;
    content.reserve(picture.data.size() + mime.size() + picture.description.bytes() + 6);
    content.push_back(wide ? kUtf16 : kLatin1);
    append(content, mime);
    content.push_back(0);
    content.push_back(picture.pictureType);
    appendTerminated(content, picture.description, wide);
    content.insert(content.end(), picture.data.begin(), picture.data.end());
    return appendFrame(out, id, content, version, error);
  } catch (...) {
    error = true;
    return 0;
  }
}

uint32_t writeFrame(Bytes& out, std::string_view id, const PopularityData& popularity, bool& error,
                    int version) noexcept {
  if (popularity.rate == 0) return 0;
  try {
    Bytes content;
    append(content, latin1Text(popularity.email));
    content.push_back(0);
    content.push_back(popularity.rate);
    if (!popularity.counter.empty()) {
      // At least four bytes, more only for a count that needs them.
      unsigned long long count = 0;
      for (char c : popularity.counter)
        if (c >= '0' && c <= '9') count = count * 10 + static_cast<unsigned>(c - '0');
      size_t width = 4;
      while (width < 8 && (count >> (8 * width)) != 0) ++width;
      for (size_t i = width; i-- > 0;) content.push_back(static_cast<uint8_t>(count >> (8 * i)));
    }
    return appendFrame(out, id, content, version, error);
  } catch (...) {
    error = true;
    return 0;
  }
}

uint32_t writeFrame(Bytes& out, std::string_view id, const UniqueFileID& uniqueId, bool& error,
                    int version) noexcept {
  std::string_view owner = latin1Text(uniqueId.owner);
  if (owner.empty() || uniqueId.data.empty()) return 0;
  try {
    // The reader refuses a longer identifier, which would come back as a
    // second, kept UFID frame.
    const size_t dataSize = std::min(uniqueId.data.size(), kMaxUniqueIdBytes);
    Bytes content;
    append(content, owner);
    content.push_back(0);
    content.insert(content.end(), uniqueId.data.begin(), uniqueId.data.begin() + static_cast<long>(dataSize));
    return appendFrame(out, id, content, version, error);
  } catch (...) {
    error = true;
    return 0;
  }
}

uint32_t writeFrame(Bytes& out, std::string_view id, ByteSpan raw, bool& error, int version) noexcept {
  // A frame of size zero would end every reader's walk of the tag.
  if (raw.empty()) return 0;
  return appendFrame(out, id, raw, version, error);
}

uint32_t writeEmptyFrame(Bytes& out, std::string_view id, bool& error, int version) noexcept {
  const uint8_t content[4] = {};
  return appendFrame(out, id, content, version, error);
}

}  // namespace melos
