#include "ui/editor_fields.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QStyle>
#include <QToolButton>
#include <limits>

#include "operations/rating.h"
#include "operations/text_completion.h"
#include "ui/star_rating.h"
#include "ui/qt_text.h"
#include "ui/widget_parts.h"

namespace melos::ui {
namespace {


constexpr std::array<const char*, 6> kPageNames = {"v1Page", "standardPage", "extendedPage",
                                                   "podcastPage", "userPage", "lyricsPage"};

// The tooltips that tell what a field takes.
QString fieldTooltip(EditorField field) {
  switch (field) {
    case EditorField::ReleaseTime:
    case EditorField::UserReleaseTime: return qtext(std::u16string(kReleaseTimeTooltip));
    case EditorField::RecordTime:
    case EditorField::UserRecordTime: return qtext(std::u16string(kRecordTimeTooltip));
    case EditorField::Isrc:
    case EditorField::UserIsrc: return qtext(std::u16string(kIsrcTooltip));
    case EditorField::InitialKey: return qtext(std::u16string(kInitialKeyTooltip));
    default: return {};
  }
}

}  // namespace

UndoLineEdit::UndoLineEdit(QWidget* parent) : FieldControl(parent) {
  // Typing, pasting and input methods alike.
  connect(this, &QLineEdit::textEdited, this, &UndoLineEdit::complete);
}

void UndoLineEdit::keyPressEvent(QKeyEvent* event) {
  deleting_ = event->key() == Qt::Key_Backspace || event->key() == Qt::Key_Delete;
  FieldControl::keyPressEvent(event);
  deleting_ = false;
}

void UndoLineEdit::complete(const QString& typed) {
  const CompletionStep step = completeWithList(typed.toStdU16String(), completion_, previousLength_, deleting_);
  previousLength_ = step.rememberedLength;
  if (step.completion) {
    setText(QString::fromStdU16String(step.completion->text));
    setSelection(static_cast<int>(step.completion->selectionStart), static_cast<int>(step.completion->selectionLength));
  }
  emit userEdited(text());
}

UndoTextView::UndoTextView(QWidget* parent) : FieldControl(parent) {
  setUndoRedoEnabled(false);
  setTabChangesFocus(true);
}


EditorFields::EditorFields(QWidget* owner) : QObject(owner) {
  for (size_t i = 0; i < pages_.size(); ++i) {
    pages_[i] = new QWidget(owner);
    pages_[i]->setObjectName(QString::fromLatin1(kPageNames[i]));
    auto* grid = new QGridLayout(pages_[i]);
    grid->setColumnStretch(1, 1);
  }
  const auto box = [this](EditorTab tab, const char* name, const QString& text) {
    auto* check = new QCheckBox(text, page(tab));
    check->setObjectName(QString::fromLatin1(name));
    check->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    auto* grid = static_cast<QGridLayout*>(page(tab)->layout());
    grid->addWidget(check, grid->rowCount(), 1, 1, 3);
    return check;
  };
  podcast_ = box(EditorTab::Podcast, "mT2PodcastButton", tr("Enable &podcast tag"));
  userPodcast_ = box(EditorTab::User, "mUserPodcastButton", tr("Enable &podcast tag"));
  for (QCheckBox* check : {podcast_, userPodcast_})
    connect(check, &QCheckBox::clicked, this, [this](bool on) {
      if (!filling_) emit podcastToggled(on);
    });

  for (const EditorFieldInfo& info : editorFields()) {
    makeField(info);
    if (info.field == EditorField::Sets) {
      auto* grid = static_cast<QGridLayout*>(page(EditorTab::Standard)->layout());
      auto* label = new QLabel(tr("Rating:"), page(EditorTab::Standard));
      rating_ = new StarRating(page(EditorTab::Standard));
      rating_->setObjectName(QStringLiteral("mT2Rating"));
      rating_->setAccessibleName(tr("Rating"));
      label->setBuddy(rating_);
      const int row = grid->rowCount();
      grid->addWidget(label, row, 0);
      grid->addWidget(rating_, row, 1, 1, 3, Qt::AlignLeft);
      connect(rating_, &StarRating::starsEdited, this, [this](int before, int after) {
        emit ratingEdited(rateOfStars(before), rateOfStars(after));
      });
      compilation_ = box(EditorTab::Standard, "mT2CompilationButton", tr("Part of a compi&lation"));
      connect(compilation_, &QCheckBox::clicked, this, [this](bool on) {
        if (!filling_) emit compilationToggled(on);
      });
    }
  }
  auto* grid = static_cast<QGridLayout*>(page(EditorTab::Extended)->layout());
  auto* label = new QLabel(tr("Ad&visory:"), page(EditorTab::Extended));
  advisory_ = new QComboBox(page(EditorTab::Extended));
  advisory_->setObjectName(QStringLiteral("mT2Advisory"));
  advisory_->setAccessibleName(tr("Advisory"));
  for (std::string_view name : kAdvisoryNames) advisory_->addItem(tr(std::string(name).c_str()));
  label->setBuddy(advisory_);
  const int row = grid->rowCount();
  grid->addWidget(label, row, 0);
  grid->addWidget(advisory_, row, 1, 1, 3, Qt::AlignLeft);
  connect(advisory_, &QComboBox::activated, this, [this](int index) {
    if (!filling_) emit advisoryChosen(index);
  });
  for (QWidget* page : pages_) {
    auto* rows = static_cast<QGridLayout*>(page->layout());
    if (page != this->page(EditorTab::Lyrics)) rows->setRowStretch(rows->rowCount(), 1);
  }
}

void EditorFields::makeField(const EditorFieldInfo& info) {
  QWidget* parent = page(info.tab);
  auto* grid = static_cast<QGridLayout*>(parent->layout());
  const size_t index = static_cast<size_t>(info.field);
  const EditorField field = info.field;
  QWidget* control = nullptr;
  switch (info.kind) {
    case FieldKind::Line: {
      auto* edit = new UndoLineEdit(parent);
      // A tag's text can be far longer than a line edit takes by default.
      edit->setMaxLength(std::numeric_limits<int>::max());
      connect(edit, &UndoLineEdit::userEdited, this, [this, field](const QString& text) {
        if (!filling_) emit edited(field, text);
      });
      if (info.check) {
        const QIcon icon = QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning);
        QAction* warning = edit->addAction(icon, QLineEdit::TrailingPosition);
        warning->setObjectName(qtext(info.warningName));
        warning->setVisible(false);
        warnings_[index] = warning;
      }
      control = edit;
      break;
    }
    case FieldKind::MultiLine: {
      auto* view = new UndoTextView(parent);
      view->setMinimumHeight(view->fontMetrics().lineSpacing() * 3);
      connect(view, &QPlainTextEdit::textChanged, this, [this, field, view] {
        if (!filling_) emit edited(field, view->toPlainText());
      });
      control = view;
      break;
    }
    case FieldKind::Combo: {
      auto* combo = new QComboBox(parent);
      if (field == EditorField::Genre) {
        combo->setEditable(true);
        combo->setInsertPolicy(QComboBox::NoInsert);
        combo->lineEdit()->setAcceptDrops(false);
        // Completed from the list as the other fields are: by exact prefix.
        combo->completer()->setCaseSensitivity(Qt::CaseSensitive);
        connect(combo, &QComboBox::editTextChanged, this, [this, field](const QString& text) {
          if (!filling_) emit edited(field, text);
        });
      } else {
        connect(combo, &QComboBox::activated, this, [this, field, combo](int) {
          if (!filling_) emit edited(field, combo->currentText());
        });
      }
      control = combo;
      break;
    }
  }
  controls_[index] = control;
  control->setObjectName(qtext(info.objectName));
  control->setAccessibleName(qtext(info.name));
  control->setToolTip(fieldTooltip(field));

