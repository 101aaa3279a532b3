#include "ui/file_chooser.h"

#include <QFileDialog>

#include "operations/tag_clipboard.h"

namespace melos::ui {

QStringList DialogFileChooser::chooseTracks(QWidget* parent) {
  return QFileDialog::getOpenFileNames(parent, QObject::tr("Open"), QString(),
                                       QObject::tr("Tracks and tag data (*.mp3 *.aif *.aiff *.tdf)"));
}

QString DialogFileChooser::chooseFolder(QWidget* parent) {
  return QFileDialog::getExistingDirectory(parent, QObject::tr("Open group"));
}

QString DialogFileChooser::chooseTagSource(QWidget* parent, const QString& startFolder) {
  // Links are followed by default: the chosen file is the one they point at.
  return QFileDialog::getOpenFileName(parent, QString::fromLatin1(kLoadTagDataTitle.data(),
                                                                  static_cast<qsizetype>(kLoadTagDataTitle.size())),
                                      startFolder, QObject::tr("Tag data (*.tdf *.mp3)"));
}

QString DialogFileChooser::chooseTagDestination(QWidget* parent, const QString& startFolder) {
  QFileDialog dialog(parent, QString::fromLatin1(kSaveTagDataTitle.data(),
                                                 static_cast<qsizetype>(kSaveTagDataTitle.size())),
                     startFolder, QObject::tr("Tag data (*.tdf)"));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDefaultSuffix(QStringLiteral("tdf"));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  return dialog.selectedFiles().first();
}

QString DialogFileChooser::chooseExportDestination(QWidget* parent, bool xml) {
  QFileDialog dialog(parent,
                     xml ? QObject::tr("Choose a destination XML file") : QObject::tr("Choose a destination CSV file"));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDefaultSuffix(xml ? QStringLiteral("xml") : QStringLiteral("csv"));
  dialog.setNameFilter(xml ? QObject::tr("XML files (*.xml)") : QObject::tr("CSV files (*.csv)"));
  return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

}  // namespace melos::ui
