// Micro-benchmarks of the three inner loops that decide how fast a library
// opens and saves: the ID3v2 frame walk, the MPEG stream scan and the tag
// builder. The inputs are made here, so that no sample file is needed.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/bytes.h"
#include "engine/id3_tag.h"
#include "engine/id3v2_reader.h"
#include "engine/log.h"
#include "engine/open_track.h"
#include "engine/tag_writer.h"
#include "engine/text.h"

namespace {

using melos::Bytes;

// A picture that starts like a JFIF file; its body is noise, as compressed
// image data is, and never holds an end-of-image marker.
Bytes coverBytes(size_t size) {
  Bytes out = {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F', 0x00};
  uint32_t state = 0x2545F491u;
  while (out.size() + 2 < size) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    const auto byte = static_cast<uint8_t>(state & 0xFF);
    out.push_back(byte == 0xFF ? 0xFE : byte);
  }
  out.push_back(0xFF);
  out.push_back(0xD9);
  return out;
}

// Encoding byte (Latin-1), description, terminator, value.
Bytes userTextBody(const std::string& description, const std::string& value) {
  std::string body(1, '\0');
  body += description;
  body += '\0';
  body += value;
  return Bytes(body.begin(), body.end());
}

// A tagged track as a tagger leaves it: about fifteen text frames, a comment,
// a user text and a 100 KB cover.
melos::ID3Tag benchTrack() {
  using melos::UnicodeText;
  melos::ID3Tag track;
  melos::TagData& d = track.tagData;
  d.enabled = true;
  d.title = UnicodeText::latin1("Lantern Over the Winter Harbour");
  d.artist = UnicodeText::latin1("The Quiet Orbit");
  d.album = UnicodeText::fromUtf8("Kraków Nights");
  d.year = "2019";
  d.track = 7;
  d.tracks = 12;
  d.set = 1;
  d.sets = 2;
  d.genre = UnicodeText::latin1("Electronic");
  d.comment = UnicodeText::latin1("Recorded live in one take, mixed the next morning");
  d.composer = UnicodeText::latin1("A. Composer");
  d.origArtist = UnicodeText::latin1("The Original Band");
  d.copyright = UnicodeText::latin1("2019 Some Label");
  d.encodedBy = "Meloscribe bench";
  d.conductor = UnicodeText::latin1("B. Conductor");
  d.lyricist = UnicodeText::fromUtf8("Łucja Writer");
  d.publisher = UnicodeText::latin1("Some Publisher");
  d.orchestra = UnicodeText::latin1("The Quiet Orbit Ensemble");
  d.content = UnicodeText::latin1("Night music");
  d.subtitle = UnicodeText::latin1("Extended version");
  d.encsettings = UnicodeText::latin1("LAME 3.100 -V 2");
  d.bpm = "124";
  d.isrc = "GBABC1900007";
  d.initialkey = "Am";
  melos::UserText user;
  user.body = userTextBody("CATALOGNUMBER", "ORB-0077");
  user.description = UnicodeText::latin1("CATALOGNUMBER");
  user.value = UnicodeText::latin1("ORB-0077");
  d.usertext.push_back(std::move(user));
  melos::PicData cover;
  cover.data = coverBytes(100 * 1024);
  cover.pictureSubtype = "jpeg";
  d.picdata.push_back(std::move(cover));
  return track;
}

const Bytes& benchTagBytes() {
  static const Bytes bytes = [] {
    melos::ID3Tag track = benchTrack();
    Bytes out;
    if (melos::buildV2Tag(track, out, 3, false, false) == 0) {
      std::fprintf(stderr, "micro_bench: the tag could not be built\n");
      std::exit(1);
    }
    return out;
  }();
  return bytes;
}

void BM_FrameWalk(benchmark::State& state) {
  const Bytes& tag = benchTagBytes();
  const bool pictures = state.range(0) != 0;
  melos::ID3Tag track;
  for (auto _ : state) {
    track.clearTagData();
    benchmark::DoNotOptimize(melos::ReadV2Frames(track, melos::ByteSpan(tag), pictures));
    benchmark::DoNotOptimize(track.tagData.title.data.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(tag.size()));
  state.counters["tag_bytes"] = static_cast<double>(tag.size());
}
BENCHMARK(BM_FrameWalk)->ArgName("pictures")->Arg(1)->Arg(0);

void BM_TagBuild(benchmark::State& state) {
  melos::ID3Tag track = benchTrack();
  Bytes out;
  out.reserve(benchTagBytes().size());
  for (auto _ : state) {
    out.clear();
    benchmark::DoNotOptimize(melos::buildV2Tag(track, out, 3, false, false));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(out.size()));
}
BENCHMARK(BM_TagBuild);

// MPEG-1 Layer III at 44.1 kHz, joint stereo: the frame length is
// bitrate * 144000 / 44100 bytes, with the padding byte spread over the frames
// the way an encoder keeps the average exact.
constexpr uint32_t kLayer3Bitrates[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};

Bytes mpegStream(size_t targetBytes, bool vbr) {
  Bytes out;
  out.reserve(targetBytes + 2048);
  uint64_t remainder = 0;
  uint32_t frame = 0;
  while (out.size() < targetBytes) {
    // A VBR stream walks through 96 to 320 kbps; CBR stays at 128.
    const unsigned index = vbr ? 7 + (frame * 7 / 3) % 8 : 9;
    const uint64_t whole = uint64_t{kLayer3Bitrates[index]} * 144000;
    remainder += whole % 44100;
    const bool padding = remainder >= 44100;
    if (padding) remainder -= 44100;
    const size_t length = whole / 44100 + (padding ? 1 : 0);
    const size_t start = out.size();
    out.resize(start + length, 0);  // a zero body holds no false sync
    out[start] = 0xFF;
    out[start + 1] = 0xFB;  // MPEG-1, Layer III, no CRC
    out[start + 2] = static_cast<uint8_t>((index << 4) | (padding ? 0x02 : 0));
    out[start + 3] = 0x44;  // joint stereo, original
    ++frame;
  }
  return out;
}

struct StreamFile {
  std::string path;
  explicit StreamFile(const char* name, bool vbr) {
    path = (std::filesystem::temp_directory_path() /
            ("melos-micro-" + std::to_string(::getpid()) + "-" + name + ".mp3"))
               .string();
    const Bytes bytes = mpegStream(4 * 1000 * 1000, vbr);
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  ~StreamFile() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
  }
};

const StreamFile* gCbr = nullptr;
const StreamFile* gVbr = nullptr;

void BM_MpegScan(benchmark::State& state) {
  const int mode = static_cast<int>(state.range(0));
  const StreamFile& file = state.range(1) != 0 ? *gVbr : *gCbr;
  uint64_t frames = 0;
  for (auto _ : state) {
    melos::ID3Tag track;
    if (melos::OpenTrack(track, file.path, mode, nullptr, false) == 0) {
      state.SkipWithError("the stream could not be opened");
      break;
    }
    frames = track.audio.frames;
    benchmark::DoNotOptimize(track.audio.bitrate);
  }
  state.counters["frames"] = static_cast<double>(frames);
}
static_assert(melos::kScanFull == 0 && melos::kScanQuick == 1, "the argument names read quick:0/1");
BENCHMARK(BM_MpegScan)
    ->ArgNames({"quick", "vbr"})
    ->Args({melos::kScanFull, 0})
    ->Args({melos::kScanQuick, 0})
    ->Args({melos::kScanFull, 1})
    ->Args({melos::kScanQuick, 1})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // The quick scan notes each CBR guess in the log; only failures matter here.
  melos::SetLogLevel(melos::LogError);
  const StreamFile cbr("cbr", false);
  const StreamFile vbr("vbr", true);
  gCbr = &cbr;
  gVbr = &vbr;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
