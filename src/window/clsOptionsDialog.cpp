#include "window/clsOptionsDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLocale>
#include <QSpinBox>
#include <QVBoxLayout>

#include "history/HistorySettings.h"
#include "widgets/clsElidedLabel.h"
#include "window/CheckBoxColors.h"

clsOptionsDialog::clsOptionsDialog(const Options& options, const HistoryState& history, QWidget* parent)
    : QDialog(parent) {
    setObjectName("dlgOptions");
    setWindowTitle(tr("Options"));
    auto* const layout = new QVBoxLayout(this);
    m_readBack = new QCheckBox(tr("Read &back after writing"), this);
    m_readBack->setObjectName("chkReadBack");
    m_readBack->setToolTip(tr("Write and Default read the reader once more and show what it did not keep"));
    m_readBack->setChecked(options.ReadBack);
    layout->addWidget(m_readBack);
    m_sound = new QCheckBox(tr("&Station: one beep for PASS, two for FAIL"), this);
    m_sound->setObjectName("chkSound");
    m_sound->setChecked(options.Sound);
    layout->addWidget(m_sound);
    layout->addWidget(MakeHistory(options, history));
    layout->addStretch();
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    ColorCheckBoxes(*this);
}

QWidget* clsOptionsDialog::MakeHistory(const Options& options, const HistoryState& history) {
    auto* const group = new QGroupBox(tr("History"), this);
    auto* const column = new QVBoxLayout(group);
    m_keep = new QCheckBox(tr("&Keep what is done with readers"), group);
    m_keep->setObjectName("chkKeepHistory");
    m_keep->setToolTip(tr("It holds the IDs of cards, which are personal data"));
    m_keep->setChecked(options.KeepHistory || history.Always);
    m_keep->setEnabled(!history.Always && history.WhyNone.isEmpty());
    column->addWidget(m_keep);

    auto* const row = new QHBoxLayout;
    auto* const caption = new QLabel(tr("Delete what is &older than"), group);
    m_days = new QSpinBox(group);
    m_days->setObjectName("spnHistoryDays");
    m_days->setRange(0, HistorySettings::mostDays);
    m_days->setSpecialValueText(tr("(never)"));
    m_days->setSuffix(tr(" days"));
    m_days->setValue(options.HistoryDays);
    m_days->setEnabled(history.WhyNone.isEmpty());
    caption->setBuddy(m_days);
    row->addWidget(caption);
    row->addWidget(m_days);
    row->addStretch();
    column->addLayout(row);

    auto* const state = new clsElidedLabel(group);
    state->setObjectName("labHistoryPlace");
    state->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const QString size =
        QLocale(QLocale::English).formattedDataSize(history.Size, 1, QLocale::DataSizeTraditionalFormat);
    state->setText(history.WhyNone.isEmpty()
                       ? tr("%1 in %2").arg(size, QFile::decodeName(history.Place.c_str()))
                       : history.WhyNone);
    state->setMinimumWidth(fontMetrics().averageCharWidth() * 50);
    column->addWidget(state);
    return group;
}

clsOptionsDialog::Options clsOptionsDialog::Chosen() const {
    return {m_readBack->isChecked(), m_sound->isChecked(), m_keep->isChecked(), m_days->value()};
}
