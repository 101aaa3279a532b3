// The editor's play controls with Qt Multimedia's real player on generated
// MP3s: every way of leaving or writing the track stops playback first, Space
// plays only when no text field takes it, the preference shows and hides the
// controls as it changes, and a file that cannot be played says so on the
// controls. Skipped, with the reason, where this machine has no audio backend.

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QAudioDevice>
#include <QMediaDevices>
#include <QMediaPlayer>
#include <QPushButton>
#include <QSlider>
#include <QToolButton>
#include <QUndoStack>
#include <functional>
#include <map>
#include <memory>

#include "engine/open_track.h"
#include "operations/track_file.h"
#include "operations/track_writer.h"
#include "preferences/preference_keys.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/ui/window_harness.h"
#include "ui/main_thread_calls.h"
#include "ui/play_controls.h"
#include "ui/track_window.h"

namespace melos::test {
namespace {

// Notes what the player was doing when each tag write began.
class WatchingWriter : public TrackWriter {
 public:
  int saveV2(ID3Tag& track, bool moveToTrash, int version, bool keepDates, bool trim) override {
    ui::callOnThreadOf(controls, [this] { phasesAtWrite.push_back(controls->phase()); });
    return TrackWriter::saveV2(track, moveToTrash, version, keepDates, trim);
  }
  ui::PlayControls* controls = nullptr;
  std::vector<PlayPhase> phasesAtWrite;
};

}  // namespace

class PlayControlsTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<EditorRig> rig_;
  WatchingWriter writer_;
  std::vector<std::string> paths_;
  // The player reached the end of the track. Where no sound device plays in
  // real time, GStreamer may run through seconds of audio at once: what
  // playback would have shown then cannot be watched, and the test says so.
  bool ranOut_ = false;
  static constexpr const char* kNoRealTime =
      "No sound device plays in real time here: the audio output ran through the track at once, or never started.";
  // Without an output device the backend's timing is its own: it may run
  // through a track at once, or take its time to start or never count.
  static bool noAudioOutput() { return QMediaDevices::audioOutputs().isEmpty(); }

  // MP3s of this audio, or one AIFF of three seconds of silence.
  void open(int count, const Bytes& audio = cbrStream(MpegHeader{}, 38 * 8), bool aiff = false) {
    for (int i = 0; i < count; ++i) {
      const std::string title = "Track " + std::to_string(i);
      const Bytes tag = Id3v2Builder(3).text("TIT2", Enc::Latin1, title).padding(64).build();
      constexpr uint32_t kFrames = 44100 * 3;
      paths_.push_back(aiff ? rig_->dir.write(title + ".aif", AiffBuilder("AIFF")
                                                              .chunk(commChunk(2, kFrames, 16, 44100.0))
                                                              .chunk(ssndChunk(Bytes(kFrames * 4, 0)))
                                                              .chunk(id3Chunk(tag))
                                                              .build())
                            : rig_->dir.write(title + ".mp3", mp3File({tag, audio, {}, {}})));
    }
    QVERIFY(rig_->open(paths_, &writer_));
    writer_.controls = controls();
  }
  template <typename T = QWidget>
  T* find(const char* name) { return findByName<T>(rig_->window.get(), name); }
  ui::PlayControls* controls() { return find<ui::PlayControls>("playControls"); }
  bool waitIdle() { return rig_->waitIdle(); }
  bool waitPhase(PlayPhase phase) { return QTest::qWaitFor([&] { return controls()->phase() == phase; }, 10000); }
  void watchForTheEnd() {
    ranOut_ = false;
    connect(controls()->player(), &QMediaPlayer::mediaStatusChanged, this,
            [this](QMediaPlayer::MediaStatus status) { ranOut_ = ranOut_ || status == QMediaPlayer::EndOfMedia; });
  }
  // Waits for sound to come out of a play just started; false when the
  // player could not play at all.
  bool waitForSound() {
    if (QTest::qWaitFor([this] { return controls()->phase() == PlayPhase::Playing || ranOut_; }, 10000)) return true;
    ranOut_ = noAudioOutput();
    return ranOut_;
  }
  // Plays the shown track with the play button until sound comes out (or the
  // track ran out at once: the caller skips).
  void startPlaying() {
    find<QToolButton>("playButton")->click();
    watchForTheEnd();
    QVERIFY2(waitForSound(), qPrintable(find<QLabel>("playStatus")->text()));
    if (ranOut_) return;
    QCOMPARE(controls()->player()->playbackState(), QMediaPlayer::PlayingState);
    QCOMPARE(find<QToolButton>("playButton")->text(), QStringLiteral("Pause"));
  }
  static bool noDialogShown() {
    for (QWidget* top : QApplication::topLevelWidgets())
      if (qobject_cast<QDialog*>(top) != nullptr && top->isVisible()) return false;
    return true;
  }

