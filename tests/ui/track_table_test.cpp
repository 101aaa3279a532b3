// The group's track list sorts on a worker: the click returns at once, the
// selection follows its tracks, and rows added or removed while a sort runs
// end up in the order asked for.

#include <QItemSelectionModel>
#include <QSignalSpy>
#include <QTest>

#include "ui/group_track_table.h"

namespace melos::test {
namespace {

using ui::TrackTableModel;
constexpr int kTitle = static_cast<int>(TrackColumn::Title);

std::vector<TrackRow> rowsTitled(const std::vector<std::string>& titles) {
  std::vector<TrackRow> rows(titles.size());
  for (size_t i = 0; i < titles.size(); ++i) rows[i].title = titles[i];
  return rows;
}

QStringList titles(const TrackTableModel& table) {
  QStringList shown;
  for (int row = 0; row < table.rowCount(); ++row) shown << table.index(row, kTitle).data().toString();
  return shown;
}

}  // namespace

class TrackTableTest : public QObject {
  Q_OBJECT

 private slots:
  void theSelectionFollowsItsTracksIntoTheSortedOrder() {
    TrackTableModel table;
    table.appendRows(rowsTitled({"c", "a", "b"}));
    QItemSelectionModel selection(&table);
    selection.select(table.index(0, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QSignalSpy shown(&table, &TrackTableModel::sortShown);
    table.sort(kTitle, Qt::AscendingOrder);
    QCOMPARE(titles(table), QStringList({"c", "a", "b"}));  // not on this thread
    QVERIFY(shown.wait());
    QCOMPARE(titles(table), QStringList({"a", "b", "c"}));
    const QModelIndexList selected = selection.selectedRows();
    QCOMPARE(selected.size(), 1);
    QCOMPARE(selected[0].row(), 2);
    QCOMPARE(table.trackAt(2), size_t{0});

    table.setStatus(0, "Written");  // the group's first track, shown last
    QCOMPARE(table.index(2, static_cast<int>(TrackColumn::Status)).data().toString(), QStringLiteral("Written"));
    table.sort(-1);  // back to the group's order, at once
    QCOMPARE(titles(table), QStringList({"c", "a", "b"}));
  }

  void rowsAddedOrRemovedDuringASortEndInItsOrder() {
    TrackTableModel table;
    table.appendRows(rowsTitled({"d", "b", "f"}));
    QSignalSpy shown(&table, &TrackTableModel::sortShown);
    table.sort(kTitle, Qt::DescendingOrder);
    table.appendRows(rowsTitled({"a", "e"}));  // while the first sort runs
    table.removeTracks({1});                   // "b"
    QVERIFY(shown.wait());
    QCOMPARE(shown.size(), 1);  // told once, when the last order shows
    QCOMPARE(titles(table), QStringList({"f", "e", "d", "a"}));
    for (int row = 0; row < table.rowCount(); ++row)
      QCOMPARE(table.index(row, kTitle).data().toString(),
               QString::fromStdString(std::vector<std::string>{"d", "f", "a", "e"}[table.trackAt(row)]));
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::TrackTableTest)
#include "track_table_test.moc"
