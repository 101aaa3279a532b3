#include "cli/set_command.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QCommandLineParser>
#include <QFile>
#include <array>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "cli/error_log.h"
#include "cli/file_arguments.h"
#include "cli/track_report.h"
#include "cli/usage_error.h"
#include "engine/genres.h"
#include "engine/open_track.h"
#include "engine/picture.h"
#include "operations/group_update.h"
#include "operations/questions.h"
#include "operations/save_settings.h"
#include "operations/tag_copy.h"
#include "operations/track_writer.h"
#include "preferences/preferences_controller.h"

namespace melos::cli {
namespace {

constexpr std::u16string GroupValues::*kNoValue = nullptr;

// A text option: its name, the V2 field it sets and, for the fields the V1
// tag has too, the V1 field.
struct TextOption {
  const char* name;
  const char* alias;
  GroupField v2Field;
  std::u16string GroupValues::*v2Value;
  std::optional<GroupField> v1Field;
  std::u16string GroupValues::*v1Value;
};

const std::array<TextOption, 26> kTextOptions = {{
    {"title", nullptr, GroupField::V2Title, &GroupValues::title, GroupField::V1Title, &GroupValues::v1Title},
    {"artist", nullptr, GroupField::V2Artist, &GroupValues::artist, GroupField::V1Artist, &GroupValues::v1Artist},
    {"album", nullptr, GroupField::V2Album, &GroupValues::album, GroupField::V1Album, &GroupValues::v1Album},
    {"year", nullptr, GroupField::V2Year, &GroupValues::year, GroupField::V1Year, &GroupValues::v1Year},
    {"genre", nullptr, GroupField::V2Genre, &GroupValues::genre, GroupField::V1Genre, &GroupValues::v1Genre},
    {"comment", nullptr, GroupField::V2Comment, &GroupValues::comment, GroupField::V1Comment,
     &GroupValues::v1Comment},
    {"composer", nullptr, GroupField::V2Composer, &GroupValues::composer, std::nullopt, kNoValue},
    {"original-artist", nullptr, GroupField::V2OrigArtist, &GroupValues::origArtist, std::nullopt, kNoValue},
    {"copyright", nullptr, GroupField::V2Copyright, &GroupValues::copyright, std::nullopt, kNoValue},
    {"url", nullptr, GroupField::V2Url, &GroupValues::url, std::nullopt, kNoValue},
    {"encoded-by", nullptr, GroupField::V2EncodedBy, &GroupValues::encodedBy, std::nullopt, kNoValue},
    {"conductor", nullptr, GroupField::V2Conductor, &GroupValues::conductor, std::nullopt, kNoValue},
    {"lyricist", nullptr, GroupField::V2Lyricist, &GroupValues::lyricist, std::nullopt, kNoValue},
    {"publisher", nullptr, GroupField::V2Publisher, &GroupValues::publisher, std::nullopt, kNoValue},
    {"album-artist", "orchestra", GroupField::V2Orchestra, &GroupValues::orchestra, std::nullopt, kNoValue},
    {"content", nullptr, GroupField::V2Content, &GroupValues::content, std::nullopt, kNoValue},
    {"subtitle", nullptr, GroupField::V2Subtitle, &GroupValues::subtitle, std::nullopt, kNoValue},
    {"artist-url", nullptr, GroupField::ArtistUrl, &GroupValues::artisturl, std::nullopt, kNoValue},
    {"isrc", nullptr, GroupField::Isrc, &GroupValues::isrc, std::nullopt, kNoValue},
    {"release-time", nullptr, GroupField::ReleaseTime, &GroupValues::releasetime, std::nullopt, kNoValue},
    {"record-time", nullptr, GroupField::RecordTime, &GroupValues::recordtime, std::nullopt, kNoValue},
    {"bpm", nullptr, GroupField::Bpm, &GroupValues::bpm, std::nullopt, kNoValue},
    {"initial-key", nullptr, GroupField::InitialKey, &GroupValues::initialkey, std::nullopt, kNoValue},
    {"podcast-id", nullptr, GroupField::PodcastId, &GroupValues::podcastid, std::nullopt, kNoValue},
    {"podcast-feed", nullptr, GroupField::PodcastFeed, &GroupValues::podcastfeed, std::nullopt, kNoValue},
    {"podcast-description", nullptr, GroupField::PodcastDescription, &GroupValues::podcastdesc, std::nullopt,
     kNoValue},
}};

const TextOption* textOption(const std::string& name) {
  for (const TextOption& option : kTextOptions)
    if (name == option.name) return &option;
  return nullptr;
}

// The options that take a value, by every name they have.
const QStringList& valuedOptionNames() {
  static const QStringList names = [] {
    QStringList list{QStringLiteral("track"), QStringLiteral("disc"), QStringLiteral("compilation"),
                     QStringLiteral("podcast"), QStringLiteral("picture"), QStringLiteral("format"),
                     QStringLiteral("version"), QStringLiteral("jobs")};
    for (const TextOption& option : kTextOptions) {
      list << QString::fromLatin1(option.name);
      if (option.alias != nullptr) list << QString::fromLatin1(option.alias);
    }
    return list;
  }();
  return names;
}

bool wantsV1(TagTarget target) { return target != TagTarget::V2; }
bool wantsV2(TagTarget target) { return target != TagTarget::V1; }

// The questions of the run, answered as the flags say: "--yes" goes on where
// the editor would ask, anything else stops as "No" would. A field that the
// save version cannot hold is dropped with "--force" too.
class FlagQuestions : public Questions {
 public:
  FlagQuestions(bool yes, bool force) : yes_(yes), force_(force) {}
  std::string ask(const std::string& title, const std::string&, const std::vector<std::string>& buttons) override {
    const bool loss = title.starts_with("Updating this track will result in the loss");
    for (const std::string& button : buttons) {
      if (button == kOkButton) return button;
      if (button == kYesButton && (yes_ || (loss && force_))) return button;
    }
    for (const std::string& button : buttons)
      if (button == kNoButton || button == kCancelButton) return button;
    return buttons.empty() ? std::string() : buttons.front();
  }

