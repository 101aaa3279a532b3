#pragma once
// The contents of single ID3v2 frames as written: a narrower form than the
// reader takes (ISO 8859-1 or UTF-16 little-endian with a mark), with the
// languages, descriptions and picture types that the tag data keeps.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/bytes.h"
#include "engine/tag_data.h"

namespace melos {

// 2.4 sizes are syncsafe: 28 bits.
inline constexpr uint32_t kMaxSyncsafe = 0x0FFFFFFF;
inline constexpr size_t kFrameHeaderSize = 10;
inline constexpr size_t kMaxPictureMimeWritten = 11;  // "image/%s" is cut to this

// Every writer appends one whole frame (header and content) to `out` and
// returns the bytes appended, 0 when the frame has nothing to say. `version` is
// the tag's major version, 3 or 4: it decides the size form of the header. A
// frame that cannot be appended sets `error` and leaves `out` as it was.

// A text of the frame's kind, chosen by its ID: text frames (T...), COMM and
// USLT, WXXX, WFED, the bare URL frames (W...), and the frames that hold their
// text without an encoding byte (MCDI). `unicode` says that `text` holds UTF-16
// units, mark first. A big-endian UTF-16 text is turned little-endian in
// `text` itself, so that what a save then compares is what it wrote. `trim`
// strips blanks from the text of text frames other than TXXX.
// `moreValues` are written behind the text of a text frame, each after a zero
// character, as ID3v2.4 parts the values of one frame.
uint32_t writeFrame(Bytes& out, std::string_view id, std::string& text, bool unicode, bool& error,
                    int version, bool trim, const std::vector<std::u16string>* moreValues = nullptr) noexcept;
// COMM and USLT: a language (written as "eng" unless it has three letters), a
// description and the text, in UTF-16 when either text is.
uint32_t writeLangDescFrame(Bytes& out, std::string_view id, std::string_view language,
                            const UnicodeText& description, std::string& text, bool unicode, bool& error,
                            int version) noexcept;
uint32_t writeFrame(Bytes& out, std::string_view id, const PicData& picture, bool& error,
                    int version) noexcept;
uint32_t writeFrame(Bytes& out, std::string_view id, const PopularityData& popularity,
                    bool& error, int version) noexcept;
uint32_t writeFrame(Bytes& out, std::string_view id, const UniqueFileID& uniqueId, bool& error,
                    int version) noexcept;
// The content exactly as kept (TXXX bodies and the frames no decoder took).
uint32_t writeFrame(Bytes& out, std::string_view id, ByteSpan raw, bool& error,
                    int version) noexcept;

// A frame of four zero bytes (PCST).
uint32_t writeEmptyFrame(Bytes& out, std::string_view id, bool& error, int version) noexcept;

// Bytes a text takes in a frame: Latin-1 its length; UTF-16 its units, mark
// included, and a two-byte terminator. Both end at a first zero character, and
// a text without characters (a UTF-16 mark alone) takes 0.
uint32_t frameTextSize(std::string_view text, bool unicode) noexcept;

// The TRCK and TPOS text; kUnsetNumber is "not set". A total without a number
// is written ("/12") only when allowTotalOnly.
std::string trackString(uint16_t number, uint16_t total, bool allowTotalOnly) noexcept;

}  // namespace melos
