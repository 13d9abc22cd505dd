// What the window shows of the differences between its controls and the reader.

#include <QLabel>

#include "ui_frmMain.h"
#include "window/clsComparison.h"
#include "window/clsMarks.h"
#include "window/frmMain.h"

void frmMain::MakeComparison() {
    m_comparison = new clsComparison(
        m_flows.Picture(), [this](ZarnForm& form) { ReadForm(form); }, this);
    connect(this, &frmMain::FormChanged, m_comparison, &clsComparison::Outdate);
    connect(this, &frmMain::PictureChanged, m_comparison, &clsComparison::Outdate);

    SettingControls controls;
    for (const SettingRow& row : settingTable)
        controls.Settings.at(static_cast<std::size_t>(row.Id)) = &Control(row.Id);
    for (int box = 0; box < ZarnForm::boxCount; ++box)
        controls.DigitBoxes.at(static_cast<std::size_t>(box)) = &DigitBox(box);
    controls.DigitPages = m_ui->SSTab2;
    controls.Table = m_ui->lstTable;
    new clsMarks(*m_comparison, controls, *this);

    connect(m_comparison, &clsComparison::Changed, this, [this] {
        m_statusChanges->setText(m_comparison->Summary());
        m_statusChanges->setVisible(!m_statusChanges->text().isEmpty());
    });
}
