// Writes a few sample tracks into the folder given on the command line, so the
// tool can be tried without audio files from elsewhere.

#include <cstdio>
#include <fstream>
#include <string>

#include "tests/support/aiff_builder.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"

namespace {

using namespace melos;
using namespace melos::test;

bool write(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_samples FOLDER\n");
    return 2;
  }
  std::string folder = argv[1];

  MpegHeader joint;
  joint.channelMode = 1;
  Id3v1Fields v1;
  v1.title = "Morning Tone";
  v1.artist = "The Samples";
  v1.album = "Generated";
  v1.year = "2026";
  v1.comment = "made by the build";
  v1.track = 1;
  v1.genre = 52;
  Bytes cbr = mp3File({Id3v2Builder(3)
                           .text("TIT2", Enc::Latin1, "Morning Tone")
                           .text("TPE1", Enc::Latin1, "The Samples")
                           .text("TALB", Enc::Latin1, "Generated")
                           .text("TRCK", Enc::Latin1, "1/3")
                           .text("TYER", Enc::Latin1, "2026")
                           .text("TCON", Enc::Latin1, "(52)Electronic")
                           .frame(commentFrame(Enc::Latin1, "eng", "", "made by the build"))
                           .padding(256)
                           .build(),
                       cbrStream(joint, 38 * 8), {}, id3v1Tag(v1)});

  MpegHeader mono;
  mono.channelMode = 3;
  MpegStream vbr;
  vbr.header = mono;
  vbr.bitrates = repeatBitrates({5, 9, 11, 7, 9}, 38 * 6);
  vbr.xing = true;
  vbr.xingHeader.id = "Xing";
  Bytes podcast = mp3File({Id3v2Builder(4)
                               .text("TIT2", Enc::Utf16LE, "Episode \u2116 2 \u2014 \u4e2d\u6587")
                               .text("TPE1", Enc::Utf8, "Hosts \u00e0 la carte")
                               .text("TDRC", Enc::Latin1, "2026-11-21T09:30")
                               .text("TGID", Enc::Latin1, "sample-episode-2")
                               .text("WFED", Enc::Latin1, "https://feeds.example.org/sample")
                               .frame(podcastFrame())
                               .frame(pictureFrame(Enc::Latin1, "image/png", 3, "cover", pngBytes(600)))
                               .frame(userTextFrame(Enc::Latin1, "SOURCE", "generated"))
                               .padding(128)
                               .build(),
                           mpegStream(vbr), {}, {}});

  Bytes aiffTag = Id3v2Builder(3)
                      .text("TIT2", Enc::Latin1, "Aiff Tone")
                      .text("TPE1", Enc::Latin1, "The Samples")
                      .padding(64)
                      .build();
  Bytes aiff = AiffBuilder("AIFF")
                   .chunk(commChunk(2, 44100 * 3, 16, 44100.0))
                   .chunk(ssndChunk(Bytes(44100 * 3 * 4 / 64, 0)))
                   .chunk(id3Chunk(aiffTag))
                   .build();

  Bytes tagData = Id3v2Builder(3)
                      .text("TALB", Enc::Latin1, "Clipboard album")
                      .text("TCOM", Enc::Latin1, "A. Composer")
                      .padding(32)
                      .build();

  bool ok = write(folder + "/morning-tone.mp3", cbr) && write(folder + "/podcast-episode.mp3", podcast) &&
            write(folder + "/aiff-tone.aif", aiff) && write(folder + "/clipboard.tdf", tagData);
  return ok ? 0 : 1;
}
