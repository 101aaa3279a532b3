#include "engine/frames_read.h"

#include <cstring>

#include "engine/genres.h"
#include "engine/log.h"
#include "engine/picture.h"

namespace melos {

namespace {

size_t terminatorWidth(uint8_t encoding) { return encoding == 1 || encoding == 2 ? 2 : 1; }

bool isMark(uint8_t a, uint8_t b) { return (a == 0xFF && b == 0xFE) || (a == 0xFE && b == 0xFF); }

std::string latin1Until0(ByteSpan bytes) {
  std::string_view text = asText(bytes);
  return std::string(text.substr(0, text.find('\0')));
}

// A UTF-16 value is accepted when it starts with a byte-order mark, or when it
// looks like little-endian text without one.
bool acceptableUtf16Value(ByteSpan value) {
  if (value.size() >= 2 && (value[0] & 0xFE) == 0xFE && (value[1] & 0xFE) == 0xFE) return true;
  for (size_t i = 0; i + 1 < value.size(); i += 2)
    if (value[i] != 0 && value[i + 1] == 0) return true;
  return false;
}

std::string latin1Of(const UnicodeText& text) {
  return text.unicode ? u16ToLatin1(text.toU16()) : text.data;
}

bool checkEncoding(uint8_t encoding, std::string_view id) {
  if (encoding <= 3) return true;
  LogMessage(LogError, "Unknown Unicode type %d found for frame ID %s", encoding,
             std::string(id).c_str());
  return false;
}

uint16_t parseNumber(std::u16string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  uint32_t value = 0;
  size_t digits = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9' && digits < 6; ++i, ++digits)
    value = value * 10 + static_cast<uint32_t>(text[i] - '0');
  if (digits == 0 || value >= kUnsetNumber) return kUnsetNumber;
  return static_cast<uint16_t>(value);
}

// The popularity counter is a big-endian number of any width.
std::string counterText(ByteSpan bytes) {
  if (bytes.empty()) return {};
  unsigned long long value = 0;
  for (size_t i = 0; i < bytes.size() && i < 8; ++i) value = (value << 8) | bytes[i];
  return std::to_string(value);
}

// The values of a text frame behind its first one, each up to its terminator;
// a terminator that ends the last value adds no empty value. ID3v2.4 parts
// values so, and 2.3 taggers that keep several values do the same.
std::vector<std::u16string> valuesAfterFirst(uint8_t encoding, ByteSpan values) {
  const size_t width = terminatorWidth(encoding);
  std::vector<std::u16string> out;
  ByteCursor cursor(values);
  cursor.readTerminated(width);
  while (!cursor.atEnd()) {
    ByteSpan value = cursor.readTerminated(width);
    UnicodeText text = decodeText(encoding, value);
    out.push_back(text.toU16());
  }
  while (!out.empty() && out.back().empty()) out.pop_back();
  return out;
}

void keepMoreValues(TagData& d, const FrameSpec& spec, uint8_t encoding, ByteSpan values, std::u16string first) {
  std::vector<std::u16string> rest = valuesAfterFirst(encoding, values);
  if (rest.empty()) return;
  d.moreValues.push_back(MoreValues{std::string(spec.id), std::move(first), std::move(rest)});
}

PrivateData keepAs(std::string_view id, ByteSpan body) {
  return PrivateData{std::string(id), Bytes(body.begin(), body.end())};
}

bool decodeLangDescText(TagData& d, const FrameSpec& spec, std::string_view id, ByteSpan body,
                        FrameWalkState& state) {
  ByteCursor cursor(body);
  uint8_t encoding = 0;
  ByteSpan language;
  if (!cursor.readByte(encoding) || !cursor.readBytes(3, language)) return false;
  if (!checkEncoding(encoding, id)) return true;
  ByteSpan description = cursor.readTerminated(terminatorWidth(encoding));
  ByteSpan value = cursor.rest();
  if (encoding == 1 && !acceptableUtf16Value(value)) return false;

  bool isComment = spec.field == FrameField::Comment;
  UnicodeText& field = isComment ? d.comment : d.lyrics;
  bool& exact = isComment ? state.commentExact : state.lyricsExact;
  std::optional<PrivateData>& described = isComment ? state.describedComment : state.describedLyrics;
  UnicodeText descText = decodeText(encoding, description);

  if (descText.empty()) {
    // The frame without a description is the user's text; one with a
    // description that was shown until now goes back to the kept frames.
    if (exact) return false;
    if (described) state.displaced.push_back(std::move(*described));
    described.reset();
    exact = true;
  } else {
    // A described frame stands in only while there is nothing better, and never
    // one of the machine-written iTunes frames.
    std::string name = descText.toUtf8();
    if (exact || described || name.rfind("iTun", 0) == 0) return false;
    described = keepAs(id, body);
  }
  field = decodeText(encoding, value);
  (isComment ? d.commentLanguage : d.lyricsLanguage) = std::string(asText(language));
  (isComment ? d.commentDescription : d.lyricsDescription) = descText.empty() ? UnicodeText{} : std::move(descText);
  return true;
}

bool decodeUserText(TagData& d, std::string_view id, ByteSpan body) {
  ByteCursor cursor(body);
  uint8_t encoding = 0;
  if (!cursor.readByte(encoding)) return false;
  if (!checkEncoding(encoding, id)) return true;
  ByteSpan description = cursor.readTerminated(terminatorWidth(encoding));
  ByteSpan value = cursor.rest();
  if (encoding == 1 && !acceptableUtf16Value(value)) return false;
  UserText entry;
  entry.body.assign(body.begin(), body.end());
  entry.description = decodeText(encoding, description);
  entry.value = decodeText(encoding, value);
  d.usertext.push_back(std::move(entry));
  return true;
}

bool decodePicture(TagData& d, std::string_view id, ByteSpan body, const FrameWalkState& state) {
  ByteCursor cursor(body);
  uint8_t encoding = 0;
  if (!cursor.readByte(encoding)) return false;
  if (!checkEncoding(encoding, id)) return true;
  std::string mime;
  if (state.majorVersion < 3) {
    ByteSpan format;
    if (!cursor.readBytes(3, format)) return true;
    if (equalsNoCase(asText(format), "PNG"))
      mime = "image/png";
    else if (equalsNoCase(asText(format), "JPG"))
      mime = "image/jpeg";
    else
      return true;
  } else {
    ByteSpan mimeBytes = cursor.readTerminated(1);
    mime = std::string(asText(mimeBytes.first(std::min(mimeBytes.size(), kMaxPictureMime))));
  }
  uint8_t pictureType = 0;
  if (!cursor.readByte(pictureType)) return true;
  ByteSpan description = cursor.readTerminated(terminatorWidth(encoding));
  ByteSpan image = cursor.rest();
  if (image.size() <= 3) return true;
  if (!state.loadPictures) return true;
  std::string_view subtype = pictureSubtypeFromMime(mime, image);
  if (subtype.empty()) {
    LogMessage(LogError, "Invalid picture MIME %s", mime.c_str());
    return true;
  }
  d.picdata.push_back(
      PicData{Bytes(image.begin(), image.end()), std::string(subtype), pictureType,
              description.empty() ? UnicodeText{} : decodeText(encoding, description)});
  return true;
}

}  // namespace

UnicodeText decodeText(uint8_t encoding, ByteSpan bytes) {
  if (encoding == 0) return UnicodeText::latin1(latin1Until0(bytes));
  if (encoding == 3) {
    std::string_view text = asText(bytes);
    return UnicodeText::fromUtf8(text.substr(0, text.find('\0')));
  }
  // UTF-16: up to the aligned two-byte terminator, kept in its own byte order.
  ByteCursor cursor(bytes);
  ByteSpan units = cursor.readTerminated(2);
  if (units.size() % 2 != 0) units = units.first(units.size() - 1);
  UnicodeText out;
  out.unicode = true;
  bool marked = units.size() >= 2 && isMark(units[0], units[1]);
  if (marked && units.size() == 2) return out;
  if (units.empty()) return out;
  if (!marked) {
    // Without a mark, encoding 2 is big-endian by definition; encoding 1 text
    // without one is taken as little-endian, as the writers that omit it use.
    bool bigEndian = encoding == 2;
    out.data = bigEndian ? std::string("\xFE\xFF", 2) : std::string("\xFF\xFE", 2);
  }
  out.data.append(reinterpret_cast<const char*>(units.data()), units.size());
  return out;
}

std::u16string genreFromText(std::u16string_view text) {
  auto numberName = [](std::u16string_view digits, std::u16string_view fallback) -> std::u16string {
    unsigned value = 0;
    for (char16_t c : digits) value = value * 10 + static_cast<unsigned>(c - u'0');
    if (value >= kGenreCount) return std::u16string(fallback);
    std::string_view name = kGenres[value];
    return std::u16string(name.begin(), name.end());
  };
  auto allDigits = [](std::u16string_view s) {
    if (s.empty() || s.size() > 3) return false;
    for (char16_t c : s)
      if (c < u'0' || c > u'9') return false;
    return true;
  };

  if (text.substr(0, 2) == u"((") return std::u16string(text.substr(1));
  if (!text.empty() && text[0] == u'(') {
    size_t close = text.find(u')');
    if (close != std::u16string_view::npos) {
      std::u16string_view inside = text.substr(1, close - 1);
      std::u16string_view rest = text.substr(close + 1);
      if (!rest.empty() && rest[0] != u'(') return std::u16string(rest);
      if (allDigits(inside)) return numberName(inside, text);
      if (inside == u"RX") return u"Remix";
      if (inside == u"CR") return u"Cover";
    }
    return std::u16string(text);
  }
  if (allDigits(text)) return numberName(text, text);
  return std::u16string(text);
}

bool decodeFrame(ID3Tag& track, const FrameSpec& spec, std::string_view id, ByteSpan body,
                 FrameWalkState& state) {
  TagData& d = track.tagData;
  switch (spec.form) {
    case FrameForm::LangDescText: return decodeLangDescText(d, spec, id, body, state);
    case FrameForm::UserText: return decodeUserText(d, id, body);
    case FrameForm::Picture: return decodePicture(d, id, body, state);
    case FrameForm::Empty:
      d.podcast = true;
      return true;
    case FrameForm::Url: {
      if (!d.artisturl.empty()) return false;
      d.artisturl = latin1Until0(body);
      return true;
    }
    case FrameForm::RawText: {
      // Binary contents (a table of contents) would not survive as text: they
      // stay a kept frame and are written back unchanged.
      const void* zero = std::memchr(body.data(), 0, body.size());
      bool textual = zero == nullptr || static_cast<const uint8_t*>(zero) == &body.back();
      if (!textual || !d.musiccdid.empty()) return false;
      d.musiccdid = latin1Until0(body);
      return true;
    }
    case FrameForm::Popularity: {
      if (!d.popularity.email.empty() || d.popularity.rate != 0) return false;
      ByteCursor cursor(body);
      ByteSpan email = cursor.readTerminated(1);
      uint8_t rate = 0;
      // A play count without a rating is no rating to show: the frame is kept
      // as it is, counter and all.
      if (!cursor.readByte(rate) || rate == 0) return false;
      d.popularity = PopularityData{std::string(asText(email)), rate, counterText(cursor.rest())};
      return true;
    }
    case FrameForm::UniqueId: {
      if (!d.uniqueid.owner.empty()) return false;
      ByteCursor cursor(body);
      ByteSpan owner = cursor.readTerminated(1);
      ByteSpan data = cursor.rest();
      if (data.size() > kMaxUniqueIdBytes) return false;
      d.uniqueid = UniqueFileID{std::string(asText(owner)), Bytes(data.begin(), data.end())};
      return true;
    }
    case FrameForm::UserUrl: {
      if (!d.url.empty()) return false;
      ByteCursor cursor(body);
      uint8_t encoding = 0;
      if (!cursor.readByte(encoding)) return false;
      if (!checkEncoding(encoding, id)) return true;
      cursor.readTerminated(terminatorWidth(encoding));
      // The URL itself is always Latin-1, whatever the description's encoding.
      d.url = latin1Until0(cursor.rest());
      return true;
    }
    default: break;
  }

  // The text forms: an encoding byte and the text.
  ByteCursor cursor(body);
  uint8_t encoding = 0;
  if (!cursor.readByte(encoding)) return false;
  if (!checkEncoding(encoding, id)) return true;
  const ByteSpan allValues = cursor.rest();
  UnicodeText text = decodeText(encoding, allValues);

  switch (spec.form) {
    case FrameForm::Text: {
      if (UnicodeText* field = unicodeField(d, spec.field)) {
        if (!field->empty()) return false;
        *field = std::move(text);
        keepMoreValues(d, spec, encoding, allValues, field->toU16());
        return true;
      }
      std::string* field = latin1Field(d, spec.field);
      if (field == nullptr || !field->empty()) return false;
      *field = latin1Of(text);
      if (spec.field == FrameField::Year) field->resize(std::min(field->size(), kV1YearField));
      keepMoreValues(d, spec, encoding, allValues, UnicodeText::latin1(*field).toU16());
      return true;
    }
    case FrameForm::EncodedUrl:
      if (!d.podcastfeed.empty()) return false;
      d.podcastfeed = latin1Of(text);
      return true;
    case FrameForm::NumberPair: {
      uint16_t& number = spec.field == FrameField::Track ? d.track : d.set;
      uint16_t& total = spec.field == FrameField::Track ? d.tracks : d.sets;
      if (number != kUnsetNumber || total != kUnsetNumber) return false;
      std::u16string value = text.toU16();
      size_t slash = value.find(u'/');
      number = parseNumber(std::u16string_view(value).substr(0, slash));
      if (slash != std::u16string::npos) total = parseNumber(std::u16string_view(value).substr(slash + 1));
      return true;
    }
    case FrameForm::Genre: {
      if (!d.genre.empty()) return false;
      std::u16string name = genreFromText(text.toU16());
      if (!text.unicode)
        d.genre = UnicodeText::latin1(u16ToLatin1(name));
      else if (name.empty())
        d.genre = UnicodeText{{}, true};
      else
        d.genre = UnicodeText{encodeUtf16(name, isBigEndianUtf16(text)), true};
      keepMoreValues(d, spec, encoding, allValues, d.genre.toU16());
      return true;
    }
    case FrameForm::Flag: {
      uint16_t value = parseNumber(text.toU16());
      d.compilation = value != 0 && value != kUnsetNumber;
      return true;
    }
    case FrameForm::Advisory: {
      uint16_t value = parseNumber(text.toU16());
      d.advisory = value == kUnsetNumber ? 0 : value;
      return true;
    }
    default: return false;
  }
}

}  // namespace melos
