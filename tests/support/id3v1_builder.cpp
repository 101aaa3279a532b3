#include "tests/support/id3v1_builder.h"

namespace melos::test {

namespace {
void put(Bytes& out, size_t offset, size_t width, const std::string& text) {
  for (size_t i = 0; i < width && i < text.size() && offset + i < out.size(); ++i)
    out[offset + i] = static_cast<uint8_t>(text[i]);
}
}  // namespace

Bytes id3v1Tag(const Id3v1Fields& f) {
  Bytes out(128, 0);
  put(out, 0, 3, "TAG");         // identifier
  put(out, 3, 30, f.title);      // title
  put(out, 33, 30, f.artist);    // artist
  put(out, 63, 30, f.album);     // album
  put(out, 93, 4, f.year);       // year
  put(out, 97, 29, f.comment);   // comment; byte 125 is not reserved
  out[126] = f.track;            // track number
  out[127] = f.genre;            // genre number
  return out;
}

}  // namespace melos::test