 private:
  bool yes_;
  bool force_;
};

// Per-file lines in the order the files were given, each as soon as the
// files before it are done, and the progress bar when asked. Tracks written
// at once end in any order and on several threads.
class SetReporter : public UpdateObserver {
 public:
  SetReporter(std::ostream& out, std::ostream& err, ErrorLog& log, size_t count, bool bar)
      : out_(out), err_(err), log_(log), bar_(bar), ended_(count) {}

  // On the thread that saves the track: the failure lines are kept per thread.
  void trackStarting(size_t) override { log_.clear(); }

  void trackUpdated(size_t index, const TrackOutcome& outcome) override {
    const std::string cause = log_.firstError();
    std::lock_guard lock(mutex_);
    if (index >= ended_.size()) return;
    ended_[index] = Ended{outcome, cause};
    clearBar();
    for (; next_ < ended_.size() && ended_[next_]; ++next_) {
      report(ended_[next_]->outcome, ended_[next_]->cause);
      ended_[next_].reset();
    }
    ++done_;
    drawBar();
  }

  // The rest, in order: tracks that ended behind one the run never reached,
  // and those it never reached.
  void reportRest(const std::vector<TrackOutcome>& outcomes, bool cancelled) {
    std::lock_guard lock(mutex_);
    clearBar();
    for (; next_ < ended_.size(); ++next_) {
      if (ended_[next_]) {
        report(ended_[next_]->outcome, ended_[next_]->cause);
        ended_[next_].reset();
      } else if (next_ < outcomes.size() && outcomes[next_].status == TrackStatus::NotReached) {
        failed(outcomes[next_].path, cancelled ? "not updated: the run was stopped"
                                               : "not updated: the run stopped at an earlier failure");
      } else if (next_ < outcomes.size()) {
        report(outcomes[next_], std::string());
      }
    }
  }

