#include "ui/play_controls.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QAudio>
#include <QAudioOutput>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMediaPlayer>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyle>
#include <QTextEdit>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/qt_text.h"

namespace melos::ui {
namespace {

constexpr int kStartVolume = 80;

// Which kind of control has the keyboard, for where Space goes.
SpaceTaker spaceTaker(QWidget* focus) {
  if (focus->isWindow()) return SpaceTaker::Nothing;
  if (auto* combo = qobject_cast<QComboBox*>(focus))
    return combo->isEditable() ? SpaceTaker::TextField : SpaceTaker::PressControl;
  if (qobject_cast<QLineEdit*>(focus) != nullptr || qobject_cast<QAbstractSpinBox*>(focus) != nullptr ||
      qobject_cast<QTextEdit*>(focus) != nullptr || qobject_cast<QPlainTextEdit*>(focus) != nullptr)
    return SpaceTaker::TextField;
  if (qobject_cast<QAbstractButton*>(focus) != nullptr || qobject_cast<QGroupBox*>(focus) != nullptr ||
      qobject_cast<QAbstractItemView*>(focus) != nullptr)
    return SpaceTaker::PressControl;
  return SpaceTaker::Nothing;
}

// The slider moves as the ear hears; the output takes a linear factor.
float linearVolume(int percent) {
  return QAudio::convertVolume(static_cast<float>(percent) / 100.0f, QAudio::LogarithmicVolumeScale,
                               QAudio::LinearVolumeScale);
}

}  // namespace

PlayControls::PlayControls(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("playControls"));
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  auto* row = new QHBoxLayout;

  play_ = new QToolButton(this);
  play_->setObjectName(QStringLiteral("playButton"));
  play_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  play_->setToolTip(tr("Play or pause the track (Space)"));

  elapsed_ = new QLabel(this);
  elapsed_->setObjectName(QStringLiteral("playElapsed"));
  elapsed_->setAccessibleName(tr("Elapsed time"));
  position_ = new QSlider(Qt::Horizontal, this);
  position_->setObjectName(QStringLiteral("playPosition"));
  position_->setAccessibleName(tr("Position"));
  position_->setSingleStep(5000);
  position_->setPageStep(30000);
  // Room to aim at a moment of the track, in a narrow window too.
  position_->setMinimumWidth(fontMetrics().averageCharWidth() * 16);
  total_ = new QLabel(this);
  total_->setObjectName(QStringLiteral("playTotal"));
  total_->setAccessibleName(tr("Total time"));

  auto* volumeLabel = new QLabel(tr("Vol&ume:"), this);
  volume_ = new QSlider(Qt::Horizontal, this);
  volume_->setObjectName(QStringLiteral("playVolume"));
  volume_->setAccessibleName(tr("Volume"));
  volume_->setRange(0, 100);
  volume_->setValue(kStartVolume);
  // Wide enough to set, narrow beside the position it follows.
  volume_->setMaximumWidth(fontMetrics().averageCharWidth() * 12);
  volumeLabel->setBuddy(volume_);

  row->addWidget(play_);
  row->addWidget(elapsed_);
  row->addWidget(position_, 1);
  row->addWidget(total_);
  row->addSpacing(style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing) * 2);
  row->addWidget(volumeLabel);
  row->addWidget(volume_);
  column->addLayout(row);

  status_ = new QLabel(this);
  status_->setObjectName(QStringLiteral("playStatus"));
  status_->setAccessibleName(tr("Playback"));
  status_->setWordWrap(true);
  status_->setTextFormat(Qt::PlainText);
  status_->hide();
  column->addWidget(status_);

  setTabOrder(play_, position_);
  setTabOrder(position_, volume_);

  connect(play_, &QToolButton::clicked, this, &PlayControls::togglePlay);
  connect(position_, &QSlider::valueChanged, this, [this](int ms) {
    if (player_ != nullptr && player_->isSeekable()) player_->setPosition(ms);
  });
  connect(volume_, &QSlider::valueChanged, this, [this](int percent) {
    if (output_ != nullptr) output_->setVolume(linearVolume(percent));
  });
  showView();
  // Space is looked at before the focused control gets it: on its way up to
  // the window, a checkable group box would take it as a click on its box.
  qApp->installEventFilter(this);
}

PlayControls::~PlayControls() = default;

QList<QWidget*> PlayControls::focusOrder() const { return {play_, position_, volume_}; }

void PlayControls::setTrack(const QString& path, int64_t durationMs) {
  stop();
  path_ = path;
  durationMs_ = durationMs;
  error_.clear();
  setPhase(path_.isEmpty() ? PlayPhase::NoTrack : PlayPhase::Stopped);
}

