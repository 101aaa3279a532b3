#pragma once
// A track whose exported fields need escaping, quoting or a rule of their
// own, for the XML and CSV export tests.

#include "engine/id3_tag.h"

namespace melos::test {

inline ID3Tag exportTrack(const std::string& path) {
  ID3Tag track;
  track.setPath(path);
  track.hasV2Tag = true;
  TagData& d = track.tagData;
  d.enabled = d.compilation = d.podcast = true;
  d.track = 3;
  d.tracks = 12;
  d.set = 1;
  d.advisory = 1;
  d.title = UnicodeText::latin1("Caf\xE9 <Live> & \"More\"");
  d.artist = UnicodeText::utf16(u"\u65E5\u672C Artist");
  d.album = UnicodeText::latin1("Album, Vol. 1");
  d.composer = UnicodeText::latin1("It's me");
  d.lyrics = UnicodeText::latin1("La la");
  d.url = "http://example.com/a?b=1&c=2";
  d.recordtime = "2000-12-31T23:59";
  d.releasetime = "2001-02-03";
  d.uniqueid = {"http://musicbrainz.org", {'a', 'b', 'c', '1', '2', '3'}};
  return track;
}

}  // namespace melos::test
