#include "operations/csv_export.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "engine/log.h"
#include "operations/export_values.h"

namespace melos {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kHeader =
    "Track,Tracks,Title,Artist,Album,Year,Genre,Comment,Composer,Copyright,Original artist,"
    "Encoded by,URL,Compilation,Picture,Lyrics,Conductor,Lyricist,Orchestra,Publisher,Content,"
    "Subtitle,Set/Disc,Sets/Discs,ISRC,Record time,Release time,Initial key,BPM,Artist URL,"
    "Podcast,Podcast ID,Podcast feed,Podcast description";
constexpr std::string_view kVersion2Header = ",Advisory,Produced notice,Mood,ISWC,UFID";
constexpr std::string_view kLineEnd = "\r\n";

std::string number(uint16_t value) {
  return value == kUnsetNumber || value < 1 ? std::string() : std::to_string(value);
}

std::string yesNo(bool value) { return value ? "Yes" : "No"; }

bool writeAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(fd, text.data(), text.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    text.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

class Descriptor {
 public:
  explicit Descriptor(int fd) noexcept : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const noexcept { return fd_; }

 private:
  int fd_;
};

}  // namespace

std::string csvHeader(int version) {
  std::string header(kHeader);
  if (version > 1) header += kVersion2Header;
  return header;
}

std::string csvField(std::string_view text) {
  if (text.empty()) return {};
  const bool enclose = text.front() == ' ' || text.front() == '\t' ||
                       text.find_first_of("\"'\r\n,/\\") != std::string_view::npos;
  std::string out;
  if (enclose) out += '"';
  for (char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  if (enclose) out += '"';
  return out;
}

std::string csvRow(const ID3Tag& track, int version) {
  const TagData& d = track.tagData;
  std::vector<std::string> fields{
      number(d.track),
      number(d.tracks),
      d.title.toUtf8(),
      d.artist.toUtf8(),
      d.album.toUtf8(),
      latin1ToUtf8(d.year),
      d.genre.toUtf8(),
      d.comment.toUtf8(),
      d.composer.toUtf8(),
      d.copyright.toUtf8(),
      d.origArtist.toUtf8(),
      latin1ToUtf8(d.encodedBy),
      latin1ToUtf8(d.url),
      yesNo(d.compilation),
      std::to_string(d.picdata.size()),
      yesNo(!d.lyrics.empty()),
      d.conductor.toUtf8(),
      d.lyricist.toUtf8(),
      d.orchestra.toUtf8(),
      d.publisher.toUtf8(),
      d.content.toUtf8(),
      d.subtitle.toUtf8(),
      number(d.set),
      number(d.sets),
      latin1ToUtf8(d.isrc),
      exportTime(d.recordtime),
      exportTime(d.releasetime),
      latin1ToUtf8(d.initialkey),
      latin1ToUtf8(d.bpm),
      latin1ToUtf8(d.artisturl),
      yesNo(d.podcast),
      d.podcastid.toUtf8(),
      latin1ToUtf8(d.podcastfeed),
      d.podcastdesc.toUtf8(),
  };
  if (version > 1) {
    fields.push_back(advisoryText(d.advisory));
    fields.push_back(latin1ToUtf8(d.producednotice));
    fields.push_back(latin1ToUtf8(d.mood));
    fields.push_back(latin1ToUtf8(d.iswc));
    fields.push_back(uniqueIdOwner(d.uniqueid) + " " + uniqueIdData(d.uniqueid));
  }
  // Unlike the header, a row ends with a comma before its line end.
  std::string row;
  for (const std::string& field : fields) row += csvField(field) + ",";
  row += kLineEnd;
  return row;
}

int exportTagAsCsv(const std::string& path, const ID3Tag* track, int version) noexcept {
  try {
    if (track == nullptr) return kExportNoTrack;
    Descriptor file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    struct stat info {};
    if (file.get() < 0 || ::fstat(file.get(), &info) != 0) {
      LogMessage(LogError, "Failed to write the tag data to the CSV file '%s' (%d)", path.c_str(), errno);
      return kCsvOpenFailed;
    }
    std::string text;
    if (info.st_size == 0) {
      text += kByteOrderMark;
      text += csvHeader(version);
      text += kLineEnd;
    }
    if (!track->hasV2Tag)
      LogMessage(LogError, "No tag information was found to export to the CSV file '%s'", path.c_str());
    else
      text += csvRow(*track, version);
    if (!writeAll(file.get(), text)) {
      const int error = errno;
      LogMessage(LogError, "Failed to write the tag data to the CSV file '%s' (%d)", path.c_str(), error);
      return error;
    }
    if (track->hasV2Tag) LogMessage(LogStatus, "Successfully exported the tag data");
    return 0;
  } catch (...) {
    LogMessage(LogError, "Failed to write the tag data to the CSV file '%s' (%d)", path.c_str(), ENOMEM);
    return ENOMEM;
  }
}

}  // namespace melos
