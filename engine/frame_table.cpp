#include "engine/frame_table.h"

namespace melos {

const FrameSpec* findFrameSpec(std::string_view id, int majorVersion) noexcept {
  if (majorVersion < 3) {
    for (const FrameSpec& spec : kFrameTable)
      if (!spec.id22.empty() && spec.id22 == id) return &spec;
    return nullptr;
  }
  if (id == "WFD ") id = "WFED";
  for (const FrameSpec& spec : kFrameTable)
    if (spec.id == id) return &spec;
  return nullptr;
}

const UnicodeText* unicodeField(const TagData& d, FrameField field) noexcept {
  switch (field) {
    case FrameField::Title: return &d.title;
    case FrameField::Artist: return &d.artist;
    case FrameField::Album: return &d.album;
    case FrameField::Genre: return &d.genre;
    case FrameField::Comment: return &d.comment;
    case FrameField::Composer: return &d.composer;
    case FrameField::Copyright: return &d.copyright;
    case FrameField::OrigArtist: return &d.origArtist;
    case FrameField::Conductor: return &d.conductor;
    case FrameField::Lyricist: return &d.lyricist;
    case FrameField::Publisher: return &d.publisher;
    case FrameField::Orchestra: return &d.orchestra;
    case FrameField::Content: return &d.content;
    case FrameField::Subtitle: return &d.subtitle;
    case FrameField::EncSettings: return &d.encsettings;
    case FrameField::PodcastId: return &d.podcastid;
    case FrameField::PodcastDesc: return &d.podcastdesc;
    case FrameField::Lyrics: return &d.lyrics;
    default: return nullptr;
  }
}

UnicodeText* unicodeField(TagData& d, FrameField field) noexcept {
  return const_cast<UnicodeText*>(unicodeField(static_cast<const TagData&>(d), field));
}

const std::string* latin1Field(const TagData& d, FrameField field) noexcept {
  switch (field) {
    case FrameField::Year: return &d.year;
    case FrameField::EncodedBy: return &d.encodedBy;
    case FrameField::Url: return &d.url;
    case FrameField::Isrc: return &d.isrc;
    case FrameField::Bpm: return &d.bpm;
    case FrameField::InitialKey: return &d.initialkey;
    case FrameField::ArtistUrl: return &d.artisturl;
    case FrameField::MusicCdId: return &d.musiccdid;
    case FrameField::ReleaseTime: return &d.releasetime;
    case FrameField::RecordTime: return &d.recordtime;
    case FrameField::ProducedNotice: return &d.producednotice;
    case FrameField::Mood: return &d.mood;
    case FrameField::PodcastFeed: return &d.podcastfeed;
    case FrameField::Iswc: return &d.iswc;
    default: return nullptr;
  }
}

std::string* latin1Field(TagData& d, FrameField field) noexcept {
  return const_cast<std::string*>(latin1Field(static_cast<const TagData&>(d), field));
}

}  // namespace melos
