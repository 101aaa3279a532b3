#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTimer>
#include <cstdio>

#include "engine/log.h"
#include "melos_version.h"
#include "operations/app_log.h"
#include "operations/crash_reporter.h"
#include "operations/threads.h"
#include "preferences/preferences_controller.h"
#include "ui/dialog_questions.h"
#include "ui/document_controller.h"
#include "ui/document_window.h"
#include "ui/file_chooser.h"
#include "ui/screenshots.h"
#include "ui/single_instance.h"
#include "ui/start_panel.h"

int main(int argc, char* argv[]) {
  QElapsedTimer sinceStart;
  sinceStart.start();
  melos::keepFreedMemoryForReuse();
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Meloscribe"));
  QApplication::setApplicationVersion(QString::fromLatin1(melos::kVersionText));
  QApplication::setDesktopFileName(QStringLiteral("io.github.meloscribe.Meloscribe"));

  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Edit the ID3 tags of MP3, AIFF and tag-data files."));
  parser.addHelpOption();
  parser.addVersionOption();
  const QCommandLineOption screenshots(QStringLiteral("screenshots"),
                                       QStringLiteral("Render every window into PNG files in FOLDER and end."),
                                       QStringLiteral("FOLDER"));
  const QCommandLineOption newInstance(QStringLiteral("new-instance"),
                                       QStringLiteral("Do not hand the files to a running instance."));
  const QCommandLineOption timeStart(QStringLiteral("time-start"),
                                     QStringLiteral("Print the time to the first window shown and end."));
  parser.addOptions({screenshots, newInstance, timeStart});
  parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Tracks, tag-data files or folders to open."),
                               QStringLiteral("[FILE...]"));
  parser.process(app);
  QStringList paths;
  for (const QString& path : parser.positionalArguments()) paths.append(QFileInfo(path).absoluteFilePath());

  const bool rendering = parser.isSet(screenshots);
  melos::ui::SingleInstance instance(melos::ui::SingleInstance::defaultSocketPath());
  if (!rendering && !parser.isSet(newInstance) && !parser.isSet(timeStart)) {
    if (instance.handOver(paths, 500)) return 0;
    instance.listen();
  }

  melos::PreferencesController& preferences = melos::PreferencesController::sharedInstance();
  melos::openApplicationLog(preferences);
  melos::installCrashReporter(melos::DefaultLogPath(), std::string("Meloscribe ") + melos::kVersionText +
                                                           ", Qt " + qVersion());

  melos::ui::DialogQuestions questions;
  melos::ui::DialogFileChooser chooser;
  melos::ui::DocumentController controller(preferences, questions, chooser);
  QObject::connect(&instance, &melos::ui::SingleInstance::openRequested, &controller, [&controller](const QStringList& handed) {
    if (handed.isEmpty()) controller.showStartPanel()->raise();
    else controller.openFiles(handed);
  });

  if (rendering) {
    for (const QString& written : melos::ui::renderScreenshots(controller, parser.value(screenshots), paths))
      std::printf("%s\n", qPrintable(written));
    return 0;
  }

  if (paths.isEmpty() && (preferences.showSplash() || parser.isSet(timeStart))) controller.showStartPanel();
  else controller.openFiles(paths);
  if (parser.isSet(timeStart)) {
    // Once the first window has been painted and the event loop is idle.
    QTimer::singleShot(0, &app, [&sinceStart] {
      std::printf("first window shown after %lld ms\n", static_cast<long long>(sinceStart.elapsed()));
      std::fflush(stdout);
      QCoreApplication::quit();
    });
    return QApplication::exec();
  }
  controller.startOpenPanelTimer();
  return QApplication::exec();
}