void PlayControls::stop() {
  if (player_ != nullptr) {
    player_->stop();
    // The file is let go, not only the sound: a save may replace it now.
    player_->setSource(QUrl());
  }
  positionMs_ = 0;
  if (phase_ != PlayPhase::Failed && phase_ != PlayPhase::NoTrack) setPhase(PlayPhase::Stopped);
  else showView();
}

void PlayControls::togglePlay() {
  switch (phase_) {
    case PlayPhase::NoTrack: return;
    case PlayPhase::Loading: stop(); return;
    case PlayPhase::Playing: player_->pause(); return;
    case PlayPhase::Paused: player_->play(); return;
    case PlayPhase::Stopped:
    case PlayPhase::Failed: break;
  }
  makePlayer();
  error_.clear();
  setPhase(PlayPhase::Loading);
  player_->setSource(QUrl::fromLocalFile(path_));
  player_->play();
}

void PlayControls::makePlayer() {
  if (player_ != nullptr) return;
  player_ = new QMediaPlayer(this);
  output_ = new QAudioOutput(this);
  player_->setAudioOutput(output_);
  output_->setVolume(linearVolume(volume_->value()));
  const auto follow = [this] {
    if (!error_.isEmpty() || player_->source().isEmpty()) return;
    const QMediaPlayer::MediaStatus status = player_->mediaStatus();
    switch (player_->playbackState()) {
      case QMediaPlayer::PlayingState:
        setPhase(status == QMediaPlayer::LoadingMedia ? PlayPhase::Loading : PlayPhase::Playing);
        break;
      case QMediaPlayer::PausedState: setPhase(PlayPhase::Paused); break;
      case QMediaPlayer::StoppedState: setPhase(PlayPhase::Stopped); break;
    }
  };
  connect(player_, &QMediaPlayer::playbackStateChanged, this, follow);
  connect(player_, &QMediaPlayer::mediaStatusChanged, this, [this, follow](QMediaPlayer::MediaStatus status) {
    if (status == QMediaPlayer::EndOfMedia) return stop();
    if (status == QMediaPlayer::InvalidMedia && error_.isEmpty())
      return fail(player_->errorString().isEmpty() ? tr("the format is not one this system plays")
                                                   : player_->errorString());
    follow();
  });
  connect(player_, &QMediaPlayer::errorOccurred, this, [this](QMediaPlayer::Error, const QString& text) {
    if (!player_->source().isEmpty()) fail(text.isEmpty() ? tr("the player gave no reason") : text);
  });
  connect(player_, &QMediaPlayer::durationChanged, this, [this](qint64 ms) {
    if (ms > 0) durationMs_ = ms;
    showView();
  });
  connect(player_, &QMediaPlayer::positionChanged, this, [this](qint64 ms) {
    if (player_->source().isEmpty()) return;
    positionMs_ = ms;
    showTimes();
  });
}

void PlayControls::fail(const QString& reason) {
  error_ = reason;
  player_->stop();
  player_->setSource(QUrl());
  positionMs_ = 0;
  setPhase(PlayPhase::Failed);
}

void PlayControls::setPhase(PlayPhase phase) {
  phase_ = phase;
  showView();
}

void PlayControls::showView() {
  const PlayView view = playView(phase_, durationMs_, error_.toStdString());
  const QString text = view.showsPause ? tr("Pause") : tr("Play");
  play_->setText(text);
  play_->setAccessibleName(text);
  play_->setIcon(style()->standardIcon(view.showsPause ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
  play_->setEnabled(view.canPress);
  position_->setEnabled(view.canSeek);
  status_->setText(qtext(view.status));
  status_->setVisible(!view.status.empty());
  showTimes();
}

void PlayControls::showTimes() {
  {
    // The slider follows playback; only the user's moves seek.
    const QSignalBlocker quiet(position_);
    position_->setRange(0, static_cast<int>(std::max<int64_t>(durationMs_, 0)));
    // Not under the user's hand while it drags.
    if (!position_->isSliderDown()) position_->setValue(static_cast<int>(positionMs_));
  }
  elapsed_->setText(qtext(playTimeText(positionMs_, durationMs_)));
  total_->setText(qtext(playTimeText(durationMs_, durationMs_)));
}

bool PlayControls::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress || !watched->isWidgetType()) return false;
  const auto* key = static_cast<QKeyEvent*>(event);
  if (key->key() != Qt::Key_Space || (key->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) return false;
  auto* receiver = static_cast<QWidget*>(watched);
  // Once, where the key lands first, and only in this window.
  if (receiver->window() != window() || (receiver != QApplication::focusWidget() && !receiver->isWindow()))
    return false;
  if (!spaceTogglesPlay(spaceTaker(receiver), isVisible() && isEnabled() && play_->isEnabled())) return false;
  if (!key->isAutoRepeat()) togglePlay();
  return true;
}

}  // namespace melos::ui
