#include "window/clsAccessDialog.h"

#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QFile>
#include <QFontDatabase>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QTreeWidget>
#include <algorithm>

#include "base/clsScopeGuard.h"
#include "qt/QtText.h"
#include "widgets/Announcement.h"

namespace {

constexpr int usualWidth = 130;  // characters
constexpr int usualHeight = 32;  // lines
constexpr int portLines = 5;     // that are seen at once

QLabel* Text(const QString& text, QWidget* parent) {
    auto* const label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QString YesOrNo(bool yes) { return yes ? clsAccessDialog::tr("yes") : clsAccessDialog::tr("no"); }

}  // namespace

clsAccessDialog::clsAccessDialog(Parts parts, QWidget* parent) : QDialog(parent), m_parts(std::move(parts)) {
    setObjectName("dlgAccess");
    setWindowTitle(tr("Check access"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_sentence = Text({}, this);
    m_sentence->setObjectName("labAccess");
    Announcement::Prepare(*m_sentence);
    m_ports = new QTreeWidget(this);
    m_ports->setObjectName("lstAccess");
    m_ports->setAccessibleName(tr("Ports"));
    m_ports->setRootIsDecorated(false);
    m_ports->setHeaderLabels({tr("Port"), tr("Device"), tr("Owner"), tr("Group"), tr("Mode"),
                              tr("Member on paper"), tr("In this session"), tr("State"), tr("Access list")});
    m_ports->setMaximumHeight(m_ports->fontMetrics().height() * (portLines + 2) * 4 / 3);
    m_findings = new QScrollArea(this);
    m_findings->setObjectName("scrAccess");
    m_findings->setWidgetResizable(true);
    m_findings->setFrameShape(QFrame::NoFrame);
    m_again = new QPushButton(tr("Check a&gain"), this);
    m_again->setObjectName("cmdAccessAgain");
    m_ask = new QPushButton(tr("&Ask for readers..."), this);
    m_ask->setObjectName("cmdAccessAsk");
    m_close = new QPushButton(tr("Close"), this);
    m_close->setObjectName("cmdAccessClose");
    m_again->setAutoDefault(false);
    m_ask->setAutoDefault(false);
    m_close->setDefault(true);

    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_sentence);
    column->addWidget(m_ports);
    column->addWidget(m_findings, /*stretch=*/1);
    auto* const row = new QHBoxLayout;
    row->addWidget(m_again);
    row->addWidget(m_ask);
    row->addStretch();
    row->addWidget(m_close);
    column->addLayout(row);
    const QSize usual(fontMetrics().averageCharWidth() * usualWidth, fontMetrics().height() * usualHeight);
    resize(usual.boundedTo(screen()->availableSize() * 9 / 10));

    connect(m_again, &QPushButton::clicked, this, &clsAccessDialog::CheckAgain);
    connect(m_ask, &QPushButton::clicked, this, &clsAccessDialog::Ask);
    connect(m_close, &QPushButton::clicked, this, &clsAccessDialog::reject);
    CheckAgain();
}

void clsAccessDialog::Say(const QString& sentence) {
    m_sentence->setText(sentence);
    Announcement::Say(*m_sentence, sentence);
}

void clsAccessDialog::CheckAgain() {
    m_report = m_parts.Look();
    ShowReport(Sentence());
}

QString clsAccessDialog::Sentence() const {
    const auto count = m_report.Findings.size();
    if (count == 0) return tr("Nothing is wrong.");
    return count == 1 ? tr("One finding:") : tr("%1 findings:").arg(count);
}

void clsAccessDialog::Ask() {
    if (!m_parts.MayDisturb()) return;
    m_report = m_parts.Look();
    m_asking = true;
    bool asked = false;
    {
        const clsScopeGuard ended([this] { m_asking = false; });
        m_again->setEnabled(false);
        m_ask->setEnabled(false);
        m_close->setText(tr("Cancel"));
        Say(tr("The free ports are being asked for a reader."));
        asked = m_parts.Ask(m_report);
    }
    const bool answered = asked && m_report.Findings.empty() && !m_report.Askable().empty();
    ShowReport(answered ? tr("Nothing is wrong, and readers answered on every free port.") : Sentence());
}

void clsAccessDialog::reject() {
    if (m_asking) {
        m_parts.Cancel();
    } else {
        QDialog::reject();
    }
}

void clsAccessDialog::ShowReport(const QString& sentence) {
    m_again->setEnabled(true);
    m_close->setText(tr("Close"));
    m_ask->setEnabled(m_parts.MayAsk() && !m_report.Askable().empty());
    m_ask->setToolTip(m_parts.MayAsk() ? tr("Open each free port and send it a poll, at every speed")
                                       : tr("The reader in use is found already"));
    Say(sentence);
    m_ports->clear();
    for (const AccessNode& node : m_report.Nodes) {
        const auto text = [](const std::string& bytes) { return QtText::ToQString(bytes); };
        const bool there = !node.Mode.empty();
        new QTreeWidgetItem(
            m_ports, {text(node.Name), QFile::decodeName(node.Device.c_str()), text(node.Owner),
                      text(node.Group), text(node.Mode), there ? YesOrNo(node.Listed) : QString(),
                      there ? YesOrNo(node.Member) : QString(), text(AccessText(node)), text(node.Acl)});
    }
    for (int column = 0; column < m_ports->columnCount(); ++column) m_ports->resizeColumnToContents(column);
    if (m_ports->topLevelItemCount() > 0) m_ports->setCurrentItem(m_ports->topLevelItem(0));

    auto* const list = new QWidget;
    auto* const column = new QVBoxLayout(list);
    column->setContentsMargins(0, 0, 0, 0);
    int number = 0;
    for (const AccessFinding& found : m_report.Findings) AddFinding(*list, found, ++number);
    column->addStretch();
    m_findings->setWidget(list);
}

void clsAccessDialog::AddFinding(QWidget& list, const AccessFinding& found, int number) {
    const QString what = QtText::ToQString(found.What);
    const QString port = QtText::ToQString(found.Port);
    auto* const box = new QGroupBox(what.contains(port) ? what : port + ": " + what, &list);
    box->setObjectName(QString("grpFinding%1").arg(number));
    auto* const column = new QVBoxLayout(box);
    column->addWidget(Text(tr("Why: %1.").arg(QtText::ToQString(found.Why)), box));
    column->addWidget(Text(tr("What to do: %1.").arg(QtText::ToQString(found.ToDo)), box));
    auto* const row = new QHBoxLayout;
    auto* const command = new QLineEdit(QtText::ToQString(found.Command), box);
    command->setObjectName(QString("txtCommand%1").arg(number));
    command->setAccessibleName(tr("Command for finding %1").arg(number));
    command->setReadOnly(true);
    command->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    command->setCursorPosition(0);
    auto* const copy = new QPushButton(tr("Copy"), box);
    copy->setObjectName(QString("cmdCopy%1").arg(number));
    copy->setAccessibleName(tr("Copy the command for finding %1").arg(number));
    copy->setAutoDefault(false);
    connect(copy, &QPushButton::clicked, command,
            [command] { QApplication::clipboard()->setText(command->text()); });
    row->addWidget(command, /*stretch=*/1);
    row->addWidget(copy);
    column->addLayout(row);
    list.layout()->addWidget(box);
}
