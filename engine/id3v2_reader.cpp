#include "engine/id3v2_reader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "engine/frames_read.h"
#include "engine/log.h"

namespace melos {

namespace {

constexpr std::array<std::string_view, 82> kIds23{
    "AENC", "APIC", "COMM", "COMR", "ENCR", "EQUA", "ETCO", "GEOB", "GRID", "IPLS", "LINK",
    "MCDI", "MLLT", "OWNE", "PRIV", "PCNT", "POPM", "POSS", "RBUF", "RVAD", "RVRB", "SYLT",
    "SYTC", "TALB", "TBPM", "TCOM", "TCON", "TCOP", "TDAT", "TDLY", "TENC", "TEXT", "TFLT",
    "TIME", "TIT1", "TIT2", "TIT3", "TKEY", "TLAN", "TLEN", "TMED", "TOAL", "TOFN", "TOLY",
    "TOPE", "TORY", "TOWN", "TPE1", "TPE2", "TPE3", "TPE4", "TPOS", "TPUB", "TRCK", "TRDA",
    "TRSN", "TRSO", "TSIZ", "TSRC", "TSSE", "TYER", "TXXX", "UFID", "USER", "USLT", "WCOM",
    "WCOP", "WOAF", "WOAR", "WOAS", "WORS", "WPAY", "WPUB", "WXXX", "TCMP", "PCST", "TGID",
    "WFED", "WFD ", "TDES", "TRTG", "TSWC"};

constexpr std::array<std::string_view, 18> kIds24Extra{
    "ASPI", "EQU2", "RVA2", "SEEK", "SIGN", "TDEN", "TDOR", "TDRC", "TDRL",
    "TDTG", "TIPL", "TMCL", "TMOO", "TPRO", "TSOA", "TSOP", "TSOT", "TSST"};

constexpr std::array<std::string_view, 69> kIds22{
    "BUF", "CNT", "COM", "CRA", "CRM", "ETC", "EQU", "GEO", "IPL", "LNK", "MCI", "MLL",
    "PIC", "POP", "REV", "RVA", "SLT", "STC", "TAL", "TBP", "TCM", "TCO", "TCR", "TDA",
    "TDY", "TEN", "TFT", "TIM", "TKE", "TLA", "TLE", "TMT", "TOA", "TOF", "TOL", "TOR",
    "TOT", "TP1", "TP2", "TP3", "TP4", "TPA", "TPB", "TRC", "TRD", "TRK", "TSI", "TSS",
    "TT1", "TT2", "TT3", "TXT", "TXX", "TYE", "UFI", "ULT", "WAF", "WAR", "WAS", "WCM",
    "WCP", "WPB", "WXX", "TCP", "PCS", "TID", "WFD", "TDS", "TDR"};

bool isIdChar(uint8_t c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

// Whether the bytes at pos can start the next frame: padding, or an ID of
// letters and digits.
bool validNextId(ByteSpan tag, size_t pos) {
  if (pos >= tag.size()) return true;
  if (tag[pos] == 0) return true;
  if (pos + 4 > tag.size()) return false;
  return isIdChar(tag[pos]) && isIdChar(tag[pos + 1]) && isIdChar(tag[pos + 2]) &&
         isIdChar(tag[pos + 3]);
}

// Removes the 0x00 that follows every 0xFF.
size_t resynchronise(uint8_t* data, size_t size) {
  size_t out = 0;
  for (size_t i = 0; i < size; ++i) {
    data[out++] = data[i];
    if (data[i] == 0xFF && i + 1 < size && data[i + 1] == 0x00) ++i;
  }
  return out;
}

// Year from a recording time when the tag has no year frame of its own (2.4
// tags carry the year only in TDRC).
void yearFromRecordTime(TagData& d) {
  if (!d.year.empty() || d.recordtime.size() < 4) return;
  for (size_t i = 0; i < 4; ++i)
    if (d.recordtime[i] < '0' || d.recordtime[i] > '9') return;
  d.year = d.recordtime.substr(0, 4);
}

}  // namespace

bool isStandardFrameId(std::string_view id, int majorVersion) noexcept {
  if (majorVersion < 3) return std::find(kIds22.begin(), kIds22.end(), id) != kIds22.end();
  if (std::find(kIds23.begin(), kIds23.end(), id) != kIds23.end()) return true;
  return majorVersion >= 4 && std::find(kIds24Extra.begin(), kIds24Extra.end(), id) != kIds24Extra.end();
}

uint32_t ParseV2Header(const uint8_t* bytes, size_t count) noexcept {
  if (count < 10 || std::memcmp(bytes, "ID3", 3) != 0) return 0;
  if (bytes[3] > kMaxV2Version)
    LogMessage(LogError, "ID3 tag version 2.%d is incompatible (max 2.%d)", bytes[3], kMaxV2Version);
  uint8_t flags = bytes[5];
  if (flags != 0 && (flags & 0xD0) == 0) return 0;
  return syncsafeDecode(bytes + 6) + 10;
}

int ReadV2Frames(ID3Tag& track, ByteSpan tagIn, bool option) noexcept {
  size_t pos = 0;
  try {
    if (tagIn.size() < 10) {
      track.v2Read = true;
      return 1;
    }
    int version = tagIn[3];
    const uint8_t flags = tagIn[5];
    if (version > kMaxV2Version) {
      LogMessage(LogWarning, "Warning: Tag version 2.%d found (max allowed is 2.%d)", version,
                 kMaxV2Version);
    }
    track.v2Version = version;
    const int readAs = std::min(version, kMaxV2Version);

    // Tag-level unsynchronisation of 2.2 and 2.3 is undone over the whole tag
    // before the walk; skipping such a tag would make the next save drop all its
    // frames. In 2.4 each frame carries its own flag instead.
    Bytes resynced;
    ByteSpan tag = tagIn;
    if ((flags & 0x80) != 0 && readAs <= 3) {
      resynced.assign(tagIn.begin(), tagIn.end());
      resynced.resize(10 + resynchronise(resynced.data() + 10, resynced.size() - 10));
      tag = resynced;
    }
    const size_t tagSize = tag.size();

    pos = 10;
    if ((flags & 0x40) != 0 && readAs >= 3 && tagSize >= 14) {
      // A 2.4 extended header size counts its own four bytes; 2.3 counts the
      // bytes after them.
      uint64_t extended = readAs >= 4 ? syncsafeDecode(&tag[10]) : readU32BE(&tag[10]);
      uint64_t next = readAs >= 4 ? 10 + extended : extended + 14;
      pos = static_cast<size_t>(std::min<uint64_t>(next, tagSize));
    }

    size_t capacity = kInitialFrameBuffer;
    // Only a frame to be resynchronised is copied here, its spare bytes cleared
    // behind it, so the buffer is never cleared as a whole, not even when it
    // grows.
    auto buffer = std::make_unique_for_overwrite<uint8_t[]>(capacity + kFrameBufferSpare);
    FrameWalkState state;
    state.majorVersion = readAs;
    state.loadPictures = option;
    const unsigned shownVersion = static_cast<unsigned>(readAs < 3 ? 2 : readAs);
    std::vector<PrivateData> kept;

    auto keep = [&](std::string_view id, ByteSpan body) {
      bool standard = isStandardFrameId(id, readAs);
      if (track.keepMode == 2) {
        LogMessage(LogStatus, "Adding unsupported but valid tag field '%s'", std::string(id).c_str());
      } else if (track.keepMode == 1 && standard) {
        LogMessage(LogStatus, "Adding non-standard tag field '%s'", std::string(id).c_str());
      } else {
        return;
      }
      if (readAs < 3) {
        LogMessage(LogWarning, "Copying all tag data is not supported for frame ID %s in version 2.%d",
                   std::string(id).c_str(), version);
        return;
      }
      track.tagData.privdata.push_back(PrivateData{std::string(id), Bytes(body.begin(), body.end())});
    };

    while (pos < tagSize) {
      std::string id;
      uint32_t size = 0;
      uint32_t plainSize = 0;
      uint16_t frameFlags = 0;
      size_t headerEnd;
      if (readAs >= 3) {
        if (pos + 4 > tagSize) {
          LogMessage(LogError, "Failed to get the 2.%d frame ID (%d:%d)", shownVersion,
                     static_cast<int>(tagSize), static_cast<int>(pos + 4));
          break;
        }
        if (tag[pos] == 0) break;
        id.assign(reinterpret_cast<const char*>(&tag[pos]), 4);
        if (pos + 10 > tagSize) {
          LogMessage(LogError, "Failed to get the frame size (%d:%d)", static_cast<int>(tagSize),
                     static_cast<int>(pos + 10));
          break;
        }
        plainSize = readU32BE(&tag[pos + 4]);
        size = readAs >= 4 ? syncsafeDecode(&tag[pos + 4]) : plainSize;
        frameFlags = readU16BE(&tag[pos + 8]);
        headerEnd = pos + 10;
      } else {
        if (pos + 4 > tagSize) {
          LogMessage(LogError, "Failed to read the 2.2 frame ID (%d:%d)", static_cast<int>(tagSize),
                     static_cast<int>(pos + 4));
          break;
        }
        if (tag[pos] == 0) break;
        if (pos + 6 > tagSize) {
          LogMessage(LogError, "Failed to get the frame size (%d:%d)", static_cast<int>(tagSize),
                     static_cast<int>(pos + 6));
          break;
        }
        id.assign(reinterpret_cast<const char*>(&tag[pos]), 3);
        // The first size byte is taken as signed: 0x80 or more gives a size
        // that fails the bound check below.
        int32_t high = static_cast<int8_t>(tag[pos + 3]);
        size = static_cast<uint32_t>(high * 65536 + readU16BE(&tag[pos + 4]));
        plainSize = size;
        headerEnd = pos + 6;
      }
      if (!isStandardFrameId(id, readAs)) {
        LogMessage(LogError, "Non-standard 2.%d tag ID found '%s' (size %u)", shownVersion,
                   id.c_str(), size);
      }
      if (size > tagSize || size == 0) {
        LogMessage(LogError, "Tag 2.%d frame %s size error (%u, max %lu)", shownVersion, id.c_str(),
                   size, static_cast<unsigned long>(tagSize));
        break;
      }
      // The plain reading of a 2.4 size is only ever used when it fits in the
      // tag, so the buffer never grows past what the tag holds.
      size_t usablePlain = readAs >= 4 && plainSize <= tagSize ? plainSize : 0;
      if (size > capacity || usablePlain > capacity) {
        size_t wanted = std::max<size_t>(size, usablePlain) + kFrameBufferSpare;
        try {
          // The spare bytes behind the capacity hold the text terminators.
          buffer = std::make_unique_for_overwrite<uint8_t[]>(wanted + kFrameBufferSpare);
        } catch (...) {
          LogMessage(LogError, "Failed to allocate a frame buffer of size %d", static_cast<int>(capacity));
          break;
        }
        capacity = wanted;
      }

      size_t bodyStart = headerEnd;
      size_t bodySize = size;
      const bool lengthIndicator = readAs >= 4 && (frameFlags & 0x0001) != 0;
      if (lengthIndicator) {
        if (bodySize < 4) {
          LogMessage(LogError, "Tag 2.%d frame %s size error (%u, max %lu)", shownVersion, id.c_str(),
                     size, static_cast<unsigned long>(tagSize));
          break;
        }
        bodyStart += 4;
        bodySize -= 4;
      }
      size_t left = bodyStart <= tagSize ? tagSize - bodyStart : 0;
      if (bodySize > capacity || bodySize > left) {
        LogMessage(LogError, "Frame buffer size mismatch (%d:%d %d)", static_cast<int>(bodySize),
                   static_cast<int>(capacity), static_cast<int>(left));
        break;
      }
      pos = bodyStart + bodySize;

      if (readAs >= 4 && size != plainSize && pos < tagSize && !validNextId(tag, pos)) {
        // Written with a plain size despite the 2.4 rule.
        if (headerEnd + plainSize > tagSize) {
          LogMessage(LogError, "Failed to read the 2.%d non-syncsafe frame (%d:%d)", shownVersion,
                     static_cast<int>(tagSize), static_cast<int>(headerEnd + plainSize));
          break;
        }
        bodySize = plainSize - (bodyStart - headerEnd);
        pos = headerEnd + plainSize;
        if (pos < tagSize && !validNextId(tag, pos)) {
          LogMessage(LogError, "Failed to validate the tag position after a non-syncsafe frame");
          break;
        }
      }
      // The decoders never read past a body, so only a frame that must be
      // resynchronised is copied out of the tag; the others, pictures above
      // all, are decoded where they are.
      ByteSpan body = tag.subspan(bodyStart, bodySize);
      if (readAs >= 4 && (frameFlags & 0x0002) != 0) {
        std::memcpy(buffer.get(), &tag[bodyStart], bodySize);
        bodySize = resynchronise(buffer.get(), bodySize);
        std::memset(buffer.get() + bodySize, 0, kFrameBufferSpare);
        body = ByteSpan(buffer.get(), bodySize);
      }

      bool compressed = readAs >= 4 ? (frameFlags & 0x000C) != 0 : readAs == 3 && (frameFlags & 0x00C0) != 0;
      if (compressed) {
        // Compressed or encrypted contents cannot be decoded, and written back
        // without their flags they would be garbage.
        LogMessage(LogWarning, "Compressed or encrypted frame %s is not supported", id.c_str());
        continue;
      }

      // A text in UTF-16 big-endian without a mark (encoding 2) is read as such by
      // the text decoder, so the frame body stays as it came for keeping.
      const FrameSpec* spec = findFrameSpec(id, readAs);
      bool taken = spec != nullptr && decodeFrame(track, *spec, id, body, state);
      if (!taken) keep(id, body);
      for (PrivateData& displaced : state.displaced) keep(displaced.id, displaced.body);
      state.displaced.clear();
    }
    yearFromRecordTime(track.tagData);
    track.v2Read = true;
  } catch (...) {
    LogMessage(LogError, "Failed to read the version 2 tag data (pos: %u)", static_cast<unsigned>(pos));
  }
  return 1;
}

}  // namespace melos
