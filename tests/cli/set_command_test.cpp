// `melos set`: the group update from the command line, its answers from
// flags, its per-file reports, and every other field of every file kept.

#include "cli/set_command.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QString>
#include <functional>
#include <tuple>
#include <sstream>

#include "engine/open_track.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

using cli::ExitCode;

// A tag that differs from file to file and holds frames a save must keep.
Bytes fileTag(int n) {
  const std::string k = std::to_string(n);
  return Id3v2Builder(3)
      .text("TIT2", Enc::Latin1, "Title " + k)
      .text("TPE1", Enc::Utf16LE, "\xE6\x97\xA5 Artist " + k)
      .text("TALB", Enc::Latin1, "Album " + k)
      .text("TYER", Enc::Latin1, "2001")
      .text("TRCK", Enc::Latin1, std::to_string(n % 20 + 1) + "/20")
      .text("TCON", Enc::Latin1, "(17)")
      .text("TCOM", Enc::Latin1, "Composer " + k)
      .text("TSRC", Enc::Latin1, "GBAAA" + std::to_string(1000000 + n))
      .frame(commentFrame(Enc::Latin1, "eng", "", "Comment " + k))
      .frame(userTextFrame(Enc::Latin1, "NOTE", "note " + k))
      .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpegBytes(100 + static_cast<size_t>(n))))
      .padding(64)
      .build();
}

Bytes fileV1(int n) {
  Id3v1Fields fields;
  fields.title = "V1 Title " + std::to_string(n);
  fields.album = "V1 Album";
  fields.track = static_cast<uint8_t>(n % 20 + 1);
  fields.genre = 17;
  return id3v1Tag(fields);
}

Bytes trackFile(int n) { return mp3File({fileTag(n), cbrAudio(8 + static_cast<size_t>(n % 5)), {}, fileV1(n)}); }

// Everything behind the leading tag: the audio and the V1 tag.
Bytes behindTag(const Bytes& bytes) {
  const size_t size = (size_t{bytes[6]} << 21) | (size_t{bytes[7]} << 14) | (size_t{bytes[8]} << 7) | bytes[9];
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(10 + size), bytes.end());
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class SetCommandTest : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const Bytes& bytes) { return dir.write(name, bytes); }

  CommandResult set(QStringList arguments, const std::vector<std::string>& files) {
    arguments.prepend(QStringLiteral("set"));
    arguments << QStringLiteral("--");
    for (const std::string& file : files) arguments << QString::fromStdString(file);
    return runMelos(arguments);
  }

  TempDir dir;
  TempDir home;
  // Saves may copy the originals to the trash: a temporary one.
  ScopedEnv dataHome{"XDG_DATA_HOME", home.path()};
};

TEST_F(SetCommandTest, AlbumOfTwoHundredFilesAndNothingElse) {
  constexpr int kFiles = 200;
  std::vector<std::string> files;
  std::vector<Bytes> originals;
  std::vector<TagData> before;
  std::vector<V1Tag> beforeV1;
  for (int n = 0; n < kFiles; ++n) {
    originals.push_back(trackFile(n));
    files.push_back(write("f" + std::to_string(n) + ".mp3", originals.back()));
    const ID3Tag track = reopen(files.back());
    before.push_back(track.tagData);
    beforeV1.push_back(track.v1);
  }
  // Several files at once, and the lines still in the order given.
  const CommandResult result = set({"--album", "X", "-j", "4"}, files);
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_TRUE(result.err.empty()) << result.err;  // no progress bar off a terminal
  std::string lines;
  for (const std::string& path : files) lines += path + ": updated\n";
  EXPECT_EQ(result.out, lines);
  for (int n = 0; n < kFiles; ++n) {
    const std::string& path = files[static_cast<size_t>(n)];
    const ID3Tag after = reopen(path);
    TagData expected = before[static_cast<size_t>(n)];
    expected.album = UnicodeText::latin1("X");
    EXPECT_EQ(after.tagData, expected) << path;
    EXPECT_EQ(after.v1, beforeV1[static_cast<size_t>(n)]) << path;
    EXPECT_EQ(after.v2Version, 3);
    EXPECT_EQ(behindTag(readFile(path)), behindTag(originals[static_cast<size_t>(n)])) << path;
  }
}