  bool anyFailure() const { return failures_; }
  void start() { drawBar(); }
  void finish() { clearBar(); }

 private:
  void report(const TrackOutcome& o, const std::string& cause) {
    const std::string why = cause.empty() ? std::string() : ": " + cause;
    switch (o.status) {
      case TrackStatus::Unchanged:
        out_ << o.path << ": nothing to change\n";
        break;
      case TrackStatus::ReadOnly:
        failed(o.path, "left alone: the file may not be written");
        break;
      case TrackStatus::LossDeclined:
        failed(o.path, "left alone: ID3v2.3 cannot hold " + joinedNames(o.dropped) + " (--force drops them)");
        break;
      case TrackStatus::CheckDeclined:
        failed(o.path, "not written: the V2 tag was expected to change but had not");
        break;
      case TrackStatus::Error:
        failed(o.path, "not updated: an unexpected error" + why);
        break;
      case TrackStatus::NotReached:
        break;
      case TrackStatus::Failed:
        if (o.v1Result == 7 || o.v2Result == 7)
          failed(o.path, "written, but the saved tag does not verify" + why + " (--yes lets this pass)");
        else
          failed(o.path, o.alertTitle + why);
        break;
      case TrackStatus::Saved: {
        // An ID3v1 change of a file that has no ID3v1 tag (not an MP3 file).
        if (!o.v1Written && !o.v2Written && !o.v1Removed && !o.v2Removed) {
          out_ << o.path << ": nothing to change\n";
          break;
        }
        std::string what = "updated";
        if (!o.newPath.empty()) what += ", renamed to " + o.newPath;
        if (!o.dropped.empty()) what += ", dropped " + joinedNames(o.dropped);
        if (o.v1NotVerified || o.v2NotVerified) what += ", although the saved tag does not verify";
        if (o.renameFailed) {
          failed(o.path, what + ", but not renamed" + why);
          break;
        }
        out_ << o.path << ": " << what << "\n";
        break;
      }
    }
    out_.flush();
  }

  void drawBar() {
    if (!bar_) return;
    constexpr size_t kWidth = 30;
    const size_t count = ended_.size();
    const size_t filled = count == 0 ? kWidth : done_ * kWidth / count;
    err_ << "\r[" << std::string(filled, '#') << std::string(kWidth - filled, '.') << "] " << done_ << "/"
         << count << std::flush;
    shown_ = true;
  }

  void clearBar() {
    if (!shown_) return;
    err_ << "\r\033[K" << std::flush;
    shown_ = false;
  }

  void failed(const std::string& path, const std::string& why) {
    reportFileFailure(out_, err_, path, why);
    failures_ = true;
  }

  struct Ended {
    TrackOutcome outcome;
    std::string cause;
  };

