// The reference reader of the benchmark: TagLib's own choice of work for a
// track (the tag and the audio facts at its default accuracy), over every file
// named on the command line. The checksum keeps the reads from being dropped
// and lets two runs be compared.
//
// Usage: taglib_read FILE...

#include <audioproperties.h>
#include <fileref.h>
#include <tag.h>
#include <tstring.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

// FNV-1a: cheap next to the reads, and it looks at every byte of the texts.
uint64_t mix(uint64_t hash, const std::string& text) {
  for (unsigned char c : text) hash = (hash ^ c) * 1099511628211ull;
  return hash;
}

uint64_t mix(uint64_t hash, uint64_t value) {
  for (int i = 0; i < 8; ++i) hash = (hash ^ ((value >> (8 * i)) & 0xFF)) * 1099511628211ull;
  return hash;
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t hash = 14695981039346656037ull;
  int failed = 0;
  for (int i = 1; i < argc; ++i) {
    const TagLib::FileRef file(argv[i]);
    if (file.isNull() || file.tag() == nullptr || file.audioProperties() == nullptr) {
      std::fprintf(stderr, "taglib_read: %s: not read\n", argv[i]);
      ++failed;
      continue;
    }
    // UTF-8, as every other reader of the comparison hands its texts on.
    const TagLib::Tag& tag = *file.tag();
    hash = mix(hash, tag.title().to8Bit(true));
    hash = mix(hash, tag.artist().to8Bit(true));
    hash = mix(hash, tag.album().to8Bit(true));
    hash = mix(hash, tag.genre().to8Bit(true));
    hash = mix(hash, tag.comment().to8Bit(true));
    hash = mix(hash, uint64_t{tag.year()} * 100 + tag.track());
    const TagLib::AudioProperties& audio = *file.audioProperties();
    hash = mix(hash, static_cast<uint64_t>(audio.lengthInMilliseconds()));
    hash = mix(hash, static_cast<uint64_t>(audio.bitrate()));
    hash = mix(hash, static_cast<uint64_t>(audio.sampleRate()) * 10 +
                         static_cast<uint64_t>(audio.channels()));
  }
  std::printf("taglib_read: %d files, %d not read, checksum %016llx\n", argc - 1, failed,
              static_cast<unsigned long long>(hash));
  return failed == 0 ? 0 : 1;
}