TEST_F(SetCommandTest, EveryTextOptionSetsItsField) {
  const std::string path = write("a.mp3", trackFile(1));
  // Option, value, and where `show --json` shows the saved value.
  const std::vector<std::tuple<const char*, const char*, const char*>> rows{
      {"--title", "T", "title"},          {"--artist", "\xC3\xA9\xE4\xB8\xAD", "artist"},
      {"--year", "1987", "year"},         {"--comment", "C", "comment"},
      {"--composer", "Co", "composer"},   {"--original-artist", "O", "origArtist"},
      {"--copyright", "(c)", "copyright"}, {"--url", "http://u", "url"},
      {"--encoded-by", "E", "encodedBy"}, {"--conductor", "K", "conductor"},
      {"--lyricist", "L", "lyricist"},    {"--publisher", "P", "publisher"},
      {"--album-artist", "B", "orchestra"}, {"--content", "G", "content"},
      {"--subtitle", "S", "subtitle"},    {"--artist-url", "http://a", "artisturl"},
      {"--isrc", "CCXXX1500729", "isrc"}, {"--bpm", "120", "bpm"},
      {"--initial-key", "Am", "initialkey"}, {"--podcast-id", "pid", "podcastid"},
      {"--podcast-feed", "http://f", "podcastfeed"}, {"--podcast-description", "D", "podcastdesc"},
      {"--podcast", "yes", "podcast"},    {"--compilation", "yes", "compilation"},
      {"--track", "5/9", "track"},        {"--disc", "2/3", "set"}};
  QStringList arguments;
  for (const auto& [option, value, key] : rows) arguments << option << value;
  const CommandResult result = set(arguments, {path});
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  const QJsonObject v2 = showJson(qpaths({path}))[0].toObject()["v2"].toObject();
  for (const auto& [option, value, key] : rows) {
    const QJsonValue shown = v2[QLatin1String(key)];
    if (shown.isBool()) {
      EXPECT_TRUE(shown.toBool()) << option;
    } else if (shown.isDouble()) {
      EXPECT_EQ(shown.toInt(), std::stoi(value)) << option;
    } else {
      EXPECT_EQ(shown.toString().toStdString(), value) << option;
    }
  }
  const TagData d = reopen(path).tagData;
  EXPECT_EQ(d.artist, UnicodeText::utf16(u"\u00e9\u4e2d"));  // kept as Unicode
  EXPECT_EQ(d.tracks, 9);
  EXPECT_EQ(d.sets, 3);
  // The album was not given.
  EXPECT_EQ(d.album, UnicodeText::latin1("Album 1"));
}