  std::ostream& out_;
  std::ostream& err_;
  ErrorLog& log_;
  bool bar_;
  std::mutex mutex_;
  std::vector<std::optional<Ended>> ended_;
  size_t next_ = 0;  // the first track not yet reported
  size_t done_ = 0;
  bool shown_ = false;
  bool failures_ = false;
};

// The save settings: what the preferences say about the trash, file dates,
// white space, APE tags, pictures and the ID3v2 version; everything else
// comes from the flags, so that the command does only what it was asked.
SaveSettings commandSettings(const SetOptions& options) {
  const SaveSettings preferred = readSaveSettings(PreferencesController::sharedInstance());
  SaveSettings settings;
  settings.moveToTrash = preferred.moveToTrash;
  settings.keepFileDates = preferred.keepFileDates;
  settings.trimWhitespace = preferred.trimWhitespace;
  settings.removeApeTag = preferred.removeApeTag;
  settings.addPicToEnd = preferred.addPicToEnd;
  settings.tag2SaveVersion = options.version != 0 ? options.version : preferred.tag2SaveVersion;
  settings.replaceTagDataInGroup = false;
  settings.renameUpdate = options.rename;
  settings.toFileNameFormat = options.renameFormat.toStdString();
  settings.fromFileNameFormat = QFile::encodeName(options.fromFileNameFormat).toStdString();
  // File names on Linux are UTF-8.
  settings.utf8TrackName = true;
  settings.createFolder = false;
  settings.dateTracks = false;
  settings.addTrackNumber = true;
  return settings;
}

// Every track gets the number directly, over the tags as read just before the
// track is written.
std::function<void(ID3Tag&)> trackNumberSetter(const SetOptions& options) {
  if (!options.track) return {};
  const bool v1 = wantsV1(options.target);
  const bool v2 = wantsV2(options.target);
  const uint16_t number = options.track->number;
  return [v1, v2, number](ID3Tag& track) {
    if (v2) {
      track.tagData.enabled = true;
      track.tagData.track = number;
    }
    if (v1 && track.isMp3File) track.v1.track = v1TrackFor(number);
  };
}

void fillModel(GroupModel& model, const SetOptions& options) {
  const bool v1 = wantsV1(options.target);
  const bool v2 = wantsV2(options.target);
  bool v1Changes = false;
  bool v2Changes = false;
  for (const auto& [name, value] : options.texts) {
    const TextOption* option = textOption(name);
    if (option == nullptr) continue;
    const QString text = name == "genre" ? genreText(value) : value;
    if (v2) {
      model.values.*(option->v2Value) = text.toStdU16String();
      model.setChangeBox(option->v2Field, true);
      v2Changes = true;
    }
    if (v1 && option->v1Field) {
      model.values.*(option->v1Value) = text.toStdU16String();
      model.setChangeBox(*option->v1Field, true);
      v1Changes = true;
    }
  }
  if (v2) {
    if (options.track && options.track->total) {
      model.values.tracks = QString::number(*options.track->total).toStdU16String();
      model.setChangeBox(GroupField::V2Tracks, true);
    }
    if (options.disc) {
      model.values.set = QString::number(options.disc->number).toStdU16String();
      model.values.sets = options.disc->total ? QString::number(*options.disc->total).toStdU16String() : u"";
      model.setChangeBox(GroupField::V2SetAndSets, true);
    }
    if (options.compilation) {
      model.values.compilation = *options.compilation;
      model.setChangeBox(GroupField::V2Compilation, true);
    }
    if (options.podcast) {
      model.values.podcast = *options.podcast;
      model.setChangeBox(GroupField::PodcastEnable, true);
    }
    if (options.picture || options.removePictures) {
      model.values.picture = options.picture;
      model.replacePictures = options.removePictures;
      model.setChangeBox(GroupField::V2Picture, true);
    }
    model.isrcIncrement = options.isrcIncrement;
    v2Changes = v2Changes || options.track || options.disc || options.compilation || options.podcast ||
                options.picture || options.removePictures;
  }
  // The track number has no change box: every track is given it as it is
  // written (see trackNumberSetter).
  if (options.track) v1Changes = v1Changes || v1;
  model.fileName = options.fromFileName;
  model.copyV2Details = options.v2ForV1;

  // As the window does when a field of that version is edited.
  if (v1 && (v1Changes || options.fromFileName)) model.changedV1(true, true);
  if (v2 && (v2Changes || options.fromFileName)) model.changedV2(true, true);
  if (options.v2ForV1) model.changedV1(true, true);
  model.enableV1 = model.enableV1 || v1;
  model.enableV2 = model.enableV2 || v2;
}

// Files written at once. A renamed file takes the first free name, and a file
// named twice is written twice: both are done one file after another, so
// that the outcome is the same as in the editor.
int writtenAtOnce(const GroupModel& model, const SetOptions& options) {
  if (options.jobs <= 1 || options.rename) return 1;
  std::set<std::pair<dev_t, ino_t>> files;
  for (const auto& track : model.tracks()) {
    struct stat info {};
    if (::stat(track->path().c_str(), &info) != 0 || !files.emplace(info.st_dev, info.st_ino).second) return 1;
  }
  return options.jobs;
}

std::optional<NumberPair> numberPair(const QString& text) {
  const QStringList parts = text.split(QLatin1Char('/'));
  if (parts.size() > 2) return std::nullopt;
  auto number = [](const QString& part) -> std::optional<uint16_t> {
    bool ok = false;
    const uint value = part.toUInt(&ok);
    if (!ok || value == 0 || value >= kUnsetNumber) return std::nullopt;
    return static_cast<uint16_t>(value);
  };
  const std::optional<uint16_t> first = number(parts[0]);
  if (!first) return std::nullopt;
  NumberPair pair{*first, std::nullopt};
  if (parts.size() == 2) {
    pair.total = number(parts[1]);
    if (!pair.total) return std::nullopt;
  }
  return pair;
}

std::optional<bool> yesNo(const QString& text) {
  const QString lower = text.toLower();
  if (lower == QLatin1String("yes") || lower == QLatin1String("1") || lower == QLatin1String("true")) return true;
  if (lower == QLatin1String("no") || lower == QLatin1String("0") || lower == QLatin1String("false")) return false;
  return std::nullopt;
}

// Gives each --format to the --from-filename or --rename before it; false
// when one follows neither. The value of an option is never taken for an
// option itself.
bool assignFormats(const QStringList& arguments, SetOptions& options) {
  QString* owner = nullptr;
  for (qsizetype i = 1; i < arguments.size(); ++i) {
    const QString& argument = arguments[i];
    if (argument == QLatin1String("--")) break;
    if (argument == QLatin1String("--from-filename")) {
      owner = &options.fromFileNameFormat;
    } else if (argument == QLatin1String("--rename")) {
      owner = &options.renameFormat;
    } else if (argument == QLatin1String("--format") || argument.startsWith(QLatin1String("--format="))) {
      if (owner == nullptr) return false;
      if (argument != QLatin1String("--format")) *owner = argument.mid(9);
      else if (i + 1 < arguments.size()) *owner = arguments[++i];
    } else if (argument.startsWith(QLatin1String("--")) && !argument.contains(QLatin1Char('='))) {
      if (valuedOptionNames().contains(argument.mid(2))) ++i;
    } else if (argument == QLatin1String("-j")) {
      ++i;
    }
  }
  return true;
}

}  // namespace

QString genreText(const QString& text) {
  QString inner = text.trimmed();
  if (inner.startsWith(QLatin1Char('(')) && inner.endsWith(QLatin1Char(')'))) inner = inner.mid(1, inner.size() - 2);
  bool number = false;
  const uint value = inner.toUInt(&number);
  if (number && value < static_cast<uint>(kGenreCount)) {
    const std::string_view name = genreName(value);
    return QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size()));
  }
  const int index = genreIndex(text.toStdString(), false);
  if (index >= 0) {
    const std::string_view name = genreName(static_cast<unsigned>(index));
    return QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size()));
  }
  return text;
}

