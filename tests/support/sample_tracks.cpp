#include "tests/support/sample_tracks.h"

#include "tests/support/aiff_builder.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"

namespace melos::test {

Bytes sampleMp3(const std::string& title, bool withV1) {
  Id3v1Fields v1;
  v1.title = title;
  v1.artist = "Tester";
  return mp3File({Id3v2Builder(3)
                      .text("TIT2", Enc::Latin1, title)
                      .text("TPE1", Enc::Latin1, "Tester")
                      .padding(64)
                      .build(),
                  cbrStream(MpegHeader{}, 40), {}, withV1 ? id3v1Tag(v1) : Bytes{}});
}

Bytes sampleAiff(const std::string& title) {
  const Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, title).padding(32).build();
  return AiffBuilder("AIFF")
      .chunk(commChunk(2, 4410, 16, 44100.0))
      .chunk(ssndChunk(Bytes(4410 * 4, 0)))
      .chunk(id3Chunk(tag))
      .build();
}

Bytes sampleTagData(const std::string& album) {
  return Id3v2Builder(3)
      .text("TALB", Enc::Latin1, album)
      .text("TCOM", Enc::Latin1, "A. Composer")
      .padding(32)
      .build();
}

}  // namespace melos::test
