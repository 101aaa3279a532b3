#pragma once
// The open and save questions for files and folders. The program shows file
// dialogs; tests answer from a script.

#include <QString>
#include <QStringList>

class QWidget;

namespace melos::ui {

class FileChooser {
 public:
  virtual ~FileChooser() = default;
  // Several tracks at once; empty when cancelled.
  virtual QStringList chooseTracks(QWidget* parent) = 0;
  virtual QString chooseFolder(QWidget* parent) = 0;
  // One ".tdf" or ".mp3" file to load tag data from.
  virtual QString chooseTagSource(QWidget* parent, const QString& startFolder) = 0;
  // A ".tdf" file to save tag data into.
  virtual QString chooseTagDestination(QWidget* parent, const QString& startFolder) = 0;
  // Where an export of the front track goes: an ".xml" or a ".csv" file.
  virtual QString chooseExportDestination(QWidget* parent, bool xml) = 0;
};

class DialogFileChooser : public FileChooser {
 public:
  QStringList chooseTracks(QWidget* parent) override;
  QString chooseFolder(QWidget* parent) override;
  QString chooseTagSource(QWidget* parent, const QString& startFolder) override;
  QString chooseTagDestination(QWidget* parent, const QString& startFolder) override;
  QString chooseExportDestination(QWidget* parent, bool xml) override;
};

}  // namespace melos::ui
