#include "engine/id3v1.h"

#include <cerrno>
#include <cstring>

#include "engine/genres.h"
#include "engine/log.h"

namespace melos {

namespace {
std::string field(const uint8_t* at, size_t width) {
  const void* zero = std::memchr(at, 0, width);
  size_t length = zero != nullptr ? static_cast<size_t>(static_cast<const uint8_t*>(zero) - at) : width;
  return std::string(reinterpret_cast<const char*>(at), length);
}
}  // namespace

void parseV1Block(V1Tag& tag, const uint8_t* block) noexcept {
  tag.title = field(block + 3, kV1TextField);
  tag.artist = field(block + 33, kV1TextField);
  tag.album = field(block + 63, kV1TextField);
  tag.year = field(block + 93, kV1YearField);
  // The comment owns 29 bytes: byte 125 is not reserved as a terminator.
  tag.comment = field(block + 97, kV1CommentField);
  tag.track = block[126] == 0 ? kUnsetV1 : block[126];
  // A genre of 255 ("none") reads as Other like every number past the list.
  tag.genre = block[127] < kGenreCount ? block[127] : static_cast<uint8_t>(kGenreOther);
}

int hasV1Tag(const File& file) noexcept {
  const int64_t size = file.size();
  if (size < 0) return -1;
  if (size < static_cast<int64_t>(kV1TagSize)) return 0;
  uint8_t marker[3];
  if (file.readAt(static_cast<uint64_t>(size) - kV1TagSize, marker) != 3) return -1;
  return std::memcmp(marker, "TAG", 3) == 0 ? 1 : 0;
}

int loadV1(ID3Tag& track, const File& file) noexcept {
  uint8_t block[kV1TagSize];
  int64_t size = file.size();
  errno = 0;
  if (size < static_cast<int64_t>(kV1TagSize) ||
      !file.readExactAt(static_cast<uint64_t>(size) - kV1TagSize, block)) {
    int error = size < 0 ? errno : (errno != 0 ? errno : 0);
    LogMessage(LogError, "Failed to load the V1 tag (error: %s)", errorText(error).c_str());
    // A file too short for a tag has none; one that cannot be read may.
    if (error != 0) track.readError = error;
    return 0;
  }
  if (std::memcmp(block, "TAG", 3) != 0) return 1;
  parseV1Block(track.v1, block);
  track.v1Loaded = true;
  // A tag read from the file is shown and saved again.
  track.v1.enabled = true;
  return 1;
}

}  // namespace melos
