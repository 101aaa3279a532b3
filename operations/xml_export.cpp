#include "operations/xml_export.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <vector>

#include "engine/log.h"
#include "melos_version.h"
#include "operations/base64.h"
#include "operations/export_values.h"

namespace melos {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

struct XmlValue {
  std::string_view name;
  std::string text;
  int kind = kXmlString;
  bool multiline = false;
};

bool isBreak(char c) { return c == '\r' || c == '\n'; }

std::string longText(uint16_t number) {
  return std::to_string(number == kUnsetNumber ? 0 : number);
}

std::string boolText(bool value) { return value ? "true" : "false"; }

std::vector<XmlValue> v2Values(const TagData& d, int version) {
  std::vector<XmlValue> values{
      {"Track", longText(d.track), kXmlLong},
      {"Tracks", longText(d.tracks), kXmlLong},
      {"Title", d.title.toUtf8()},
      {"Artist", d.artist.toUtf8()},
      {"Album", d.album.toUtf8()},
      {"Year", latin1ToUtf8(d.year)},
      {"Genre", d.genre.toUtf8()},
      {"Comment", d.comment.toUtf8(), kXmlString, true},
      {"Composer", d.composer.toUtf8()},
      {"Copyright", d.copyright.toUtf8()},
      {"Original artist", d.origArtist.toUtf8()},
      {"Encoded by", latin1ToUtf8(d.encodedBy)},
      {"URL", latin1ToUtf8(d.url)},
      {"Compilation", boolText(d.compilation), kXmlBool},
      {"Lyrics", d.lyrics.toUtf8(), kXmlString, true},
      {"Conductor", d.conductor.toUtf8()},
      {"Lyricist", d.lyricist.toUtf8()},
      {"Orchestra", d.orchestra.toUtf8()},
      {"Publisher", d.publisher.toUtf8()},
      {"Content", d.content.toUtf8()},
      {"Subtitle", d.subtitle.toUtf8(), kXmlString, true},
      {"Set/Disc", longText(d.set), kXmlLong},
      {"Sets/Discs", longText(d.sets), kXmlLong},
      {"ISRC", latin1ToUtf8(d.isrc)},
      {"Record time", exportTime(d.recordtime)},
      {"Release time", exportTime(d.releasetime)},
      {"Initial key", latin1ToUtf8(d.initialkey)},
      {"BPM", latin1ToUtf8(d.bpm)},
      {"Artist URL", latin1ToUtf8(d.artisturl)},
      {"Podcast", boolText(d.podcast), kXmlBool},
      {"Podcast ID", d.podcastid.toUtf8()},
      {"Podcast feed", latin1ToUtf8(d.podcastfeed)},
      {"Podcast description", d.podcastdesc.toUtf8(), kXmlString, true},
  };
  if (version > 1) {
    values.push_back({"Advisory", advisoryText(d.advisory)});
    values.push_back({"Produced notice", latin1ToUtf8(d.producednotice)});
    values.push_back({"Mood", latin1ToUtf8(d.mood)});
    values.push_back({"ISWC", latin1ToUtf8(d.iswc)});
    values.push_back({"UFID", uniqueIdOwner(d.uniqueid)});
    values.push_back({"UFID data", uniqueIdData(d.uniqueid)});
  }
  return values;
}

bool put(std::FILE* file, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size();
}

void writePicture(std::FILE* file, const PicData& picture) {
  // The encoding must fit twice the image's size: a tiny image does not.
  if (base64Length(picture.data.size()) > 2 * picture.data.size()) {
    LogMessage(LogStatus, "Failed to create the XML image base 64");
    return;
  }
  const std::string encoded = base64Encode(picture.data);
  char head[256];
  std::snprintf(head, sizeof head,
                "\t\t<picture content-encoding=\"base64\" content-type=\"image/%s\" size=\"%lu\">\n",
                xmlEscape(picture.pictureSubtype, false).c_str(),
                static_cast<unsigned long>(picture.data.size()));
  put(file, head);
  for (size_t at = 0; at < encoded.size(); at += kBase64LineLength) {
    const std::string line =
        "\t\t\t" + encoded.substr(at, kBase64LineLength) + "\n";
    if (!put(file, line)) LogMessage(LogError, "Failed to write the picture data to the XML file (%d)", errno);
  }
  put(file, "\t\t</picture>\n");
}

std::string folderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

}  // namespace

