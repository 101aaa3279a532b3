#include "tests/support/id3v2_builder.h"

#include "tests/support/byte_text.h"

#include <algorithm>

namespace melos::test {

namespace {

void appendSyncsafe(Bytes& out, uint32_t value) {
  uint8_t b[4];
  syncsafeEncode(b, value);
  out.insert(out.end(), b, b + 4);
}

// Lenient UTF-8 decoding: a byte that does not start a well-formed sequence is
// taken as the Latin-1 code point of the same value.
std::u32string decodeUtf8(std::string_view in) {
  std::u32string out;
  size_t i = 0;
  while (i < in.size()) {
    auto b = static_cast<uint8_t>(in[i]);
    size_t extra = b >= 0xF0 && b < 0xF5   ? 3
                   : b >= 0xE0 && b < 0xF0 ? 2
                   : b >= 0xC2 && b < 0xE0 ? 1
                                           : 0;
    char32_t cp = extra == 3 ? (b & 0x07u) : extra == 2 ? (b & 0x0Fu) : (b & 0x1Fu);
    bool ok = extra > 0 && i + extra < in.size();
    if (ok) {
      for (size_t k = 1; k <= extra; ++k) {
        auto c = static_cast<uint8_t>(in[i + k]);
        if ((c & 0xC0) != 0x80) {
          ok = false;
          break;
        }
        cp = (cp << 6) | (c & 0x3Fu);
      }
    }
    if (ok) {
      out.push_back(cp);
      i += extra + 1;
    } else {
      out.push_back(b);
      ++i;
    }
  }
  return out;
}

std::u16string toUtf16(const std::u32string& text) {
  std::u16string out;
  for (char32_t cp : text) {
    if (cp > 0xFFFF) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

void appendUtf8(Bytes& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<uint8_t>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<uint8_t>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<uint8_t>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<uint8_t>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<uint8_t>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<uint8_t>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<uint8_t>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<uint8_t>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<uint8_t>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<uint8_t>(0x80 | (cp & 0x3F)));
  }
}

uint8_t encodingByte(Enc enc) {
  switch (enc) {
    case Enc::Latin1: return 0;
    case Enc::Utf16LE:
    case Enc::Utf16BEWithBom: return 1;
    case Enc::Utf16BE: return 2;
    case Enc::Utf8: return 3;
  }
  return 0;
}


Bytes commentBody(Enc enc, std::string_view language, std::string_view description,
                  std::string_view text) {
  Bytes out{encodingByte(enc)};                                 // text encoding
  appendText(out, language, 3);  // language, 3 bytes
  append(out, encodeText(enc, description, true));              // description + terminator
  append(out, encodeText(enc, text));                           // the text
  return out;
}

Bytes popularityBody(std::string_view email, uint8_t rating, uint64_t counter) {
  Bytes out;
  append(out, ascii(email));  // email
  out.push_back(0);          // its terminator
  out.push_back(rating);     // rating 1..255, 0 unknown
  appendU32BE(out, static_cast<uint32_t>(counter));  // play counter, 4 bytes big-endian
  return out;
}
}  // namespace

Bytes encodeText(Enc enc, std::u16string_view text, bool terminate) {
  Bytes out;
  switch (enc) {
    case Enc::Latin1:
      for (char16_t u : text) out.push_back(u < 0x100 ? static_cast<uint8_t>(u) : uint8_t{'?'});
      if (terminate) out.push_back(0);
      return out;
    case Enc::Utf8: {
      // Surrogate pairs are joined again so that UTF-8 holds whole code points.
      for (size_t i = 0; i < text.size(); ++i) {
        char32_t cp = text[i];
        if (cp >= 0xD800 && cp < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
          cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00u);
          ++i;
        }
        appendUtf8(out, cp);
      }
      if (terminate) out.push_back(0);
      return out;
    }
    case Enc::Utf16LE:
    case Enc::Utf16BEWithBom:
    case Enc::Utf16BE: break;
  }
  bool little = enc == Enc::Utf16LE;
  if (enc == Enc::Utf16LE) out.insert(out.end(), {0xFF, 0xFE});         // mark, little-endian
  if (enc == Enc::Utf16BEWithBom) out.insert(out.end(), {0xFE, 0xFF});  // mark, big-endian
  for (char16_t u : text) {
    auto hi = static_cast<uint8_t>(u >> 8);
    auto lo = static_cast<uint8_t>(u & 0xFF);
    if (little) {
      out.push_back(lo);
      out.push_back(hi);
    } else {
      out.push_back(hi);
      out.push_back(lo);
    }
  }
  if (terminate) out.insert(out.end(), {0, 0});
  return out;
}

