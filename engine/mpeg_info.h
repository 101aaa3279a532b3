#pragma once
// Version, layer, bitrate, VBR, frame count and duration of an MPEG audio stream.

#include <cstdint>

#include "engine/file_io.h"
#include "engine/id3_tag.h"
#include "engine/open_track.h"

namespace melos {

inline constexpr int kQuickScanCbrFrames = 500;
inline constexpr int kLimitedScanCbrFrames = 1000;
inline constexpr int kQuickScanMaxFrames = 1000;
inline constexpr int kLameSearchFrames = 199;

// 1 on success, 0 when no frame sync is found. `start` is the first byte behind
// any ID3v2 tag.
int parseMpeg(ID3Tag& track, const File& file, uint64_t start, int scanMode,
              const ProgressCallback* progress) noexcept;

uint32_t mpegBitrate(unsigned version, unsigned layer, unsigned index) noexcept;
uint32_t mpegSampleRate(unsigned version, unsigned index) noexcept;
const char* channelModeName(unsigned mode) noexcept;

}  // namespace melos
