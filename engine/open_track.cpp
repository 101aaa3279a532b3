#include "engine/open_track.h"

#include <memory>

#include <cerrno>
#include <cmath>
#include <cstring>

#include "engine/compare.h"
#include "engine/id3v1.h"
#include "engine/id3v2_reader.h"
#include "engine/log.h"
#include "engine/mpeg_info.h"

namespace melos {

namespace {

void report(const ProgressCallback* progress, const char* stage, int percent) {
  if (progress != nullptr && progress->report != nullptr) progress->report(stage, percent, progress->context);
}

// Bytes printed as signed characters, so that 0x80 and above show as FFFFFFxx.
unsigned asSignedChar(uint8_t byte) {
  return static_cast<unsigned>(static_cast<int>(static_cast<int8_t>(byte)));
}

// The 80-bit IEEE 754 extended precision number of an AIFF sample rate.
uint32_t extendedToRate(const uint8_t* p) {
  int exponent = ((p[0] & 0x7F) << 8) | p[1];
  uint64_t mantissa = 0;
  for (int i = 0; i < 8; ++i) mantissa = (mantissa << 8) | p[2 + i];
  if ((p[0] & 0x80) != 0 || mantissa == 0 || exponent == 0x7FFF) return 0;
  double value = std::ldexp(static_cast<double>(mantissa), exponent - 16383 - 63);
  if (!(value >= 0.0) || value > 4294967295.0) return 0;
  return static_cast<uint32_t>(value);
}

struct CommFacts {
  uint16_t channels = 0;
  uint32_t frames = 0;
  uint16_t sampleSize = 0;
  uint32_t sampleRate = 0;
};

// Walks the AIFF chunks from the start of the file. Returns false when the
// track must be refused; `position` is left where the ID3v2 tag would start.
// Reads exactly the buffer; a failure that is not the end of the file is
// noted in the track, so that the open fails instead of taking the bytes it
// could not read for bytes that are not there.
bool readOrNote(ID3Tag& track, const File& file, uint64_t offset, std::span<uint8_t> buffer) {
  errno = 0;
  if (file.readExactAt(offset, buffer)) return true;
  if (errno != 0 && track.readError == 0) track.readError = errno;
  return false;
}

bool walkAiff(ID3Tag& track, const File& file, uint64_t fileSize, uint64_t& position, CommFacts& comm) {
  uint8_t header[12];
  position = 0;
  if (!readOrNote(track, file, 0, std::span<uint8_t>(header, 4)) ||
      !equalsNoCase(asText(ByteSpan(header, 4)), "FORM"))
    return true;
  position = 4;
  if (!readOrNote(track, file, 4, std::span<uint8_t>(header + 4, 4))) return true;
  position = 8;
  uint64_t formSize = readU32BE(header + 4);
  if (formSize + 8 != fileSize) {
    LogMessage(LogWarning, "Size in header is not consistent with file size (%lu <> %lu - 8)%s",
               static_cast<unsigned long>(formSize), static_cast<unsigned long>(fileSize),
               track.aiffSizeTolerance ? " (ignoring...)" : "");
    if (!track.aiffSizeTolerance) return false;
  }
  if (!readOrNote(track, file, 8, std::span<uint8_t>(header + 8, 4))) return true;
  position = 12;
  std::string_view formType = asText(ByteSpan(header + 8, 4));
  if (!equalsNoCase(formType, "AIFF") && !equalsNoCase(formType, "AIFC")) return true;
  bool compressed = header[11] == 'C' || header[11] == 'c';
  LogMessage(LogStatus, "%sAIFF header found", compressed ? "Compressed " : "");

  while (true) {
    uint8_t chunk[8];
    if (!readOrNote(track, file, position, std::span<uint8_t>(chunk, 4))) {
      position = std::min<uint64_t>(position, fileSize);
      break;
    }
    position += 4;
    if (!readOrNote(track, file, position, std::span<uint8_t>(chunk + 4, 4))) {
      position = fileSize;
      continue;
    }
    position += 4;
    uint64_t size = readU32BE(chunk + 4);
    if (size % 2 != 0) ++size;
    std::string_view id = asText(ByteSpan(chunk, 4));
    if (equalsNoCase(id, "ID3 ")) {
      track.aiffId3ChunkSize = size;
      return true;
    }
    if (equalsNoCase(id, "COMM") && size >= 18) {
      uint8_t body[18];
      if (readOrNote(track, file, position, body)) {
        comm.channels = readU16BE(body);
        comm.frames = readU32BE(body + 2);
        comm.sampleSize = readU16BE(body + 6);
        comm.sampleRate = extendedToRate(body + 8);
      }
      position += 18;
      size -= 18;
    }
    position += size;
    if (position >= fileSize) {
      position = fileSize;
      break;
    }
  }
  return true;
}

void setAiffFacts(ID3Tag& track, const CommFacts& comm) {
  AudioInfo& a = track.audio;
  a.isAiffSound = true;
  a.sampleSize = comm.sampleSize;
  a.channels = comm.channels;
  a.bitrate = static_cast<uint32_t>(static_cast<uint64_t>(comm.sampleSize) * comm.channels *
                                    comm.sampleRate / 1000);
  if (comm.channels == 1) a.channelMode = kMono;
  else if (comm.channels > 2) a.channelMode = kMultiChannel;
  a.frames = comm.frames;
  a.sampleRate = comm.sampleRate;
  if (comm.sampleRate != 0) {
    // A remainder below five sample frames is dropped on purpose.
    uint64_t seconds = comm.frames / comm.sampleRate;
    if (comm.frames % comm.sampleRate >= 5) ++seconds;
    track.setDuration(seconds);
  }
}

bool passesContainerCheck(ID3Tag& track, const File& file) {
  uint8_t first[8] = {};
  int64_t got = file.readAt(0, std::span<uint8_t>(first, 8));
  if (got < 0) {
    track.readError = errno;
    return false;
  }
  if (track.isAiffFile) {
    if (got >= 4 && equalsNoCase(asText(ByteSpan(first, 4)), "FORM")) return true;
    LogMessage(LogError, "File is not a valid AIFF file (0x%02X%02X%02X%02X)", asSignedChar(first[0]),
               asSignedChar(first[1]), asSignedChar(first[2]), asSignedChar(first[3]));
    return false;
  }
  if (got >= 3 && equalsNoCase(asText(ByteSpan(first, 3)), "ID3")) return true;
  if (got >= 8 && std::memcmp(first + 4, "ftyp", 4) == 0) {
    LogMessage(LogError, "File appears to be an MP4 not a valid MP3 file");
    return false;
  }
  BufferedReader reader(file);
  int previous = reader.readByte();
  bool candidate = false;
  for (int i = 0; i < kMaxSyncSearch && previous >= 0; ++i) {
    int byte = reader.readByte();
    if (byte < 0) break;
    candidate = false;
    if (previous == 0xFF && (byte & 0xE0) == 0xE0) {
      if (!track.isMp3File || (byte & 0x02) != 0) return true;
      candidate = true;
    }
    previous = byte;
  }
  if (reader.failed()) {
    track.readError = reader.error();
    return false;
  }
  if (candidate) return true;
  LogMessage(LogError, "File is not a valid MP3 file (0x%02X%02X%02X%02X)", asSignedChar(first[0]),
             asSignedChar(first[1]), asSignedChar(first[2]), asSignedChar(first[3]));
  return false;
}

}  // namespace

int GetFileKind(const std::string& path, ID3Tag* track) noexcept {
  size_t dot = path.rfind('.');
  if (dot == std::string::npos) return 0;
  // Four characters are compared, so .aiff and .aifc are AIFF and anything
  // beginning with .mp3 is MP3.
  std::string_view extension = std::string_view(path).substr(dot, 4);
  bool mp3 = equalsNoCase(extension, ".mp3");
  bool aiff = equalsNoCase(extension, ".aif");
  bool tdf = equalsNoCase(extension, ".tdf");
  if (track != nullptr) {
    track->isMp3File = mp3;
    track->isAiffFile = aiff;
    track->isTagDataFile = tdf;
  }
  return mp3 || aiff || tdf ? 1 : 0;
}

namespace {
DiskState diskStateOfStat(const struct stat& st) {
  return DiskState{true,
                   static_cast<uint64_t>(st.st_dev),
                   static_cast<uint64_t>(st.st_ino),
                   static_cast<uint64_t>(st.st_size),
                   static_cast<int64_t>(st.st_mtim.tv_sec),
                   static_cast<int64_t>(st.st_mtim.tv_nsec)};
}
}  // namespace

DiskState diskStateOf(const std::string& path) noexcept {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return {};
  return diskStateOfStat(st);
}

bool changedOnDisk(const ID3Tag& track) noexcept {
  if (!track.readState.valid) return false;
  return diskStateOf(track.path()) != track.readState;
}

int IsFileReadOnly(const std::string& path) noexcept {
  File file = File::openReadWrite(path);
  return file.isOpen() ? 0 : 1;
}

uint32_t FindV2Tag(ID3Tag& track, const File& file, uint64_t offset) noexcept {
  uint8_t header[10];
  if (!readOrNote(track, file, track.isMp3File ? 0 : offset, header)) return 0;
  return ParseV2Header(header, sizeof header);
}

int LoadTagData(ID3Tag& track, const File& file, uint64_t offset, uint32_t size, bool option) noexcept {
  try {
    // A size that claims more than the file holds is a short read, found
    // before anything is allocated for it.
    int64_t fileSize = file.size();
    if (fileSize < 0 || offset + size > static_cast<uint64_t>(fileSize)) {
      int error = fileSize < 0 ? errno : 0;
      LogMessage(LogError, "Failed to load the tag data (error: %s)", errorText(error).c_str());
      if (error != 0) track.readError = error;
      return 0;
    }
    // Read in one piece into memory that is not cleared first: every byte of
    // it is overwritten by the read.
    std::unique_ptr<uint8_t[]> tag = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(size) + 1);
    errno = 0;
    if (!file.readExactAt(offset, std::span<uint8_t>(tag.get(), size))) {
      const int error = errno;
      LogMessage(LogError, "Failed to load the tag data (error: %s)", errorText(error).c_str());
      if (error != 0) track.readError = error;
      return 0;
    }
    return ReadV2Frames(track, ByteSpan(tag.get(), size), option);
  } catch (...) {
    LogMessage(LogError, "Failed to load the tag data (error: %s)", errorText(ENOMEM).c_str());
    return 0;
  }
}

