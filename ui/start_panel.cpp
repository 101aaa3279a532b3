#include "ui/start_panel.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QListView>
#include <QMimeData>
#include <QPushButton>
#include <QUrl>

#include "preferences/preferences_controller.h"
#include "ui/document_controller.h"
#include "ui/document_window.h"
#include "ui/shown_path.h"

namespace melos::ui {
namespace {

QStringList decodedPaths(const std::vector<std::string>& paths) {
  QStringList decoded;
  for (const std::string& path : paths) decoded.append(QFile::decodeName(QByteArray::fromStdString(path)));
  return decoded;
}

QStringList shownPaths(const QStringList& paths) {
  QStringList shown;
  for (const QString& path : paths) shown.append(shownPath(path));
  return shown;
}

}  // namespace

StartPanel::StartPanel(DocumentController& controller, PreferencesController& preferences, QWidget* parent)
    : QWidget(parent, Qt::Window), controller_(controller), preferences_(preferences) {
  setObjectName(QStringLiteral("startPanel"));
  setWindowTitle(tr("Welcome to Meloscribe"));
  setAttribute(Qt::WA_DeleteOnClose);
  setAcceptDrops(true);

  auto* layout = new QVBoxLayout(this);
  auto* intro = new QLabel(tr("Open tracks to edit their tags, or a folder to edit its tracks as a group. "
                              "You can also drop files and folders here."),
                           this);
  intro->setObjectName(QStringLiteral("startIntro"));
  intro->setWordWrap(true);
  layout->addWidget(intro);

  auto* lists = new QHBoxLayout;
  const auto addColumn = [&](const char* name, const QString& label, QStringListModel& model,
                             const QStringList& paths) {
    auto* column = new QVBoxLayout;
    auto* caption = new QLabel(label, this);
    QListView* view = makeList(name, label, model, paths);
    caption->setBuddy(view);
    column->addWidget(caption);
    column->addWidget(view);
    lists->addLayout(column);
  };
  addColumn("recentTracksList", tr("Recent &tracks"), recentTracks_, trackPaths_);
  addColumn("recentGroupsList", tr("Recent &groups"), recentGroups_, groupPaths_);
  layout->addLayout(lists);

  auto* buttons = new QHBoxLayout;
  auto* open = new QPushButton(tr("&Open…"), this);
  open->setObjectName(QStringLiteral("startOpenButton"));
  open->setAccessibleName(tr("Open tracks"));
  connect(open, &QPushButton::clicked, &controller_, &DocumentController::openMenuItemSelected);
  auto* openGroup = new QPushButton(tr("Open &group…"), this);
  openGroup->setObjectName(QStringLiteral("startOpenGroupButton"));
  openGroup->setAccessibleName(tr("Open a folder as a group"));
  connect(openGroup, &QPushButton::clicked, &controller_, &DocumentController::openGroupMenuItemSelected);
  buttons->addWidget(open);
  buttons->addWidget(openGroup);
  buttons->addStretch();
  layout->addLayout(buttons);

  // A flat button rather than a link in a label: Qt's labels trap Shift+Tab
  // on their links, and this one must be reachable from the keyboard both ways.
  auto* readme = new QPushButton(tr("Read about Meloscribe"), this);
  readme->setObjectName(QStringLiteral("startReadmeLink"));
  readme->setAccessibleName(tr("Read about Meloscribe"));
  readme->setFlat(true);
  readme->setCursor(Qt::PointingHandCursor);
  // Drawn as the link it leads to.
  QFont linkFont = readme->font();
  linkFont.setUnderline(true);
  readme->setFont(linkFont);
  QPalette linkColours = readme->palette();
  linkColours.setColor(QPalette::ButtonText, linkColours.color(QPalette::Link));
  readme->setPalette(linkColours);
  connect(readme, &QPushButton::clicked, this,
          [] { QDesktopServices::openUrl(QUrl(QStringLiteral(MELOSCRIBE_README_URL))); });
  layout->addWidget(readme, 0, Qt::AlignLeft);

  showAtStart_ = new QCheckBox(tr("&Show this window at start"), this);
  showAtStart_->setObjectName(QStringLiteral("startShowAtStart"));
  showAtStart_->setAccessibleName(tr("Show this window at start"));
  showAtStart_->setChecked(preferences_.showSplash());
  connect(showAtStart_, &QCheckBox::toggled, this, [this](bool on) {
    preferences_.setShowSplash(on ? 1 : 0);
    preferences_.synchronize();
  });
  layout->addWidget(showAtStart_);
  resize(560, 360);
  refresh();
}

QListView* StartPanel::makeList(const char* name, const QString& label, QStringListModel& model,
                                const QStringList& paths) {
  auto* view = new QListView(this);
  view->setObjectName(QString::fromLatin1(name));
  view->setAccessibleName(QString(label).remove(QLatin1Char('&')));
  view->setModel(&model);
  view->setEditTriggers(QAbstractItemView::NoEditTriggers);
  connect(view, &QListView::activated, this, [this, &paths](const QModelIndex& index) {
    if (index.row() < paths.size()) controller_.openFiles({paths.at(index.row())});
  });
  return view;
}

void StartPanel::refresh() {
  trackPaths_ = decodedPaths(controller_.recentTracks().list());
  groupPaths_ = decodedPaths(controller_.recentGroups().list());
  recentTracks_.setStringList(shownPaths(trackPaths_));
  recentGroups_.setStringList(shownPaths(groupPaths_));
}

void StartPanel::dragEnterEvent(QDragEnterEvent* event) {
  if (!droppedPaths(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void StartPanel::dropEvent(QDropEvent* event) {
  const QStringList paths = droppedPaths(event->mimeData());
  if (paths.isEmpty()) return;
  event->acceptProposedAction();
  controller_.openFiles(paths);
}

}  // namespace melos::ui