Bytes encodeText(Enc enc, std::string_view utf8, bool terminate) {
  return encodeText(enc, std::u16string_view(toUtf16(decodeUtf8(utf8))), terminate);
}

Bytes unsynchronise(const Bytes& bytes) {
  Bytes out;
  out.reserve(bytes.size() + bytes.size() / 8);
  for (size_t i = 0; i < bytes.size(); ++i) {
    out.push_back(bytes[i]);
    if (bytes[i] != 0xFF) continue;
    if (i + 1 == bytes.size() || bytes[i + 1] == 0x00 || (bytes[i + 1] & 0xE0) == 0xE0)
      out.push_back(0x00);
  }
  return out;
}

Bytes textBody(Enc enc, std::string_view text, bool terminate) {
  Bytes out{encodingByte(enc)};  // text encoding
  append(out, encodeText(enc, text, terminate));
  return out;
}


Bytes userTextBody(Enc enc, std::string_view description, std::string_view value) {
  Bytes out{encodingByte(enc)};                     // text encoding
  append(out, encodeText(enc, description, true));  // description + terminator
  append(out, encodeText(enc, value));              // value
  return out;
}


Bytes jpegBytes(size_t size) {
  Bytes out(std::max<size_t>(size, 4), 0x11);
  out[0] = 0xFF;  // SOI marker
  out[1] = 0xD8;
  out[2] = 0xFF;
  out[3] = 0xE0;
  return out;
}

Bytes pngBytes(size_t size) {
  static constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  Bytes out(std::max<size_t>(size, 8), 0x22);
  std::copy(std::begin(kSignature), std::end(kSignature), out.begin());
  return out;
}

Id3Frame textFrame(std::string id, Enc enc, std::string_view text) {
  return {std::move(id), textBody(enc, text)};
}
Id3Frame commentFrame(Enc enc, std::string_view language, std::string_view description,
                      std::string_view text, std::string id) {
  return {std::move(id), commentBody(enc, language, description, text)};
}
Id3Frame userTextFrame(Enc enc, std::string_view description, std::string_view value,
                       std::string id) {
  return {std::move(id), userTextBody(enc, description, value)};
}
Id3Frame userUrlFrame(Enc enc, std::string_view description, std::string_view url, std::string id) {
  Bytes out{encodingByte(enc)};                     // text encoding of the description
  append(out, encodeText(enc, description, true));  // description + terminator
  append(out, ascii(url));                           // URL, always Latin-1
  return {std::move(id), out};
}
Id3Frame pictureFrame(Enc enc, std::string_view mime, uint8_t pictureType,
                      std::string_view description, const Bytes& image) {
  Bytes out{encodingByte(enc)};                     // text encoding of the description
  append(out, ascii(mime));                          // MIME type
  out.push_back(0);                                 // its terminator
  out.push_back(pictureType);                       // picture type
  append(out, encodeText(enc, description, true));  // description + terminator
  append(out, image);                               // image bytes
  return {"APIC", out};
}
Id3Frame picture22Frame(Enc enc, std::string_view format, uint8_t pictureType,
                        std::string_view description, const Bytes& image) {
  Bytes out{encodingByte(enc)};                                         // text encoding
  appendText(out, format, 3);  // image format, 3 bytes
  out.push_back(pictureType);                                          // picture type
  append(out, encodeText(enc, description, true));                     // description + terminator
  append(out, image);                                                  // image bytes
  return {"PIC", out};
}
Id3Frame popularityFrame(std::string_view email, uint8_t rating, uint64_t counter, std::string id) {
  return {std::move(id), popularityBody(email, rating, counter)};
}
Id3Frame uniqueIdFrame(std::string_view owner, const Bytes& identifier, std::string id) {
  Bytes out;
  append(out, ascii(owner));  // owner identifier
  out.push_back(0);          // its terminator
  append(out, identifier);   // up to 64 bytes of identifier
  return {std::move(id), out};
}
Id3Frame podcastFrame(std::string id) { return {std::move(id), Bytes(4, 0)}; }  // PCST: 00 00 00 00

