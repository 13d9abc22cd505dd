// The window's list of the reader's registers.

#include <QFile>
#include <QFileInfo>
#include <QLayout>

#include "window/clsActions.h"
#include "window/clsRegistersDock.h"
#include "window/frmMain.h"

/// Made when it is first wanted: the window is to open as fast as without it.
clsRegistersDock& frmMain::Registers() {
    if (m_registers != nullptr) return *m_registers;
    m_registers = new clsRegistersDock(m_flows.Picture(), this);
    m_registers->History = [this] { return m_events; };
    connect(m_registers->toggleViewAction(), &QAction::toggled, &(*m_actions)[Command::Registers],
            &QAction::setChecked);
    connect(this, &frmMain::PictureChanged, m_registers, &clsRegistersDock::Update);
    connect(m_registers, &clsRegistersDock::GoTo, this, &frmMain::GoTo);
    connect(m_registers, &clsRegistersDock::DumpWanted, this, &frmMain::DumpRegisters);
    connect(m_registers, &clsRegistersDock::FileWanted, this, &frmMain::CompareRegisters);
    connect(m_registers, &clsRegistersDock::SaveWanted, this, &frmMain::SaveRegisters);
    m_registers->SetDumping((*m_actions)[Command::Check].isEnabled());
    m_registers->hide();
    if (!restoreDockWidget(m_registers)) addDockWidget(Qt::RightDockWidgetArea, m_registers);
    return *m_registers;
}

void frmMain::OpenRegisters(bool open) {
    if (!open) {
        Registers().close();
        return;
    }
    OpenDock(Registers());
    m_registers->FocusGrid();
}

void frmMain::DumpRegisters() {
    modZarn74::Image image{};
    const FlowResult result =
        Run(tr("Reading the registers"), Pages::Open, [&] { return m_flows.Dump(image); });
    if (result == FlowResult::Failed) Note(tr("The registers could not be read: what is shown is as it was"));
}

void frmMain::CompareRegisters() {
    const QString path = FileDialogDoor({}, /*save=*/false, "Settings or image (*)");
    if (path.isEmpty()) return;
    const QString file = QFileInfo(path).fileName();
    const auto content = m_settingsFile.Content(QFile::encodeName(path).toStdString());
    if (!content) {
        Note(tr("%1 cannot be read").arg(file));
    } else if (!Registers().CompareWith(file, *content)) {
        Note(tr("%1 is neither a settings file nor an image of 512 bytes").arg(file));
    }
}

void frmMain::SaveRegisters() {
    const QString path = FileDialogDoor("registers.txt", /*save=*/true, "Text (*.txt)");
    if (path.isEmpty()) return;
    const std::string text = Registers().Text().toUtf8().toStdString();
    const bool saved = m_parts.Files.ReplaceFile(QFile::encodeName(path).toStdString(), text);
    Note(saved ? tr("The registers were saved to %1.").arg(path)
               : tr("The registers could not be saved to %1.").arg(path));
}
