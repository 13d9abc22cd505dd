#include "window/clsEventView.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTreeWidget>
#include <optional>

#include "flows/clsSettingsFile.h"
#include "settings/Differences.h"
#include "window/HistorySheet.h"
#include "window/clsHistoryModel.h"

namespace {

constexpr int leastWidth = 40;    // characters
constexpr int widestColumn = 24;  // but the last

QTreeWidget* MakeList(const char* name, const QString& accessible, QWidget* parent) {
    auto* const list = new QTreeWidget(parent);
    list->setObjectName(name);
    list->setAccessibleName(accessible);
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAlternatingRowColors(true);
    list->setAllColumnsShowFocus(true);
    list->setTabKeyNavigation(false);
    return list;
}

void Fill(QTreeWidget& list, const QStringList& titles, const std::vector<QStringList>& rows) {
    list.clear();
    list.setColumnCount(static_cast<int>(titles.size()));
    list.setHeaderLabels(titles);
    QList<QTreeWidgetItem*> items;
    for (const QStringList& row : rows) {
        auto* const item = new QTreeWidgetItem(row);
        for (int column = 0; column < row.size(); ++column)
            item->setToolTip(column, Qt::convertFromPlainText(row[column]));
        items += item;
    }
    list.addTopLevelItems(items);
    list.header()->setStretchLastSection(true);
    for (int column = 0; column + 1 < titles.size(); ++column) {
        list.resizeColumnToContents(column);
        list.setColumnWidth(
            column, std::min(list.columnWidth(column), list.fontMetrics().averageCharWidth() * widestColumn));
    }
}

std::optional<ZarnInfo> RecordOf(const std::string& settings) {
    if (settings.empty()) return std::nullopt;
    ZarnInfo record;
    clsSettingsParser parser(record);
    parser.Feed(settings);
    parser.End();
    return record;
}

QString Value(const SettingItem& item, const std::optional<ZarnInfo>& record) {
    return record ? QString::fromStdString(item.Value(*record)) : QString();
}

}  // namespace

clsEventView::clsEventView(QWidget* parent) : QWidget(parent) {
    m_sentence = new QLabel(this);
    m_sentence->setObjectName("labEvent");
    m_sentence->setTextFormat(Qt::PlainText);
    m_sentence->setWordWrap(true);
    m_sentence->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_sentence->setMinimumWidth(fontMetrics().averageCharWidth() * leastWidth);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName("tabEvent");
    m_changes = MakeList("lstEventChanges", tr("Changes"), m_tabs);
    m_settings = MakeList("lstEventSettings", tr("Settings"), m_tabs);
    m_lines = new QPlainTextEdit(m_tabs);
    m_lines->setObjectName("txtEventLines");
    m_lines->setAccessibleName(tr("Lines of the log"));
    m_lines->setReadOnly(true);
    m_lines->setTabChangesFocus(true);
    m_lines->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_tabs->addTab(m_changes, tr("&Changes"));
    m_tabs->addTab(m_settings, tr("Settin&gs"));
    m_tabs->addTab(m_lines, tr("Li&nes"));
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_sentence);
    column->addWidget(m_tabs, /*stretch=*/1);
}

const std::string& clsEventView::LastSettings(const HistoryEvent& event) {
    return event.After.Settings.empty() ? event.Before.Settings : event.After.Settings;
}

void clsEventView::SetPages(bool all) {
    m_tabs->show();
    m_tabs->setTabText(0, all ? tr("&Changes") : tr("&Difference"));
    for (const int page : {1, 2}) m_tabs->setTabVisible(page, all);
}

void clsEventView::ShowNothing(const QString& sentence) {
    m_sentence->setText(sentence);
    m_tabs->hide();
}

void clsEventView::ShowEvent(const HistoryEvent& event) {
    SetPages(/*all=*/true);
    m_sentence->setText(HistorySheet::Summary(event));
    ShowChanges(event);
    ShowSettings(event);
    m_lines->setPlainText(QString::fromStdString(event.Lines));
}

// A check changes nothing: what there was is compared with the file.
void clsEventView::ShowChanges(const HistoryEvent& event) {
    const bool check = event.Action == HistoryAction::Check;
    std::vector<QStringList> rows;
    for (const HistoryChange& change : event.Changes) {
        const auto text = [](const std::string& utf8) { return QString::fromStdString(utf8); };
        QStringList& row = rows.emplace_back();
        row << text(change.Setting) + " (" + text(change.Registers) + ")" << text(change.Before)
            << text(change.Wanted);
        if (check) continue;
        row << (!change.Kept   ? tr("not read back")
                : *change.Kept ? tr("kept")
                               : tr("not kept: there was %1").arg(text(change.After)));
    }
    if (rows.empty()) rows.push_back({tr("(none known)")});
    Fill(*m_changes,
         check ? QStringList{tr("Setting"), tr("In the reader"), tr("In the file")}
               : QStringList{tr("Setting"), tr("Before"), tr("Wanted"), tr("Result")},
         rows);
}

void clsEventView::ShowSettings(const HistoryEvent& event) {
    const auto before = RecordOf(event.Before.Settings);
    const auto after = RecordOf(event.After.Settings);
    const auto title = [](const QString& name, const HistorySide& side) {
        return side.Settings.empty() ? tr("%1: not read").arg(name) : name;
    };
    std::vector<QStringList> rows;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        rows.push_back({QString::fromStdString(item.Name()), Value(item, before), Value(item, after)});
    }
    Fill(*m_settings, {tr("Setting"), title(tr("Before"), event.Before), title(tr("Behind"), event.After)},
         rows);
}

void clsEventView::ShowDifference(const HistoryEvent& first, const HistoryEvent& second) {
    const auto a = RecordOf(LastSettings(first));
    const auto b = RecordOf(LastSettings(second));
    if (!a || !b) {
        ShowNothing(tr("The settings were not read in one of the two events: what differs is not known."));
        return;
    }
    SetPages(/*all=*/false);
    std::vector<QStringList> rows;
    for (const SettingDifference& difference : Differences(*a, *b))
        rows.push_back({QString::fromStdString(difference.Item.Name()), QString::fromStdString(difference.A),
                        QString::fromStdString(difference.B)});
    const auto name = [](const HistoryEvent& event) {
        const QString label = QString::fromStdString(event.Label).simplified();
        return clsHistoryModel::TimeText(event.Begun) + (label.isEmpty() ? "" : ", " + label) +
               (event.After.Settings.empty() ? tr(" (before it)") : QString());
    };
    const bool left = !first.After.Settings.empty() && !second.After.Settings.empty();
    QString sentence = rows.empty() ? tr("None of %1 settings differ between the two events").arg(itemCount)
                                    : tr("%1 of %2 settings differ").arg(rows.size()).arg(itemCount);
    if (!rows.empty() && left) sentence += tr(", as the two events left the reader");
    sentence += '.';
    if (!left)
        sentence += tr(" What an event left was not read: what the reader held before it stands in for it.");
    m_sentence->setText(sentence);
    Fill(*m_changes, {tr("Setting"), name(first), name(second)}, rows);
}
