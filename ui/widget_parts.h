#pragma once
// Small pieces the windows build alike.

#include <QComboBox>
#include <QFrame>
#include <QScrollArea>
#include <algorithm>
#include <string>
#include <vector>

#include "ui/qt_text.h"

namespace melos::ui {

// A page that scrolls rather than forcing its window taller than the screen
// on a small or scaled one.
inline QScrollArea* scrollingPage(QWidget* page) {
  auto* area = new QScrollArea;
  area->setWidget(page);
  area->setWidgetResizable(true);
  area->setFrameShape(QFrame::NoFrame);
  return area;
}

// Refills a genre box with the names, keeping the genre it showed; with an
// empty first row when a box may show no genre.
inline void fillGenreBox(QComboBox* combo, const std::vector<std::string>& names, bool emptyFirst) {
  const QString current = combo->currentText();
  combo->clear();
  if (emptyFirst) combo->addItem(QString());
  for (const std::string& name : names) combo->addItem(qtext(name));
  if (combo->isEditable()) combo->setEditText(current);
  else combo->setCurrentIndex(std::max(0, combo->findText(current)));
}

}  // namespace melos::ui
