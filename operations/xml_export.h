#pragma once
// The tags of one track as an XML document: a V1 block when the caller gives
// one, every V2 field as a <value> element, and optionally the pictures in
// base64.

#include <optional>
#include <string>
#include <string_view>

#include "engine/id3_tag.h"

namespace melos {

enum XmlValueKind : int { kXmlString = 0, kXmlBool = 1, kXmlLong = 2 };

inline constexpr size_t kBase64LineLength = 128;
// A line break inside a multi-line value; several in a row count as one.
inline constexpr std::string_view kXmlLineBreak = "</br>";

// The five markup characters as entities; in a multi-line value each line
// break (a pair of CR or LF characters counting as one) becomes kXmlLineBreak.
std::string xmlEscape(std::string_view text, bool multiline);
// One "\t\t<value ...>" line; an unknown kind gives nothing.
std::string xmlValueElement(std::string_view name, std::string_view text, int kind,
                            bool multiline = false);
// The "\t<id3 version=\"1\">" block of a V1 tag.
std::string v1XmlBlock(const V1Tag& tag);

// Writes the document, replacing the file. Returns 0 (also when the track has
// no V2 tag and the file holds only the prologue), kExportNoTrack, or the error
// number of a file that cannot be opened or written.
int exportTagAsXml(const ID3Tag* track, const std::string& path, int version, bool withPictures,
                   std::optional<std::string_view> v1Block = std::nullopt) noexcept;

}  // namespace melos
