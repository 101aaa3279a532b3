#include "engine/aiff_copy.h"

#include <cerrno>
#include <cstring>

#include "engine/log.h"

namespace melos {

namespace {

constexpr uint8_t kPad[1] = {0};

bool sameId(const uint8_t* id, const char* other) {
  return other != nullptr && equalsNoCase(std::string_view(reinterpret_cast<const char*>(id), 4),
                                          std::string_view(other, 4));
}

int copyChunks(const ID3Tag& track, const File& source, OutputFile& output, const char* stopAfter,
               const char* startAfter) {
  uint8_t header[12];
  errno = 0;
  if (!source.readExactAt(0, std::span<uint8_t>(header, 4)) || std::memcmp(header, "FORM", 4) != 0) {
    LogMessage(LogError, "Could not find the AIFF form for copying");
    return 5;
  }
  if (!source.readExactAt(4, std::span<uint8_t>(header + 4, 8)) ||
      !(equalsNoCase(std::string_view(reinterpret_cast<const char*>(header + 8), 4), "AIFF") ||
        equalsNoCase(std::string_view(reinterpret_cast<const char*>(header + 8), 4), "AIFC"))) {
    LogMessage(LogError, "Could not find the AIFF data start for copying");
    return 5;
  }
  // Signed: a FORM size smaller than its own form type leaves nothing to walk.
  int64_t remaining = static_cast<int64_t>(readU32BE(header + 4)) - 4;

  bool copying = startAfter == nullptr;
  if (copying && !output.write(ByteSpan(header, sizeof header))) {
    LogMessage(LogError, "Could not copy the AIFF header");
    return 5;
  }

  const bool tolerant = track.aiffSizeTolerance;
  bool soundPassed = false;
  uint64_t position = 12;
  while (remaining > 3) {
    const uint64_t chunkStart = position;
    uint8_t chunk[8];
    errno = 0;
    int64_t got = source.readAt(position, std::span<uint8_t>(chunk, 4));
    // A failed read is never a short file: tolerance would cut real chunks.
    if (got >= 0 && got != 4) {
      if (got == remaining || (soundPassed && tolerant)) break;
      LogMessage(LogError, "Error reading the AIFF chunk ID (%d)", errno);
      return 5;
    }
    if (got < 0) {
      LogMessage(LogError, "Error reading the AIFF chunk ID (%d)", errno);
      return 5;
    }
    remaining -= 4;
    if (!source.readExactAt(position + 4, std::span<uint8_t>(chunk + 4, 4))) {
      LogMessage(LogError, "Could not load the AIFF chunk size (%d)", errno);
      return 5;
    }
    remaining -= 4;
    uint64_t size = readU32BE(chunk + 4);
    const bool odd = (size & 1) != 0;
    size += size & 1;
    const std::string id = printableChunkId(chunk);
    if (odd && static_cast<int64_t>(size) == remaining + 1) {
      // Writers that forget the pad byte of the last chunk leave it out of the
      // FORM size too; the chunk itself is whole and is kept, pad and all.
      LogMessage(LogWarning, "The AIFF form size leaves out the pad byte of the chunk %s", id.c_str());
      remaining = static_cast<int64_t>(size);
    }
    if (static_cast<int64_t>(size) > remaining) {
      const bool ignoring = soundPassed && tolerant;
      LogMessage(LogError, "AIFF data integrity error for the chunk %s (%u/%u)%s", id.c_str(),
                 static_cast<unsigned>(size), static_cast<unsigned>(remaining < 0 ? 0 : remaining),
                 ignoring ? " (ignoring...)" : "");
      if (ignoring) break;
      return 5;
    }
    if (sameId(chunk, "SSND")) soundPassed = true;
    remaining -= static_cast<int64_t>(size);
    position = chunkStart + 8 + size;

    if (copying && !sameId(chunk, "ID3 ")) {
      const uint64_t expected = 8 + size;
      const uint64_t chunkOut = output.size();
      uint64_t copied = output.copyFrom(source, chunkStart, expected);
      // An odd chunk at the very end whose pad byte the file lacks: the pad is
      // added, so that whatever is written behind it starts on an even offset.
      if (odd && copied + 1 == expected && errno == 0 && output.write(kPad)) copied = expected;
      if (copied < expected) {
        // Only a source that ends early is tolerated, never a failed write.
        const bool shortSource = errno == 0;
        if (copied == 0 || !soundPassed || !tolerant || !shortSource) {
          LogMessage(LogError, "Could not copy the AIFF chunk %s (%lu/%lu)", id.c_str(),
                     static_cast<unsigned long>(copied), static_cast<unsigned long>(expected));
          return 5;
        }
        LogMessage(LogError, "Copied %lu of AIFF chunk %s but expected %lu (ignoring truncation...)",
                   static_cast<unsigned long>(copied), id.c_str(), static_cast<unsigned long>(expected));
        if (copied >= 8) {
          uint8_t sizeField[4];
          writeU32BE(sizeField, static_cast<uint32_t>(copied - 8));
          if (!output.writeAt(chunkOut + 4, sizeField)) return 5;
          // The cut chunk gets its pad byte like any odd chunk.
          if (((copied - 8) & 1) != 0 && !output.write(kPad)) return 5;
        }
        break;
      }
      if (sameId(chunk, stopAfter)) break;
    } else if (sameId(chunk, startAfter)) {
      copying = true;
    }
  }

  uint8_t formSize[4];
  writeU32BE(formSize, static_cast<uint32_t>(output.size() - 8));
  if (!output.writeAt(4, formSize)) {
    LogMessage(LogError, "Could not copy the AIFF header");
    return 5;
  }
  return 0;
}

}  // namespace

std::string printableChunkId(const uint8_t* id) {
  std::string text(4, '?');
  for (size_t i = 0; i < 4; ++i)
    if (id[i] >= 0x20 && id[i] <= 0x7E) text[i] = static_cast<char>(id[i]);
  return text;
}

int CopyAiffChunks(const ID3Tag& track, const File& source, OutputFile& output, const char* stopAfter,
                   const char* startAfter) noexcept {
  if (!track.isAiffFile) return 1;
  try {
    return copyChunks(track, source, output, stopAfter, startAfter);
  } catch (...) {
    return 5;
  }
}

}  // namespace melos
