// What the window of the history makes of the events that are chosen.

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTableView>
#include <QTimer>

#include "widgets/Announcement.h"
#include "window/HistorySheet.h"
#include "window/clsHistoryWindow.h"

namespace {

QString EventsText(qint64 count) {
    return count == 1 ? clsHistoryWindow::tr("1 event") : clsHistoryWindow::tr("%1 events").arg(count);
}

/// Thousands of events take a moment.
struct clsWaitCursor {
    clsWaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    clsWaitCursor(const clsWaitCursor&) = delete;
    clsWaitCursor& operator=(const clsWaitCursor&) = delete;
    ~clsWaitCursor() { QApplication::restoreOverrideCursor(); }
};

constexpr int mostTries = 1200;  // 30 s in which another program has the history for itself

}  // namespace

struct clsHistoryWindow::Importing {
    std::string Content;
    HistoryImport SoFar;
    int Tries = 0;
};

void clsHistoryWindow::SetIdle(bool idle) {
    m_idle = idle;
    EnableActions();
}

void clsHistoryWindow::EnableActions() {
    const auto chosen = m_table->selectionModel()->selectedRows().size();
    const HistorySide none;
    const HistorySide& behind = m_event ? m_event->After : none;
    const HistorySide& before = m_event ? m_event->Before : none;
    m_restoreBehind->setEnabled(!behind.Empty());
    m_restoreBefore->setEnabled(!before.Empty());
    m_restore->setEnabled(m_idle && !(behind.Empty() && before.Empty()));
    m_saves[0][0]->setEnabled(!behind.Settings.empty());
    m_saves[0][1]->setEnabled(!before.Settings.empty());
    m_saves[1][0]->setEnabled(!behind.Image.empty());
    m_saves[1][1]->setEnabled(!before.Image.empty());
    m_save->setEnabled(!(behind.Empty() && before.Empty()));
    m_label->setEnabled(chosen == 1);
    m_sheet->setEnabled(chosen > 0);
    m_exportChosen->setEnabled(chosen > 0);
    m_exchange->setEnabled(m_parts.History != nullptr && !m_importing);
}

void clsHistoryWindow::Say(const QString& text) {
    m_said->setText(text);
    Announcement::Say(*m_said, text);
    m_said->setVisible(!text.isEmpty());
}

// A copy: while it is restored another event may be shown.
void clsHistoryWindow::AskForRestore(bool before) {
    const HistoryEvent event = *m_event;
    emit RestoreWanted(event, before);
}

void clsHistoryWindow::EditLabel() {
    if (m_typing.isActive()) {  // or it would take the rows away under the label
        m_typing.stop();
        Search();
    }
    const QModelIndexList rows = m_table->selectionModel()->selectedRows(clsHistoryModel::LabelColumn);
    if (rows.size() != 1) return;
    m_table->setFocus();
    m_table->setCurrentIndex(rows.front());
    m_table->edit(rows.front());
}

bool clsHistoryWindow::Save(const QString& file, const std::string& content) {
    const bool saved = m_parts.Files.ReplaceFile(QFile::encodeName(file).toStdString(), content);
    Say(saved ? tr("Saved to %1.").arg(file)
              : tr("%1 could not be written: %2.")
                    .arg(file, QString::fromLocal8Bit(m_parts.Files.LastError().c_str())));
    return saved;
}

void clsHistoryWindow::SaveSide(bool before, bool image) {
    const HistorySide& side = before ? m_event->Before : m_event->After;
    const std::string content = image ? side.Image : side.Settings;  // a dialog may show another event
    const QString name = HistorySheet::FileName(*m_event) + (before ? tr(" before") : QString());
    const QString file = m_parts.ChooseFile(name + (image ? ".bin" : ".txt"), /*save=*/true,
                                            image ? tr("Memory image (*.bin)") : tr("Settings (*.txt)"));
    if (!file.isEmpty()) Save(file, content);
}