// Options that reach fields beyond the V2 texts: each on a fresh file.
TEST_F(SetCommandTest, EachTagOptionReachesItsFields) {
  using T = const ID3Tag&;
  const struct {
    QStringList arguments;
    std::function<void(T)> check;
  } rows[] = {
      {{"--orchestra", "Band"}, [](T t) { EXPECT_EQ(t.tagData.orchestra, UnicodeText::latin1("Band")); }},
      // Genre numbers are saved as their names.
      {{"--genre", "(8)"}, [](T t) { EXPECT_EQ(t.tagData.genre, UnicodeText::latin1("Jazz")); }},
      {{"--genre", "Chiptune"}, [](T t) { EXPECT_EQ(t.tagData.genre, UnicodeText::latin1("Chiptune")); }},
      {{"--v2-for-v1"},
       [](T t) {
         EXPECT_EQ(t.v1.title, "Title 1");
         EXPECT_EQ(t.v1.album, "Album 1");
         EXPECT_EQ(t.v1.track, 2);
         EXPECT_EQ(t.tagData.title, UnicodeText::latin1("Title 1"));
       }},
      {{"--v1", "--album", "One", "--genre", "8", "--track", "9"},
       [](T t) {
         EXPECT_EQ(t.v1.album, "One");
         EXPECT_EQ(t.v1.genre, 8);
         EXPECT_EQ(t.v1.track, 9);
         EXPECT_EQ(t.v1.title, "V1 Title 1");
         EXPECT_EQ(t.tagData.album, UnicodeText::latin1("Album 1"));
       }},
      {{"--both", "--album", "Two"},
       [](T t) {
         EXPECT_EQ(t.v1.album, "Two");
         EXPECT_EQ(t.tagData.album, UnicodeText::latin1("Two"));
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments.join(' ').toStdString());
    const std::string path = write("a.mp3", trackFile(1));
    const CommandResult result = set(row.arguments, {path});
    ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
    row.check(reopen(path));
  }
}

TEST_F(SetCommandTest, IsrcIncrementFollowsTheFileOrder) {
  const std::string a = write("a.mp3", trackFile(1));
  const std::string b = write("b.mp3", trackFile(2));
  const std::string c = write("c.mp3", trackFile(3));
  ASSERT_EQ(set({"--isrc", "CCXXX1500729", "--isrc-increment"}, {a, b, c}).code, ExitCode::Ok);
  EXPECT_EQ(reopen(a).tagData.isrc, "CCXXX1500729");
  EXPECT_EQ(reopen(b).tagData.isrc, "CCXXX1500730");
  EXPECT_EQ(reopen(c).tagData.isrc, "CCXXX1500731");
}

Bytes datedFile() {
  return mp3File({Id3v2Builder(4)
                      .text("TIT2", Enc::Latin1, "Dated")
                      .text("TDRC", Enc::Latin1, "2004-05-06")
                      .text("TMOO", Enc::Latin1, "Calm")
                      .build(),
                  cbrAudio(8), {}, {}});
}

TEST_F(SetCommandTest, AFieldTheVersionCannotHoldLeavesThatFileAlone) {
  const std::string dated = write("dated.mp3", datedFile());
  const std::string plain = write("plain.mp3", trackFile(1));
  const Bytes original = readFile(dated);
  const CommandResult refused = set({"--version", "3", "--title", "New"}, {dated, plain});
  EXPECT_EQ(refused.code, ExitCode::Failure);
  EXPECT_TRUE(contains(refused.err, dated + ": left alone: ID3v2.3 cannot hold Record time, Mood (--force drops them)"))
      << refused.err;
  EXPECT_EQ(readFile(dated), original);
  EXPECT_TRUE(contains(refused.out, plain + ": updated")) << refused.out;

  for (const char* flag : {"--force", "--yes"}) {
    const std::string copy = write(std::string("copy") + flag + ".mp3", datedFile());
    const CommandResult dropped = set({"--version", "3", "--title", "New", flag}, {copy});
    EXPECT_EQ(dropped.code, ExitCode::Ok) << dropped.err;
    EXPECT_TRUE(contains(dropped.out, "updated, dropped Record time, Mood")) << dropped.out;
    const ID3Tag saved = reopen(copy);
    EXPECT_EQ(saved.v2Version, 3);
    EXPECT_TRUE(saved.tagData.recordtime.empty());
    EXPECT_EQ(saved.tagData.title, UnicodeText::latin1("New"));
  }
}

TEST_F(SetCommandTest, ATagThatDoesNotVerifyStopsTheRunUnlessYes) {
  // "((x" is saved as it stands and read back as "(x".
  const std::string a = write("a.mp3", trackFile(1));
  const std::string b = write("b.mp3", trackFile(2));
  const Bytes bBefore = readFile(b);
  const CommandResult stopped = set({"--genre", "((x", "-j", "1"}, {a, b});
  EXPECT_EQ(stopped.code, ExitCode::Failure);
  EXPECT_TRUE(contains(stopped.err, a + ": written, but the saved tag does not verify")) << stopped.err;
  EXPECT_TRUE(contains(stopped.err, "(110:Genre)")) << stopped.err;
  EXPECT_TRUE(contains(stopped.err, b + ": not updated: the run stopped at an earlier failure")) << stopped.err;
  EXPECT_EQ(readFile(b), bBefore);

  const CommandResult passed = set({"--genre", "((x", "--yes"}, {a, b});
  EXPECT_EQ(passed.code, ExitCode::Ok) << passed.err;
  EXPECT_TRUE(contains(passed.out, b + ": updated, although the saved tag does not verify")) << passed.out;
}

TEST_F(SetCommandTest, AFailureAmongFilesWrittenAtOnceBeginsNoLaterFile) {
  std::vector<std::string> files;
  std::vector<Bytes> originals;
  for (int n = 0; n < 8; ++n) {
    originals.push_back(trackFile(n));
    files.push_back(write("f" + std::to_string(n) + ".mp3", originals.back()));
  }
  // Another task holds the third file, and the save does not wait for it.
  test::ScopedLockWait noWait(0);
  const int held = ::open(files[2].c_str(), O_RDONLY);
  ASSERT_GE(held, 0);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);
  const CommandResult result = set({"--album", "J", "-j", "2"}, files);
  ::close(held);
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_TRUE(contains(result.out, files[0] + ": updated\n" + files[1] + ": updated\n")) << result.out;
  EXPECT_TRUE(contains(result.err, files[2] + ": ")) << result.err;
  EXPECT_EQ(readFile(files[2]), originals[2]);
  // Files begun beside it are finished; from the first one not begun on,
  // none is. Each has its line, in the order given.
  bool stopped = false;
  size_t lastUpdated = result.out.find(files[1] + ": updated\n");
  for (size_t i = 3; i < files.size(); ++i) {
    SCOPED_TRACE(files[i]);
    const size_t updated = result.out.find(files[i] + ": updated\n");
    const bool notBegun = contains(result.err, files[i] + ": not updated: the run stopped at an earlier failure");
    EXPECT_NE(updated != std::string::npos, notBegun) << result.out << result.err;
    if (notBegun) stopped = true;
    EXPECT_EQ(notBegun, stopped);
    EXPECT_EQ(readFile(files[i]) == originals[i], notBegun);
    if (!notBegun) {
      EXPECT_GT(updated, lastUpdated);
      lastUpdated = updated;
    }
  }
  EXPECT_TRUE(stopped);
}

