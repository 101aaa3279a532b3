#pragma once
// AIFF and AIFF-C containers made in memory for tests.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/bytes.h"

namespace melos::test {

// An IEEE 754 80-bit extended number, big-endian, as COMM stores the sample rate.
std::array<uint8_t, 10> extended80(double value);

struct AiffChunk {
  AiffChunk() = default;
  AiffChunk(std::string chunkId, Bytes chunkBody)
      : id(std::move(chunkId)), body(std::move(chunkBody)) {}

  std::string id;                        // 4 characters, e.g. "COMM", "ID3 "
  Bytes body;
  std::optional<uint32_t> sizeOverride;  // the size field instead of the body size
  bool padOdd = true;                    // a zero pad byte after an odd-sized body
};

// COMM: channels, sample frames, sample size, sample rate (18 bytes).
AiffChunk commChunk(uint16_t channels, uint32_t sampleFrames, uint16_t sampleSize, double rate);
// AIFF-C COMM: the same plus the compression type and its name as a Pascal string.
AiffChunk commChunkAifc(uint16_t channels, uint32_t sampleFrames, uint16_t sampleSize,
                        double rate, const std::string& compression = "NONE",
                        const std::string& name = "not compressed");
// SSND: offset 0, block size 0, then the sound bytes.
AiffChunk ssndChunk(const Bytes& sound);
AiffChunk id3Chunk(const Bytes& tag);

class AiffBuilder {
 public:
  // "AIFF" or "AIFC" (or anything, to test refusals).
  explicit AiffBuilder(std::string formType = "AIFF");

  AiffBuilder& chunk(AiffChunk chunk);
  AiffBuilder& chunk(std::string id, Bytes body);
  // The FORM size field instead of the file's length less 8.
  AiffBuilder& formSize(uint32_t size);

  Bytes build() const;

 private:
  std::string formType_;
  std::vector<AiffChunk> chunks_;
  std::optional<uint32_t> formSize_;
};

}  // namespace melos::test
