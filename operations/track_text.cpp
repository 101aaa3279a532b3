#include "operations/track_text.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "engine/genres.h"
#include "engine/mpeg_info.h"
#include "engine/text.h"

namespace melos {
namespace {

struct Row {
  int depth;  // 0 for the file facts, 1 for the fields of a section
  std::string label;
  std::string value;  // empty for a section heading
};

constexpr size_t kIndentStep = 2;

// A tag is untrusted input: control characters could steer the terminal, so
// only the line breaks of multi-line texts survive.
std::string printable(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size(); ++i) {
    const char c = utf8[i];
    if (c == '\r') {
      if (i + 1 < utf8.size() && utf8[i + 1] == '\n') continue;
      out += '\n';
    } else if (c == '\n') {
      out += '\n';
    } else if (c == '\t') {
      out += ' ';
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      out += '?';
    } else {
      out += c;
    }
  }
  while (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

std::string trimmed(std::string text) {
  auto isSpace = [](char c) { return c == ' ' || c == '\n'; };
  while (!text.empty() && isSpace(text.back())) text.pop_back();
  size_t start = 0;
  while (start < text.size() && isSpace(text[start])) ++start;
  return text.substr(start);
}

class Rows {
 public:
  void heading(std::string label) { rows_.push_back({0, std::move(label), {}}); }
  void fact(std::string label, std::string value) {
    rows_.push_back({0, std::move(label), std::move(value)});
  }
  void field(std::string label, std::string_view utf8) {
    std::string value = trimmed(printable(utf8));
    if (!value.empty()) rows_.push_back({1, std::move(label), std::move(value)});
  }
  void latin1Field(std::string label, const std::string& latin1) {
    field(std::move(label), latin1ToUtf8(latin1));
  }
  void unicodeField(std::string label, const UnicodeText& text) {
    field(std::move(label), text.toUtf8());
  }
  bool empty() const { return rows_.empty(); }

  std::string render() const {
    size_t column = 0;
    for (const Row& row : rows_)
      if (!row.value.empty())
        column = std::max(column, indent(row) + utf8Length(row.label) + 1);
    column += 1;
    std::string out;
    for (const Row& row : rows_) {
      out.append(indent(row), ' ');
      out += row.label;
      if (row.value.empty()) {
        out += '\n';
        continue;
      }
      out += ':';
      out.append(column - indent(row) - utf8Length(row.label) - 1, ' ');
      // Continuation lines of a multi-line value start under its first line.
      for (char c : row.value) {
        out += c;
        if (c == '\n') out.append(column, ' ');
      }
      out += '\n';
    }
    return out;
  }

 private:
  static size_t indent(const Row& row) { return kIndentStep * (static_cast<size_t>(row.depth) + 1); }
  static size_t utf8Length(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
      return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
  }
  std::vector<Row> rows_;
};

std::string numberPair(uint16_t number, uint16_t count) {
  if (number == kUnsetNumber && count == kUnsetNumber) return {};
  std::string text = number == kUnsetNumber ? std::string() : std::to_string(number);
  if (count != kUnsetNumber) text += "/" + std::to_string(count);
  return text;
}

std::string hexBytes(const Bytes& bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0F];
  }
  return text;
}

std::string kindText(const ID3Tag& track) {
  std::string text = track.isTagDataFile ? "tag data file" : track.isAiffFile ? "AIFF" : "MP3";
  text += ", " + std::to_string(track.fileSize) + " bytes";
  if (track.readOnly) text += ", read-only";
  return text;
}

void addV1(Rows& rows, const ID3Tag& track) {
  if (!track.v1Loaded) return;
  const V1Tag& v1 = track.v1;
  rows.heading("V1");
  rows.latin1Field("Title", v1.title);
  rows.latin1Field("Artist", v1.artist);
  rows.latin1Field("Album", v1.album);
  rows.latin1Field("Year", v1.year);
  rows.latin1Field("Comment", v1.comment);
  if (v1.track != kUnsetV1) rows.field("Track", std::to_string(v1.track));
  if (v1.genre != kUnsetV1)
    rows.field("Genre", std::string(genreName(v1.genre)) + " (" + std::to_string(v1.genre) + ")");
}

void addV2(Rows& rows, const ID3Tag& track) {
  const TagData& tag = track.tagData;
  if (!tag.enabled) return;
  rows.heading("V2");
  rows.unicodeField("Title", tag.title);
  rows.unicodeField("Artist", tag.artist);
  rows.unicodeField("Album", tag.album);
  rows.latin1Field("Year", tag.year);
  rows.field("Track", numberPair(tag.track, tag.tracks));
  rows.field("Disc", numberPair(tag.set, tag.sets));
  rows.unicodeField("Genre", tag.genre);
  rows.unicodeField("Comment", tag.comment);
  rows.unicodeField("Composer", tag.composer);
  rows.unicodeField("Original artist", tag.origArtist);
  rows.unicodeField("Copyright", tag.copyright);
  rows.latin1Field("URL", tag.url);
  rows.latin1Field("Artist URL", tag.artisturl);
  rows.latin1Field("Encoded by", tag.encodedBy);
  if (tag.compilation) rows.field("Compilation", "yes");
  rows.latin1Field("Music CD ID", tag.musiccdid);
  rows.latin1Field("Grouping", tag.grouping);
  for (const PicData& picture : tag.picdata)
    rows.field("Picture", picture.pictureSubtype + ", " + std::to_string(picture.data.size()) +
                              " bytes");
  rows.unicodeField("Lyrics", tag.lyrics);
  rows.unicodeField("Conductor", tag.conductor);
  rows.unicodeField("Lyricist", tag.lyricist);
  rows.unicodeField("Publisher", tag.publisher);
  rows.unicodeField("Orchestra", tag.orchestra);
  rows.unicodeField("Content group", tag.content);
  rows.unicodeField("Subtitle", tag.subtitle);
  rows.unicodeField("Encoder settings", tag.encsettings);
  for (const UserText& text : tag.usertext)
    rows.field("User text", text.description.toUtf8() + ": " + text.value.toUtf8());
  rows.latin1Field("ISRC", tag.isrc);
  rows.latin1Field("Release time", tag.releasetime);
  rows.latin1Field("Recording time", tag.recordtime);
  rows.latin1Field("BPM", tag.bpm);
  rows.latin1Field("Initial key", tag.initialkey);
  const PopularityData& popularity = tag.popularity;
  if (!popularity.email.empty() || popularity.rate != 0 || !popularity.counter.empty()) {
    std::string text = "rating " + std::to_string(popularity.rate) + "/255";
    if (!popularity.counter.empty()) text += ", played " + popularity.counter;
    if (!popularity.email.empty()) text += ", by " + popularity.email;
    rows.latin1Field("Popularity", text);
  }
  if (tag.podcast) rows.field("Podcast", "yes");
  rows.unicodeField("Podcast ID", tag.podcastid);
  rows.latin1Field("Podcast feed", tag.podcastfeed);
  rows.unicodeField("Podcast description", tag.podcastdesc);
  for (const PrivateData& frame : tag.privdata)
    rows.latin1Field("Kept frame", frame.id + ", " + std::to_string(frame.body.size()) + " bytes");
  if (tag.advisory != 0) rows.field("Advisory", std::to_string(tag.advisory));
  rows.latin1Field("Produced notice", tag.producednotice);
  rows.latin1Field("Mood", tag.mood);
  rows.latin1Field("ISWC", tag.iswc);
  if (!tag.uniqueid.owner.empty() || !tag.uniqueid.data.empty())
    rows.latin1Field("Unique file ID", tag.uniqueid.owner + ": " + hexBytes(tag.uniqueid.data));
}

}  // namespace

