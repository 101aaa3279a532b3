// Writes a few sample tracks into the folder given on the command line, so the
// tool can be tried without audio files from elsewhere.

#include <cmath>
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

// A cover to look at: a 24-bit BMP of a gradient with a ring, drawn without
// any image library.
Bytes coverBmp(int side) {
  const uint32_t row = static_cast<uint32_t>(side) * 3;
  const uint32_t pixels = row * static_cast<uint32_t>(side);
  Bytes bmp = {'B', 'M'};
  const auto le32 = [&bmp](uint32_t v) {
    for (int i = 0; i < 4; ++i) bmp.push_back(static_cast<uint8_t>(v >> (8 * i)));
  };
  const auto le16 = [&bmp](uint16_t v) {
    bmp.push_back(static_cast<uint8_t>(v));
    bmp.push_back(static_cast<uint8_t>(v >> 8));
  };
  le32(54 + pixels), le32(0), le32(54), le32(40), le32(static_cast<uint32_t>(side)), le32(static_cast<uint32_t>(side));
  le16(1), le16(24), le32(0), le32(pixels), le32(2835), le32(2835), le32(0), le32(0);
  const double centre = side / 2.0;
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      const double d = std::hypot(x - centre, y - centre) / centre;
      const bool ring = d > 0.55 && d < 0.68;
      bmp.push_back(static_cast<uint8_t>(ring ? 240 : 120 + 100 * y / side));      // blue
      bmp.push_back(static_cast<uint8_t>(ring ? 200 : 40 + 60 * x / side));        // green
      bmp.push_back(static_cast<uint8_t>(ring ? 90 : 60 + 120 * (side - y) / side));  // red
    }
  return bmp;
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

  Id3v1Fields fullV1;
  fullV1.title = "Harbour Lights (Extended Mix)";
  fullV1.artist = "Northern Quartet";
  fullV1.album = "Coastlines";
  fullV1.year = "2024";
  fullV1.comment = "Recorded live at the pier";
  fullV1.track = 4;
  fullV1.genre = 8;
  Bytes full = mp3File({Id3v2Builder(4)
                            .text("TIT2", Enc::Utf8, "Harbour Lights (Extended Mix)")
                            .text("TPE1", Enc::Utf8, "Northern Quartet")
                            .text("TALB", Enc::Utf8, "Coastlines")
                            .text("TRCK", Enc::Latin1, "4/11")
                            .text("TPOS", Enc::Latin1, "1/2")
                            .text("TCON", Enc::Latin1, "Jazz")
                            .text("TCOM", Enc::Utf8, "Ingrid S\u00f8rensen")
                            .text("TOPE", Enc::Utf8, "The Harbour Band")
                            .text("TCOP", Enc::Latin1, "2024 Coastline Records")
                            .text("TENC", Enc::Latin1, "Meloscribe samples")
                            .text("TPE3", Enc::Utf8, "Mar\u00eda L\u00f3pez")
                            .text("TEXT", Enc::Utf8, "Ingrid S\u00f8rensen")
                            .text("TPUB", Enc::Latin1, "Coastline Records")
                            .text("TPE2", Enc::Latin1, "Northern Quartet")
                            .text("TIT1", Enc::Latin1, "Live sessions")
                            .text("TIT3", Enc::Latin1, "Second set")
                            .text("TSRC", Enc::Latin1, "GBXYZ2400004")
                            .text("TDRL", Enc::Latin1, "2024-05-03")
                            .text("TDRC", Enc::Latin1, "2023-11-12T20:15")
                            .text("TKEY", Enc::Latin1, "Dbm")
                            .text("TBPM", Enc::Latin1, "96")
                            .frame("WXXX", Bytes{0, 0, 'h', 't', 't', 'p', 's', ':', '/', '/', 'e', 'x', 'a', 'm', 'p',
                                                 'l', 'e', '.', 'o', 'r', 'g'})
                            .frame("WOAR", Bytes{'h', 't', 't', 'p', 's', ':', '/', '/', 'q', 'u', 'a', 'r', 't', 'e',
                                                 't', '.', 'e', 'x', 'a', 'm', 'p', 'l', 'e'})
                            .frame(commentFrame(Enc::Latin1, "eng", "", "Recorded live at the pier, late summer"))
                            .frame(Id3Frame("USLT", commentFrame(Enc::Utf8, "eng", "",
                                                                 "Lights on the water\nboats coming home\n"
                                                                 "the harbour hums\nits evening song")
                                                        .body))
                            .frame(popularityFrame("listener@example.org", 196))
                            .frame(pictureFrame(Enc::Latin1, "image/bmp", 3, "Front cover", coverBmp(256)))
                            .padding(256)
                            .build(),
                        cbrStream(joint, 38 * 20), {}, id3v1Tag(fullV1)});

  bool ok = write(folder + "/full-album-track.mp3", full) && write(folder + "/morning-tone.mp3", cbr) &&
            write(folder + "/podcast-episode.mp3", podcast) &&
            write(folder + "/aiff-tone.aif", aiff) && write(folder + "/clipboard.tdf", tagData);
  return ok ? 0 : 1;
}
