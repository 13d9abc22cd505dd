// What the window shows and keeps of what goes over the line.

#include <QDateTime>
#include <QFile>
#include <QLayout>

#include "ui_frmMain.h"
#include "window/clsActions.h"
#include "window/clsTrafficDock.h"
#include "window/frmMain.h"

void frmMain::ConnectTraffic() {
    connect(&(*m_actions)[Command::Traffic], &QAction::triggered, this, [this](bool open) {
        if (open) {
            OpenTraffic();
        } else {
            Traffic().close();
        }
    });
    connect(&(*m_actions)[Command::Record], &QAction::triggered, this, [this](bool begin) {
        if (!begin) {
            m_recorder.reset();
            return;
        }
        const QString name = FileDialogDoor("line.jsonl", /*save=*/true, tr("Recording|*.jsonl"));
        (*m_actions)[Command::Record].setChecked(!name.isEmpty() &&
                                                 Record(QFile::encodeName(name).toStdString()));
    });
}

/// Made when it is first wanted: until then the line is only remembered.
clsTrafficDock& frmMain::Traffic() {
    if (m_traffic != nullptr) return *m_traffic;
    m_traffic = new clsTrafficDock(m_ring, this);
    ColorCheckBoxes();
    connect(m_traffic->toggleViewAction(), &QAction::toggled, &(*m_actions)[Command::Traffic],
            &QAction::setChecked);
    connect(m_traffic, &clsTrafficDock::GoTo, this, &frmMain::GoTo);
    m_traffic->hide();
    if (!restoreDockWidget(m_traffic)) addDockWidget(Qt::BottomDockWidgetArea, m_traffic);
    return *m_traffic;
}

/// Below the log, or over it where the pages would be pressed together.
void frmMain::OpenTraffic() {
    constexpr int lines = 12;  // of its list, at least
    clsTrafficDock& traffic = Traffic();
    const bool below = dockWidgetArea(&traffic) == Qt::BottomDockWidgetArea;
    const int wanted = fontMetrics().height() * (lines + 6);
    const int room = height() - m_ui->pnlSettings->minimumSizeHint().height();
    if (traffic.isHidden() && !traffic.isFloating() && below && room < wanted) {
        traffic.setFloating(true);
        traffic.resize(QSize(width() * 9 / 10, wanted + fontMetrics().height() * 4));
        traffic.move(geometry().bottomRight() - traffic.rect().bottomRight());
    }
    traffic.show();
    layout()->activate();
    if (!traffic.isFloating() && below) resizeDocks({&traffic}, {wanted}, Qt::Vertical);
    traffic.raise();
    traffic.activateWindow();
    traffic.FocusList();
}

bool frmMain::Record(const std::string& file) {
    std::string error = "not here";
    auto lines = m_parts.LineFile ? m_parts.LineFile(file, error) : nullptr;
    const auto complain = [this, name = QFile::decodeName(file.c_str())](const std::string& why) {
        Note(tr("Recording to %1 failed: %2").arg(name, QString::fromLocal8Bit(why.c_str())));
        (*m_actions)[Command::Record].setChecked(false);
    };
    if (lines == nullptr) {
        complain(error);
        return false;
    }
    const std::string now = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs).toStdString();
    m_recorder.emplace(m_parts.Host, m_parts.Comm, std::move(lines),
                       RecordingHead{"zarn74", ZARN74_VERSION, {}, 0, now}, complain);
    (*m_actions)[Command::Record].setChecked(true);
    return true;
}
