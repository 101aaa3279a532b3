#pragma once
// The one table of the frames the engine understands: a row per frame, in the
// order the writer writes them. The reader, the writer and the comparison walk
// this table.

#include <array>
#include <cstdint>
#include <string_view>

#include "engine/tag_data.h"

namespace melos {

enum class FrameField : uint8_t {
  Track, Title, Artist, Album, Year, Genre, Comment, Composer, Copyright, OrigArtist,
  EncodedBy, Url, Compilation, Conductor, Lyricist, Publisher, Orchestra, Content, Subtitle,
  EncSettings, Set, Isrc, Bpm, InitialKey, ArtistUrl, Popularity, UniqueId, MusicCdId,
  ReleaseTime, RecordTime, ProducedNotice, Mood, Podcast, PodcastId, PodcastFeed,
  PodcastDesc, Advisory, Iswc, UserText, Lyrics, Picture,
};

// How the content of a frame is laid out.
enum class FrameForm : uint8_t {
  Text,          // encoding byte + text
  NumberPair,    // text "n/m"
  Genre,         // text with an optional "(n)" genre number in front
  LangDescText,  // encoding + language + description + text (COMM, USLT)
  UserUrl,       // encoding + description + Latin-1 URL (WXXX)
  Url,           // bare Latin-1 URL, no encoding byte
  EncodedUrl,    // encoding byte + URL text (WFED, written like a text frame)
  Flag,          // text "1" when set
  Empty,         // four zero bytes when set (PCST)
  Popularity,    // email + rating (+ play counter on read)
  UniqueId,      // owner + identifier bytes
  RawText,       // stored bytes up to the first zero, no encoding byte (MCDI)
  Advisory,      // text "1" or "2"
  UserText,      // kept body (TXXX)
  Picture,       // APIC / PIC
};

struct FrameSpec {
  std::string_view id;    // ID3v2.3/2.4
  std::string_view id22;  // ID3v2.2, empty when none
  FrameField field;
  FrameForm form;
  bool unicode;  // the field may hold UTF-16
  bool trimmed;  // the trim flag applies when written
  bool v24Only;  // written to version 2.4 tags only
};

inline constexpr std::array<FrameSpec, 41> kFrameTable{{
    {"TRCK", "TRK", FrameField::Track, FrameForm::NumberPair, false, true, false},
    {"TIT2", "TT2", FrameField::Title, FrameForm::Text, true, true, false},
    {"TPE1", "TP1", FrameField::Artist, FrameForm::Text, true, true, false},
    {"TALB", "TAL", FrameField::Album, FrameForm::Text, true, true, false},
    {"TYER", "TYE", FrameField::Year, FrameForm::Text, false, true, false},
    {"TCON", "TCO", FrameField::Genre, FrameForm::Genre, true, true, false},
    {"COMM", "COM", FrameField::Comment, FrameForm::LangDescText, true, true, false},
    {"TCOM", "TCM", FrameField::Composer, FrameForm::Text, true, true, false},
    {"TCOP", "TCR", FrameField::Copyright, FrameForm::Text, true, true, false},
    {"TOPE", "TOA", FrameField::OrigArtist, FrameForm::Text, true, true, false},
    {"TENC", "TEN", FrameField::EncodedBy, FrameForm::Text, false, true, false},
    {"WXXX", "WXX", FrameField::Url, FrameForm::UserUrl, false, true, false},
    {"TCMP", "TCP", FrameField::Compilation, FrameForm::Flag, false, false, false},
    {"TPE3", "TP3", FrameField::Conductor, FrameForm::Text, true, true, false},
    {"TEXT", "TXT", FrameField::Lyricist, FrameForm::Text, true, true, false},
    {"TPUB", "TPB", FrameField::Publisher, FrameForm::Text, true, true, false},
    {"TPE2", "TP2", FrameField::Orchestra, FrameForm::Text, true, true, false},
    {"TIT1", "TT1", FrameField::Content, FrameForm::Text, true, true, false},
    {"TIT3", "TT3", FrameField::Subtitle, FrameForm::Text, true, true, false},
    {"TSSE", "TSS", FrameField::EncSettings, FrameForm::Text, true, true, false},
    {"TPOS", "TPA", FrameField::Set, FrameForm::NumberPair, false, true, false},
    {"TSRC", "TRC", FrameField::Isrc, FrameForm::Text, false, true, false},
    {"TBPM", "TBP", FrameField::Bpm, FrameForm::Text, false, true, false},
    {"TKEY", "TKE", FrameField::InitialKey, FrameForm::Text, false, true, false},
    {"WOAR", "WAR", FrameField::ArtistUrl, FrameForm::Url, false, true, false},
    {"POPM", "POP", FrameField::Popularity, FrameForm::Popularity, false, false, false},
    {"UFID", "UFI", FrameField::UniqueId, FrameForm::UniqueId, false, true, false},
    {"MCDI", "MCI", FrameField::MusicCdId, FrameForm::RawText, false, true, false},
    {"TDRL", "TDR", FrameField::ReleaseTime, FrameForm::Text, false, true, true},
    {"TDRC", "", FrameField::RecordTime, FrameForm::Text, false, true, true},
    {"TPRO", "", FrameField::ProducedNotice, FrameForm::Text, false, true, true},
    {"TMOO", "", FrameField::Mood, FrameForm::Text, false, true, true},
    {"PCST", "PCS", FrameField::Podcast, FrameForm::Empty, false, true, false},
    {"TGID", "TID", FrameField::PodcastId, FrameForm::Text, true, true, false},
    {"WFED", "WFD", FrameField::PodcastFeed, FrameForm::EncodedUrl, false, true, false},
    {"TDES", "TDS", FrameField::PodcastDesc, FrameForm::Text, true, true, false},
    {"TRTG", "", FrameField::Advisory, FrameForm::Advisory, false, false, false},
    {"TSWC", "", FrameField::Iswc, FrameForm::Text, false, false, false},
    {"TXXX", "TXX", FrameField::UserText, FrameForm::UserText, false, false, false},
    {"USLT", "ULT", FrameField::Lyrics, FrameForm::LangDescText, true, true, false},
    {"APIC", "PIC", FrameField::Picture, FrameForm::Picture, false, false, false},
}};

// The row of a frame ID of the given major version, or null. "WFD " (with a
// trailing space) is taken as WFED in version 2.3 and later.
const FrameSpec* findFrameSpec(std::string_view id, int majorVersion) noexcept;

// The text field of a row, or null when the row's field is of another type.
UnicodeText* unicodeField(TagData& data, FrameField field) noexcept;
const UnicodeText* unicodeField(const TagData& data, FrameField field) noexcept;
std::string* latin1Field(TagData& data, FrameField field) noexcept;
const std::string* latin1Field(const TagData& data, FrameField field) noexcept;

}  // namespace melos
