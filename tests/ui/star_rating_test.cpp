// The rating stars take clicks and keys, tell each edit with the count before
// and after, and stay quiet when the editor shows a track's rating.

#include <QSignalSpy>

#include "tests/ui/window_harness.h"
#include "ui/star_rating.h"

namespace melos::test {

class StarRatingTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { prepareWindowTests(); }

  void clicksAndKeysEditTheCount() {
    ui::StarRating stars;
    stars.resize(stars.sizeHint());
    QSignalSpy edited(&stars, &ui::StarRating::starsEdited);
    stars.setStars(9);
    QVERIFY(stars.stars() == 5 && edited.isEmpty());
    const int starWidth = stars.sizeHint().width() / 5;
    // key 0: a click on the star given; each step's count after it.
    const struct { const char* how; int key, star, after; } steps[] = {
        {"click the third star", 0, 3, 3}, {"click it again: none", 0, 3, 0}, {"Right", Qt::Key_Right, 0, 1},
        {"digit 4", Qt::Key_4, 0, 4}, {"Left", Qt::Key_Left, 0, 3}, {"Delete", Qt::Key_Delete, 0, 0},
        {"Left at none", Qt::Key_Left, 0, 0}};
    stars.setStars(0);
    int before = 0;
    for (const auto& step : steps) {
      edited.clear();
      if (step.key == 0) QTest::mouseClick(&stars, Qt::LeftButton, {}, QPoint(starWidth * step.star - starWidth / 2, 8));
      else QTest::keyClick(&stars, static_cast<Qt::Key>(step.key));
      const QList<QList<QVariant>> expected =
          step.after == before ? QList<QList<QVariant>>{} : QList<QList<QVariant>>{{before, step.after}};
      QVERIFY2(stars.stars() == step.after && QList<QList<QVariant>>(edited) == expected, step.how);
      before = step.after;
    }
    QCOMPARE(stars.accessibleDescription(), QStringLiteral("0 of 5 stars"));
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::StarRatingTest)
#include "star_rating_test.moc"
