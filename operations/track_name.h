#pragma once
// The name and folder a track is given from its tags: the standard naming
// ("01-Title" in "Artist/Album") or the user's format ("%A/%L/%n %T").

#include <optional>
#include <string>
#include <string_view>

#include "engine/id3_tag.h"

namespace melos {

inline constexpr size_t kMaxNameFormatBytes = 1023;

// Title, artist and album as they go into a name: UTF-8 (without the UTF-8
// setting reduced to Latin-1 first), trimmed, with the characters file
// systems refuse replaced by "_".
struct NamingTexts {
  std::string title;
  std::string artist;
  std::string album;
};

// From the V2 tag, or from the V1 tag when V2 is disabled; none when both are.
std::optional<NamingTexts> namingTexts(const ID3Tag& track, bool utf8);

// Replaces < > : " \ | ? * with "_", and "/" too unless keepSlash.
std::string replaceForbidden(std::string_view text, bool keepSlash);

struct TrackName {
  std::string name;                      // without the extension; empty means none
  // Relative to the track's folder unless it starts with "/"; never "." or "..".
  std::optional<std::string> subfolder;
  int trackNumber = 0;                   // put in front as "%02d-" when not 0
};

TrackName standardTrackName(const ID3Tag& track, const NamingTexts& texts, bool addTrackNumber,
                            bool createFolder);
TrackName customTrackName(const ID3Tag& track, const NamingTexts& texts, std::string_view format);

// Every code of the user's format expanded, at most 1023 bytes; the forbidden
// characters are left to the caller.
std::string expandNameFormat(const ID3Tag& track, const NamingTexts& texts, std::string_view format);

// The track number with as many leading zeros as the total has more digits;
// the plain number when the total is unset, empty when the number is.
std::string paddedTrackNumber(uint16_t track, uint16_t total);
// "m.ss" or "h.mm.ss" with the given separator; empty below one second.
std::string durationName(uint64_t seconds, char separator);

}  // namespace melos
