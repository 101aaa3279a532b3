#pragma once
// Every window of the program rendered into PNG files, for the README and for
// machines without a display.

#include <QString>
#include <QStringList>

namespace melos::ui {

class DocumentController;

// Opens the tracks given (the MP3s and AIFFs each alone, the folder of the
// first as a group), shows the start panel, and saves each window as
// FOLDER/NAME.png. Returns the files written.
QStringList renderScreenshots(DocumentController& controller, const QString& folder, const QStringList& tracks);

}  // namespace melos::ui
