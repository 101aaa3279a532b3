// A folder on the command line stands for its tracks, as the editor opens it.

#include <gtest/gtest.h>

#include <QJsonObject>
#include <filesystem>

#include "cli/file_arguments.h"
#include "tests/cli/cli_fixtures.h"
#include "tests/support/sample_tracks.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

TEST(FolderArguments, ShowTakesTheFoldersMp3AndAifEntriesOnly) {
  TempDir dir;
  dir.write("a.mp3", sampleMp3("Folder A"));
  dir.write("b.AIF", sampleAiff("Folder B"));
  dir.write("c.aiff", sampleAiff("Never"));
  dir.write("d.txt", {'x'});
  std::filesystem::create_directory(dir.file("inner"));
  dir.write("inner/e.mp3", sampleMp3("Too deep"));

  const CommandResult result = runMelos({QStringLiteral("show"), QString::fromStdString(dir.path())});
  EXPECT_EQ(result.code, cli::ExitCode::Ok) << result.err;
  EXPECT_NE(result.out.find("Folder A"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("Folder B"), std::string::npos);
  EXPECT_EQ(result.out.find("Never"), std::string::npos);
  EXPECT_EQ(result.out.find("Too deep"), std::string::npos);
}

TEST(FolderArguments, FilesStayAsGivenAndFoldersExpandInPlace) {
  TempDir dir;
  const std::string track = dir.write("x.mp3", sampleMp3("X"));
  std::filesystem::create_directory(dir.file("album"));
  const std::string inAlbum = dir.write("album/y.mp3", sampleMp3("Y"));
  const QStringList expanded = cli::expandFolders(
      {QString::fromStdString(track), QString::fromStdString(dir.file("album")), QStringLiteral("/no/such.mp3")});
  EXPECT_EQ(expanded, (QStringList{QString::fromStdString(track), QString::fromStdString(inAlbum),
                                   QStringLiteral("/no/such.mp3")}));
}

}  // namespace
}  // namespace melos::test
