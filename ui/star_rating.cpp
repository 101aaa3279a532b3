#include "ui/star_rating.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>
#include <algorithm>

#include "operations/rating.h"

namespace melos::ui {

namespace {

constexpr int kStarSize = 18;
constexpr int kStarGap = 3;

QPainterPath starPath(QRectF box) {
  QPainterPath path;
  const QPointF centre = box.center();
  const qreal outer = box.width() / 2, inner = outer * 0.4;
  for (int point = 0; point < 10; ++point) {
    const qreal radius = point % 2 == 0 ? outer : inner;
    const qreal angle = qDegreesToRadians(-90.0 + 36.0 * point);
    const QPointF at = centre + QPointF(radius * qCos(angle), radius * qSin(angle));
    if (point == 0) path.moveTo(at);
    else path.lineTo(at);
  }
  path.closeSubpath();
  return path;
}

}  // namespace

StarRating::StarRating(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("ratingControl"));
  setAccessibleName(tr("Rating"));
  setFocusPolicy(Qt::StrongFocus);
  setToolTip(tr("Click a star to rate the track; click the last lit star to clear it"));
  setStars(0);
}

void StarRating::setStars(int stars) {
  stars_ = std::clamp(stars, 0, kMaxStars);
  setAccessibleDescription(tr("%1 of %2 stars").arg(stars_).arg(kMaxStars));
  update();
}

QSize StarRating::sizeHint() const {
  return {kMaxStars * kStarSize + (kMaxStars - 1) * kStarGap + 4, kStarSize + 4};
}

void StarRating::edit(int stars) {
  stars = std::clamp(stars, 0, kMaxStars);
  if (stars == stars_) return;
  const int before = stars_;
  setStars(stars);
  emit starsEdited(before, stars);
}

int StarRating::starAt(QPoint point) const {
  const int star = (point.x() - 2) / (kStarSize + kStarGap) + 1;
  return point.x() < 2 ? 0 : std::min(star, kMaxStars);
}

void StarRating::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  for (int star = 1; star <= kMaxStars; ++star) {
    const QRectF box(2 + (star - 1) * (kStarSize + kStarGap), 2, kStarSize, kStarSize);
    painter.setPen(QPen(palette().color(isEnabled() ? QPalette::WindowText : QPalette::Mid), 1));
    painter.setBrush(star <= stars_ ? palette().color(QPalette::Highlight) : QColor(Qt::transparent));
    painter.drawPath(starPath(box));
  }
  if (hasFocus()) {
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1, Qt::DotLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }
}

void StarRating::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  const int star = starAt(event->position().toPoint());
  edit(star == stars_ ? 0 : star);
}

void StarRating::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  if (key >= Qt::Key_0 && key <= Qt::Key_5) edit(key - Qt::Key_0);
  else if (key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Plus) edit(stars_ + 1);
  else if (key == Qt::Key_Left || key == Qt::Key_Down || key == Qt::Key_Minus) edit(stars_ - 1);
  else if (key == Qt::Key_Delete || key == Qt::Key_Backspace) edit(0);
  else QWidget::keyPressEvent(event);
}

}  // namespace melos::ui
