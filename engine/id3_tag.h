#pragma once
// One track: its path, tags, file facts and audio facts.

#include <cstdint>
#include <string>

#include "engine/tag_data.h"

namespace melos {

enum ChannelMode : uint8_t {
  kStereo = 0,
  kJointStereo = 1,
  kDualChannel = 2,
  kMono = 3,
  kMultiChannel = 4,  // AIFF with more than two channels
};

// Audio facts of the MPEG stream scan, or of an AIFF COMM chunk.
struct AudioInfo {
  bool isAiffSound = false;        // the facts came from an AIFF COMM chunk
  uint8_t version = 0;             // MPEG: the two version bits (3 MPEG-1, 2 MPEG-2, 0 MPEG-2.5)
  uint8_t layer = 0;               // 0 Layer I, 1 Layer II, 2 Layer III
  uint8_t protection = 0;
  uint8_t sampleRateIndex = 0;
  uint8_t channelMode = kStereo;
  uint8_t copyright = 0;
  uint8_t original = 0;
  uint32_t sampleRate = 0;         // AIFF: the rate from COMM in Hz
  uint16_t channels = 0;           // AIFF
  uint16_t sampleSize = 0;         // AIFF: bits per sample
  uint64_t audioStart = 0;         // byte position of the first frame
  uint64_t streamStart = 0;
  uint64_t frames = 0;             // MPEG frames, or AIFF sample frames
  uint32_t bitrate = 0;            // kbit/s, the average for MPEG
  uint64_t byteSum = 0;            // bytes of the frames counted
  bool vbr = false;
  bool estimated = false;
  bool dataAfterAudio = false;     // what followed the last frame was not a tag
  std::string bitrateText;         // at most 63 characters
  std::string lame;                // the encoder string, up to 255 characters

  bool operator==(const AudioInfo&) const = default;
};

struct DiskState {
  bool valid = false;
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;
  int64_t modifiedSeconds = 0;
  int64_t modifiedNanoseconds = 0;
  bool operator==(const DiskState&) const = default;
};

class Tag {
 public:
  Tag() = default;
  Tag(const Tag&) = default;
  Tag& operator=(const Tag&) = default;
  virtual ~Tag() = default;

  const std::string& path() const noexcept { return path_; }
  void setPath(std::string path) { path_ = std::move(path); }

  TagData tagData;
  // Set when a V2 tag was walked; also the allow-total-without-number flag of
  // the track and set texts.
  bool v2Read = false;
  // Which frames no decoder takes are kept: 1 standard IDs, 2 all, else none.
  int32_t keepMode = 1;
  uint64_t fileSize = 0;
  std::string fileSizeText;
  uint64_t duration = 0;  // whole seconds
  std::string durationText;

 private:
  std::string path_;
};

class ID3Tag : public Tag {
 public:
  ID3Tag() noexcept;
  ID3Tag(const ID3Tag& other);
  ID3Tag& operator=(const ID3Tag&) = delete;
  ~ID3Tag() override = default;

  // Resets everything but the path and the options to a fresh track's state.
  void initialise() noexcept;
  void clearTagData() noexcept;
  void clearV1() noexcept;
  void resetAudio() noexcept;
  void setDuration(uint64_t seconds);
  void setFileSize(uint64_t bytes);

  virtual float sampleRateKHz() const noexcept;
  virtual uint32_t sampleRateHz() const noexcept;

  uint64_t aiffId3ChunkSize = 0;  // body size rounded up to even; 0 when none
  bool readOnly = true;
  bool v2ReadingOption = true;    // false: pictures are not loaded (quick listing)
  bool isMp3File = false;
  bool isAiffFile = false;
  bool isTagDataFile = false;
  V1Tag v1;
  bool v1Loaded = false;
  bool aiffSizeTolerance = true;  // a FORM size mismatch is logged, not refused
  bool v1Changed = false;
  bool v2Changed = false;
  bool hasV2Tag = false;
  // The system's error of a read that failed during the last open (not the end
  // of the file), else 0: the track is then not what the file holds, and
  // nothing may be saved from it.
  int readError = 0;
  // Which file the last open read, and as it was then: a save compares it with
  // the file now, so that it never writes over another program's changes.
  DiskState readState;
  bool id3ChunkAfterSound = true;
  AudioInfo audio;
  std::string versionText;        // at most 63 characters
  int v2Version = 0;              // major version of the V2 tag read; 0 when none
};

std::string fileSizeDisplay(uint64_t bytes);
// "3:07", or "1:02:03" from an hour on, or with the hours always.
std::string durationDisplay(uint64_t seconds, bool withHours = false);

// The one copy of tag data between tracks.
void CopyTagData(ID3Tag& destination, const ID3Tag& source, bool all, bool title, bool track,
                 bool composer, bool origArtist);

}  // namespace melos