namespace {
unsigned failedRead(const ID3Tag& track, const std::string& path) {
  LogMessage(LogError, "Failed to read the file '%s' (error: %s)", path.c_str(), errorText(track.readError).c_str());
  return 0;
}
}  // namespace

unsigned OpenTrack(ID3Tag& track, const std::string& path, int scanMode, const ProgressCallback* progress,
                   bool checkWritable) noexcept {
  unsigned result = 0;
  try {
    track.readOnly = true;
    track.readError = 0;
    track.readState = {};
    if (GetFileKind(path, &track) == 0) return 0;
    track.setPath(path);
    LogMessage(LogStatus, "Opening ID3 track: %s", path.c_str());

    File writable;
    if (checkWritable) {
      writable = File::openReadWrite(path);
      track.readOnly = !writable.isOpen();
      // A file the user may not write is expected; anything else is worth a line.
      if (!writable.isOpen() && errno != EPERM && errno != EACCES && errno != EROFS)
        LogMessage(LogError, "Open file write check error: %s (%d)", errorText(errno).c_str(), errno);
    }

    // The file opened for the write check reads as well as a second one would.
    File file = writable.isOpen() ? std::move(writable) : File::openRead(path);
    struct stat st;
    if (file.isOpen() && (::fstat(file.fd(), &st) != 0 || S_ISDIR(st.st_mode))) {
      file.close();
      errno = EISDIR;
    }
    if (!file.isOpen()) {
      LogMessage(LogError, "Failed to open the file '%s' for reading (error: %s)", path.c_str(),
                 errorText(errno).c_str());
      return 0;
    }
    track.readState = diskStateOfStat(st);
    if (!passesContainerCheck(track, file)) return track.readError != 0 ? failedRead(track, path) : 0;

    report(progress, "Starting...", 0);
    track.clearV1();
    track.clearTagData();
    track.resetAudio();
    track.aiffId3ChunkSize = 0;
    track.setDuration(0);
    track.hasV2Tag = false;
    int64_t sizeNow = file.size();
    uint64_t fileSize = sizeNow < 0 ? 0 : static_cast<uint64_t>(sizeNow);

    uint64_t position = 0;
    CommFacts comm;
    if (track.isAiffFile && !walkAiff(track, file, fileSize, position, comm)) return 0;
    if (track.readError != 0) return failedRead(track, path);

    if (track.isMp3File) {
      report(progress, "Loading V1...", 20);
      loadV1(track, file);
      if (track.readError != 0) return failedRead(track, path);
    }

    uint32_t tagSize = FindV2Tag(track, file, position);
    if (track.readError != 0) return failedRead(track, path);
    uint64_t audioStart = 0;
    if (tagSize != 0) {
      report(progress, "Loading V2...", 40);
      LoadTagData(track, file, track.isMp3File ? 0 : position, tagSize, track.v2ReadingOption);
      if (track.readError != 0) return failedRead(track, path);
      audioStart = tagSize;
      track.tagData.enabled = true;
      track.hasV2Tag = true;
    }

    report(progress, "Parsing...", 70);
    if (track.isMp3File && scanMode == kScanNone) {
      result = 1;
    } else if (track.isMp3File) {
      result = static_cast<unsigned>(parseMpeg(track, file, audioStart, scanMode, progress));
      if (track.readError != 0) return failedRead(track, path);
    } else if (track.isAiffFile) {
      setAiffFacts(track, comm);
      result = comm.sampleRate == 0 ? 0 : 1;
    }

    DescribeTagVersions(track, track.v2Version);
    track.setFileSize(fileSize);
    report(progress, "Finished", 90);
  } catch (...) {
    // Whatever was read before is not the whole track.
    track.readError = ENOMEM;
    LogMessage(LogError, "Failed to open the ID3 data in the file '%s'", path.c_str());
    return 0;
  }
  return result;
}

}  // namespace melos