ExitCode setCommand(const QStringList& files, const SetOptions& options, std::ostream& out, std::ostream& err) {
  ErrorLog log;
  GroupModel model;
  bool openFailed = false;
  for (const QString& path : files) {
    TrackReport report = loadTrack(path, kScanQuick, log);
    if (!report.opened()) {
      reportFileFailure(out, err, path, report.error);
      openFailed = true;
      continue;
    }
    model.addTrack(std::move(report.track));
  }
  if (model.count() == 0) return ExitCode::Failure;
  fillModel(model, options);

  SetReporter reporter(out, err, log, model.count(), options.progress && model.count() > 1);
  FlagQuestions questions(options.yes, options.force);
  GroupUpdateOptions runOptions;
  runOptions.pauseBetweenTracks = std::chrono::milliseconds(0);
  runOptions.sheetPoll = std::chrono::milliseconds(0);
  runOptions.afterSheet = std::chrono::milliseconds(0);
  runOptions.reload = false;
  runOptions.jobs = writtenAtOnce(model, options);
  runOptions.perTrack = trackNumberSetter(options);
  const SaveSettings settings = commandSettings(options);
  GroupUpdate update(model, questions, reporter, fixedSettings(settings), engineTrackWriter(), runOptions);
  reporter.start();
  update.updateTracks();
  update.wait();
  reporter.reportRest(update.outcomes(), update.cancelled());
  reporter.finish();
  out.flush();
  return openFailed || reporter.anyFailure() ? ExitCode::Failure : ExitCode::Ok;
}

