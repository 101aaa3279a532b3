#include "tests/support/tag_fixtures.h"

#include "engine/text.h"

namespace melos::test {

UserText userText(Enc enc, std::string_view description, std::string_view value) {
  UserText entry;
  entry.body = userTextBody(enc, description, value);
  const bool unicode = enc != Enc::Latin1;
  entry.description = unicode ? UnicodeText::utf16(utf8ToU16(description)) : UnicodeText::latin1(std::string(description));
  entry.value = unicode ? UnicodeText::utf16(utf8ToU16(value)) : UnicodeText::latin1(std::string(value));
  return entry;
}

TagData fullTagData(bool unicode) {
  auto text = [unicode](std::u16string_view value) {
    return unicode ? UnicodeText::utf16(value) : UnicodeText::latin1(u16ToLatin1(value));
  };
  TagData d;
  d.enabled = true;
  d.title = text(u"Title \u00e9\u4e2d");
  d.artist = text(u"Artist");
  d.album = text(u"Album \u0100");
  d.year = "1999";
  d.comment = text(u"A comment\nover lines");
  d.commentLanguage = "fra";
  d.commentDescription = text(u"Note");
  d.composer = text(u"Composer");
  d.origArtist = text(u"Original");
  d.copyright = text(u"(c) 2001");
  d.url = "http://example.org/u";
  d.artisturl = "http://example.org/a";
  d.encodedBy = "LAME";
  d.track = 3;
  d.tracks = 12;
  d.genre = text(u"Rock");
  d.compilation = true;
  d.musiccdid = "0A1B2C";
  d.picdata = {PicData{jpegBytes(40), "jpeg", kPictureFrontCover, text(u"Front \u00e9")},
               PicData{pngBytes(30), "png", kPictureOther, {}}};
  d.lyrics = text(u"la la\r\nla");
  d.lyricsLanguage = "eng";
  d.conductor = text(u"Conductor");
  d.lyricist = text(u"Lyricist");
  d.publisher = text(u"Publisher");
  d.orchestra = text(u"Band");
  d.content = text(u"Group");
  d.subtitle = text(u"Sub");
  d.encsettings = text(u"-V2");
  d.usertext = {userText(Enc::Latin1, "MOOD", "happy"), userText(Enc::Utf16LE, "WHO", "\u00e9\u4e2d")};
  d.set = 1;
  d.sets = 2;
  d.isrc = "USRC17607839";
  d.releasetime = "2001-02-03";
  d.recordtime = "2004-05-06T07:08";
  d.bpm = "120";
  d.initialkey = "Dbm";
  d.popularity = PopularityData{"me@example.org", 196, "7"};
  d.podcast = true;
  d.podcastid = text(u"id-1");
  d.podcastfeed = "http://example.org/feed";
  d.podcastdesc = text(u"About");
  d.privdata = {PrivateData{"PRIV", {'o', 'w', 'n', 0, 1, 2, 3}}, PrivateData{"TLAN", {0, 'e', 'n', 'g'}}};
  d.advisory = 1;
  d.producednotice = "2004 Label";
  d.mood = "Calm";
  d.iswc = "T-123.456.789-0";
  d.uniqueid = UniqueFileID{"http://musicbrainz.org", {'a', 'b', 'c', 0, 'd'}};
  return d;
}

TagData rereadForm(TagData d, int version) {
  d.grouping.clear();
  if (version < 4) {
    d.releasetime.clear();
    d.recordtime.clear();
    d.producednotice.clear();
    d.mood.clear();
  }
  return d;
}

}  // namespace melos::test