std::string xmlEscape(std::string_view text, bool multiline) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    switch (c) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      case '\'': out += "&apos;"; break;
      case '"': out += "&quot;"; break;
      case '\r':
      case '\n':
        if (!multiline) {
          out += c;
          break;
        }
        // Two breaks in a row are one: the empty line between paragraphs goes.
        if (i + 1 < text.size() && isBreak(text[i + 1])) ++i;
        out += kXmlLineBreak;
        break;
      default: out += c; break;
    }
  }
  return out;
}

std::string xmlValueElement(std::string_view name, std::string_view text, int kind, bool multiline) {
  static constexpr std::string_view kKinds[] = {"string", "bool", "long"};
  if (kind < 0 || kind > 2) return {};
  std::string out = "\t\t<value name=\"";
  out += name;
  out += "\" type=\"";
  out += kKinds[kind];
  out += "\">";
  out += xmlEscape(text, multiline);
  out += "</value>\n";
  return out;
}

std::string v1XmlBlock(const V1Tag& tag) {
  std::string out = "\t<id3 version=\"1\">\n";
  out += xmlValueElement("Track", std::to_string(tag.track == kUnsetV1 ? 0 : tag.track), kXmlLong);
  out += xmlValueElement("Title", latin1ToUtf8(tag.title), kXmlString);
  out += xmlValueElement("Artist", latin1ToUtf8(tag.artist), kXmlString);
  out += xmlValueElement("Album", latin1ToUtf8(tag.album), kXmlString);
  out += xmlValueElement("Year", latin1ToUtf8(tag.year), kXmlString);
  out += xmlValueElement("Genre", std::to_string(tag.genre), kXmlLong);
  out += xmlValueElement("Comment", latin1ToUtf8(tag.comment), kXmlString, true);
  out += "\t</id3>\n";
  return out;
}

int exportTagAsXml(const ID3Tag* track, const std::string& path, int version, bool withPictures,
                   std::optional<std::string_view> v1Block) noexcept {
  try {
    if (track == nullptr) return kExportNoTrack;
    FilePtr file(std::fopen(path.c_str(), "w+"));
    if (!file) {
      const int error = errno;
      LogMessage(LogError, "Failed to write the tag data to the XML file '%s' (%d)", path.c_str(), error);
      return error;
    }
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    char comment[128];
    std::snprintf(comment, sizeof comment, "<!-- Created by %s version %d.%d.%d -->\n", kProductName,
                  kVersionMajor, kVersionMinor, kVersionPatch);
    text += comment;
    if (!track->hasV2Tag) {
      // The message names the CSV file in this case too, as users know it.
      LogMessage(LogError, "No tag information was found to export to the CSV file '%s'", path.c_str());
      put(file.get(), text);
      return 0;
    }
    char versionLine[64];
    std::snprintf(versionLine, sizeof versionLine, "<tag version=\"%d.0\">\n", version);
    text += versionLine;
    // Name and folder go in as they are: readers of these documents match
    // them against the paths on disk byte for byte.
    const std::string& trackPath = track->path();
    text += "\t<file name=\"" + trackPath.substr(trackPath.rfind('/') + 1) + "\" path=\"" + folderOf(trackPath) +
            "\" />\n";
    if (v1Block) text += *v1Block;
    text += "\t<id3 version=\"2\">\n";
    for (const XmlValue& value : v2Values(track->tagData, version))
      text += xmlValueElement(value.name, value.text, value.kind, value.multiline);
    errno = 0;
    bool written = put(file.get(), text);
    if (withPictures)
      for (const PicData& picture : track->tagData.picdata) writePicture(file.get(), picture);
    written = put(file.get(), "\t</id3>\n</tag>\n") && written;
    written = std::fflush(file.get()) == 0 && written;
    if (!written) {
      const int error = errno != 0 ? errno : EIO;
      LogMessage(LogError, "Failed to write the tag data to the XML file '%s' (%d)", path.c_str(), error);
      return error;
    }
    LogMessage(LogStatus, "Successfully exported the tag data");
    return 0;
  } catch (...) {
    LogMessage(LogError, "Failed to write the tag data to the XML file '%s' (%d)", path.c_str(), ENOMEM);
    return ENOMEM;
  }
}

}  // namespace melos