 private slots:
  void initTestCase() {
    prepareWindowTests();
    QMediaPlayer probe;
    if (!probe.isAvailable()) QSKIP("No Qt Multimedia backend is available here: playback cannot be tested.");
  }
  void init() {
    rig_ = std::make_unique<EditorRig>();
    writer_.phasesAtWrite.clear();
    paths_.clear();
  }
  void cleanup() {
    rig_->window.reset();
    QVERIFY(!rig_->unscripted());
  }

  void stopsBeforeTheFileIsWrittenOrLeft_data() {
    QTest::addColumn<QString>("action");
    QTest::addColumn<int>("position");  // the track shown afterwards
    QTest::addColumn<bool>("written");
    QTest::newRow("update") << "update" << 0 << true;
    QTest::newRow("next track") << "next" << 1 << false;
    QTest::newRow("next track, saving the edits") << "edit and next" << 1 << true;
    QTest::newRow("close track") << "close track" << 0 << false;
    QTest::newRow("window closed") << "close window" << 0 << false;
    QTest::newRow("controls turned off") << "preference off" << 0 << false;
  }

  void stopsBeforeTheFileIsWrittenOrLeft() {
    QFETCH(QString, action);
    QFETCH(int, position);
    QFETCH(bool, written);
    open(2);
    startPlaying();
    if (ranOut_) QSKIP(kNoRealTime);
    const std::map<QString, std::function<void()>> actions = {
        {QStringLiteral("update"), [this] { find<QPushButton>("updateButton")->click(); }},
        {QStringLiteral("next"), [this] { find<QPushButton>("nextTrackButton")->click(); }},
        {QStringLiteral("edit and next"),
         [this] {
           QTest::keyClicks(find<QLineEdit>("mT2Comment"), QStringLiteral("heard"));
           rig_->questions.answer("Do you want to save changes?", "Save");
           find<QPushButton>("nextTrackButton")->click();
         }},
        {QStringLiteral("close track"), [this] { find<QPushButton>("closeTrackButton")->click(); }},
        {QStringLiteral("close window"), [this] { rig_->window->close(); }},
        {QStringLiteral("preference off"),
         [this] {
           rig_->preferences.setBoolPreferenceNamed(prefs::kShowPlayControls.key, false);
           rig_->window->preferencesChanged();
         }},
    };
    actions.at(action)();
    if (ranOut_) QSKIP(kNoRealTime);
    QVERIFY(waitIdle());
    QCOMPARE(rig_->window->tracks().position(), static_cast<size_t>(position));
    // Stopped, and the file let go, while the window still stands.
    QCOMPARE(controls()->player()->playbackState(), QMediaPlayer::StoppedState);
    QVERIFY(controls()->player()->source().isEmpty());
    QCOMPARE(controls()->phase(), PlayPhase::Stopped);
    QCOMPARE(writer_.phasesAtWrite, written ? std::vector<PlayPhase>{PlayPhase::Stopped} : std::vector<PlayPhase>{});
    QCOMPARE(find<QToolButton>("playButton")->text(), QStringLiteral("Play"));
    QCOMPARE(find<QLabel>("playElapsed")->text(), QStringLiteral("0:00"));
    QVERIFY(noDialogShown());
  }

  void spacePlaysUnlessTheFocusedControlUsesIt_data() {
    QTest::addColumn<QString>("focus");
    QTest::addColumn<bool>("toggles");
    QTest::addColumn<QString>("typed");  // what the field holds afterwards, for a text field
    QTest::newRow("volume slider") << "playVolume" << true << "";
    QTest::newRow("rating stars") << "mT2Rating" << true << "";
    QTest::newRow("title field") << "mT2Title" << false << "Track 0 ";
    QTest::newRow("album field") << "mT2Album" << false << " ";
    QTest::newRow("copy button") << "copyV2ToV1Button" << false << "";
  }

