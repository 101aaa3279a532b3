// The preferences window over a real settings file: each control writes
// exactly its key at once and shows what the file holds, reset and clearing
// answer as asked, the genre lists reorder by keyboard and by dropping, the
// default sets keep their fields and picture, and a broken file is said once.

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSpinBox>
#include <QTabWidget>
#include <memory>

#include <unistd.h>

#include "engine/log.h"
#include "operations/name_preview.h"
#include "preferences/json_settings_format.h"
#include "preferences/preference_controls.h"
#include "preferences/settings_file_store.h"
#include "preferences/store.h"
#include "tests/ui/window_harness.h"
#include "ui/document_window.h"
#include "ui/drag_image_view.h"
#include "ui/preferences_window.h"

namespace melos::test {
namespace {

QVariantMap readJson(const QString& path) {
  QSettings::SettingsMap map;
  QFile file(path);
  if (file.open(QIODevice::ReadOnly)) readJsonSettings(file, map);
  return map;
}

void writeJson(const QString& path, const QVariantMap& map) {
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) writeJsonSettings(file, map);
}


// Compared as the file holds them: a number or a list reads back as whatever
// type the JSON reader gives it.
QJsonObject asJson(const QVariantMap& map) { return QJsonObject::fromVariantMap(map); }

QStringList itemsOf(const QListWidget* list) {
  QStringList items;
  for (int row = 0; row < list->count(); ++row) items.append(list->item(row)->text());
  return items;
}

// A store that cannot be saved, as a settings file in a folder the user may
// not write is.
class UnsavableStore : public MemoryPreferenceStore {
 public:
  bool sync() override { return false; }
};

}  // namespace

class PreferencesWindowTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<TempDir> dir_;
  QString path_;
  ScriptedQuestions questions_;
  std::unique_ptr<PreferencesController> preferences_;
  std::unique_ptr<ui::PreferencesWindow> window_;

  // A window over the settings file as a new process finds it.
  ui::PreferencesWindow* open(const QVariantMap& seed = {}) {
    window_.reset();
    preferences_.reset();
    if (!seed.isEmpty()) writeJson(path_, seed);
    preferences_ = std::make_unique<PreferencesController>(std::make_unique<SettingsFileStore>(path_), dir_->path());
    window_ = std::make_unique<ui::PreferencesWindow>(*preferences_, questions_);
    window_->show();
    return window_.get();
  }
  QVariantMap file() const { return readJson(path_); }
  template <typename T>
  T* child(const char* name) {
    T* found = findByName<T>(window_.get(), name);
    if (found == nullptr) qWarning("no %s", name);
    return found;
  }
  void trigger(const char* item) {
    for (QAction* action : child<QPushButton>("mResetPopUp")->menu()->actions())
      if (action->objectName() == QLatin1String(item)) action->trigger();
  }

 private slots:
  void initTestCase() { prepareWindowTests(); }
  void init() {
    dir_ = std::make_unique<TempDir>();
    path_ = QString::fromStdString(dir_->file("Meloscribe.json"));
    questions_ = ScriptedQuestions();
  }
  void cleanup() {
    window_.reset();
    preferences_.reset();
    QVERIFY2(!questions_.unscripted, "a question came that the test did not expect");
  }

  void eachCheckBoxWritesOnlyItsKeyAndShowsItWhenReopened_data() {
    QTest::addColumn<int>("control");
    for (size_t i = 0; i < kCheckBoxControls.size(); ++i)
      QTest::newRow(kCheckBoxControls[i].objectName.data()) << static_cast<int>(i);
  }

  void eachCheckBoxWritesOnlyItsKeyAndShowsItWhenReopened() {
    QFETCH(int, control);
    const CheckBoxControl& row = kCheckBoxControls[static_cast<size_t>(control)];
    const QString key = QString::fromUtf8(row.key);
    open();
    auto* box = child<QCheckBox>(row.objectName.data());
    QVERIFY(box && !box->accessibleName().isEmpty() && !box->toolTip().isEmpty());
    QCOMPARE(box->isChecked(), row.defaultOn);
    box->click();
    QCOMPARE(file(), (QVariantMap{{key, !row.defaultOn}}));
    QCOMPARE(preferences_->getBoolPreferenceNamed(row.key, row.defaultOn), !row.defaultOn);

    // Written from outside while the window is closed.
    writeJson(path_, {{key, row.defaultOn}});
    open();
    QCOMPARE(child<QCheckBox>(row.objectName.data())->isChecked(), row.defaultOn);
  }

  // Read out by a screen reader, and explained when the pointer rests on it.
  void everyControlHasANameAndATip() {
    open();
    QStringList missing;
    for (QWidget* widget : window_->findChildren<QWidget*>()) {
      const bool control = qobject_cast<QAbstractButton*>(widget) || qobject_cast<QLineEdit*>(widget) ||
                           qobject_cast<QComboBox*>(widget) || qobject_cast<QSpinBox*>(widget) ||
                           qobject_cast<QListWidget*>(widget);
      // Ours are named m...; Qt names the parts of its own widgets.
      const QString name = widget->objectName();
      if (!control || name.size() < 2 || name[0] != QLatin1Char('m') || !name[1].isUpper()) continue;
      auto* button = qobject_cast<QAbstractButton*>(widget);
      const bool named = !widget->accessibleName().isEmpty() || (button && !button->text().isEmpty());
      if (!named || widget->toolTip().isEmpty()) missing.append(widget->objectName());
    }
    missing.removeAll(QStringLiteral("mCloseButton"));  // says what it does
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char(' '))));
  }

  // Within each group of controls Tab goes top to bottom, and left to right
  // along a row.
  void tabFollowsTheVisualOrder() {
    open();
    // A page is laid out when it is first shown.
    auto* pages = child<QTabWidget>("mPreferencesTabs");
    for (int page = 0; page < pages->count(); ++page) {
      pages->setCurrentIndex(page);
      QApplication::processEvents();
    }
    QList<QWidget*> chain;
    for (QWidget* w = window_->nextInFocusChain(); w != window_.get(); w = w->nextInFocusChain()) {
      const QString name = w->objectName();
      if ((w->focusPolicy() & Qt::TabFocus) && name.size() > 1 && name[0] == QLatin1Char('m') && name[1].isUpper())
        chain.append(w);
      QVERIFY(chain.size() < 500);
    }
    QVERIFY(chain.size() > 80);  // every page took part
    for (qsizetype i = 1; i < chain.size(); ++i) {
      QWidget* before = chain[i - 1];
      QWidget* after = chain[i];
      if (before->parentWidget() != after->parentWidget()) continue;
      const QRect a = before->geometry(), b = after->geometry();
      const bool below = b.center().y() > a.center().y() + 4;
      // Side by side, lined up by their middles (a box and its field) or their tops (two lists).
      const bool rightOnTheRow =
          (std::abs(b.center().y() - a.center().y()) <= 4 || std::abs(b.top() - a.top()) <= 4) && b.x() > a.x();
      const QString pair = before->objectName() + QStringLiteral(" then ") + after->objectName();
      QVERIFY2(below || rightOnTheRow, qPrintable(pair));
    }
  }

  // Alt and a letter reaches one control: no two on a page, its tabs or the
  // buttons under them share a letter.
  void accessKeysAreUniqueOnEachPage() {
    open();
    const auto keyOf = [](const QString& text) {
      const qsizetype at = text.indexOf(QRegularExpression(QStringLiteral("&[^&]")));
      return at < 0 ? QChar() : text[at + 1].toLower();
    };
    auto* pages = child<QTabWidget>("mPreferencesTabs");
    QList<QChar> shared;
    for (int page = 0; page < pages->count(); ++page) shared.append(keyOf(pages->tabText(page)));
    for (const char* name : {"mResetPopUp", "mCloseButton"}) shared.append(keyOf(child<QPushButton>(name)->text()));
    for (int page = 0; page < pages->count(); ++page) {
      QList<QChar> keys = shared;
      for (QWidget* widget : pages->widget(page)->findChildren<QWidget*>()) {
        if (auto* label = qobject_cast<QLabel*>(widget)) keys.append(keyOf(label->text()));
        if (auto* button = qobject_cast<QAbstractButton*>(widget)) keys.append(keyOf(button->text()));
      }
      keys.removeAll(QChar());
      for (QChar key : keys)
        QVERIFY2(keys.count(key) == 1, qPrintable(pages->tabText(page) + QStringLiteral(": ") + key));
    }
  }

  void theOtherControlsWriteTheirKeys_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("input");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::newRow("version 2.3") << "mTag2VersionPopUp" << QVariant(1) << "Tag 2 version" << QVariant(3);
    QTest::newRow("auto version") << "mTag2VersionPopUp" << QVariant(0) << "Tag 2 version" << QVariant(0);
    QTest::newRow("large style") << "mLargeStyleRadio" << QVariant() << "Editor style" << QVariant(1);
    QTest::newRow("small style") << "mSmallStyleRadio" << QVariant() << "Editor style" << QVariant(2);
    QTest::newRow("custom to-format") << "mToCustomRadio" << QVariant() << "To file name format type" << QVariant(1);
    QTest::newRow("custom from-format") << "mFromCustomRadio" << QVariant() << "File name format type"
                                        << QVariant(1);
    QTest::newRow("log level") << "mLogLevelPopUp" << QVariant(3) << "Log level" << QVariant(3);
    QTest::newRow("max log size") << "mMaxLogSizeField" << QVariant(200) << "Max log size" << QVariant(204800);
    QTest::newRow("default path") << "mDefaultPathField" << QVariant("~/Music") << "Default path"
                                  << QVariant("~/Music");
    QTest::newRow("picked set") << "mDefaultSetPopUp" << QVariant(4) << "Defaults index" << QVariant(4);
  }

  void theOtherControlsWriteTheirKeys() {
    QFETCH(QString, name);
    QFETCH(QVariant, input);
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    open({{QStringLiteral("Tag 2 version"), 4}});  // so that auto differs
    QWidget* widget = child<QWidget>(name.toLatin1().constData());
    QVERIFY(widget && !widget->accessibleName().isEmpty());
    if (auto* combo = qobject_cast<QComboBox*>(widget)) combo->setCurrentIndex(input.toInt());
    else if (auto* radio = qobject_cast<QRadioButton*>(widget)) radio->click();
    else if (auto* spin = qobject_cast<QSpinBox*>(widget)) spin->setValue(input.toInt());
    else if (auto* field = qobject_cast<QLineEdit*>(widget)) QTest::keyClicks(field, input.toString());
    QVariantMap expected{{QStringLiteral("Tag 2 version"), 4}};
    expected[key] = stored;
    QCOMPARE(file(), expected);
    if (key == QLatin1String("Log level")) QCOMPARE(GetLogLevel(), 3u);  // the log follows at once
  }

  void valuesInTheFileShowAndAWrongTypeIsRepairedOnlyByItsControl() {
    open({{"Move original to trash", 1},  // a number under a boolean key reads false
          {"Set file icon", true},        // saved as a boolean, read as a number
          {"Tag 2 version", 3},
          {"Editor style", 2},
          {"To file name format type", 1},
          {"To file name format", "%A - %T"},
          {"File name format type", 7},
          {"Log level", 5},
          {"Max log size", 40960}});
    QVERIFY(!child<QCheckBox>("mMoveToTrashCheckBox")->isChecked());
    QVERIFY(child<QCheckBox>("mSetFileIconCheckBox")->isChecked());
    QCOMPARE(child<QComboBox>("mTag2VersionPopUp")->currentText(), QStringLiteral("Version 2.3"));
    QVERIFY(child<QRadioButton>("mSmallStyleRadio")->isChecked());
    QVERIFY(!child<QRadioButton>("mDrawerStyleRadio")->isChecked());
    QVERIFY(child<QRadioButton>("mToCustomRadio")->isChecked());
    QVERIFY(child<QLineEdit>("mToFileNameFormatField")->isEnabled());
    QCOMPARE(child<QLineEdit>("mToFileNameFormatField")->text(), QStringLiteral("%A - %T"));
    // A type that is neither shows neither button and no field to type in.
    QVERIFY(!child<QRadioButton>("mFromStandardRadio")->isChecked());
    QVERIFY(!child<QRadioButton>("mFromCustomRadio")->isChecked());
    QVERIFY(!child<QLineEdit>("mFromFileNameFormatField")->isEnabled());
    QCOMPARE(child<QComboBox>("mLogLevelPopUp")->currentIndex(), 5);
    QCOMPARE(child<QSpinBox>("mMaxLogSizeField")->value(), 40);

    child<QCheckBox>("mTrimWhitespaceCheckBox")->click();
    QCOMPARE(file().value("Move original to trash"), QVariant(1));
    QCOMPARE(file().value("Set file icon"), QVariant(true));
    child<QCheckBox>("mMoveToTrashCheckBox")->click();
    QCOMPARE(file().value("Move original to trash"), QVariant(true));
  }

  void resetAsksAndEachAnswerDoesWhatItSays_data() {
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("reset");
    QTest::newRow("No keeps everything") << "mResetPreferencesItem" << "No" << false;
    QTest::newRow("Yes resets") << "mResetPreferencesItem" << "Yes" << true;
    QTest::newRow("windows only") << "mResetDoNotShowItem" << "" << false;
  }

  void resetAsksAndEachAnswerDoesWhatItSays() {
    QFETCH(QString, item);
    QFETCH(QString, answer);
    QFETCH(bool, reset);
    QVariantMap seed{{"Defaults index", 2}, {"Window settings", "10 10 600 400"}, {"Show splash", false},
                     {"Always apply default tag data", true}, {"V2 album", QStringList{"Kept"}},
                     {"Default set name2", "Label"}};
    for (const CheckBoxControl& control : kCheckBoxControls)
      seed.insert(QString::fromUtf8(control.key), !control.defaultOn);
    for (const std::string& key : resetPreferenceKeys())
      if (key.starts_with("Default title")) seed.insert(QString::fromStdString(key), "A title");
    seed.insert("Tag 2 version", 4);
    seed.insert("Editor style", 1);
    seed.insert("User genre list", QStringList{"Mine"});
    open(seed);
    questions_.answer("Reset the preferences", answer.toStdString());
    trigger(item.toLatin1().constData());

    const bool windowsOnly = item == QLatin1String("mResetDoNotShowItem");
    QCOMPARE(questions_.asked.size(), windowsOnly ? size_t{0} : size_t{1});
    if (!windowsOnly)
      QCOMPARE(questions_.asked[0].buttons, (std::vector<std::string>{"No", "Yes"}));
    const QVariantMap after = file();
    if (!reset) {
      QVariantMap expected = seed;
      if (windowsOnly) expected["Show splash"] = true;
      QCOMPARE(asJson(after), asJson(expected));
      QCOMPARE(child<QCheckBox>("mShowSplashCheckBox")->isChecked(), windowsOnly);
      return;
    }
    // What a reset leaves alone, and nothing else.
    QCOMPARE(asJson(after),
             asJson({{"Defaults index", 2}, {"Window settings", "10 10 600 400"}, {"Show splash", false},
                     {"Always apply default tag data", true}, {"V2 album", QStringList{"Kept"}},
                     {"Default set name2", "Label"}}));
    for (const CheckBoxControl& control : kCheckBoxControls) {
      const bool kept = control.key == prefs::kShowSplash.key || control.key == prefs::kAlwaysApplyDefTagData.key;
      const bool shown = child<QCheckBox>(control.objectName.data())->isChecked();
      QVERIFY2(shown == (kept ? !control.defaultOn : control.defaultOn), control.objectName.data());
    }
    QCOMPARE(child<QComboBox>("mTag2VersionPopUp")->currentIndex(), 0);
    QVERIFY(child<QRadioButton>("mDrawerStyleRadio")->isChecked());
    QCOMPARE(child<QListWidget>("mUserGenreList")->count(), 25);
    QCOMPARE(child<QLineEdit>("mDefaultTitleField")->text(), QString());
  }

  void clearingTheQuickListsKeepsTheFourItMustAndSaysSo() {
    QVariantMap seed;
    for (std::string_view key : prefs::kQuickListKeys) seed.insert(QString::fromUtf8(key), QStringList{"entry"});
    open(seed);
    questions_.answer("Clear previous entry lists", "Yes");
    child<QPushButton>("mClearQuickListsButton")->click();
    QCOMPARE(file().keys(), (QStringList{"Artist URL", "Podcast description", "Podcast feed", "Podcast identifier"}));
    QCOMPARE(questions_.asked.size(), size_t{2});
    QCOMPARE(questions_.asked[1].title, std::string("Cleared previous entry lists"));
    QCOMPARE(questions_.asked[1].message, std::string("All the previous entry lists have been removed."));
  }

  void userGenresAreEditedAndReorderedAndAnOpenEditorFollows() {
    ControllerRig rig;
    rig.preferences.setUserGenreList({"Ambient", "Dub", "Folk"});
    rig.preferences.setBoolPreferenceNamed(prefs::kReplaceV2GenreList.key, true);
    QVERIFY(rig.controller.openFiles({rig.track("first.mp3", "First light")}));
    auto* editorGenres = findByName<QComboBox>(rig.controller.frontWindow(), "mT2Genre");
    QVERIFY(editorGenres);
    const auto offered = [editorGenres] {
      QStringList names;
      for (int i = 0; i < editorGenres->count(); ++i) names.append(editorGenres->itemText(i));
      return names;
    };
    QCOMPARE(offered(), (QStringList{"Ambient", "Dub", "Folk"}));
    ui::PreferencesWindow* window = rig.controller.showPreferences();
    auto* list = findByName<ui::GenreListView>(window, "mUserGenreList");

    // Alt+Down moves the selection, plain Down only moves the cursor.
    list->selectRows({0});
    QTest::keyClick(list, Qt::Key_Down, Qt::AltModifier);
    QCOMPARE(offered(), (QStringList{"Dub", "Ambient", "Folk"}));
    QCOMPARE(list->selectedRows(), std::vector<int>{1});
    QTest::keyClick(list, Qt::Key_Up, Qt::AltModifier);
    QTest::keyClick(list, Qt::Key_Up, Qt::AltModifier);  // already at the top
    QCOMPARE(offered(), (QStringList{"Ambient", "Dub", "Folk"}));

    // Dropping "Ambient" and "Dub" below "Folk".
    list->selectRows({0, 1});
    std::unique_ptr<QMimeData> dragged(list->model()->mimeData(list->selectionModel()->selectedIndexes()));
    QVERIFY(dragged->hasFormat(QString::fromLatin1(ui::kGenreRowsMimeType)));
    const QRect last = list->visualItemRect(list->item(2));
    const QPoint below(last.center().x(), last.bottom() - 1);
    // Qt hands a drop only to the widget that took the drag in.
    QDragEnterEvent enter(below, Qt::MoveAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(list->viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(QPointF(below), Qt::MoveAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(list->viewport(), &drop);
    QVERIFY(drop.isAccepted());
    QCOMPARE(itemsOf(list), (QStringList{"Folk", "Ambient", "Dub"}));
    QCOMPARE(offered(), (QStringList{"Folk", "Ambient", "Dub"}));

    // Rename in place, add, remove.
    list->item(0)->setText(QStringLiteral("Folk Rock"));
    findByName<QPushButton>(window, "mAddGenreButton")->click();
    list->selectRows({1, 2});
    findByName<QPushButton>(window, "mRemoveGenreButton")->click();
    QCOMPARE(offered(), (QStringList{"Folk Rock", "New genre"}));
    list->item(0)->setText(QStringLiteral("  "));  // a blank name is refused
    QCOMPARE(itemsOf(list), (QStringList{"Folk Rock", "New genre"}));
    QCOMPARE(rig.preferences.getUserGenreList(), (std::vector<std::string>{"Folk Rock", "New genre"}));
  }

  void aDisabledStandardGenreLeavesTheEditorsBoxes() {
    ControllerRig rig;
    QVERIFY(rig.controller.openFiles({rig.track("first.mp3", "First light")}));
    auto* editorGenres = findByName<QComboBox>(rig.controller.frontWindow(), "mT1Genre");
    QVERIFY(editorGenres && editorGenres->findText(QStringLiteral("Blues")) >= 0);
    auto* genres = findByName<QListWidget>(rig.controller.showPreferences(), "mGenreList");
    QCOMPARE(genres->count(), 80);
    genres->item(0)->setCheckState(Qt::Unchecked);  // Blues
    QCOMPARE(editorGenres->findText(QStringLiteral("Blues")), -1);
    QCOMPARE(rig.preferences.getGenreList().at(0).state, std::string("off"));
    genres->clearSelection();
    genres->item(0)->setSelected(true);
    genres->item(1)->setSelected(true);
    emit genres->itemDoubleClicked(genres->item(1));  // each selected one switches
    QVERIFY(editorGenres->findText(QStringLiteral("Blues")) >= 0);
    QCOMPARE(editorGenres->findText(QStringLiteral("Classic Rock")), -1);
  }

  void aDefaultSetIsPickedRenamedEditedAndKeepsItsPictureOverARestart() {
    open({{"Always apply default tag data", true}});
    child<QComboBox>("mDefaultSetPopUp")->setCurrentIndex(3);
    auto* name = child<QLineEdit>("mDefaultSetNameField");
    QCOMPARE(name->text(), QStringLiteral("Default 4"));
    name->selectAll();
    QTest::keyClicks(name, QStringLiteral("Label"));
    QCOMPARE(child<QComboBox>("mDefaultSetPopUp")->itemText(3), QStringLiteral("Label"));
    QVERIFY(child<QLabel>("mAlwaysAppliedLabel")->text().contains(QStringLiteral("“Label” is always applied")));
    child<QCheckBox>("mDefaultArtistFieldUse")->click();
    QTest::keyClicks(child<QLineEdit>("mDefaultArtistField"), QStringLiteral("Ensemble"));
    child<QCheckBox>("mDefaultCompilationFieldUse")->click();
    child<QCheckBox>("mDefaultCompilationField")->click();
    child<QCheckBox>("mUseDefaultPictureCheckBox")->click();
    const Bytes picture = imageBytes(8, 8);
    QVERIFY(child<ui::DragImageView>("mDefaultPictureWell")->setImageWithData(picture));
    QCOMPARE(file(), (QVariantMap{{"Always apply default tag data", true}, {"Defaults index", 3},
                                  {"Default set name3", "Label"}, {"Use default artist3", true},
                                  {"Default artist3", "Ensemble"}, {"Use default compilation3", true},
                                  {"Default compilation3", true}, {"Use default picture3", true}}));

    open();  // a restart
    QCOMPARE(preferences_->getDefaultT2Artist(3), std::optional<std::string>("Ensemble"));
    const std::optional<DefaultPicture> kept = preferences_->getDefaultPicture(3);
    QVERIFY(kept && kept->image && kept->image->data == picture);
    QCOMPARE(child<QComboBox>("mDefaultSetPopUp")->currentText(), QStringLiteral("Label"));
    QCOMPARE(child<QLineEdit>("mDefaultArtistField")->text(), QStringLiteral("Ensemble"));
    QVERIFY(child<QCheckBox>("mDefaultCompilationField")->isChecked());
    QCOMPARE(child<ui::DragImageView>("mDefaultPictureWell")->getImageData(), picture);

    // Another set shows its own fields, and the shared picture.
    child<QComboBox>("mDefaultSetPopUp")->setCurrentIndex(0);
    QCOMPARE(child<QLineEdit>("mDefaultArtistField")->text(), QString());
    QVERIFY(!child<QCheckBox>("mUseDefaultPictureCheckBox")->isChecked());
    child<QPushButton>("mRemoveDefaultPictureButton")->click();
    QVERIFY(!preferences_->getDefaultPicture(3)->image);
  }

  void theFormatPreviewFollowsTheFormatAsItIsTyped() {
    open();
    int fetched = 0;
    int told = 0;
    window_->setPreviewTrack([&fetched] { return ++fetched, samplePreviewTrack(); });
    window_->setPreferencesChangedHandler([&told] { ++told; });
    auto* to = child<QLabel>("mToFileNamePreview");
    QCOMPARE(to->text(), QStringLiteral("01-A title.mp3"));
    child<QCheckBox>("mCreateFolderCheckBox")->click();
    QCOMPARE(to->text(), QStringLiteral("Artist/Album/01-A title.mp3"));
    child<QRadioButton>("mToCustomRadio")->click();
    fetched = told = 0;
    QTest::keyClicks(child<QLineEdit>("mToFileNameFormatField"), QStringLiteral("%n %T"));
    QCOMPARE(to->text(), QStringLiteral("01 A title.mp3"));
    // Typing takes no copy of the track and tells the open windows once.
    QCOMPARE(fetched, 0);
    QTRY_COMPARE(told, 1);
    window_->setPreferencesChangedHandler(nullptr);  // the counters go with this test
    window_->setPreviewTrack([] { return samplePreviewTrack(); });
    child<QRadioButton>("mFromCustomRadio")->click();
    QTest::keyClicks(child<QLineEdit>("mFromFileNameFormatField"), QStringLiteral("%A - %N %T"));
    QCOMPARE(child<QLabel>("mFromFileNamePreview")->text(),
             QStringLiteral("Artist - 01 A title.mp3 → Title: A title, Artist: Artist, Track: 1"));
  }

  void aSettingsFileThatIsNotJsonIsKeptAndSaidOnce_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("not JSON") << QByteArray("{\"Copy title\": tru");
    QTest::newRow("not an object") << QByteArray("[true]");
    QTest::newRow("empty") << QByteArray();
  }

  void aSettingsFileThatIsNotJsonIsKeptAndSaidOnce() {
    QFETCH(QByteArray, content);
    {
      QFile broken(path_);
      QVERIFY(broken.open(QIODevice::WriteOnly) && broken.write(content) == content.size());
    }
    open();
    QCOMPARE(questions_.asked.size(), size_t{1});
    QCOMPARE(questions_.asked[0].title, std::string("Preferences"));
    QVERIFY(questions_.asked[0].message.find("Meloscribe.json.broken") != std::string::npos);
    QVERIFY(!child<QCheckBox>("mCopyTitleCheckBox")->isChecked());
    QVERIFY(child<QCheckBox>("mMoveToTrashCheckBox")->isChecked());  // the defaults
    QFile kept(path_ + QStringLiteral(".broken"));
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), content);
    child<QCheckBox>("mCopyTitleCheckBox")->click();
    window_->hide();
    window_->show();
    QCOMPARE(questions_.asked.size(), size_t{1});
    QCOMPARE(file(), (QVariantMap{{"Copy title", true}}));
  }

  void aReadOnlySettingsFileIsReadAndTheFailedSaveSaidOnce() {
    if (geteuid() == 0) QSKIP("the superuser writes read-only files");
    writeJson(path_, {{"Copy title", true}});
    QVERIFY(QFile::setPermissions(path_, QFileDevice::ReadOwner));
    open();
    QVERIFY(child<QCheckBox>("mCopyTitleCheckBox")->isChecked());
    child<QCheckBox>("mCopyTrackCheckBox")->click();
    child<QCheckBox>("mCopyComposerCheckBox")->click();
    QCOMPARE(questions_.asked.size(), size_t{1});
    QVERIFY(questions_.asked[0].message.find("could not be saved") != std::string::npos);
    QCOMPARE(readJson(path_), (QVariantMap{{"Copy title", true}}));
  }

  void aStoreThatCannotBeSavedIsSaidOnce() {
    PreferencesController preferences(std::make_unique<UnsavableStore>(), dir_->path());
    ui::PreferencesWindow window(preferences, questions_);
    QCOMPARE(questions_.asked.size(), size_t{1});
    findByName<QCheckBox>(&window, "mCopyTitleCheckBox")->click();
    findByName<QCheckBox>(&window, "mCopyTrackCheckBox")->click();
    QCOMPARE(questions_.asked.size(), size_t{1});
    QVERIFY(questions_.asked[0].message.find("could not be saved") != std::string::npos);
    QVERIFY(preferences.isCopyTrackSet());  // kept for as long as the program runs
  }

  void aChosenPictureFileIsTakenAndAnythingElseRefused_data() {
    QTest::addColumn<bool>("picture");
    QTest::newRow("a PNG file") << true;
    QTest::newRow("a text file") << false;
  }

  void aChosenPictureFileIsTakenAndAnythingElseRefused() {
    QFETCH(bool, picture);
    open();
    const Bytes bytes = picture ? imageBytes(8, 8) : Bytes{'n', 'o', 't', 'e', 's'};
    const QString chosen = QString::fromStdString(dir_->write(picture ? "cover.png" : "notes.txt", bytes));
    window_->setPictureChooser([chosen](QWidget*) { return chosen; });
    child<QPushButton>("mChooseDefaultPictureButton")->click();
    QFile stored(QString::fromStdString(preferences_->defaultPicturePath(0)));
    QCOMPARE(stored.exists(), picture);
    QCOMPARE(questions_.asked.size(), picture ? size_t{0} : size_t{1});
    if (!picture) QCOMPARE(questions_.asked[0].title, std::string("Default image"));
  }

  void aTrackFillsTheCurrentSet() {
    open({{"Defaults index", 1}});
    const QString track = QString::fromStdString(dir_->write("first.mp3", sampleMp3("First light")));
    const QString broken = QString::fromStdString(dir_->write("broken.mp3", Bytes{'n', 'o'}));
    QString chosen = track;
    window_->setTrackChooser([&chosen](QWidget*) { return chosen; });
    child<QPushButton>("mFillDefaultsFromTrackButton")->click();
    QCOMPARE(child<QLineEdit>("mDefaultTitleField")->text(), QStringLiteral("First light"));
    QVERIFY(child<QCheckBox>("mDefaultTitleFieldUse")->isChecked());
    QCOMPARE(file().value("Default title1"), QVariant("First light"));
    chosen = broken;
    child<QPushButton>("mFillDefaultsFromTrackButton")->click();
    QCOMPARE(questions_.asked.size(), size_t{1});
    QCOMPARE(questions_.asked[0].title, std::string("Load failed"));
    QCOMPARE(child<QLineEdit>("mDefaultTitleField")->text(), QStringLiteral("First light"));
  }

  void theLogPageOpensTheLogsFolder() {
    open();
    QString opened;
    window_->setLogFolderOpener([&opened](const QString& folder) { opened = folder; });
    child<QPushButton>("mOpenLogFolderButton")->click();
    QCOMPARE(opened, QFileInfo(QString::fromStdString(DefaultLogPath())).absolutePath());
    QVERIFY(QFileInfo(opened).isDir());
  }

  void thePreviewNamesTheFrontTrack() {
    ControllerRig rig;
    QVERIFY(rig.controller.openFiles({rig.track("first.mp3", "First light")}));
    ui::PreferencesWindow* window = rig.controller.showPreferences();
    const QString shown = findByName<QLabel>(window, "mToFileNamePreview")->text();
    QVERIFY2(shown.endsWith(QStringLiteral("First light.mp3")), qPrintable(shown));
    QVERIFY(findByName<QLabel>(window, "mFromFileNamePreview")->text().startsWith(QStringLiteral("first.mp3 → ")));
  }

  void theMenuItemOpensOneWindowAndRaisesIt() {
    ControllerRig rig;
    QAction* item = nullptr;
    for (QAction* action : rig.controller.findChildren<QAction*>())
      if (action->objectName() == QLatin1String("mPreferencesMenuItem")) item = action;
    QVERIFY(item && item->isEnabled());
    QCOMPARE(item->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Comma));
    item->trigger();
    ui::PreferencesWindow* first = rig.controller.showPreferences();
    QVERIFY(first && first->isVisible());
    first->close();
    item->trigger();
    QCOMPARE(rig.controller.showPreferences(), first);
    QVERIFY(first->isVisible());
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::PreferencesWindowTest)
#include "preferences_window_test.moc"
