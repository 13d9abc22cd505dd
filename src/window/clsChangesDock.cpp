#include "window/clsChangesDock.h"

#include <QAction>
#include <QBoxLayout>
#include <QCheckBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>

#include "window/clsMark.h"

namespace {
constexpr int margin = 6;      // pixels
constexpr int listWidth = 46;  // characters, at least
}  // namespace

clsChangesDock::clsChangesDock(const clsComparison& comparison, QWidget* parent)
    : QDockWidget(tr("Changes"), parent), m_comparison(comparison) {
    setObjectName("dockChanges");
    MakeContents();
    MakeMenu();
    connect(&comparison, &clsComparison::Changed, this, [this] {
        if (isVisible() && !m_file) ShowRows();
    });
    connect(m_all, &QCheckBox::toggled, this, &clsChangesDock::ShowRows);
    connect(m_list, &QTreeView::activated, this,
            [this](const QModelIndex& index) { emit GoTo(m_list->Model().RowAt(index).Item); });
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &clsChangesDock::UpdateTake);
    connect(m_take, &QPushButton::clicked, m_takeAction, &QAction::trigger);
    connect(m_back, &QPushButton::clicked, this, [this] {
        m_file.reset();
        ShowRows();
        FocusList();
    });
}

void clsChangesDock::MakeContents() {
    auto* const contents = new QWidget(this);
    m_sentence = new QLabel(contents);
    m_sentence->setObjectName("labChanges");
    m_sentence->setTextFormat(Qt::PlainText);
    m_sentence->setWordWrap(true);
    m_list = new clsDifferenceList(contents);
    m_list->setObjectName("lstChanges");
    m_list->setAccessibleName(tr("Changes"));
    m_list->setItemDelegate(new clsMarkDelegate(m_list));
    m_list->setMinimumWidth(fontMetrics().averageCharWidth() * listWidth);
    m_all = new QCheckBox(tr("All settings"), contents);
    m_all->setObjectName("chkAllChanges");
    m_all->setToolTip(tr("List the settings too that are the same on both sides"));
    m_take = new QPushButton(tr("Take the reader's value"), contents);
    m_take->setObjectName("cmdTakeReaders");
    m_take->setToolTip(tr("Show what the reader holds of the selected settings on the pages again"));
    m_back = new QPushButton(tr("Back to the changes"), contents);
    m_back->setObjectName("cmdBackToChanges");
    m_back->setToolTip(tr("Compare the pages with the reader again"));
    m_back->hide();

    auto* const column = new QVBoxLayout(contents);
    column->setContentsMargins(margin, margin, margin, margin);
    column->addWidget(m_sentence);
    column->addWidget(m_list, /*stretch=*/1);
    auto* const row = new QHBoxLayout;
    row->addWidget(m_all);
    row->addStretch();
    row->addWidget(m_take);
    row->addWidget(m_back);
    column->addLayout(row);
    setWidget(contents);
}

void clsChangesDock::MakeMenu() {
    m_list->setContextMenuPolicy(Qt::ActionsContextMenu);
    const auto add = [this](const QString& text, const auto& handler) {
        auto* const action = new QAction(text, m_list);
        connect(action, &QAction::triggered, this, handler);
        m_list->addAction(action);
        return action;
    };
    add(tr("Go to the setting"), [this] {
        if (m_list->currentIndex().isValid()) emit m_list->activated(m_list->currentIndex());
    });
    m_takeAction = add(tr("Take the reader's value"), [this] { emit TakeReaders(ToTake()); });
    add(tr("Copy"), [this] { m_list->Copy(); });
}

void clsChangesDock::showEvent(QShowEvent* event) {
    ShowRows();
    QDockWidget::showEvent(event);
}

void clsChangesDock::FocusList() { m_list->setFocus(Qt::ShortcutFocusReason); }

void clsChangesDock::ShowFile(const QString& file, const LaidFile& laid) {
    m_file = CheckedFile{file, m_comparison.ReadAt(), {AsStored(laid.Before), AsStored(laid.Wanted), false}};
    ShowRows();
}

