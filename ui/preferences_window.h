#pragma once
// The preferences window: one page per area, every control showing its key as
// the getters read it and writing it the moment it changes, so the next save
// follows it without a restart. What each control reads and writes is in
// preferences/preference_controls; what the reset and clear buttons ask, in
// operations/preferences_actions.

#include <QListWidget>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

#include "engine/id3_tag.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QSpinBox;
class QTabWidget;

namespace melos {
class PreferencesController;
class Questions;
struct CheckBoxControl;
}  // namespace melos

namespace melos::ui {

class DragImageView;

inline constexpr char kGenreRowsMimeType[] = "MeloscribeGenreListRowsPboardType";

// The user genre list: rows are dragged within it as their row numbers, and
// Alt+Up/Down moves the selected rows.
class GenreListView : public QListWidget {
  Q_OBJECT

 public:
  explicit GenreListView(QWidget* parent = nullptr);
  std::vector<int> selectedRows() const;
  void selectRows(const std::vector<int>& rows);

 signals:
  void rowsDropped(std::vector<int> rows, int target);
  void moveRequested(int delta);

 protected:
  QStringList mimeTypes() const override;
  QMimeData* mimeData(const QList<QListWidgetItem*>& items) const override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
};

class PreferencesWindow : public QWidget {
  Q_OBJECT

 public:
  PreferencesWindow(PreferencesController& preferences, Questions& questions, QWidget* parent = nullptr);
  ~PreferencesWindow() override;

  // Called after a change that open windows show (genre lists, quick lists,
  // play controls...).
  void setPreferencesChangedHandler(std::function<void()> handler) { changedHandler_ = std::move(handler); }
  // The track the file-name previews use; a sample track when it gives none.
  void setPreviewTrack(std::function<std::unique_ptr<ID3Tag>()> track);
  void setLogFolderOpener(std::function<void(const QString&)> open) { openFolder_ = std::move(open); }
  void setPictureChooser(std::function<QString(QWidget*)> choose) { choosePicture_ = std::move(choose); }
  // The track whose tags fill the current default set.
  void setTrackChooser(std::function<QString(QWidget*)> choose) { chooseTrack_ = std::move(choose); }

  // Fills every control from the store, taking in changes made from outside.
  void loadPreferences();
  // Recomputes the file-name previews, e.g. when the front track changed.
  void refreshPreviews();

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  QWidget* buildSavingPage();
  QWidget* buildNamingPage();
  QWidget* buildEditingPage();
  QWidget* buildGenresPage();
  QWidget* buildDefaultsPage();
  QWidget* buildLogPage();
  void addCheckBoxes(QLayout* layout, int page);
  QWidget* buildFormatGroup(bool toFileName);
  void buildResetButton(QLayout* layout);

  void fillControls();
  void loadGenreLists();
  void loadDefaultSet();
  void storeUserGenres(const std::vector<std::string>& names, const std::vector<int>& selected);
  void storeGenreRows();
  void defaultPictureChanged();
  void chooseDefaultPicture();
  void fillDefaultSetFromTrack();
  void updateAlwaysApplied();
  void formatTypeChosen(bool toFileName, bool custom);

  // After a write: says once when the store could not be saved, refreshes
  // the previews and tells the open windows, once typing pauses when typed.
  void stored(bool saved, bool typing = false);
  void tellUnreadable();
  void showPreviews();
  void notifyChanged();

  PreferencesController& preferences_;
  Questions& questions_;
  std::function<void()> changedHandler_;
  std::function<std::unique_ptr<ID3Tag>()> previewTrack_;
  // The front track as the previews last took it: typing a format must not
  // copy it, pictures and all, for every key.
  std::unique_ptr<ID3Tag> previewSource_;
  // Open windows hear of changes once typing pauses, not for every key.
  QTimer notifySoon_;
  std::function<void(const QString&)> openFolder_;
  std::function<QString(QWidget*)> choosePicture_;
  std::function<QString(QWidget*)> chooseTrack_;
  bool toldStoreProblem_ = false;
  bool loading_ = false;

  QTabWidget* tabs_ = nullptr;
  std::vector<std::pair<const CheckBoxControl*, QCheckBox*>> checkBoxes_;
  std::vector<QLineEdit*> textFields_;  // in the order of kTextControls
  QComboBox* tag2Version_ = nullptr;
  QRadioButton* styleRadios_[3] = {};
  QRadioButton* toRadios_[2] = {};
  QRadioButton* fromRadios_[2] = {};
  QLabel* toPreview_ = nullptr;
  QLabel* fromPreview_ = nullptr;
  QListWidget* genreList_ = nullptr;
  GenreListView* userGenreList_ = nullptr;
  QComboBox* defaultSet_ = nullptr;
  QLineEdit* defaultSetName_ = nullptr;
  QLabel* alwaysApplied_ = nullptr;
  std::vector<QCheckBox*> defaultUse_;   // in the order of kDefaultFieldControls
  std::vector<QWidget*> defaultValue_;   // QLineEdit, or QCheckBox for the compilation
  QCheckBox* useDefaultPicture_ = nullptr;
  DragImageView* defaultPicture_ = nullptr;
  QComboBox* logLevel_ = nullptr;
  QSpinBox* maxLogSize_ = nullptr;
};

}  // namespace melos::ui
