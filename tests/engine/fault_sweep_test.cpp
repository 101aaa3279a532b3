// Every call of every file operation on every save and removal path is made to
// fail in turn. Whatever fails, the file must be either as it was or the
// complete new file, no temporary file may stay behind, and a failure must
// explain itself in the log.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <numeric>
#include <optional>
#include <regex>

#include "engine/log.h"
#include "engine/tag_removal.h"
#include "engine/v1_update.h"
#include "engine/v2_update.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/ape_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/open_helpers.h"
#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

namespace fs = std::filesystem;
using test::readFile;

Bytes oldTag() { return test::Id3v2Builder(3).text("TIT2", test::Enc::Latin1, "Old").padding(40).build(); }
Bytes apeBlock() { return test::apeTag({{test::apeText("Title", "ape")}, true, true, false, 2000, {}}); }

Bytes mp3() { return test::mp3File({oldTag(), test::shortAudio(12), apeBlock(), test::id3v1Tag({"Old V1", "", "", "", "", 0, 255})}); }
Bytes mp3WithoutV1() { return test::mp3File({oldTag(), test::shortAudio(12), {}, {}}); }

Bytes aiff() {
  return test::AiffBuilder().chunk(test::commChunk(1, 4, 8, 8000.0)).chunk(test::id3Chunk(oldTag())).chunk(test::ssndChunk(Bytes(300, 9))).chunk("ANNO", {'a', 'b', 'c'}).build();
}

// RUN changes the opened track FILE and runs the operation, returning its result; OUTPUTNAME is a save under
// another name.
struct Scenario { const char* name; const char* file; Bytes (*bytes)(); std::function<int(ID3Tag&, const std::string& folder)> run; const char* outputName = nullptr; };

// A save of every field with a new V1 tag, or of the title alone: a tag that
// was not read whole would lose the others.
void newTag(ID3Tag& t) {
  t.tagData = test::fullTagData(true);
  t.tagData.releasetime = t.tagData.recordtime = t.tagData.producednotice = t.tagData.mood = "";
  t.v1.enabled = true, t.v1.title = "New V1", t.v1.track = 4;
}

int titleOnly(ID3Tag& t, const std::string&) { return t.tagData.title = UnicodeText::latin1("New"), updateV2ToTrack(t, false, 3, false, false, 0); }

std::vector<Scenario> scenarios() {
  using F = const std::string&;
  return {
      {"V2 title of an MP3", "a.mp3", mp3, titleOnly},
      {"V2 title of an AIFF", "a.aif", aiff, titleOnly},
      {"V1 album over the APE tag", "a.mp3", mp3, [](ID3Tag& t, F) { t.v1.album = "New album"; return updateV1ToTrack(t, true, false, false); }},
      {"V2 save of an MP3, trash and dates", "a.mp3", mp3, [](ID3Tag& t, F) { return newTag(t), updateV2ToTrack(t, true, 3, true, true, 0); }},
      {"V2 save of an AIFF behind the sound", "a.aif", aiff, [](ID3Tag& t, F) { return newTag(t), updateV2ToTrack(t, true, 3, true, true, 0); }},
      {"V2 save of an AIFF at the end", "a.aif", aiff, [](ID3Tag& t, F) { t.id3ChunkAfterSound = false; return newTag(t), updateV2ToTrack(t, false, 4, false, false, 1); }},
      {"V2 save under another name", "a.mp3", mp3,
       [](ID3Tag& t, F folder) { const std::string output = folder + "/b.mp3"; return newTag(t), updateV2ToTrack(t, false, 3, false, false, 0, &output); }, "b.mp3"},
      {"V2 removal from an MP3", "a.mp3", mp3, [](ID3Tag& t, F) { return removeV2FromTrack(t, true, true); }},
      {"V2 removal from an AIFF", "a.aif", aiff, [](ID3Tag& t, F) { return removeV2FromTrack(t, false, false); }},
      {"V1 save over the APE tag", "a.mp3", mp3, [](ID3Tag& t, F) { return newTag(t), updateV1ToTrack(t, true, true, true); }},
      {"V1 save over the old V1 tag", "a.mp3", mp3, [](ID3Tag& t, F) { return newTag(t), updateV1ToTrack(t, false, false, false); }},
      {"V1 save onto a track without one", "a.mp3", mp3WithoutV1, [](ID3Tag& t, F) { return newTag(t), updateV1ToTrack(t, false, false, false); }},
      {"V1 removal with the APE tag", "a.mp3", mp3, [](ID3Tag& t, F) { return removeV1FromTrack(t, true, true); }},
      {"V1 removal", "a.mp3", mp3, [](ID3Tag& t, F) { return removeV1FromTrack(t, false, false); }},
      {"APE removal", "a.mp3", mp3, [](ID3Tag& t, F) { return stripAPETag(t, t.path()) == 1 ? 0 : 1; }},
  };
}

constexpr FileOp kOps[] = {FileOp::Open, FileOp::Read, FileOp::Write, FileOp::Fsync, FileOp::Rename, FileOp::Unlink, FileOp::Truncate, FileOp::Utimensat, FileOp::Link, FileOp::Chmod};

