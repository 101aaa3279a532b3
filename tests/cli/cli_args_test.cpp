// Whole command lines on a folder of sample files: the exit code, what each
// stream shows, and what is on disk afterwards. The JSON text of `show` must
// be what QJsonDocument writes for the same values: random values are written
// both ways and compared byte for byte.

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <random>

#include "cli/json_text.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"

namespace melos::test {
namespace {

using cli::ExitCode;
using cli::JsonValue;
constexpr ExitCode Ok = ExitCode::Ok, Failure = ExitCode::Failure, Usage = ExitCode::Usage;

// "@" stands for the folder. Parts separated by "|", each found in the text,
// or with "!" in front not found; "=" in front: the whole text. nullptr: the
// text is empty.
void expectParts(const std::string& text, const char* parts, const QString& folder) {
  for (QString part : QString::fromUtf8(parts == nullptr ? "=" : parts).replace("@", folder).split('|')) {
    const std::string rest = part.mid(1).toStdString();
    if (part.startsWith('=')) EXPECT_EQ(text, rest);
    else if (part.startsWith('!')) EXPECT_FALSE(contains(text, rest)) << rest << " in:\n" << text;
    else EXPECT_TRUE(contains(text, part.toStdString())) << part.toStdString() << " not in:\n" << text;
  }
}

const std::vector<std::pair<std::string, Bytes>>& sampleFiles() {
  static const Bytes rich = mp3File({richV23Tag(), cbrAudio(500), {}, richV1Tag()});
  static const Bytes odd = Id3v2Builder(4).text("TIT2", Enc::Latin1, "red\x1B[31m title\x07")
                               .frame(commentFrame(Enc::Latin1, "eng", "", "first line\r\nsecond line")).build();
  static const Bytes dated = Id3v2Builder(4).text("TIT2", Enc::Utf8, "\xE2\x99\xAB note")
                                 .text("TDRC", Enc::Latin1, "2004-05-06T07:08").text("TMOO", Enc::Latin1, "Calm")
                                 .frame(popularityFrame("listener", 196, 42))
                                 .frame(uniqueIdFrame("http://example.org", {0x01, 0xAB, 0xFF})).build();
  static const Bytes aiff = AiffBuilder("AIFF").chunk(commChunk(2, 3 * 44100, 16, 44100.0)).chunk(ssndChunk(Bytes(64, 0)))
                                .chunk(id3Chunk(Id3v2Builder(4).text("TIT2", Enc::Latin1, "In a chunk").build())).build();
  const auto mpeg = [](uint8_t version) { return cbrStream({.version = version, .bitrateIndex = 8, .channelMode = 3}, 99); };
  static const std::vector<std::pair<std::string, Bytes>> files{
      {"a.mp3", rich}, {"b.mp3", rich}, {"p.mp3", cbrAudio(20)}, {"07 A-B-C_D.mp3", concat({richV23Tag(), cbrAudio(20)})},
      {"v24.mp3", mp3File({dated, cbrAudio(10), {}, id3v1Tag({"\xE9t\xE9", "", "", "", "", 0, 17})})},  // Latin-1 V1
      {"odd.mp3", concat({odd, cbrAudio(20)})}, {"m2.mp3", mpeg(kMpeg2)}, {"m25.mp3", mpeg(kMpeg25)}, {"s.aif", aiff},
      {"c.png", pngBytes(80)}, {"clip.tdf", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Clip").build()}, {"notes.txt", {'x'}}};
  return files;
}

// The command line, its exit code, its output and errors, and "PATH|PARTS": what a file holds afterwards.
const struct Row {
  QStringList arguments;
  ExitCode code;
  const char *out, *err, *file = nullptr;
} kRows[]{
    {{}, Usage, nullptr, "melos: no command given|Usage: melos COMMAND"},
    {{"play", "@a.mp3"}, Usage, nullptr, "unknown command 'play'"},
    {{"--frobnicate"}, Usage, nullptr, "frobnicate"},
    {{"--help"}, Ok, "  set       ", nullptr},
    {{"help"}, Ok, "  set       ", nullptr},
    {{"--version"}, Ok, "melos ", nullptr},
    // show: options after the files too, and "--" ends them; a quick scan unless asked.
    {{"show", "--json"}, Usage, nullptr, "show: no FILE given"},
    {{"show", "--json", "-j", "0", "@a.mp3"}, Usage, nullptr, "show: -j needs a number of files from 1 to 256"},
    {{"show", "@a.mp3", "--json"}, Ok,
     R"J("128 kbps (CBR quick)",|"estimated": true,|"fileSize": 209210, "kind": "mp3", "path": "@a.mp3", "readOnly": false, )J"
     R"J("v1": { "album": "V1 Album", "artist": "V1 Artist", "comment": "V1 comment", "genre": 17, "genreName": "Rock", )J"
     R"J("title": "V1 Title", "track": 7, "year": "1999" }, "v2": { "advisory": 0, "album": "The Album",|"set": 1, "sets": 2,)J"
     R"J(|"picdata": [ { "size": 300, "type": "jpeg" } ],|"track": 3, "tracks": 12,|"usertext": [ { "description": "MOOD )J"
     R"J(NOTE", "value": "calm" } ], "year": "2001" }, "v2Version": 3, "versions": "V1 and V2.3" } ] )J", nullptr},
    // A file that cannot be read is its path and the cause, and the run goes on; files read at once keep their order.
    {{"show", "--json", "-j", "3", "@missing.mp3", "@notes.txt", "@p.mp3"}, Failure,
     R"J([ { "error": "Failed to open the file '@missing.mp3' for reading (error: No such file or directory)", "path": )J"
     R"J("@missing.mp3" }, { "error": "not a track: the name must end in .mp3, .aif or .tdf", "path": "@notes.txt" }, )J"
     R"J({ "audio": { "bitrate": 128, "bitrateText": "128 kbps (CBR)", "channelMode": "joint stereo", "channels": 2, )J"
     R"J("duration": 0, "estimated": false, "frames": 20, "lame": "", "layer": 3, "mpegVersion": "1", "sampleRate": 44100, )J"
     R"J("sampleSize": null, "vbr": false }, "fileSize": 8340,|"v1": null, "v2": null, "v2Version": 0, "versions": "" } ] )J",
     nullptr},
    {{"show", "--json", "@m2.mp3", "@m25.mp3", "@s.aif", "@clip.tdf", "@v24.mp3"}, Ok,
     R"J("channelMode": "mono", "channels": 1,|"mpegVersion": "2", "sampleRate": 22050,|"mpegVersion": "2.5", )J"
     R"J("sampleRate": 11025,|"bitrate": 1411,|"channels": 2, "duration": 3,|"layer": null, "mpegVersion": null, )J"
     R"J("sampleRate": 44100, "sampleSize": 16,|"kind": "aiff",|{ "audio": null, "fileSize": 25, "kind": "tdf",|)J"
     R"J("picdata": [ ],|"set": null, "sets": null,|"track": null, "tracks": null,|"v1": { "album": "", "artist": "", )J"
     R"J("comment": "", "genre": 17, "genreName": "Rock", "title": ")J" "\xC3\xA9t\xC3\xA9" R"J(", "track": null, )J"
     R"J(|"popularity": { "counter": "42", "email": "listener", "rate": 196 },|"recordtime": "2004-05-06T07:08",|)J"
     R"J("title": ")J" "\xE2\x99\xAB note" R"J(",|"uniqueid": { "data": "01abff", "owner": "http://example.org" },|)J"
     R"J("year": "2004" }, "v2Version": 4, "versions": "V1 and V2.4" } ] )J",
     nullptr},
    {{"show", "--full-scan", "--", "@a.mp3"}, Ok,
     "@a.mp3\n  File:        MP3, 209210 bytes\n  Tags:        V1 and V2.3\n  Audio:       128 kbps (CBR), 0:13, 44.1 kHz, "
     "joint stereo\n  V1\n    Title:     V1 Title\n|    Title:     Caf\xC3\xA9 Song\n|    Picture:   jpeg, 300 bytes\n", nullptr},
    // Control characters never reach the terminal; more lines of a value go under the first.
    {{"show", "@odd.mp3"}, Ok, "Title:   red?[31m title?\n    Comment: first line\n             second line\n", nullptr},
    {{"show", "-j", "3", "@p.mp3", "@missing.mp3", "@clip.tdf"}, Failure, "@p.mp3\n|\n\n@clip.tdf\n|!missing",
     "melos: @missing.mp3: Failed to open the file"},
    {{"show", "@clip.tdf"}, Ok, "tag data file|Clip|!Audio:", nullptr},
    {{"export", "--xml", "@t.xml", "--pictures", "@a.mp3"}, Ok, "=@a.mp3: exported to @t.xml\n", nullptr,
     "@t.xml|<file name=\"a.mp3\" path=\"/|<id3 version=\"1\">\n\t\t<value name=\"Track\" type=\"long\">7<|Caf\xC3\xA9 Song<|<picture "},
    {{"export", "--csv", "@t.csv", "@a.mp3", "@missing.mp3", "@p.mp3", "@b.mp3"}, Failure,
     "=@a.mp3: exported to @t.csv\n@p.mp3: no ID3v2 tag, nothing exported to @t.csv\n@b.mp3: exported to @t.csv\n",
     "missing.mp3", "@t.csv|\xEF\xBB\xBFTrack,Tracks,Title,|\r\n3,12,Caf\xC3\xA9 Song,"},
    {{"export", "--xml", "@no/out", "@a.mp3"}, Failure, nullptr, "Failed to write the tag data"},
    {{"export", "@a.mp3"}, Usage, nullptr, "export: give either --xml OUT or --csv OUT"},
    {{"export", "--xml", "", "@a.mp3"}, Usage, nullptr, "export: OUT is empty"},
    {{"export", "--xml", "@o"}, Usage, nullptr, "export: no FILE given"},
    {{"export", "--xml", "@o", "@a.mp3", "@b.mp3"}, Usage, nullptr, "--xml takes one FILE"},
    {{"export", "--csv", "@o", "--pictures", "@a.mp3"}, Usage, nullptr, "--pictures goes with --xml"},
    {{"export", "--xml", "@a.mp3", "@a.mp3"}, Usage, nullptr, "OUT '@a.mp3' is one of the FILEs"},
    {{"from-filename", "@a.mp3"}, Usage, nullptr, "only --print is available so far|Usage: melos from-filename"},
    {{"from-filename", "--print"}, Usage, nullptr, "from-filename: no FILE given"},
    {{"from-filename", "--print", "@07 A-B-C_D.mp3", "@07 A-B-C_D.mp3"}, Ok,
     "@07 A-B-C_D.mp3\n  Track:  7\n  Title:  C D\n  Artist: A\n  Album:  B\n\n@07 A-B-C_D.mp3\n  Track:  7\n", nullptr},
    {{"from-filename", "--print", "--format", "%N %T", "@p.mp3", "@missing.mp3", "@07 A-B-C_D.mp3"}, Failure,
     "=@07 A-B-C_D.mp3\n  Track:  7\n  Title:  A-B-C_D\n", "@p.mp3: the file name gives no tag fields|missing"},
    {{"rename"}, Usage, nullptr, "rename: no FILE given|Usage: melos rename"},
    {{"rename", "@a.mp3"}, Ok, "=@a.mp3 -> @03-Caf\xC3\xA9 Song.mp3\n", nullptr, "@03-Caf\xC3\xA9 Song.mp3|V1 and V2.3"},
    {{"rename", "--date", "--no-number", "--folders", "@a.mp3"}, Ok,
     "@a.mp3 -> @\xE6\x97\xA5\xE6\x9C\xAC Artist/The Album/20|-Caf\xC3\xA9 Song.mp3\n", nullptr},
    {{"rename", "--format", "%A/%L/%n of %M %T (%B kbps)", "--folders", "@a.mp3"}, Ok,
     "=@a.mp3 -> @\xE6\x97\xA5\xE6\x9C\xAC Artist/The Album/03 of 12 Caf\xC3\xA9 Song (128 kbps).mp3\n", nullptr},
    // An existing file is never replaced.
    {{"rename", "@a.mp3", "@b.mp3"}, Ok, "@b.mp3 -> @03-Caf\xC3\xA9 Song-1.mp3\n", nullptr},
    {{"rename", "@p.mp3", "@missing.mp3", "@a.mp3"}, Failure, "@a.mp3 -> ", "@p.mp3: Failed to rename the file|missing"},
    {{"rename", "--format", "a", "@a.mp3"}, Ok, "=@a.mp3: name unchanged\n", nullptr},
    {{"convert", "--to", "5", "@a.mp3"}, Usage, nullptr, "convert: --to must be 3 or 4|Usage: melos convert"},
    {{"convert", "--to", "3"}, Usage, nullptr, "convert: no FILE given"},
    {{"convert", "--to", "3", "@v24.mp3"}, Failure, "", "=melos: @v24.mp3: left alone: ID3v2.3 cannot hold Record time, Mood "
     "(--force drops them)\n", R"J(@v24.mp3|"recordtime": "2004-05-06T07:08",)J"},
    // The original goes to the trash unless the user turned that off.
    {{"convert", "--to", "3", "--force", "@v24.mp3"}, Ok, "=@v24.mp3: converted from ID3v2.4 to ID3v2.3, dropped Record "
     "time, Mood\n", nullptr, R"J(@data/Trash/files/v24.mp3|"recordtime": "2004-05-06T07:08",)J"},
    {{"convert", "--to", "4", "@v24.mp3", "@a.mp3"}, Ok,
     "=@v24.mp3: already ID3v2.4\n@a.mp3: converted from ID3v2.3 to ID3v2.4\n", nullptr},
    {{"convert", "--to", "3", "@missing.mp3", "@p.mp3", "@notes.txt", "@odd.mp3"}, Failure,
     "=@p.mp3: no ID3v2 tag, nothing to convert\n@odd.mp3: converted from ID3v2.4 to ID3v2.3\n",
     "melos: @missing.mp3: the file could not be opened: |melos: @notes.txt: not a track"},
    {{"remove", "@a.mp3"}, Usage, nullptr, "remove: give one of --v1, --v2 and --ape|Usage: melos remove"},
    {{"remove", "--v1", "--v2", "@a.mp3"}, Usage, nullptr, "give one of --v1, --v2 and --ape"},
    {{"remove", "--v1"}, Usage, nullptr, "remove: no FILE given"},
    {{"remove", "--v2", "@p.mp3", "@a.mp3"}, Ok, "=@p.mp3: no ID3v2 tag\n@a.mp3: ID3v2 tag removed\n", nullptr},
    {{"remove", "--v1", "@p.mp3", "@a.mp3", "@clip.tdf"}, Ok,
     "=@p.mp3: no ID3v1 tag\n@a.mp3: ID3v1 tag removed\n@clip.tdf: not an MP3 file, no ID3v1 tag\n", nullptr},
    // A folder stands for its tracks.
    {{"remove", "--ape", "@", "@clip.tdf"}, Ok,
     "@/a.mp3: no APE tag\n@/p.mp3|@/v24.mp3: no APE tag|@clip.tdf: not an MP3 file, no APE tag|!notes", nullptr},
    {{"set", "--album", "A"}, Usage, nullptr, "set: no FILE given"},
    {{"set", "--rename", "@a.mp3"}, Usage, nullptr, "set: give a field to set|Usage: melos set"},
    {{"set", "--v1", "--v2", "--album", "A", "@a.mp3"}, Usage, nullptr, "give at most one of --v1, --v2 and --both"},
    {{"set", "--v1", "--composer", "C", "@a.mp3"}, Usage, nullptr, "set: --composer is a V2 field"},
    {{"set", "--v1", "--disc", "1", "@a.mp3"}, Usage, nullptr, "are V2 fields"},
    {{"set", "--isrc-increment", "--album", "A", "@a.mp3"}, Usage, nullptr, "--isrc-increment needs --isrc"},
    {{"set", "--format", "%T", "--from-filename", "@a.mp3"}, Usage, nullptr, "--format must follow --from-filename or"},
    // "--rename" here is the title's text, so the --format follows no option.
    {{"set", "--title", "--rename", "--format", "%T", "@a.mp3"}, Usage, nullptr, "--format must follow"},
    {{"set", "--version", "5", "--album", "A", "@a.mp3"}, Usage, nullptr, "--version must be 3 or 4"},
    {{"set", "--track", "0", "--album", "A", "@a.mp3"}, Usage, nullptr, "--track takes N or N/M"},
    {{"set", "--disc", "1/x", "@a.mp3"}, Usage, nullptr, "--disc takes N or N/M"},
    {{"set", "--compilation", "maybe", "@a.mp3"}, Usage, nullptr, "--compilation takes yes or no"},
    {{"set", "--picture", "@missing.png", "@a.mp3"}, Usage, nullptr, "cannot read the picture '@missing.png'"},
    {{"set", "--picture", "@p.mp3", "@a.mp3"}, Usage, nullptr, "is not a JPEG, PNG, GIF, TIFF or BMP picture"},
    {{"set", "--album", "A", "-j", "0", "@a.mp3"}, Usage, nullptr, "set: -j needs a number of files from 1 to 256"},
    // Every text and number option; the album is not given and stays.
    {{"set", "--title", "T", "--artist", "\xC3\xA9\xE4\xB8\xAD", "--year", "1987", "--comment", "C", "--composer", "Co",
      "--original-artist", "O", "--copyright", "(c)", "--url", "u", "--encoded-by", "E", "--conductor", "K", "--lyricist", "L",
      "--publisher", "P", "--album-artist", "B", "--content", "G", "--subtitle", "S", "--artist-url", "a", "--isrc",
      "CCXXX1500729", "--bpm", "120", "--initial-key", "Am", "--podcast-id", "i", "--podcast-feed", "f",
      "--podcast-description", "D", "--podcast", "yes", "--compilation", "yes", "--track", "5/9", "--disc", "2/3", "@a.mp3"},
     Ok, "=@a.mp3: updated\n", nullptr,
     R"J(@a.mp3|"album": "The Album", "artist": ")J" "\xC3\xA9\xE4\xB8\xAD" R"J(", "artisturl": "a", "bpm": "120", )J"
     R"J("comment": "C", "compilation": true, "composer": "Co", "conductor": "K", "content": "G", "copyright": "(c)", )J"
     R"J("encodedBy": "E",|"initialkey": "Am", "isrc": "CCXXX1500729",|"lyricist": "L",|"orchestra": "B", "origArtist": )J"
     R"J("O",|"podcast": true, "podcastdesc": "D", "podcastfeed": "f", "podcastid": "i",|"publisher": "P",|"set": 2, )J"
     R"J("sets": 3, "subtitle": "S", "title": "T", "track": 5, "tracks": 9,|"url": "u",|"year": "1987" })J"},
    {{"set", "--orchestra", "Band", "@a.mp3"}, Ok, "", nullptr, R"J(@a.mp3|"orchestra": "Band",)J"},
    // Genre numbers are saved as their names, names in the list's spelling.
    {{"set", "--genre", "(8)", "@a.mp3"}, Ok, "", nullptr, R"J(@a.mp3|"genre": "Jazz",)J"},
    {{"set", "--genre", "hard rock", "@a.mp3"}, Ok, "", nullptr, R"J(@a.mp3|"genre": "Hard Rock",)J"},
    {{"set", "--genre", "Chiptune", "@a.mp3"}, Ok, "", nullptr, R"J(@a.mp3|"genre": "Chiptune",)J"},
    // Beyond Latin-1, a V1 text holds "?".
    {{"set", "--v2-for-v1", "@a.mp3"}, Ok, "", nullptr,
     R"J(@a.mp3|"v1": { "album": "The Album", "artist": "?? Artist", "comment": "A comment", "genre": 17, )J"
     R"J("genreName": "Rock", "title": ")J" "Caf\xC3\xA9 Song" R"J(", "track": 3, "year": "2001" },)J"},
    {{"set", "--v1", "--album", "One", "--genre", "8", "--track", "9", "@a.mp3"}, Ok, "", nullptr,
     R"J(@a.mp3|"v1": { "album": "One", "artist": "V1 Artist", "comment": "V1 comment", "genre": 8, "genreName": "Jazz", )J"
     R"J("title": "V1 Title", "track": 9, "year": "1999" }, "v2": { "advisory": 0, "album": "The Album",)J"},
    {{"set", "--both", "--album", "Two", "@a.mp3"}, Ok, "", nullptr, R"J(@a.mp3|{ "album": "Two", "artist": "V|0, "album": "Two",)J"},
    {{"set", "--picture", "@c.png", "@a.mp3"}, Ok, "", nullptr,
     R"J(@a.mp3|"picdata": [ { "size": 300, "type": "jpeg" }, { "size": 80, "type": "png" } ],)J"},
    {{"set", "--picture", "@c.png", "--remove-pictures", "@a.mp3"}, Ok, "", nullptr,
     R"J(@a.mp3|"picdata": [ { "size": 80, "type": "png" } ],)J"},
    {{"set", "--remove-pictures", "@a.mp3"}, Ok, "", nullptr, R"J(@a.mp3|"picdata": [ ],)J"},
    // A file given twice is written twice, one after the other.
    {{"set", "--album", "Twice", "-j", "4", "@a.mp3", "@a.mp3"}, Ok, "=@a.mp3: updated\n@a.mp3: updated\n", nullptr},
    {{"set", "--album", "Z", "@missing.mp3", "@a.mp3"}, Failure, "=@a.mp3: updated\n", "melos: @missing.mp3: "},
    {{"set", "--isrc", "CCXXX1500729", "--isrc-increment", "@a.mp3", "@b.mp3"}, Ok, "@b.mp3: updated", nullptr,
     R"J(@b.mp3|"isrc": "CCXXX1500730",)J"},
    {{"set", "--from-filename", "--format", "%N %T", "--rename", "--format=%n %T (new)", "@07 A-B-C_D.mp3"}, Ok,
     "=@07 A-B-C_D.mp3: updated, renamed to @07 A-B-C_D (new).mp3\n", nullptr},
    {{"set", "--version", "3", "--title", "New", "@v24.mp3", "@a.mp3"}, Failure, "=@a.mp3: updated\n",
     "@v24.mp3: left alone: ID3v2.3 cannot hold Record time, Mood (--force drops them)", R"J(@v24.mp3|"recordtime": "2004-05-06T07:08",)J"},
    {{"set", "--version", "3", "--title", "New", "--force", "@v24.mp3"}, Ok,
     "=@v24.mp3: updated, dropped Record time, Mood\n", nullptr, R"J(@v24.mp3|"mood": "",|"recordtime": "",|"title": "New",|"v2Version": 3,)J"},
    {{"set", "--version", "3", "--title", "New", "--yes", "@v24.mp3"}, Ok, "updated, dropped Record time, Mood", nullptr},
    // "((x" is saved as it stands and read back as "(x".
    {{"set", "--genre", "((x", "-j", "1", "@a.mp3", "@b.mp3"}, Failure, "",
     "@a.mp3: written, but the saved tag does not verify|(110:Genre)|@b.mp3: not updated: the run stopped at an "
     "earlier failure", R"J(@b.mp3|"genre": "Rock",)J"},
    {{"set", "--genre", "((x", "--yes", "@a.mp3", "@b.mp3"}, Ok, "b.mp3: updated, although the saved tag does not", nullptr},
};

