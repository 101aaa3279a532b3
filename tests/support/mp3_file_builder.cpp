#include "tests/support/mp3_file_builder.h"

namespace melos::test {

Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
  return out;
}

Bytes mp3File(const Mp3Parts& parts) {
  return concat({parts.id3v2, parts.audio, parts.ape, parts.id3v1});
}

}  // namespace melos::test