  auto* quick = new QToolButton(parent);
  quick->setObjectName(qtext(info.objectName) + QStringLiteral("QuickList"));
  quick->setArrowType(Qt::DownArrow);
  quick->setAutoRaise(true);
  quick->setFocusPolicy(Qt::TabFocus);
  quick->setAccessibleName(tr("%1 quick list").arg(qtext(info.quickListKey)));
  quick->setToolTip(quick->accessibleName());
  quick->setVisible(false);
  quickButtons_[index] = quick;
  auto* menu = new QMenu(quick);
  menu->setObjectName(qtext(info.objectName) + QStringLiteral("QuickListMenu"));
  quick->setMenu(menu);
  quick->setPopupMode(QToolButton::InstantPopup);
  connect(menu, &QMenu::triggered, this,
          [this, field](QAction* chosen) { emit quickListChosen(field, chosen->data().toString()); });

  // "of" fields share the row of the field before them.
  const bool joined = field == EditorField::Tracks || field == EditorField::Sets;
  const int row = joined ? grid->rowCount() - 1 : grid->rowCount();
  auto* label = new QLabel(tr(std::string(info.label).c_str()), parent);
  label->setBuddy(control);
  if (info.tab == EditorTab::Lyrics) {
    delete label;
    grid->addWidget(control, 0, 0, 1, 4);
    return;
  }
  if (joined) {
    auto* pair = new QWidget(parent);
    auto* line = new QHBoxLayout(pair);
    line->setContentsMargins(0, 0, 0, 0);
    QWidget* first = grid->itemAtPosition(row, 1)->widget();
    grid->removeWidget(first);
    line->addWidget(first, 1);
    line->addWidget(label);
    line->addWidget(control, 1);
    line->addStretch(2);
    grid->addWidget(pair, row, 1);
    return;
  }
  grid->addWidget(label, row, 0, info.kind == FieldKind::MultiLine ? Qt::AlignTop : Qt::Alignment());
  grid->addWidget(control, row, 1);
  grid->addWidget(quick, row, 2, Qt::AlignTop);
}