// JSON without its line breaks and indents: JsonTextTest holds the layout.
std::string flat(const std::string& json) {
  return QString::fromStdString(json).replace(QRegularExpression("\n *"), " ").toStdString();
}

TEST(ShowAndEveryCommandLine, GiveTheirExitCodeOutputAndFiles) {
  for (const Row& row : kRows) {
    TempDir dir;
    const ScopedEnv dataHome("XDG_DATA_HOME", dir.file("data"));
    for (const auto& [name, bytes] : sampleFiles()) dir.write(name, bytes);
    const QString folder = QString::fromStdString(dir.file(""));
    QStringList arguments;
    for (const QString& argument : row.arguments) arguments << QString(argument).replace("@", folder);
    SCOPED_TRACE(arguments.join(' ').toStdString());
    const CommandResult result = runMelos(arguments);
    EXPECT_EQ(result.code, row.code) << result.err;
    expectParts(arguments.contains("--json") ? flat(result.out) : result.out, row.out, folder);
    expectParts(result.err, row.err, folder);
    // A track is checked by what `show --json` shows of it, any other file by its bytes.
    const QStringList file = QString::fromUtf8(row.file).replace("@", folder).split('|');
    const std::string path = file[0].toStdString();
    const std::string text = path.ends_with(".mp3") ? flat(runMelos({"show", "--json", file[0]}).out) : fileText(path);
    if (row.file != nullptr) expectParts(text, file.mid(1).join('|').toUtf8().constData(), folder);
    // A usage error leaves every file alone.
    for (const auto& [name, bytes] : sampleFiles()) EXPECT_TRUE(row.code != Usage || readFile(dir.file(name)) == bytes);
  }
}

