#include "operations/tag_copy.h"

#include "engine/genres.h"
#include "operations/latin_text.h"

namespace melos {

UnicodeText storedText(std::u16string_view text) {
  if (LatinText::isStringUnicode(text)) return UnicodeText::utf16(text);
  return UnicodeText::latin1(latin1Field(text));
}

std::string latin1Field(std::u16string_view text) { return u16ToLatin1(text); }

std::string v1Field(std::u16string_view text, size_t width) {
  std::string field = latin1Field(text);
  if (field.size() > width) field.resize(width);
  return field;
}

uint8_t v1GenreFor(std::u16string_view name) {
  return static_cast<uint8_t>(genreIndex(u16ToLatin1(name), true));
}

void fillV1FromV2(ID3Tag& track) {
  const TagData& d = track.tagData;
  V1Tag& v1 = track.v1;
  v1.enabled = true;
  v1.title = latin1Field(d.title.toU16());
  v1.artist = latin1Field(d.artist.toU16());
  v1.album = latin1Field(d.album.toU16());
  v1.comment = latin1Field(d.comment.toU16());
  v1.year = d.year;
  v1.track = v1TrackFor(d.track);
  v1.genre = v1GenreFor(d.genre.toU16());
}

}  // namespace melos