int callsOf(const test::CountingInjector& counter) {
  return std::accumulate(std::begin(kOps), std::end(kOps), 0, [&](int n, FileOp op) { return n + counter.count(op); });
}

std::vector<std::string> temporaries(const std::string& folder) {
  static const std::regex kTemporary(R"(.*\.t[0-9]+)");
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder))
    if (std::regex_match(entry.path().filename().string(), kTemporary)) names.push_back(entry.path().filename().string());
  return names;
}

// READFAILED: the open that precedes the operation met a read error; ERRORS: the error lines logged.
struct Outcome { int result; Bytes track; std::optional<Bytes> output; std::string errors; std::vector<std::string> leftovers; bool readFailed, readLogged; mode_t mode; };

constexpr mode_t kTrackMode = 0640;

// The fault may strike the open that reads the track as well as the operation
// itself (unless it comes AFTEROPEN): a track that was not read whole must never be written back.
Outcome runOnce(const Scenario& s, FaultInjector* injector, bool afterOpen = false) {
  test::TempDir dir, home;
  test::ScopedEnv data("XDG_DATA_HOME", home.path());
  const std::string path = dir.write(s.file, s.bytes());
  ::chmod(path.c_str(), kTrackMode);
  test::LogCapture log(2);
  Outcome outcome{};
  if (!afterOpen) setFaultInjector(injector);
  ID3Tag track;
  const bool opened = OpenTrack(track, path, kScanQuick, nullptr, true) != 0;
  outcome.readFailed = track.readError != 0;
  setFaultInjector(injector);
  // A caller goes on only from a track that opened; the engine must refuse a
  // track whose open met a read error all the same.
  outcome.result = opened || outcome.readFailed ? s.run(track, dir.path()) : -1;
  setFaultInjector(nullptr);
  outcome.readLogged = log.hasText("Failed to read the file '" + path + "'");
  outcome.track = readFile(path);
  outcome.mode = static_cast<mode_t>(fs::status(path).permissions() & fs::perms::mask);
  if (s.outputName != nullptr && fs::exists(dir.file(s.outputName))) outcome.output = readFile(dir.file(s.outputName));
  for (const test::LogLine& line : log.lines()) outcome.errors += line.level == LogError ? line.message + "\n" : "";
  outcome.leftovers = temporaries(dir.path());
  return outcome;
}

TEST(FaultSweep, NoFaultLosesTheFile) {
  for (const Scenario& s : scenarios()) {
    SCOPED_TRACE(s.name);
    test::CountingInjector counter;
    const Outcome clean = runOnce(s, &counter);
    ASSERT_EQ(clean.result, 0);
    ASSERT_EQ(clean.errors, "");
    const Bytes original = s.bytes();
    const Bytes& saved = s.outputName != nullptr ? *clean.output : clean.track;
    ASSERT_NE(saved, original);
    int readFailures = 0;
    EXPECT_GE(callsOf(counter), 3) << "the counter sees the operations";
    for (FileOp op : kOps) {
      for (int n = 1; n <= counter.count(op); ++n) {
        SCOPED_TRACE(std::string(test::fileOpName(op)) + " #" + std::to_string(n));
        test::FailNth fail(op, n);
        const Outcome o = runOnce(s, &fail);
        EXPECT_TRUE(o.leftovers.empty()) << o.leftovers.front();
        readFailures += o.readFailed;
        EXPECT_TRUE(!o.readFailed || (o.result != 0 && o.track == original && o.readLogged)) << "a read failure was written back";
        const Bytes& now = s.outputName != nullptr && o.output ? *o.output : o.track;
        if (s.outputName != nullptr) {
          EXPECT_EQ(o.track, original);
          EXPECT_TRUE(!o.output || *o.output == saved);
          EXPECT_EQ(o.result == 0 || o.result == kSaveNotVerified, o.output.has_value());
        } else {
          EXPECT_TRUE(o.track == original || o.track == saved);
          EXPECT_EQ(o.mode, kTrackMode);  // whatever happened, the track keeps the permissions it had
        }
        EXPECT_TRUE(o.result != 0 ? !o.errors.empty() : now == saved) << "result " << o.result;
      }
    }
    EXPECT_GT(readFailures, 0) << "no read of the open was made to fail";
  }
}

// Ends the process at the n-th file call of any kind, as a kill would.
struct KillAtNth : FaultInjector {
  explicit KillAtNth(int nth) : n(nth) {}
  int failure(FileOp) noexcept override { return ++seen == n ? (::_exit(kKilled), 0) : 0; }
  static constexpr int kKilled = 137;
  int n, seen = 0;
};

