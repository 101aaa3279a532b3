#pragma once
// A track with every exported field set, for the XML and CSV export tests.

#include "engine/id3_tag.h"

namespace melos::test {

inline ID3Tag exportTrack(const std::string& path) {
  ID3Tag track;
  track.setPath(path);
  track.hasV2Tag = true;
  TagData& d = track.tagData;
  d.enabled = true;
  d.track = 3;
  d.tracks = 12;
  d.title = UnicodeText::latin1("Caf\xE9 <Live> & \"More\"");
  d.artist = UnicodeText::utf16(u"\u65E5\u672C Artist");
  d.album = UnicodeText::latin1("Album, Vol. 1");
  d.year = "2001";
  d.genre = UnicodeText::latin1("Rock");
  d.comment = UnicodeText::latin1("First line");
  d.composer = UnicodeText::latin1("It's me");
  d.copyright = UnicodeText::latin1("(c) 2001");
  d.origArtist = UnicodeText::latin1("Orig");
  d.encodedBy = "Encoder";
  d.url = "http://example.com/a?b=1&c=2";
  d.compilation = true;
  d.lyrics = UnicodeText::latin1("La la");
  d.conductor = UnicodeText::latin1("Conductor");
  d.lyricist = UnicodeText::latin1("Lyricist");
  d.orchestra = UnicodeText::latin1("Orchestra");
  d.publisher = UnicodeText::latin1("Publisher");
  d.content = UnicodeText::latin1("Content");
  d.subtitle = UnicodeText::latin1("Subtitle");
  d.set = 1;
  d.sets = 2;
  d.isrc = "USABC0100001";
  d.recordtime = "2000-12-31T23:59";
  d.releasetime = "2001-02-03";
  d.initialkey = "Dbm";
  d.bpm = "120";
  d.artisturl = "http://example.com/artist";
  d.podcast = true;
  d.podcastid = UnicodeText::latin1("pod-1");
  d.podcastfeed = "http://example.com/feed";
  d.podcastdesc = UnicodeText::latin1("About");
  d.advisory = 1;
  d.producednotice = "P notice";
  d.mood = "calm";
  d.iswc = "T-034.524.680-1";
  d.uniqueid.owner = "http://musicbrainz.org";
  d.uniqueid.data = {'a', 'b', 'c', '1', '2', '3'};
  return track;
}

}  // namespace melos::test
