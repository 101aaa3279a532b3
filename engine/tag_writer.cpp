#include "engine/tag_writer.h"

#include <cerrno>
#include <cstring>

#include "engine/frame_table.h"
#include "engine/frames_write.h"
#include "engine/log.h"
#include "engine/text.h"
#include "engine/timestamp.h"

namespace melos {

namespace {

constexpr uint8_t kUtf8Encoding = 3;

// ID3v2.3 has no UTF-8: a text frame kept from a 2.4 tag in UTF-8 would be
// invalid there, so its texts are written as UTF-16 with a byte-order mark.
// Only frames made of an encoding byte and texts are turned; others stay.
Bytes bodyForVersion(std::string_view id, ByteSpan body, int version) {
  const bool textOnly = !id.empty() && id[0] == 'T';
  if (version >= 4 || !textOnly || body.empty() || body[0] != kUtf8Encoding) return Bytes(body.begin(), body.end());
  Bytes out{1};
  size_t start = 1;
  while (start <= body.size()) {
    size_t end = start;
    while (end < body.size() && body[end] != 0) ++end;
    if (start == body.size()) break;  // a terminator ended the last text
    const std::string wide = encodeUtf16(utf8ToU16(asText(body.subspan(start, end - start))), false);
    out.insert(out.end(), wide.begin(), wide.end());
    if (end < body.size()) out.insert(out.end(), {0, 0});
    start = end + 1;
  }
  return out;
}

uint64_t writeRow(const FrameSpec& row, ID3Tag& tag, Bytes& out, bool& error, int version, bool trim) {
  TagData& d = tag.tagData;
  const bool rowTrim = trim && row.trimmed;
  switch (row.form) {
    case FrameForm::NumberPair: {
      const bool isTrack = row.field == FrameField::Track;
      std::string text = trackString(isTrack ? d.track : d.set, isTrack ? d.tracks : d.sets, tag.v2Read);
      return writeFrame(out, row.id, text, false, error, version, rowTrim);
    }
    case FrameForm::Flag: {
      if (!d.compilation) return 0;
      std::string text = "1";
      return writeFrame(out, row.id, text, false, error, version, rowTrim);
    }
    case FrameForm::Advisory: {
      if (d.advisory == 0) return 0;
      std::string text = d.advisory == 1 ? "1" : "2";
      return writeFrame(out, row.id, text, false, error, version, rowTrim);
    }
    case FrameForm::Empty:
      return d.podcast ? writeEmptyFrame(out, row.id, error, version) : 0;
    case FrameForm::Popularity:
      return writeFrame(out, row.id, d.popularity, error, version);
    case FrameForm::UniqueId:
      return writeFrame(out, row.id, d.uniqueid, error, version);
    case FrameForm::UserText: {
      // The whole body as read, so that reader and writer agree byte for byte.
      uint64_t sum = 0;
      for (const UserText& entry : d.usertext)
        sum += writeFrame(out, row.id, bodyForVersion(row.id, entry.body, version), error, version);
      return sum;
    }
    case FrameForm::Picture: {
      uint64_t sum = 0;
      for (const PicData& picture : d.picdata) sum += writeFrame(out, row.id, picture, error, version);
      return sum;
    }
    default: break;
  }

  if (UnicodeText* field = unicodeField(d, row.field))
    return writeFrame(out, row.id, field->data, row.unicode && field->unicode, error, version, rowTrim);
  std::string* field = latin1Field(d, row.field);
  if (field == nullptr) return 0;
  switch (row.field) {
    case FrameField::Year: {
      std::string year = field->substr(0, kV1YearField);
      return writeFrame(out, row.id, year, false, error, version, rowTrim);
    }
    case FrameField::ReleaseTime:
    case FrameField::RecordTime: {
      // ID3v2.4 times join date and time with "T"; the editors keep a blank.
      std::string time = normaliseTimestamp(*field, true, false);
      return writeFrame(out, row.id, time, false, error, version, rowTrim);
    }
    default: return writeFrame(out, row.id, *field, false, error, version, rowTrim);
  }
}

uint64_t writeKeptFrames(const TagData& d, Bytes& out, bool& error, int version) {
  uint64_t sum = 0;
  for (const PrivateData& kept : d.privdata) {
    if (kept.id.size() != 4) {
      // Only 2.3 and 2.4 frames are kept; any other ID cannot head a frame here.
      LogMessage(LogWarning, "Kept frame '%s' is not written: its ID is not four characters", kept.id.c_str());
      continue;
    }
    sum += writeFrame(out, kept.id, bodyForVersion(kept.id, kept.body, version), error, version);
  }
  return sum;
}

}  // namespace

int chooseSaveVersion(const ID3Tag& tag) noexcept {
  return tag.tagData.recordtime.empty() && tag.tagData.releasetime.empty() ? 3 : 4;
}

uint32_t paddingFor(uint32_t frameBytes) noexcept {
  uint32_t padding = kTagSizeGranule - (frameBytes + kTagHeaderSize) % kTagSizeGranule;
  if (padding < kMinPadding) padding += kTagSizeGranule;
  return padding;
}

uint32_t buildV2Tag(ID3Tag& tag, Bytes& out, int version, bool trim,
                    [[maybe_unused]] bool keepExtraFrames) noexcept {
  const size_t start = out.size();
  try {
    if (version <= 2) version = chooseSaveVersion(tag);
    if (version > 4) version = 4;
    const uint8_t header[kTagHeaderSize] = {'I', 'D', '3', static_cast<uint8_t>(version), 0, 0, 0, 0, 0, 0};
    out.insert(out.end(), std::begin(header), std::end(header));

    bool error = false;
    uint64_t frameBytes = 0;
    for (const FrameSpec& row : kFrameTable) {
      if (row.v24Only && version < 4) continue;
      frameBytes += writeRow(row, tag, out, error, version, trim);
    }
    frameBytes += writeKeptFrames(tag.tagData, out, error, version);

    const uint32_t padding = frameBytes <= kMaxSyncsafe ? paddingFor(static_cast<uint32_t>(frameBytes)) : 0;
    if (!error && frameBytes + padding > kMaxSyncsafe) {
      // The tag's size field has 28 bits.
      LogMessage(LogError, "Failed to write the syncsafe size %u (error: %s)",
                 static_cast<unsigned>(frameBytes + padding), std::strerror(EFBIG));
      error = true;
    }
    if (error) {
      LogMessage(LogError, "Failed to save the version 2 tag data");
      out.resize(start);
      return 0;
    }
    const auto frames = static_cast<uint32_t>(frameBytes);
    out.resize(out.size() + padding);
    syncsafeEncode(out.data() + start + 6, frames + padding);
    return frames + padding + kTagHeaderSize;
  } catch (...) {
    LogMessage(LogError, "Failed to save the version 2 tag data");
    out.resize(start);
    return 0;
  }
}

}  // namespace melos