QList<QWidget*> EditorFields::focusOrder(EditorTab tab) const {
  QList<QWidget*> order;
  if (tab == EditorTab::Podcast) order << podcast_;
  if (tab == EditorTab::User) order << userPodcast_;
  for (const EditorFieldInfo& info : editorFields()) {
    if (info.tab != tab) continue;
    order << control(info.field) << quickListButton(info.field);
    if (info.field == EditorField::Sets) order << rating_ << compilation_;
  }
  if (tab == EditorTab::Extended) order << advisory_;
  return order;
}

void EditorFields::show(const EditorValues& values, const EditorValues* shown) {
  filling_ = true;
  for (const EditorFieldInfo& info : editorFields()) {
    // An edit changes a field or two: the others, and the texts of a huge
    // field, are not converted and compared again on every key.
    const bool podcastCheck = info.check == CheckedField::PodcastId;
    if (shown != nullptr && (*shown)[info.field] == values[info.field] &&
        (!podcastCheck || shown->podcast == values.podcast))
      continue;
    QWidget* control = this->control(info.field);
    const QString text = qtext(values[info.field]);
    if (auto* edit = qobject_cast<QLineEdit*>(control)) {
      if (edit->text() != text) edit->setText(text);
    } else if (auto* view = qobject_cast<QPlainTextEdit*>(control)) {
      if (view->toPlainText() != text) view->setPlainText(text);
    } else if (auto* combo = qobject_cast<QComboBox*>(control)) {
      if (combo->isEditable()) {
        if (combo->currentText() != text) combo->setEditText(text);
      } else {
        int found = combo->findText(text);
        if (found < 0 && !text.isEmpty()) {
          combo->addItem(text);
          found = combo->count() - 1;
        }
        combo->setCurrentIndex(found);
      }
    }
    showWarning(info.field, fieldWarningFor(values, info.field));
  }
  podcast_->setChecked(values.podcast);
  userPodcast_->setChecked(values.podcast);
  compilation_->setChecked(values.compilation);
  advisory_->setCurrentIndex(values.advisory >= 0 && values.advisory < advisory_->count() ? values.advisory : 0);
  rating_->setStars(starsOfRate(values.rating));
  filling_ = false;
}

void EditorFields::showWarning(EditorField field, const std::optional<std::u16string>& tooltip) {
  QAction* warning = this->warning(field);
  if (warning == nullptr) return;
  warning->setVisible(tooltip.has_value());
  warning->setToolTip(tooltip ? qtext(*tooltip) : QString());
}

void EditorFields::setGenreLists(const std::vector<std::string>& v1, const std::vector<std::string>& v2) {
  filling_ = true;
  for (auto [field, list] : {std::pair{EditorField::V1Genre, &v1}, std::pair{EditorField::Genre, &v2}}) {
    auto* combo = static_cast<QComboBox*>(control(field));
    fillGenreBox(combo, *list, field == EditorField::V1Genre);
  }
  filling_ = false;
}

void EditorFields::setQuickLists(bool shown,
                                 const std::function<const std::vector<std::string>*(std::string_view)>& list) {
  for (const EditorFieldInfo& info : editorFields()) {
    const size_t index = static_cast<size_t>(info.field);
    const std::vector<std::string>* entries =
        shown && !info.quickListKey.empty() ? list(info.quickListKey) : nullptr;
    quickEntries_[index] = entries ? *entries : std::vector<std::string>();
    quickButtons_[index]->setVisible(entries != nullptr);
    QMenu* menu = quickButtons_[index]->menu();
    menu->clear();
    // An entry is text, never a mnemonic.
    for (const std::string& entry : quickEntries_[index])
      menu->addAction(QString(qtext(entry)).replace(QLatin1Char('&'), QStringLiteral("&&")))->setData(qtext(entry));
    if (auto* edit = qobject_cast<UndoLineEdit*>(control(info.field))) {
      std::vector<std::u16string> completion;
      for (const std::string& entry : quickEntries_[index]) completion.push_back(utf8ToU16(entry));
      edit->setCompletionList(std::move(completion));
    }
  }
}

}  // namespace melos::ui
