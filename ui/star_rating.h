#pragma once
// Five stars for the rating of a track, set with the mouse (a click on a star;
// a click on the last lit star puts them all out) or the keys (digits 0 to 5,
// the arrow keys, Delete). The editor turns an edit into an undoable command
// and the stars into the popularity frame's rate with operations/rating.h.

#include <QWidget>

namespace melos::ui {

class StarRating : public QWidget {
  Q_OBJECT

 public:
  explicit StarRating(QWidget* parent = nullptr);

  int stars() const { return stars_; }
  // Shows a count without telling anyone, as when a track is shown.
  void setStars(int stars);
  QSize sizeHint() const override;

 signals:
  // The user changed the count.
  void starsEdited(int before, int after);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void edit(int stars);
  int starAt(QPoint point) const;

  int stars_ = 0;
};

}  // namespace melos::ui
