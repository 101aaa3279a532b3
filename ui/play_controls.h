#pragma once
// Play, pause, a position slider with the elapsed and total times, and the
// volume, for the track the editor shows. The player is made on the first
// press of play, so a window that never plays never starts the media system.
// A file that cannot be played says so on the controls' own line. Space
// anywhere in the window plays or pauses, unless the control with the focus
// uses Space itself (a text field, a button).

#include <QWidget>

#include "operations/play_state.h"

class QAudioOutput;
class QLabel;
class QMediaPlayer;
class QSlider;
class QToolButton;

namespace melos::ui {

class PlayControls : public QWidget {
  Q_OBJECT

 public:
  explicit PlayControls(QWidget* parent = nullptr);
  ~PlayControls() override;

  // The track to play, with the length the engine measured (shown until the
  // player knows better). Stops what was playing.
  void setTrack(const QString& path, int64_t durationMs);
  // Stops and lets go of the file, so that a save can write it.
  void stop();
  void togglePlay();

  // The controls in the order Tab visits them.
  QList<QWidget*> focusOrder() const;

  PlayPhase phase() const { return phase_; }
  // Null until the first play.
  QMediaPlayer* player() const { return player_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void makePlayer();
  // The file cannot be played: said on the controls, and the file let go.
  void fail(const QString& reason);
  void setPhase(PlayPhase phase);
  void showTimes();
  void showView();

  QToolButton* play_ = nullptr;
  QSlider* position_ = nullptr;
  QLabel* elapsed_ = nullptr;
  QLabel* total_ = nullptr;
  QSlider* volume_ = nullptr;
  QLabel* status_ = nullptr;
  QMediaPlayer* player_ = nullptr;
  QAudioOutput* output_ = nullptr;
  QString path_;
  QString error_;
  PlayPhase phase_ = PlayPhase::NoTrack;
  int64_t durationMs_ = 0;
  int64_t positionMs_ = 0;
};

}  // namespace melos::ui