// One goes where a dialog says, which asks before it replaces a file; several into a folder, beside what
// there is.
void clsHistoryWindow::SaveSheets() {
    std::vector<HistoryEvent> events;
    for (const std::string& id : ChosenIds()) {
        auto event = Whole(id);
        if (!event) return;
        events.push_back(std::move(*event));
    }
    if (events.size() == 1) {
        const QString file = m_parts.ChooseFile(HistorySheet::FileName(events.front()) + ".pdf",
                                                /*save=*/true, tr("PDF (*.pdf)"));
        if (!file.isEmpty()) Save(file, HistorySheet::Pdf(events.front()).toStdString());
        return;
    }
    const QString folder = m_parts.ChooseFolder();
    if (folder.isEmpty()) return;
    for (const HistoryEvent& event : events) {
        const QString name = folder + '/' + HistorySheet::FileName(event);
        QString file = name + ".pdf";
        for (int number = 2; m_parts.Files.Exists(QFile::encodeName(file).toStdString()); ++number)
            file = QString("%1 (%2).pdf").arg(name).arg(number);
        if (!Save(file, HistorySheet::Pdf(event).toStdString())) return;
    }
    Say(tr("%1 sheets were saved to %2.").arg(events.size()).arg(folder));
}

void clsHistoryWindow::Export(const std::vector<std::string>& ids) {
    const QString file = m_parts.ChooseFile("zarn74.history", /*save=*/true, tr("Histories (*.history)"));
    if (file.isEmpty()) return;
    const clsWaitCursor waiting;
    const auto answer = m_parts.History->Export(ids);
    if (answer.Result != HistoryAnswer<std::string>::State::Done) {
        const bool busy = answer.Result == HistoryAnswer<std::string>::State::Busy;
        Say(tr("The history could not be exported: %1.")
                .arg(busy ? tr("another program keeps it locked") : QString::fromStdString(answer.Error)));
        return;
    }
    if (answer.Value.empty()) {
        Say(tr("The history is empty: there is nothing to export."));
        return;
    }
    Save(file, answer.Value);
}

void clsHistoryWindow::Import() {
    const QString file = m_parts.ChooseFile({}, /*save=*/false, tr("Histories (*.history)"));
    if (file.isEmpty()) return;
    const clsWaitCursor waiting;
    const auto content = m_parts.Files.WholeFile(QFile::encodeName(file).toStdString());
    if (!content) {
        Say(tr("%1 could not be read: %2.")
                .arg(file, QString::fromLocal8Bit(m_parts.Files.LastError().c_str())));
        return;
    }
    m_importing = true;
    EnableActions();
    ImportPart(std::make_shared<Importing>(Importing{*content, {}, 0}));
}

// The rest from the loop: other programs write between the parts, and the window lives.
void clsHistoryWindow::ImportPart(const std::shared_ptr<Importing>& import) {
    using State = HistoryAnswer<HistoryImport>::State;
    const auto answer = m_parts.History->Import(import->Content, import->SoFar);
    const bool busy = answer.Result == State::Busy;
    import->Tries = busy ? import->Tries + 1 : 0;
    const bool failed = answer.Result == State::Failed || import->Tries > mostTries;
    if (answer.Result == State::Done) import->SoFar = answer.Value;
    const HistoryImport& in = import->SoFar;
    if (!failed && !in.Whole && in.Refused.empty()) {
        const bool waits = busy || in.New + in.Newer > 0;
        Say(tr("Importing: %1 %").arg((in.Checked + in.Taken) * 50 / import->Content.size()));
        QTimer::singleShot(waits ? HistoryImport::pause : 0, this, [this, import] { ImportPart(import); });
        return;
    }
    m_importing = false;
    EnableActions();
    if (failed || !in.Refused.empty()) {
        const QString why = QString::fromStdString(in.Refused.empty() ? answer.Error : in.Refused);
        const int some = in.New + in.Newer;
        const QString text =
            some == 0 ? tr("Nothing was imported: %1.")
                      : tr("%1 imported, not all: %2. Import the file again.").arg(EventsText(some));
        Say(text.arg(busy ? tr("another program keeps the history locked") : why));
        return;
    }
    QString text = tr("%1: %2 new, %3 newer, %4 already there.")
                       .arg(EventsText(in.New + in.Newer + in.There))
                       .arg(in.New)
                       .arg(in.Newer)
                       .arg(in.There);
    if (in.Back > 0) text += ' ' + tr("%1 deleted here before brought back.").arg(EventsText(in.Back));
    if (in.Old > 0)
        text += ' ' + tr("%1 too old to stay: deleted when something new is kept.").arg(EventsText(in.Old));
    Say(text);
}
