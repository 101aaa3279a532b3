#include "operations/track_name.h"

#include <algorithm>
#include <cstdio>

namespace melos {
namespace {

constexpr std::string_view kForbidden = "<>:\"\\|?*";

std::string prepare(std::string text) {
  return replaceForbidden(trimLatin1(text), false);
}

bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// File names are UTF-8 whatever the setting says: without it the text is
// first reduced to Latin-1, each character beyond it becoming one "_".
std::string fromUnicode(const UnicodeText& text, bool utf8) {
  if (utf8) return text.toUtf8();
  const std::u16string wide = text.toU16();
  std::string latin1;
  for (size_t i = 0; i < wide.size(); ++i) {
    if (wide[i] <= 0xFF) {
      latin1 += static_cast<char>(wide[i]);
      continue;
    }
    latin1 += '_';
    if (isHighSurrogate(wide[i]) && i + 1 < wide.size() && isLowSurrogate(wide[i + 1])) ++i;
  }
  return latin1ToUtf8(latin1);
}

// Zero and below give nothing, as does the unset number.
std::string positive(long long value) {
  return value < 1 ? std::string() : std::to_string(value);
}

std::string tagNumber(uint16_t value) {
  return value == kUnsetNumber ? std::string() : positive(value);
}

std::string yearName(const TagData& data) {
  if (!data.year.empty()) return data.year.substr(0, 4);
  const std::string& time = data.releasetime.empty() ? data.recordtime : data.releasetime;
  return time.substr(0, 4);
}

// A cut at a byte limit must not leave half a UTF-8 character behind.
void cutTo(std::string& text, size_t limit) {
  if (text.size() <= limit) return;
  size_t end = limit;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  text.resize(end);
}

// The folders go only where the naming says: an empty field leaves no empty
// folder name to make a "/" of, a field of "." or ".." leads nowhere, and only
// an absolute format (its own leading "/") leaves the track's folder.
std::optional<std::string> subfolderOf(std::string_view folders, bool absolute) {
  std::string folder = absolute ? "/" : "";
  while (!folders.empty()) {
    const size_t end = std::min(folders.find('/'), folders.size());
    const std::string_view part = folders.substr(0, end);
    folders.remove_prefix(std::min(end + 1, folders.size()));
    if (part.empty() || part == "." || part == "..") continue;
    if (!folder.empty() && folder.back() != '/') folder += '/';
    folder += part;
  }
  if (folder.empty() || folder == "/") return std::nullopt;
  return folder;
}

}  // namespace

std::optional<NamingTexts> namingTexts(const ID3Tag& track, bool utf8) {
  if (track.tagData.enabled) {
    return NamingTexts{prepare(fromUnicode(track.tagData.title, utf8)),
                       prepare(fromUnicode(track.tagData.artist, utf8)),
                       prepare(fromUnicode(track.tagData.album, utf8))};
  }
  if (!track.v1.enabled) return std::nullopt;
  return NamingTexts{prepare(latin1ToUtf8(track.v1.title)), prepare(latin1ToUtf8(track.v1.artist)),
                     prepare(latin1ToUtf8(track.v1.album))};
}

std::string replaceForbidden(std::string_view text, bool keepSlash) {
  std::string out(text);
  for (char& c : out)
    if (kForbidden.find(c) != std::string_view::npos || (c == '/' && !keepSlash)) c = '_';
  return out;
}

TrackName standardTrackName(const ID3Tag& track, const NamingTexts& texts, bool addTrackNumber,
                            bool createFolder) {
  TrackName result;
  result.name = texts.title;
  if (createFolder) {
    const std::string& second = texts.album.empty() ? texts.title : texts.album;
    if (!texts.artist.empty() && !second.empty()) result.subfolder = subfolderOf(texts.artist + "/" + second, false);
  }
  const uint16_t number = track.tagData.track;
  if (addTrackNumber && number >= 1 && number <= 65534) result.trackNumber = number;
  return result;
}

TrackName customTrackName(const ID3Tag& track, const NamingTexts& texts, std::string_view format) {
  const std::string expanded = replaceForbidden(expandNameFormat(track, texts, format), true);
  TrackName result;
  const size_t slash = expanded.rfind('/');
  if (slash == std::string::npos) {
    result.name = expanded;
    return result;
  }
  result.name = expanded.substr(slash + 1);
  result.subfolder = subfolderOf(std::string_view(expanded).substr(0, slash), format.starts_with('/'));
  return result;
}

std::string expandNameFormat(const ID3Tag& track, const NamingTexts& texts, std::string_view format) {
  format = format.substr(0, kMaxNameFormatBytes);
  const TagData& data = track.tagData;
  std::string out;
  for (size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') {
      out += format[i];
      continue;
    }
    if (++i == format.size()) break;
    switch (format[i]) {
      case '%': out += '%'; break;
      case 'A': out += texts.artist; break;
      case 'L': out += texts.album; break;
      case 'T': out += texts.title; break;
      case 'N': out += tagNumber(data.track); break;
      case 'n': out += paddedTrackNumber(data.track, data.tracks); break;
      case 'M': out += tagNumber(data.tracks); break;
      case 'Y': out += yearName(data); break;
      case 'B': out += positive(track.audio.bitrate); break;
      case 'b': out += track.audio.bitrate < 1 ? std::string() : positive(track.audio.bitrate * 1000LL); break;
      case 'S': out += durationName(track.duration, '.'); break;
      case 's': out += durationName(track.duration, ':'); break;
      case 'F': out += positive(static_cast<long long>(track.sampleRateKHz())); break;
      case 'f': out += positive(track.sampleRateHz()); break;
      default: break;  // an unknown code goes with its "%"
    }
  }
  cutTo(out, kMaxNameFormatBytes);
  return out;
}

std::string paddedTrackNumber(uint16_t track, uint16_t total) {
  std::string number = tagNumber(track);
  if (number.empty() || total == kUnsetNumber) return number;
  std::string zeros;
  for (unsigned t = total, n = track; t > 9; t /= 10, n /= 10)
    if (n <= 9) zeros += '0';
  return zeros + number;
}

std::string durationName(uint64_t seconds, char separator) {
  if (seconds < 1) return {};
  const uint64_t hours = seconds / 3600;
  const uint64_t minutes = seconds / 60 % 60;
  const uint64_t rest = seconds % 60;
  char buffer[64];
  if (hours > 0)
    std::snprintf(buffer, sizeof buffer, "%llu%c%02llu%c%02llu", static_cast<unsigned long long>(hours),
                  separator, static_cast<unsigned long long>(minutes), separator,
                  static_cast<unsigned long long>(rest));
  else
    std::snprintf(buffer, sizeof buffer, "%llu%c%02llu", static_cast<unsigned long long>(seconds / 60),
                  separator, static_cast<unsigned long long>(rest));
  return buffer;
}

}  // namespace melos
