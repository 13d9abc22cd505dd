#include "app/WindowDescription.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTabBar>
#include <QTabWidget>
#include <optional>

#include "widgets/TextBoxEx.h"
#include "widgets/ucTextScroll.h"
#include "window/clsLogView.h"

namespace {

QString Plain(QString caption) { return caption.remove('&'); }

QString RowText(const QListWidgetItem& item) {
    return (item.checkState() == Qt::Checked ? '+' : '-') + item.text();
}

/// Nothing for what only holds other controls.
std::optional<QString> ValueOf(const QWidget& control) {
    if (const auto* box = qobject_cast<const QComboBox*>(&control)) return box->currentText();
    if (const auto* box = qobject_cast<const QCheckBox*>(&control))
        return QString(box->isChecked() ? "True" : "False");
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control))
        return Plain(button->text()) + (button->isEnabled() ? "" : " (disabled)");
    if (const auto* label = qobject_cast<const QLabel*>(&control))
        return label->buddy() != nullptr ? Plain(label->text()) : label->text();
    if (const auto* box = qobject_cast<const QLineEdit*>(&control)) return box->text();
    if (const auto* box = qobject_cast<const TextBoxEx*>(&control)) return box->toPlainText();
    if (const auto* box = qobject_cast<const ucTextScroll*>(&control))
        return QString("%1,%2").arg(box->SelStart()).arg(box->SelLength());
    if (const auto* tabs = qobject_cast<const QTabWidget*>(&control))
        return Plain(tabs->tabText(tabs->currentIndex()));
    if (const auto* bar = qobject_cast<const QTabBar*>(&control)) return bar->tabText(bar->currentIndex());
    if (const auto* list = qobject_cast<const QListWidget*>(&control)) return QString::number(list->count());
    return std::nullopt;
}

}  // namespace

QString DescribeWindow(QWidget& window) {
    QStringList lines;
    for (const QWidget* control : window.findChildren<QWidget*>()) {
        const QString name = control->objectName();
        const bool toolkits = name.startsWith("qt_") || qobject_cast<QTabBar*>(control->parent()) != nullptr;
        if (name.isEmpty() || toolkits) continue;
        const auto value = ValueOf(*control);
        if (!value) continue;
        lines += name + '=' + QString(*value).replace('\n', ' ');
        if (const auto* list = qobject_cast<const QListWidget*>(control)) {
            for (int row = 0; row < list->count(); ++row)
                lines += QString("%1(%2)=%3").arg(name).arg(row).arg(RowText(*list->item(row)));
        }
    }
    lines.sort();
    if (auto* log = window.findChild<clsLogView*>()) {
        for (const QString& line : log->LogText().split('\n', Qt::SkipEmptyParts))
            lines += log->objectName() + '=' + line;
    }
    return lines.join('\n') + '\n';
}