std::string sampleRateText(uint32_t hertz) {
  std::string text = std::to_string(hertz / 1000);
  std::string fraction = std::to_string(hertz % 1000 + 1000).substr(1);
  while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
  if (!fraction.empty()) text += "." + fraction;
  return text + " kHz";
}

std::string encoderName(const std::string& lame) {
  const auto end = std::find_if(lame.begin(), lame.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F;
  });
  return std::string(lame.begin(), end);
}

std::string audioLine(const ID3Tag& track) {
  if (track.isTagDataFile) return {};
  const AudioInfo& audio = track.audio;
  std::vector<std::string> parts;
  if (!audio.bitrateText.empty())
    parts.push_back(audio.bitrateText);
  else if (audio.bitrate != 0)
    parts.push_back(std::to_string(audio.bitrate) + " kbps");
  parts.push_back(durationDisplay(track.duration));
  if (const uint32_t rate = track.sampleRateHz(); rate != 0) parts.push_back(sampleRateText(rate));
  if (track.isAiffFile && audio.sampleSize != 0)
    parts.push_back(std::to_string(audio.sampleSize) + " bit");
  if (const char* mode = channelModeName(audio.channelMode); mode != nullptr && *mode != '\0')
    parts.push_back(mode);
  std::string line;
  for (const std::string& part : parts) line += (line.empty() ? "" : ", ") + part;
  return line;
}

std::string trackText(const std::string& path, const ID3Tag& track) {
  Rows rows;
  rows.fact("File", kindText(track));
  if (!track.versionText.empty()) rows.fact("Tags", printable(track.versionText));
  if (std::string audio = audioLine(track); !audio.empty()) rows.fact("Audio", audio);
  if (std::string encoder = encoderName(track.audio.lame); !encoder.empty())
    rows.fact("Encoder", encoder);
  addV1(rows, track);
  addV2(rows, track);
  return printable(path) + "\n" + rows.render();
}

}  // namespace melos
