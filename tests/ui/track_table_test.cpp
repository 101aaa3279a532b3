// The group's track list sorts on a worker: the click returns at once, and
// the selection, rows added and rows removed while the sort runs all end up
// where the order asked for puts them.

#include <QItemSelectionModel>
#include <QSignalSpy>
#include <QTest>

#include "ui/group_track_table.h"

namespace melos::test {

class TrackTableTest : public QObject {
  Q_OBJECT

 private slots:
  void sortsAwayFromTheWindowsThread() {
    constexpr int kTitle = static_cast<int>(TrackColumn::Title);
    ui::TrackTableModel table;
    const auto append = [&](const std::vector<std::string>& titles) {
      std::vector<TrackRow> rows(titles.size());
      for (size_t i = 0; i < titles.size(); ++i) rows[i].title = titles[i];
      table.appendRows(std::move(rows));
    };
    const auto shown = [&] {
      QStringList titles;
      for (int row = 0; row < table.rowCount(); ++row) titles << table.index(row, kTitle).data().toString();
      return titles;
    };
    append({"d", "b", "f"});
    QItemSelectionModel selection(&table);
    selection.select(table.index(0, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);  // "d"
    QSignalSpy sorted(&table, &ui::TrackTableModel::sortShown);

    table.sort(kTitle, Qt::DescendingOrder);
    QCOMPARE(shown(), QStringList({"d", "b", "f"}));  // not sorted on this thread
    append({"a", "e"});       // while the sort runs
    table.removeTracks({1});  // "b"
    QVERIFY(sorted.wait());
    QCOMPARE(sorted.size(), 1);  // once, when the last order shows
    QCOMPARE(shown(), QStringList({"f", "e", "d", "a"}));
    QCOMPARE(selection.selectedRows().size(), 1);
    QCOMPARE(selection.selectedRows()[0].row(), 2);

    table.setStatus(0, "Written");  // the group's first track, "d"
    QCOMPARE(table.index(2, static_cast<int>(TrackColumn::Status)).data().toString(), QStringLiteral("Written"));
    table.sort(-1);  // the group's own order, at once
    QCOMPARE(shown(), QStringList({"d", "f", "a", "e"}));
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::TrackTableTest)
#include "track_table_test.moc"