// Whatever step of a removal of bytes the process dies at, the file is the old
// one or the new one; a temporary file left behind is harmless.
TEST(FaultSweep, AKillAtAnyStepOfAnApeRemovalLeavesTheOldOrTheNewFile) {
  for (const Scenario& s : scenarios()) {
    if (std::string_view(s.name).find("APE") == std::string_view::npos) continue;
    SCOPED_TRACE(s.name);
    test::CountingInjector counter;
    const Outcome clean = runOnce(s, &counter);
    ASSERT_EQ(clean.result, 0);
    for (int n = 1; n <= callsOf(counter); ++n) {
      SCOPED_TRACE("killed at call " + std::to_string(n));
      test::TempDir dir, home;
      test::ScopedEnv data("XDG_DATA_HOME", home.path());
      const std::string path = dir.write(s.file, s.bytes());
      const pid_t child = ::fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        KillAtNth kill(n);
        setFaultInjector(&kill);
        ID3Tag track;
        OpenTrack(track, path, kScanQuick, nullptr, true);
        ::_exit(s.run(track, dir.path()) == 0 ? 0 : 1);
      }
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == KillAtNth::kKilled);
      const Bytes now = readFile(path);
      EXPECT_TRUE(now == s.bytes() || now == clean.track);
    }
  }
}

// Each failure has its own result and says what failed, and the track stays
// as it was.
TEST(FaultSweep, EachFailureHasItsCodeAndMessage) {
  struct Row { const char* scenario; FileOp op; int nth, times, code; const char* logged; };
  const Row rows[] = {
      {"V2 title of an MP3", FileOp::Open, 1, 1, kSaveCannotOpenSource, "Failed to open the source for read only"},
      {"V2 title of an MP3", FileOp::Open, 2, 1, kSaveCannotOpenOutput, "Failed to open the output file"},
      {"V2 title of an MP3", FileOp::Write, 1, 1, kSaveFailed, "Failed to save the version 2 tag data"},
      {"V2 title of an MP3", FileOp::Write, 2, 1, kSaveCannotCopyAudio, "Failed to copy the MPEG data to the output file"},
      {"V2 title of an MP3", FileOp::Fsync, 1, 1, kSaveFailed, "Failed to flush the output file"},
      {"V2 title of an MP3", FileOp::Rename, 1, 2, kSaveCannotReplace, "Failed to replace the temporary file from"},
      // The header, COMM, SSND, the FORM size, then the tag chunk.
      {"V2 title of an AIFF", FileOp::Write, 5, 1, kSaveAiffChunkFailed, "Failed to save the version 2 tag data"},
      {"V2 removal from an MP3", FileOp::Open, 1, 1, 2, "for reading to remove the version 2 tag (error: "},
      {"V2 removal from an MP3", FileOp::Open, 2, 1, 3, "Failed to open the temporary file to remove the version 2 tag"},
      {"V2 removal from an MP3", FileOp::Write, 1, 1, 4, "An error occurred saving the file without the version 2 tag data."},
      {"V2 removal from an MP3", FileOp::Fsync, 1, 1, 5, "Failed to flush the output file"},
      {"V2 removal from an MP3", FileOp::Rename, 1, 2, 8, "Failed to replace the temporary file from"},
      {"V1 save over the old V1 tag", FileOp::Open, 1, 1, 2, "for writing (error: "},
      {"V1 save over the old V1 tag", FileOp::Read, 1, 1, 5, "Failed to save the version 1 tag data (pos 0)"},
      {"V1 save over the old V1 tag", FileOp::Write, 1, 1, 5, "Failed to save the version 1 tag data (pos 0)"},
      {"V1 save onto a track without one", FileOp::Write, 1, 1, 5, "Failed to save the version 1 tag data (pos 0)"},
      {"V1 removal", FileOp::Open, 1, 1, 2, "to remove the version 1 tag (error: "},
      {"V1 removal", FileOp::Read, 1, 1, 5, "Failed to remove the version 1 tag from"},
      {"V1 removal", FileOp::Truncate, 1, 1, 9, "Failed to remove the version 1 tag from"},
      {"APE removal", FileOp::Open, 1, 1, 1, "to remove the APE tag (error: "},
      {"APE removal", FileOp::Truncate, 1, 1, 1, "after removing the APE tag (error: "},
  };
  const std::vector<Scenario> all = scenarios();
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(r.scenario) + ", " + test::fileOpName(r.op) + " #" + std::to_string(r.nth));
    const auto s = std::find_if(all.begin(), all.end(), [&r](const Scenario& x) { return x.name == std::string_view(r.scenario); });
    ASSERT_NE(s, all.end());
    test::FailNth fail(r.op, r.nth, r.times);
    const Outcome o = runOnce(*s, &fail, true);
    EXPECT_EQ(o.result, r.code);
    EXPECT_NE(o.errors.find(r.logged), std::string::npos) << o.errors;
    if (std::string_view(r.scenario).starts_with("V2 title")) {
      EXPECT_EQ(o.errors.find("NOTE: the original file has not been altered.") != std::string::npos,
                r.code >= kSaveCannotCopyAudio && r.code <= kSaveAiffChunkFailed);
    }
    EXPECT_EQ(o.track, s->bytes());
    EXPECT_TRUE(o.leftovers.empty());
  }
}

}  // namespace
}  // namespace melos
