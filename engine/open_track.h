#pragma once
// Opening a track: the container check, where the tags lie, reading them and the
// audio facts.

#include <cstdint>
#include <string>

#include "engine/file_io.h"
#include "engine/id3_tag.h"

namespace melos {

struct ProgressCallback {
  void (*report)(const char* stage, int percent, void* context) = nullptr;
  void* context = nullptr;
};

// Scan modes of the MPEG analysis.
inline constexpr int kScanFull = 0;
inline constexpr int kScanQuick = 1;
inline constexpr int kScanLimited = 2;
// No audio analysis at all: a track read again only for its tags (a revert,
// the fresh read before a save) has no use for it.
inline constexpr int kScanNone = 3;

inline constexpr int kMaxSyncSearch = 8192;

// Non-zero on success (the result of the audio analysis), 0 on failure.
unsigned OpenTrack(ID3Tag& track, const std::string& path, int scanMode,
                   const ProgressCallback* progress, bool checkWritable) noexcept;

// 1 when the path names a track of one of the three kinds; sets the kind flags.
int GetFileKind(const std::string& path, ID3Tag* track) noexcept;
int IsFileReadOnly(const std::string& path) noexcept;

// The file at the path as it is now; not valid when it cannot be looked at.
DiskState diskStateOf(const std::string& path) noexcept;
// True when the file at the track's path is not the file, or not in the
// state, that the track was read from.
bool changedOnDisk(const ID3Tag& track) noexcept;

// Total size of the ID3v2 tag that must stand at `offset` (header included), or
// 0; a read error is noted in the track.
uint32_t FindV2Tag(ID3Tag& track, const File& file, uint64_t offset) noexcept;
// Reads the whole tag at offset and walks it; 0 on failure.
int LoadTagData(ID3Tag& track, const File& file, uint64_t offset, uint32_t size,
                bool option) noexcept;

}  // namespace melos
