#include "window/clsMarks.h"

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>
#include <QTabBar>
#include <QTextDocument>
#include <algorithm>

#include "window/clsMark.h"

namespace {

QLabel& CaptionOf(const QWidget& control, const QWidget& window) {
    const auto labels = window.findChildren<QLabel*>();
    const auto at = std::find_if(labels.begin(), labels.end(),
                                 [&](const QLabel* label) { return label->buddy() == &control; });
    Q_ASSERT(at != labels.end());
    return **at;
}

clsMark* MarkFor(QWidget& control, const QWidget& window) {
    if (qobject_cast<QCheckBox*>(&control) != nullptr) return new clsMark(control, control);
    return new clsMark(control, CaptionOf(control, window));
}

void SetData(QListWidgetItem& item, int role, const QVariant& value) {
    if (item.data(role) != value) item.setData(role, value);
}

}  // namespace

clsMarks::clsMarks(const clsComparison& comparison, const SettingControls& controls, QWidget& window)
    : QObject(&window), m_comparison(comparison), m_controls(controls) {
    for (std::size_t i = 0; i < m_settings.size(); ++i)
        m_settings[i] = MarkFor(*controls.Settings[i], window);
    for (std::size_t i = 0; i < m_boxes.size(); ++i) m_boxes[i] = MarkFor(*controls.DigitBoxes[i], window);
    m_table = MarkFor(*controls.Table, window);
    controls.Table->setItemDelegate(new clsMarkDelegate(controls.Table));
    connect(&comparison, &clsComparison::Changed, this, &clsMarks::ShowAll);
    connect(controls.DigitPages, &QTabBar::currentChanged, this, &clsMarks::ShowBoxes);
}

void clsMarks::ShowAll() {
    for (std::size_t i = 0; i < m_settings.size(); ++i) {
        const SettingItem item(static_cast<Setting>(i));
        m_settings[i]->Show(m_comparison.Of(item), m_comparison.Told(item));
    }
    ShowBoxes();
    ShowRows();
}

void clsMarks::ShowBoxes() {
    for (int box = 0; box < ZarnForm::boxCount; ++box) {
        const SettingItem item =
            SettingItem::Filter(ZarnForm::FilterIndex(m_controls.DigitPages->currentIndex(), box));
        m_boxes[static_cast<std::size_t>(box)]->Show(m_comparison.Of(item), m_comparison.Told(item));
    }
}

// The marks are nothing that is edited: nobody gets to hear of a changed row.
void clsMarks::ShowRows() {
    QListWidget& list = *m_controls.Table;
    const QSignalBlocker quiet(list);
    Sight beyond = Sight::Same;
    QStringList toldBeyond;
    for (int row = 0; row < convertCount; ++row) {
        const SettingItem item = SettingItem::Entry(row);
        const Sight sight = m_comparison.Of(item);
        const QString told = m_comparison.Told(item);
        if (row >= list.count()) {
            if (told.isEmpty()) continue;
            if (beyond != Sight::Differs) beyond = sight;
            toldBeyond += tr("Row %1 %2").arg(row + 1).arg(told);
            continue;
        }
        QListWidgetItem& shown = *list.item(row);
        SetData(shown, clsMarkDelegate::SightRole, static_cast<int>(sight));
        SetData(shown, Qt::AccessibleDescriptionRole, told.isEmpty() ? QVariant() : told);
        const QString tip = list.toolTip() + '\n' + told;
        SetData(shown, Qt::ToolTipRole, told.isEmpty() ? QVariant() : Qt::convertFromPlainText(tip));
    }
    m_table->Show(beyond, toldBeyond.join('\n'));
}