ExitCode runSet(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption v1(QStringLiteral("v1"));
  const QCommandLineOption v2(QStringLiteral("v2"));
  const QCommandLineOption both(QStringLiteral("both"));
  const QCommandLineOption track(QStringLiteral("track"), QString(), QStringLiteral("N[/M]"));
  const QCommandLineOption disc(QStringLiteral("disc"), QString(), QStringLiteral("N[/M]"));
  const QCommandLineOption compilation(QStringLiteral("compilation"), QString(), QStringLiteral("yes|no"));
  const QCommandLineOption podcast(QStringLiteral("podcast"), QString(), QStringLiteral("yes|no"));
  const QCommandLineOption picture(QStringLiteral("picture"), QString(), QStringLiteral("FILE"));
  const QCommandLineOption removePictures(QStringLiteral("remove-pictures"));
  const QCommandLineOption isrcIncrement(QStringLiteral("isrc-increment"));
  const QCommandLineOption fromFileName(QStringLiteral("from-filename"));
  const QCommandLineOption v2ForV1(QStringLiteral("v2-for-v1"));
  const QCommandLineOption rename(QStringLiteral("rename"));
  const QCommandLineOption format(QStringLiteral("format"), QString(), QStringLiteral("F"));
  const QCommandLineOption version(QStringLiteral("version"), QString(), QStringLiteral("3|4"));
  const QCommandLineOption yes(QStringList{QStringLiteral("y"), QStringLiteral("yes")});
  const QCommandLineOption force(QStringLiteral("force"));
  const QCommandLineOption jobs = jobsCommandOption();
  QList<QCommandLineOption> known{v1, v2, both, track, disc, compilation, podcast, picture, removePictures,
                                  isrcIncrement, fromFileName, v2ForV1, rename, format, version, yes, force, jobs};
  std::vector<std::pair<const TextOption*, QCommandLineOption>> textOptions;
  for (const TextOption& option : kTextOptions) {
    QStringList names{QString::fromLatin1(option.name)};
    if (option.alias != nullptr) names << QString::fromLatin1(option.alias);
    textOptions.emplace_back(&option, QCommandLineOption(names, QString(), QStringLiteral("TEXT")));
    known << textOptions.back().second;
  }
  if (const std::optional<ExitCode> done = parseCommand(parser, known, arguments, setUsageText(), out, err))
    return *done;
  auto usage = [&err](const char* message) {
    return commandUsageError(err, QString::fromUtf8(message), setUsageText());
  };

  SetOptions options;
  const int targets = int{parser.isSet(v1)} + int{parser.isSet(v2)} + int{parser.isSet(both)};
  if (targets > 1) return usage("set: give at most one of --v1, --v2 and --both");
  if (parser.isSet(v1)) options.target = TagTarget::V1;
  if (parser.isSet(both)) options.target = TagTarget::Both;

  for (const auto& [option, parsed] : textOptions) {
    if (!parser.isSet(parsed)) continue;
    if (!option->v1Field && options.target == TagTarget::V1)
      return commandUsageError(
          err, QStringLiteral("set: --%1 is a V2 field; use --v2 or --both").arg(QLatin1String(option->name)),
          setUsageText());
    options.texts[option->name] = parser.value(parsed);
  }
  const bool v1Only = options.target == TagTarget::V1;
  if (parser.isSet(track)) {
    options.track = numberPair(parser.value(track));
    if (!options.track) return usage("set: --track takes N or N/M, numbers from 1 to 65534");
  }
  if (parser.isSet(disc)) {
    options.disc = numberPair(parser.value(disc));
    if (!options.disc) return usage("set: --disc takes N or N/M, numbers from 1 to 65534");
  }
  if (parser.isSet(compilation)) {
    options.compilation = yesNo(parser.value(compilation));
    if (!options.compilation) return usage("set: --compilation takes yes or no");
  }
  if (parser.isSet(podcast)) {
    options.podcast = yesNo(parser.value(podcast));
    if (!options.podcast) return usage("set: --podcast takes yes or no");
  }
  if (parser.isSet(picture)) {
    QFile file(parser.value(picture));
    if (!file.open(QIODevice::ReadOnly))
      return commandUsageError(err, QStringLiteral("set: cannot read the picture '%1'").arg(parser.value(picture)),
                               setUsageText());
    const QByteArray bytes = file.readAll();
    PicData data;
    data.data.assign(bytes.begin(), bytes.end());
    data.pictureSubtype = std::string(pictureSubtypeFromBytes(data.data));
    if (data.pictureSubtype.empty())
      return commandUsageError(
          err, QStringLiteral("set: '%1' is not a JPEG, PNG, GIF, TIFF or BMP picture").arg(parser.value(picture)),
          setUsageText());
    options.picture = std::move(data);
  }
  options.removePictures = parser.isSet(removePictures);
  if (v1Only && (options.disc || options.compilation || options.podcast || options.picture || options.removePictures ||
                 (options.track && options.track->total)))
    return usage("set: --disc, --compilation, --podcast, --picture, --remove-pictures and a track total are V2 "
                 "fields; use --v2 or --both");
  options.isrcIncrement = parser.isSet(isrcIncrement);
  if (options.isrcIncrement && !options.texts.contains("isrc")) return usage("set: --isrc-increment needs --isrc");
  options.fromFileName = parser.isSet(fromFileName);
  options.v2ForV1 = parser.isSet(v2ForV1);
  options.rename = parser.isSet(rename);

  if (!assignFormats(arguments, options)) return usage("set: --format must follow --from-filename or --rename");

  if (parser.isSet(version)) {
    const QString value = parser.value(version);
    if (value != QLatin1String("3") && value != QLatin1String("4")) return usage("set: --version must be 3 or 4");
    options.version = value.toInt();
    if (v1Only) return usage("set: --version is the ID3v2 version; use --v2 or --both");
  }
  options.yes = parser.isSet(yes);
  options.force = parser.isSet(force);
  const std::optional<int> jobCount = jobsOption(parser, jobs, defaultJobs());
  if (!jobCount) return commandUsageError(err, jobsUsageError("set"), setUsageText());
  options.jobs = *jobCount;

  const bool anything = !options.texts.empty() || options.track || options.disc || options.compilation ||
                        options.podcast || options.picture || options.removePictures || options.fromFileName ||
                        options.v2ForV1;
  if (!anything) return usage("set: give a field to set (--rename alone: use melos rename)");
  const QStringList files = fileArguments(parser);
  if (files.isEmpty()) return usage("set: no FILE given");
  options.progress = &err == &std::cerr && ::isatty(STDERR_FILENO) == 1;
  return setCommand(files, options, out, err);
}