void clsChangesDock::SetTaking(bool possible) {
    m_taking = possible;
    UpdateTake();
}

DifferenceRow clsChangesDock::RowOf(const SettingItem& item) const {
    const Sight sight = m_comparison.Of(item);
    QString inReader = m_comparison.InReader(item);
    if (sight == Sight::Unknown) {
        inReader = tr("not read");
    } else if (m_comparison.Picture().IsWritten(item)) {
        inReader = tr("written: %1").arg(inReader);
    }
    return {item, sight, inReader, m_comparison.InControls(item), {}, m_comparison.Told(item)};
}

DifferenceRow clsChangesDock::FileRowOf(const SettingItem& item) const {
    const LaidFile& laid = m_file->Laid;
    const bool same = item.Same(laid.Before, laid.Wanted);
    const auto text = [&](const ZarnInfo& record) { return QString::fromStdString(item.Value(record)); };
    return {item, same ? Sight::Same : Sight::Differs, text(laid.Before), text(laid.Wanted),
            {},   same ? QString() : tr("differs")};
}

void clsChangesDock::ShowRows() {
    std::vector<DifferenceRow> rows;
    std::size_t differences = 0;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        DifferenceRow row = m_file ? FileRowOf(item) : RowOf(item);
        const bool differs = row.Stands == Sight::Differs || row.Stands == Sight::Written;
        differences += differs ? 1 : 0;
        if (differs || m_all->isChecked()) rows.push_back(std::move(row));
    }
    clsDifferenceModel& model = m_list->Model();
    const bool untitled = model.columnCount() == 0;
    model.SetTitles({tr("Setting"), tr("In the reader"), m_file ? tr("In the file") : tr("Here")});
    m_list->SetRows(std::move(rows));
    if (untitled) {
        QHeaderView& header = *m_list->header();
        header.setStretchLastSection(false);
        header.setSectionResizeMode(QHeaderView::Stretch);
        header.setSectionResizeMode(0, QHeaderView::Interactive);
        header.resizeSection(0, m_list->minimumWidth() * 2 / 5);
    }
    m_sentence->setText(Sentence(differences));
    m_sentence->setToolTip(m_file ? m_file->Name : QString());
    setWindowTitle(m_file ? tr("Check against file") : tr("Changes"));
    m_take->setVisible(!m_file);
    m_back->setVisible(m_file.has_value());
    UpdateTake();
    widget()->layout()->activate();  // else the list is painted twice, where the sentence takes another line
}

QString clsChangesDock::Sentence(std::size_t differences) const {
    if (m_file) {
        const QString file = QFileInfo(m_file->Name).fileName();
        if (differences == 0)
            return tr("%1: the reader holds this file (read %2).").arg(file, m_file->ReadAt);
        return tr("%1: the reader, read %2, differs in %3 of %4 settings.")
            .arg(file, m_file->ReadAt)
            .arg(differences)
            .arg(itemCount);
    }
    if (!m_comparison.Picture().Known())
        return tr("The reader was not read: there is nothing to compare with.");
    if (differences == 0)
        return tr("The pages show what the reader held when it was read (%1).").arg(m_comparison.ReadAt());
    const QString counts = m_comparison.Summary();
    return m_comparison.Picture().WasRead() ? tr("%1 (read %2)").arg(counts, m_comparison.ReadAt()) : counts;
}

// What is the same already would be a step for nothing.
std::vector<SettingItem> clsChangesDock::ToTake() const {
    std::vector<SettingItem> items;
    if (!m_taking || m_file) return items;
    for (const DifferenceRow& row : m_list->SelectedRows())
        if (row.Stands == Sight::Differs) items.push_back(row.Item);
    return items;
}

void clsChangesDock::UpdateTake() {
    const bool any = !ToTake().empty();
    m_take->setEnabled(any);
    m_takeAction->setEnabled(any);
}
