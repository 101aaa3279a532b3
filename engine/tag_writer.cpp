#include "engine/tag_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "engine/frame_table.h"
#include "engine/frames_write.h"
#include "engine/log.h"
#include "engine/text.h"
#include "engine/timestamp.h"

namespace melos {

namespace {

constexpr uint8_t kUtf8Encoding = 3;

// UTF-8 texts from `start` to the end of the body (or, with `count`, that
// many texts), each turned into UTF-16 with a byte-order mark, a terminator
// kept where the body had one. Returns where the next byte of the body is.
size_t appendAsUtf16(Bytes& out, ByteSpan body, size_t start, size_t count = SIZE_MAX) {
  for (size_t done = 0; start <= body.size() && done < count; ++done) {
    size_t end = start;
    while (end < body.size() && body[end] != 0) ++end;
    if (start == body.size() && count == SIZE_MAX) break;  // a terminator ended the last text
    const std::string wide = encodeUtf16(utf8ToU16(asText(body.subspan(start, end - start))), false);
    out.insert(out.end(), wide.begin(), wide.end());
    if (end < body.size()) out.insert(out.end(), {0, 0});
    start = end + 1;
  }
  return start;
}

// ID3v2.3 has no UTF-8: a frame kept from a 2.4 tag with UTF-8 texts would read
// as empty there, so its texts are written as UTF-16 with a byte-order mark;
// the parts that are no encoded text (a language, a MIME type, a picture
// type, image bytes, a URL) stay as they are.
Bytes bodyForVersion(std::string_view id, ByteSpan body, int version) {
  Bytes out(body.begin(), body.end());
  if (version >= 4 || body.empty() || body[0] != kUtf8Encoding) return out;
  auto plainEnd = [&](size_t from) {  // behind a Latin-1 text and its zero
    while (from < body.size() && body[from] != 0) ++from;
    return std::min(from + 1, body.size());
  };
  size_t keepUpTo = 0;   // bytes after the encoding byte copied as they are first
  size_t texts = SIZE_MAX;  // how many encoded texts follow
  if (id == "COMM" || id == "USLT") {
    if (body.size() < 4) return out;
    keepUpTo = 4;
  } else if (id == "WXXX") {
    keepUpTo = 1;
    texts = 1;
  } else if (id == "APIC") {
    keepUpTo = plainEnd(1) + 1;  // the MIME type and the picture type byte
    if (keepUpTo > body.size()) return out;
    texts = 1;
  } else if (id.empty() || id[0] != 'T') {
    return out;
  } else {
    keepUpTo = 1;
  }
  out.assign(body.begin() + 1, body.begin() + static_cast<long>(keepUpTo));
  out.insert(out.begin(), 1);
  const size_t next = appendAsUtf16(out, body, keepUpTo, texts);
  if (next < body.size()) out.insert(out.end(), body.begin() + static_cast<long>(next), body.end());
  return out;
}

const MoreValues* moreValuesOf(const TagData& d, std::string_view id) {
  for (const MoreValues& more : d.moreValues)
    if (more.frameId == id) return &more;
  return nullptr;
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
    case FrameForm::LangDescText: {
      const bool comment = row.field == FrameField::Comment;
      UnicodeText& text = comment ? d.comment : d.lyrics;
      const std::string& language = comment ? d.commentLanguage : d.lyricsLanguage;
      UnicodeText& description = comment ? d.commentDescription : d.lyricsDescription;
      // A UTF-16 description makes the frame UTF-16: the text is then kept in
      // that form, so that the verification compares what was written.
      if (description.unicode && !description.empty() && !text.unicode && !text.empty())
        text = UnicodeText::utf16(text.toU16());
      return writeLangDescFrame(out, row.id, language, description, text.data, text.unicode, error, version);
    }
    default: break;
  }

  // The further values belong to the text they were read with; a changed
  // text goes alone.
  const MoreValues* more = moreValuesOf(d, row.id);
  if (UnicodeText* field = unicodeField(d, row.field)) {
    if (more != nullptr && field->toU16() != more->first) more = nullptr;
    if (more != nullptr && row.unicode && !field->unicode) {
      bool fits = true;
      for (const std::u16string& value : more->rest) fits = fits && fitsLatin1(value);
      if (!fits) *field = UnicodeText::utf16(field->toU16());
    }
    return writeFrame(out, row.id, field->data, row.unicode && field->unicode, error, version, rowTrim,
                      more != nullptr ? &more->rest : nullptr);
  }
  std::string* field = latin1Field(d, row.field);
  if (field == nullptr) return 0;
  if (more != nullptr && UnicodeText::latin1(*field).toU16() != more->first) more = nullptr;
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
    default:
      return writeFrame(out, row.id, *field, false, error, version, rowTrim, more != nullptr ? &more->rest : nullptr);
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