std::string setUsageText() {
  return "Usage: melos set [--v1|--v2|--both] [FIELD OPTIONS] [--yes] [-j N] FILE...\n"
         "\n"
         "Sets the given fields in the tags of every FILE and leaves every other field\n"
         "of every file as it is. The files are begun in the order given, several at\n"
         "once (see -j). The run stops at the first file that fails: every file before\n"
         "it stays written, no file after it is begun, and those already begun beside\n"
         "it are finished. The output keeps the order given.\n"
         "\n"
         "Tags:\n"
         "  --v2          set the fields in the ID3v2 tag (the default)\n"
         "  --v1          set them in the ID3v1 tag of MP3 files (title, artist,\n"
         "                album, year, comment, genre and track number only)\n"
         "  --both        set them in both tags\n"
         "\n"
         "Fields (an empty TEXT empties the field):\n"
         "  --title TEXT, --artist TEXT, --album TEXT, --year TEXT, --comment TEXT\n"
         "  --genre TEXT          a name; \"17\" or \"(17)\" is the standard genre 17 (Rock)\n"
         "  --track N[/M]         track number N, of M tracks; every FILE gets N\n"
         "  --disc N[/M]          part N of a set of M (the disc number)\n"
         "  --composer TEXT, --original-artist TEXT, --copyright TEXT, --url TEXT,\n"
         "  --encoded-by TEXT, --conductor TEXT, --lyricist TEXT, --publisher TEXT,\n"
         "  --subtitle TEXT\n"
         "  --album-artist TEXT   the orchestra or band (also --orchestra)\n"
         "  --content TEXT        the content group\n"
         "  --artist-url TEXT, --bpm TEXT, --initial-key TEXT\n"
         "  --release-time TIME, --record-time TIME   YYYY[-MM[-DD[ HH[:MM[:SS]]]]];\n"
         "                        only an ID3v2.4 tag holds them\n"
         "  --compilation yes|no  part of a compilation\n"
         "  --podcast yes|no, --podcast-id TEXT, --podcast-feed TEXT,\n"
         "  --podcast-description TEXT\n"
         "  --isrc X              the recording code\n"
         "  --isrc-increment      the first FILE gets X, the next X + 1 (CCXXX1500729,\n"
         "                        CCXXX1500730, ...)\n"
         "  --picture FILE        add the picture (JPEG, PNG, GIF, TIFF or BMP)\n"
         "  --remove-pictures     remove the pictures there are first; alone, remove\n"
         "                        every picture\n"
         "\n"
         "Other changes:\n"
         "  --from-filename [--format F]  title and track number from each file name,\n"
         "                        by F (%A artist, %L album, %T title, %N track\n"
         "                        number, %Y year) or \"NN Artist-Album-Title\"\n"
         "  --v2-for-v1           fill the ID3v1 tag of MP3 files from the ID3v2 tag\n"
         "  --rename [--format F] rename each updated file from its tags, by F or as\n"
         "                        \"NN-Title\" (see melos rename --help)\n"
         "  --version 3|4         save the ID3v2 tag at version 2.3 or 2.4\n"
         "\n"
         "Questions:\n"
         "  -y, --yes             go on where the editor would ask: keep a tag that does\n"
         "                        not verify, drop fields the version cannot hold\n"
         "  --force               drop fields the ID3v2 version cannot hold\n"
         "  -j, --jobs N          write N files at once (default: one per core); with\n"
         "                        --rename, or a file given twice, one at a time\n"
         "Without them a file whose tag would lose fields is left alone, and a tag\n"
         "that does not verify stops the run.\n"
         "\n"
         "The trash, file-date, white-space, APE-tag, picture-order and ID3v2 version\n"
         "settings of the preferences apply. A progress bar is shown on a terminal.\n"
         "\n"
         "Exit status: 0 when every file was updated or needed nothing, 1 when a file\n"
         "could not be opened or updated, 2 on a usage error.\n";
}

}  // namespace melos::cli