Bytes frameBytes(const Id3Frame& f, uint8_t major) {
  Bytes data = f.body;
  uint16_t flags = f.flags;
  if (major >= 4 && f.unsynchronise) {
    data = unsynchronise(data);
    flags |= 0x0002;
  }
  if (major >= 4 && f.dataLengthIndicator) {
    Bytes prefixed;
    appendSyncsafe(prefixed, static_cast<uint32_t>(f.body.size()));  // length before unsync
    append(prefixed, data);
    data = std::move(prefixed);
    flags |= 0x0001;
  }
  uint32_t size = f.sizeOverride.value_or(static_cast<uint32_t>(data.size()));

  Bytes out;
  if (major < 3) {
    appendText(out, f.id, 3);  // frame ID, 3 bytes
    out.push_back(static_cast<uint8_t>(size >> 16));                     // size, 24-bit big-endian
    out.push_back(static_cast<uint8_t>(size >> 8));
    out.push_back(static_cast<uint8_t>(size));
  } else {
    appendText(out, f.id, 4);  // frame ID, 4 bytes
    if (major >= 4 && !f.plainSize)
      appendSyncsafe(out, size);  // size, syncsafe in 2.4
    else
      appendU32BE(out, size);  // size, plain big-endian in 2.3
    out.push_back(static_cast<uint8_t>(flags >> 8));  // status flags
    out.push_back(static_cast<uint8_t>(flags));       // format flags
  }
  append(out, data);
  return out;
}

Bytes extendedHeaderBytes(const ExtendedHeader& h, uint8_t major) {
  Bytes out;
  if (major >= 4) {
    appendSyncsafe(out, 6);                        // size, counting these 4 bytes
    out.push_back(1);                              // number of flag bytes
    out.push_back(static_cast<uint8_t>(h.flags));  // extended flags
    return out;
  }
  appendU32BE(out, 6);                                // size, not counting these 4 bytes
  out.push_back(static_cast<uint8_t>(h.flags >> 8));  // extended flags
  out.push_back(static_cast<uint8_t>(h.flags));
  appendU32BE(out, 0);  // size of padding
  return out;
}

Id3v2Builder::Id3v2Builder(uint8_t major, uint8_t revision) : major_(major), revision_(revision) {}

Id3v2Builder& Id3v2Builder::frame(Id3Frame f) {
  append(body_, frameBytes(f, major_));
  return *this;
}

Id3v2Builder& Id3v2Builder::frame(std::string id, Bytes body, uint16_t flags) {
  return frame(Id3Frame(std::move(id), std::move(body), flags));
}

Id3v2Builder& Id3v2Builder::text(std::string id, Enc enc, std::string_view value) {
  return frame(textFrame(std::move(id), enc, value));
}

Id3v2Builder& Id3v2Builder::raw(Bytes bytes) {
  append(body_, bytes);
  return *this;
}

Id3v2Builder& Id3v2Builder::flags(uint8_t flags) {
  flags_ = flags;
  return *this;
}

Id3v2Builder& Id3v2Builder::unsynchronised(bool on) {
  unsync_ = on;
  return *this;
}

Id3v2Builder& Id3v2Builder::extendedHeader(ExtendedHeader header) {
  extended_ = std::move(header);
  return *this;
}

Id3v2Builder& Id3v2Builder::padding(size_t bytes) {
  padding_ = bytes;
  return *this;
}

Id3v2Builder& Id3v2Builder::headerSize(uint32_t size) {
  headerSize_ = size;
  return *this;
}

Id3v2Builder& Id3v2Builder::rawHeaderSize(std::array<uint8_t, 4> bytes) {
  rawHeaderSize_ = bytes;
  return *this;
}

Bytes Id3v2Builder::build() const {
  Bytes content;
  if (extended_) append(content, extendedHeaderBytes(*extended_, major_));
  append(content, body_);
  content.insert(content.end(), padding_, 0);
  if (unsync_) content = unsynchronise(content);

  uint8_t flags = flags_;
  if (unsync_) flags |= 0x80;
  if (extended_) flags |= 0x40;

  Bytes out{'I', 'D', '3',  // identifier
            major_,         // major version
            revision_,      // revision
            flags};         // flags: 80 unsync, 40 extended header, 10 footer
  if (rawHeaderSize_)
    out.insert(out.end(), rawHeaderSize_->begin(), rawHeaderSize_->end());  // size as given
  else
    appendSyncsafe(out, headerSize_.value_or(static_cast<uint32_t>(content.size())));  // size
  append(out, content);
  return out;
}

}  // namespace melos::test
