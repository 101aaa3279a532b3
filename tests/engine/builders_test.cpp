// The fixture builders that share the engine's syncsafe and big-endian helpers
// are checked byte by byte against literals written from the formats, so that a
// fault in a helper cannot hide behind a builder that shares it.

#include <gtest/gtest.h>

#include "tests/support/aiff_builder.h"
#include "tests/support/id3v2_builder.h"

namespace melos::test {
namespace {

Bytes head(const Bytes& bytes, size_t count) { return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)); }

TEST(Builders, BytesAsTheFormatsLayThemOut) {
  Id3Frame big{"TIT2", Bytes(200, 'a')};
  const std::pair<Bytes, Bytes> rows[] = {
      {head(Id3v2Builder(3).padding(257).build(), 10), {'I', 'D', '3', 3, 0 /* 2.3.0 */, 0 /* flags */, 0, 0, 2, 1 /* 257 */}},
      {head(frameBytes(big, 4), 8), {'T', 'I', 'T', '2', 0, 0, 1, 0x48 /* syncsafe */}},
      {Id3v2Builder(3).frame("PRIV", {0xFF, 0xF0}).unsynchronised().build(), {'I', 'D', '3', 3, 0, 0x80 /* unsync */, 0, 0, 0, 13,
                                                                            'P', 'R', 'I', 'V', 0, 0, 0, 2, 0, 0, 0xFF, 0x00, 0xF0}},
      {extendedHeaderBytes({0x40}, 4), {0, 0, 0, 6 /* size with itself */, 1 /* flag bytes */, 0x40}},
      {AiffBuilder().chunk("ID3 ", {1, 2, 3}).build(),
       {'F', 'O', 'R', 'M', 0, 0, 0, 16, 'A', 'I', 'F', 'F', 'I', 'D', '3', ' ', 0, 0, 0, 3, 1, 2, 3, 0 /* pad */}},
  };
  for (const auto& [got, want] : rows) EXPECT_EQ(got, want);
}

}  // namespace
}  // namespace melos::test