  void spacePlaysUnlessTheFocusedControlUsesIt() {
    QFETCH(QString, focus);
    QFETCH(bool, toggles);
    QFETCH(QString, typed);
    open(1);
    QWidget* target = findByName<QWidget>(rig_->window.get(), qPrintable(focus));
    QVERIFY(target);
    rig_->window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(rig_->window.get()));
    target->setFocus();
    QCOMPARE(QApplication::focusWidget(), target);
    if (auto* field = qobject_cast<QLineEdit*>(target)) field->end(false);
    QTest::keyClick(target, Qt::Key_Space);
    QCOMPARE(controls()->phase() != PlayPhase::Stopped, toggles);
    if (auto* field = qobject_cast<QLineEdit*>(target)) QCOMPARE(field->text(), typed);
    if (!toggles) return;
    watchForTheEnd();
    QVERIFY2(waitForSound(), qPrintable(find<QLabel>("playStatus")->text()));
    if (ranOut_) QSKIP(kNoRealTime);
    QTest::keyClick(target, Qt::Key_Space);
    if (ranOut_) QSKIP(kNoRealTime);
    QVERIFY(waitPhase(PlayPhase::Paused));
    QCOMPARE(controls()->player()->playbackState(), QMediaPlayer::PausedState);
    // The stars took no star count from the Space.
    QVERIFY(rig_->window->undoStack()->isClean());
  }

  void thePreferenceShowsAndHidesTheControlsAsItChanges() {
    rig_->preferences.setBoolPreferenceNamed(prefs::kShowPlayControls.key, false);
    open(1);
    rig_->window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(rig_->window.get()));
    // Nothing has the focus: Space lands on the window.
    QApplication::focusWidget()->clearFocus();
    for (const bool shown : {false, true, false, true}) {
      rig_->preferences.setBoolPreferenceNamed(prefs::kShowPlayControls.key, shown);
      rig_->window->preferencesChanged();
      QCOMPARE(controls()->isVisible(), shown);
      // Space does nothing for controls the user cannot see.
      QTest::keyClick(rig_->window.get(), Qt::Key_Space);
      QCOMPARE(controls()->phase() != PlayPhase::Stopped, shown);
      controls()->stop();
    }
  }

  void aFileThatCannotBePlayedSaysSoOnTheControls() {
    // One frame header, then bytes that are no audio of any kind.
    open(1, concat({mpegFrame(MpegHeader{}), Bytes(64 * 1024, 0x20)}));
    find<QToolButton>("playButton")->click();
    QVERIFY(waitPhase(PlayPhase::Failed));
    auto* status = find<QLabel>("playStatus");
    QVERIFY(status->isVisible());
    QVERIFY2(status->text().startsWith(QStringLiteral("This file cannot be played")), qPrintable(status->text()));
    QVERIFY(noDialogShown());
    QVERIFY(rig_->questions.asked.empty());
    // Play stays pressable, to try again.
    QVERIFY(find<QToolButton>("playButton")->isEnabled());
    QVERIFY(controls()->player()->source().isEmpty());
  }

  void timesShowTheTrackBeforeAndWhilePlaying_data() {
    QTest::addColumn<bool>("aiff");
    QTest::addColumn<QString>("total");
    QTest::newRow("MP3") << false << "0:07";
    QTest::newRow("AIFF") << true << "0:03";
  }

  void timesShowTheTrackBeforeAndWhilePlaying() {
    QFETCH(bool, aiff);
    QFETCH(QString, total);
    open(1, cbrStream(MpegHeader{}, 38 * 8), aiff);
    // The engine's length, before the player is made.
    QVERIFY(controls()->player() == nullptr);
    QCOMPARE(find<QLabel>("playTotal")->text(), total);
    QVERIFY(!find<QSlider>("playPosition")->isEnabled());
    startPlaying();
    if (ranOut_) QSKIP(kNoRealTime);
    const bool counted =
        QTest::qWaitFor([this] { return find<QLabel>("playElapsed")->text() != QStringLiteral("0:00"); }, 10000);
    if (ranOut_ || (!counted && noAudioOutput())) QSKIP(kNoRealTime);
    QVERIFY2(counted, qPrintable(QStringLiteral("phase %1, position %2, status %3")
                                     .arg(static_cast<int>(controls()->phase()))
                                     .arg(controls()->player()->position())
                                     .arg(static_cast<int>(controls()->player()->mediaStatus()))));
    QVERIFY(find<QSlider>("playPosition")->isEnabled());
    QVERIFY(find<QSlider>("playPosition")->value() > 0);
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::PlayControlsTest)
#include "play_controls_test.moc"
