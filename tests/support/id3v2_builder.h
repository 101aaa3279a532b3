#pragma once
// ID3v2.2, 2.3 and 2.4 tags made in memory for tests, frame by frame.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/bytes.h"

namespace melos::test {

// How a text is stored.
enum class Enc {
  Latin1,          // 0: ISO 8859-1, terminator 00
  Utf16LE,         // 1: UTF-16 with the mark FF FE, terminator 00 00
  Utf16BEWithBom,  // 1: UTF-16 with the mark FE FF
  Utf16BE,         // 2: UTF-16BE without a mark
  Utf8,            // 3: UTF-8, terminator 00
};

// A text in the given encoding, with its mark and optionally its terminator.
// The string_view form is read as UTF-8; bytes that are not valid UTF-8 are taken
// as Latin-1 code points, so "\xE9" and "\xC3\xA9" both mean U+00E9. A code
// point above U+00FF becomes '?' in Latin-1; above U+FFFF a surrogate pair.
Bytes encodeText(Enc enc, std::string_view utf8, bool terminate = false);
Bytes encodeText(Enc enc, std::u16string_view text, bool terminate = false);

// The standard unsynchronisation scheme: 00 after every FF that is followed by a
// byte >= E0 or by 00, and after a final FF.
Bytes unsynchronise(const Bytes& bytes);

// Frame bodies (the bytes after the frame header).
Bytes textBody(Enc enc, std::string_view text, bool terminate = false);
Bytes userTextBody(Enc enc, std::string_view description, std::string_view value);  // TXXX

// Image bytes that begin with each format's signature.
Bytes jpegBytes(size_t size = 16);
Bytes pngBytes(size_t size = 16);

struct Id3Frame {
  Id3Frame() = default;
  Id3Frame(std::string frameId, Bytes frameBody, uint16_t frameFlags = 0)
      : id(std::move(frameId)), body(std::move(frameBody)), flags(frameFlags) {}

  std::string id;                       // 3 characters for 2.2, 4 for 2.3 and 2.4
  Bytes body;
  uint16_t flags = 0;                   // 2.3 and 2.4; the two below add their bits
  bool dataLengthIndicator = false;     // 2.4: flag 0x0001 and a syncsafe length prefix
  bool unsynchronise = false;           // 2.4: flag 0x0002 and the scheme on the body
  bool plainSize = false;               // 2.4: size as plain big-endian, not syncsafe
  std::optional<uint32_t> sizeOverride; // written in the version's size form
};

Id3Frame textFrame(std::string id, Enc enc, std::string_view text);
Id3Frame commentFrame(Enc enc, std::string_view language, std::string_view description,
                      std::string_view text, std::string id = "COMM");
Id3Frame userTextFrame(Enc enc, std::string_view description, std::string_view value,
                       std::string id = "TXXX");
Id3Frame userUrlFrame(Enc enc, std::string_view description, std::string_view url,
                      std::string id = "WXXX");
Id3Frame pictureFrame(Enc enc, std::string_view mime, uint8_t pictureType,
                      std::string_view description, const Bytes& image);  // APIC
Id3Frame picture22Frame(Enc enc, std::string_view format, uint8_t pictureType,
                        std::string_view description, const Bytes& image);  // PIC
Id3Frame popularityFrame(std::string_view email, uint8_t rating, uint64_t counter = 0,
                         std::string id = "POPM");
Id3Frame uniqueIdFrame(std::string_view owner, const Bytes& identifier, std::string id = "UFID");
Id3Frame podcastFrame(std::string id = "PCST");

// The frame as it stands in a tag of the given major version.
Bytes frameBytes(const Id3Frame& frame, uint8_t major);

struct ExtendedHeader {
  // 2.3: size 6, flags 16 bits, padding size 0 in 32 bits.
  // 2.4: syncsafe size counting itself, one flag byte count (1), flags.
  uint16_t flags = 0;  // 2.4: low byte used
};

Bytes extendedHeaderBytes(const ExtendedHeader& header, uint8_t major);

class Id3v2Builder {
 public:
  explicit Id3v2Builder(uint8_t major = 3, uint8_t revision = 0);

  Id3v2Builder& frame(Id3Frame frame);
  Id3v2Builder& frame(std::string id, Bytes body, uint16_t flags = 0);
  Id3v2Builder& text(std::string id, Enc enc, std::string_view value);
  // Bytes put as they are between the frames, e.g. a broken frame header.
  Id3v2Builder& raw(Bytes bytes);
  // Flag bits beyond those the options below set.
  Id3v2Builder& flags(uint8_t flags);
  // Applies the scheme to everything after the tag header and sets flag 0x80.
  Id3v2Builder& unsynchronised(bool on = true);
  // Sets flag 0x40.
  Id3v2Builder& extendedHeader(ExtendedHeader header);
  Id3v2Builder& padding(size_t bytes);
  // The header size field (written syncsafe) instead of the real size.
  Id3v2Builder& headerSize(uint32_t size);
  // The four header size bytes as they are, e.g. with a top bit set.
  Id3v2Builder& rawHeaderSize(std::array<uint8_t, 4> bytes);

  Bytes build() const;

 private:
  uint8_t major_;
  uint8_t revision_;
  uint8_t flags_ = 0;
  bool unsync_ = false;
  std::optional<ExtendedHeader> extended_;
  Bytes body_;  // frames and raw bytes in order
  size_t padding_ = 0;
  std::optional<uint32_t> headerSize_;
  std::optional<std::array<uint8_t, 4>> rawHeaderSize_;
};

}  // namespace melos::test