TEST(CliArgsTest, EveryCommandAnswersHelpAndRefusesAnUnknownOption) {
  for (const char* command : {"show", "convert", "remove", "set", "export", "rename", "from-filename"}) {
    const std::string usage = std::string("Usage: melos ") + command;
    const CommandResult help = runMelos({command, "-h"}), unknown = runMelos({command, "--nonsense"});
    EXPECT_TRUE(help.code == Ok && help.out.starts_with(usage) && help.err.empty()) << help.out << help.err;
    EXPECT_TRUE(unknown.code == Usage && unknown.out.empty() && contains(unknown.err, "Unknown option 'nonsense'.\n\n" + usage))
        << unknown.out << unknown.err;
  }
}

using Pair = std::pair<JsonValue, QJsonValue>;

Pair randomValue(std::mt19937& random, int depth) {
  const auto pick = [&random](size_t count) { return random() % count; };
  const auto number = static_cast<int64_t>(random()) - (int64_t{1} << 31);
  switch (pick(depth > 3 ? 4 : 6)) {
    case 0: return {JsonValue(), QJsonValue()};
    case 1: return {JsonValue(number % 2 == 0), QJsonValue(number % 2 == 0)};
    case 2: return {JsonValue(number), QJsonValue(static_cast<qint64>(number))};
    case 3: {
      // Plain ASCII, quotes and backslashes, controls, DEL, Latin-1 and wider
      // characters, emoji, and bytes that are no UTF-8 at all.
      static const std::vector<std::string> pieces = {
          "a", "Z", " ", "\"", "\\", "/", "\n", "\r", "\t", "\b", "\f", std::string(1, '\0'), "\x01", "\x1f",
          "\x7f", "\xC3\xA9", "\xE6\x97\xA5", "\xF0\x9F\x8E\xB5", "\xE2\x80\xA8", "\xEF\xBF\xBE", "\xEF\xB7\x90",
          "\xFF", "\xC3", "\xE6\x97", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"};
      std::string text;
      for (auto count = pick(6); count > 0; --count) text += pieces[pick(pieces.size())];
      return {JsonValue(text), QJsonValue(QString::fromStdString(text))};
    }
    default: {
      const bool isObject = pick(2) == 0;
      JsonValue ours = isObject ? JsonValue::object() : JsonValue::array();
      QJsonObject object;
      QJsonArray array;
      static const char* keys[] = {"title", "v2Version", "versions", "v1", "v2", "Zeta", "audio", "a b"};
      for (size_t i = pick(5); i > 0; --i) {
        const char* key = keys[pick(std::size(keys))];
        if (object.contains(QLatin1String(key))) continue;
        const Pair member = randomValue(random, depth + 1);
        if (isObject) object.insert(QLatin1String(key), member.second);
        else array.append(member.second);
        isObject ? ours.set(key, member.first) : ours.append(member.first);
      }
      return {ours, isObject ? QJsonValue(object) : QJsonValue(array)};
    }
  }
}

std::string qtElement(const QJsonValue& value) {
  const QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Indented);
  return text.mid(2, text.size() - 5).toStdString();  // between "[\n" and "\n]\n"
}

TEST(JsonTextTest, WritesWhatQtWrites) {
  std::mt19937 random(20261121);
  for (int i = 0; i < 3000; ++i) {
    const auto [ours, qt] = randomValue(random, 0);
    ASSERT_EQ(ours.arrayElementText(), qtElement(qt)) << "case " << i;
  }
  // A file name with a byte no encoding reads holds a lone surrogate.
  const QString name = QStringLiteral("a") + QChar(0xDC80) + QStringLiteral(".mp3");
  EXPECT_EQ(JsonValue(name).arrayElementText(), qtElement(QJsonValue(name)));
}

}  // namespace
}  // namespace melos::test