TEST_F(SetCommandTest, AFileGivenTwiceIsWrittenTwiceInTurn) {
  const std::string path = write("a.mp3", trackFile(1));
  const CommandResult result = set({"--album", "Twice", "-j", "4"}, {path, path});
  EXPECT_EQ(result.code, ExitCode::Ok) << result.err;
  EXPECT_EQ(result.out, path + ": updated\n" + path + ": updated\n");
  EXPECT_EQ(reopen(path).tagData.album, UnicodeText::latin1("Twice"));
}

TEST_F(SetCommandTest, PicturesAddedReplacedAndRemoved) {
  const std::string picture = write("cover.png", pngBytes(80));
  const std::string path = write("a.mp3", trackFile(1));
  ASSERT_EQ(set({"--picture", QString::fromStdString(picture)}, {path}).code, ExitCode::Ok);
  TagData d = reopen(path).tagData;
  ASSERT_EQ(d.picdata.size(), 2u);
  EXPECT_EQ(d.picdata[1].pictureSubtype, "png");
  EXPECT_EQ(d.picdata[1].data, pngBytes(80));

  ASSERT_EQ(set({"--picture", QString::fromStdString(picture), "--remove-pictures"}, {path}).code, ExitCode::Ok);
  d = reopen(path).tagData;
  ASSERT_EQ(d.picdata.size(), 1u);
  EXPECT_EQ(d.picdata[0].pictureSubtype, "png");

  ASSERT_EQ(set({"--remove-pictures"}, {path}).code, ExitCode::Ok);
  EXPECT_TRUE(reopen(path).tagData.picdata.empty());
}

TEST_F(SetCommandTest, FromFileNameAndRenameEachWithTheirFormat) {
  const std::string path = write("Artist - 04 Named.mp3", trackFile(1));
  const CommandResult result =
      set({"--from-filename", "--format", "%A - %N %T", "--rename", "--format", "%n %T (new)"}, {path});
  ASSERT_EQ(result.code, ExitCode::Ok) << result.err;
  const std::string renamed = dir.file("04 Named (new).mp3");
  EXPECT_TRUE(contains(result.out, path + ": updated, renamed to " + renamed)) << result.out;
  const ID3Tag track = reopen(renamed);
  EXPECT_EQ(track.tagData.title, UnicodeText::latin1("Named"));
  EXPECT_EQ(track.tagData.track, 4);
  EXPECT_EQ(track.tagData.tracks, 20);  // kept: it was set
  EXPECT_EQ(track.tagData.artist, reopen(write("ref.mp3", trackFile(1))).tagData.artist);
}

// A file that cannot be opened, or (unless the superuser runs the tests, who
// may write any file) cannot be written, is reported and the others are done.
TEST_F(SetCommandTest, AFileThatCannotBeOpenedOrWrittenIsPassedOver) {
  const std::string missing = dir.file("missing.mp3");
  const std::string locked = write("locked.mp3", trackFile(1));
  const std::string open = write("open.mp3", trackFile(2));
  const bool asRoot = ::geteuid() == 0;
  ASSERT_EQ(::chmod(locked.c_str(), 0444), 0);
  const Bytes before = readFile(locked);
  const CommandResult result = set({"--album", "Z"}, {missing, locked, open});
  EXPECT_EQ(result.code, ExitCode::Failure);
  EXPECT_TRUE(contains(result.err, "melos: " + missing + ": ")) << result.err;
  EXPECT_EQ(contains(result.err, locked + ": left alone: the file may not be written"), !asRoot) << result.err;
  EXPECT_EQ(readFile(locked) == before, !asRoot);
  EXPECT_EQ(reopen(open).tagData.album, UnicodeText::latin1("Z"));
}

TEST_F(SetCommandTest, UsageErrors) {
  const std::string path = write("a.mp3", trackFile(1));
  const struct {
    QStringList arguments;
    const char* message;
  } rows[] = {
      {{}, "set: give a field to set"},
      {{"--rename"}, "set: give a field to set"},
      {{"--v1", "--v2", "--album", "A"}, "give at most one of --v1, --v2 and --both"},
      {{"--v1", "--composer", "C"}, "--composer is a V2 field"},
      {{"--v1", "--disc", "1"}, "are V2 fields"},
      {{"--isrc-increment", "--album", "A"}, "--isrc-increment needs --isrc"},
      {{"--format", "%T", "--from-filename"}, "--format must follow --from-filename or --rename"},
      // "--rename" here is the title's text, so the --format follows no option.
      {{"--title", "--rename", "--format", "%T"}, "--format must follow --from-filename or --rename"},
      {{"--version", "5", "--album", "A"}, "--version must be 3 or 4"},
      {{"--track", "0", "--album", "A"}, "--track takes N or N/M"},
      {{"--disc", "1/x"}, "--disc takes N or N/M"},
      {{"--compilation", "maybe"}, "--compilation takes yes or no"},
      {{"--picture", QString::fromStdString(dir.file("missing.png"))}, "cannot read the picture"},
      {{"--picture", QString::fromStdString(path)}, "is not a JPEG, PNG, GIF, TIFF or BMP picture"},
      {{"--nonsense"}, "Unknown option 'nonsense'"},
      {{"--album", "A", "-j", "0"}, "set: -j needs a number of files from 1 to 256"},
      {{"--album", "A", "--jobs", "many"}, "set: -j needs a number of files from 1 to 256"},
  };
  const Bytes before = readFile(path);
  for (const auto& row : rows) {
    const CommandResult result = set(row.arguments, {path});
    EXPECT_EQ(result.code, ExitCode::Usage) << row.message;
    EXPECT_TRUE(contains(result.err, row.message)) << result.err;
    EXPECT_TRUE(contains(result.err, "Usage: melos set")) << row.message;
  }
  EXPECT_EQ(readFile(path), before);
}

TEST_F(SetCommandTest, ProgressBarOnTheErrorStreamWhenAsked) {
  const std::string a = write("a.mp3", trackFile(1));
  const std::string b = write("b.mp3", trackFile(2));
  cli::SetOptions options;
  options.texts["album"] = QStringLiteral("P");
  options.progress = true;
  std::ostringstream out, err;
  EXPECT_EQ(cli::setCommand(qpaths({a, b}), options, out, err), ExitCode::Ok);
  const std::string bar = err.str();
  EXPECT_TRUE(contains(bar, "\r[" + std::string(30, '.') + "] 0/2")) << bar;
  EXPECT_TRUE(contains(bar, "\r[" + std::string(15, '#') + std::string(15, '.') + "] 1/2")) << bar;
  EXPECT_TRUE(contains(bar, "] 2/2")) << bar;
  // The bar is gone at the end, and from before each file's line.
  EXPECT_TRUE(bar.ends_with("\r\033[K")) << bar;
  EXPECT_EQ(out.str(), a + ": updated\n" + b + ": updated\n");

  // One file: no bar.
  std::ostringstream out1, err1;
  EXPECT_EQ(cli::setCommand(qpaths({a}), options, out1, err1), ExitCode::Ok);
  EXPECT_TRUE(err1.str().empty());
}

TEST(GenreTextTest, NumbersBecomeTheirNamesAndNamesTheirSpelling) {
  const std::pair<const char*, const char*> rows[]{
      {"0", "Blues"}, {"17", "Rock"},   {"(79)", "Hard Rock"}, {"80", "80"}, {"(17)Rock", "(17)Rock"},
      {"OTHER", "Other"}, {"hard rock", "Hard Rock"}, {"", ""}};
  for (const auto& [given, name] : rows) EXPECT_EQ(cli::genreText(given), name) << given;
}

}  // namespace
}  // namespace melos::test
