#include "window/clsStationPages.h"

#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include "window/HistorySheet.h"
#include "window/clsStationRun.h"
#include "window/clsStationSetup.h"

namespace {

constexpr int beepGap = 350;  // ms between two beeps, so that they are two
constexpr int tryGap = 1200;  // ms between what PASS and what FAIL sounds like
constexpr auto csvFilter = "Comma-separated values (*.csv)";
constexpr auto sheetFilter = "PDF (*.pdf)";
constexpr auto profileFilter = "Text (*.txt)";

}  // namespace

clsStationPages::clsStationPages(Parts parts, QWidget* parent)
    : QStackedWidget(parent), m_parts(std::move(parts)) {
    setObjectName("stkStation");
    const auto lines = [this] {
        std::vector<std::string> serial;
        for (const std::string& port : m_parts.Comm.PresentPorts())
            if (!m_parts.Comm.IsHidPort(port)) serial.push_back(port);
        return serial;
    };
    m_setup = new clsStationSetup({m_parts.Settings, m_parts.Store,
                                   [this] { return m_parts.ChooseFile({}, /*save=*/false, profileFilter); },
                                   lines, [this] { TrySound(); }},
                                  this);
    addWidget(m_setup);
    connect(m_setup, &clsStationSetup::StartWanted, this, &clsStationPages::Start);
    connect(m_setup, &clsStationSetup::BackWanted, this, &clsStationPages::Left);
}

clsStationPages::~clsStationPages() = default;

clsStationRun& clsStationPages::Run() {
    if (m_run != nullptr) return *m_run;
    m_run = new clsStationRun(this);
    addWidget(m_run);
    if (m_locked) m_run->Lock();
    connect(m_run, &clsStationRun::AgainWanted, this, [this] {
        if (m_locked) return Start();
        setCurrentWidget(m_setup);
        m_setup->Begin({});
    });
    connect(m_run, &clsStationRun::BackWanted, this, &clsStationPages::Leave);
    connect(m_run, &clsStationRun::ExportWanted, this, &clsStationPages::Export);
    connect(m_run, &clsStationRun::SheetWanted, this, &clsStationPages::SaveSheet);
    return *m_run;
}

// -- setting up ---------------------------------------------------------------------------------------------

void clsStationPages::ShowSetup(const std::string& profile) {
    setCurrentWidget(m_setup);
    m_setup->Begin(profile);
}

void clsStationPages::StartNow(const std::string& profile) {
    ShowSetup(profile);
    if (m_setup->Usable() && !m_setup->Doubtful()) Start();
}

void clsStationPages::Lock() {
    m_locked = true;
    m_setup->Lock();
    if (m_run != nullptr) m_run->Lock();
}

void clsStationPages::SetProfile(const std::string& name) {
    if (!m_locked && currentWidget() == m_setup) m_setup->SetProfile(name);
}

QString clsStationPages::Head(const StationOptions& options) const {
    const QFileInfo file(QFile::decodeName(options.Profile.c_str()));
    QStringList parts{file.fileName()};
    parts += options.Port.empty() ? tr("readers come over USB")
                                  : tr("readers come on %1").arg(QString::fromLatin1(options.Port.c_str()));
    if (options.CheckOnly) parts += tr("CHECK ONLY: nothing is written");
    if (m_parts.History() == nullptr) parts += tr("no history is kept");
    return parts.join("   -   ");
}

void clsStationPages::Start() {
    if (Running() || !m_setup->Usable()) return;
    const StationOptions options = m_setup->Options();
    m_setup->Remember();
    m_after = After::Stay;
    m_asked = false;
    clsStationRun& run = Run();
    auto station = std::make_unique<clsStation>(StationParts{m_parts.Host, m_parts.Comm, m_parts.Flows,
                                                             m_parts.Settings, m_parts.Store,
                                                             m_parts.History(), *this, m_parts.IsReadersOwn});
    run.Begin(*station, Head(options), options.Labels == StationLabels::Asked);
    m_station = std::move(station);
    setCurrentWidget(m_run);
    if (!m_station->Start(options)) {
        setCurrentWidget(m_setup);
        m_setup->SetProfile(options.Profile);
        return;
    }
    run.ShowState();
    emit Started();
}

// -- running ------------------------------------------------------------------------------------------------

bool clsStationPages::Running() const {
    return m_station != nullptr && m_station->Shown().State != StationState::Stopped;
}

void clsStationPages::ShowStation() {
    if (m_station == nullptr) return;  // it is about to start
    m_run->ShowState();
    if (Running() || m_after == After::Stay) return;
    // Not from inside its own work.
    const After after = std::exchange(m_after, After::Stay);
    QTimer::singleShot(0, this, [this, after] {
        if (after == After::Close) {
            emit CloseWanted();
        } else {
            emit Left();
        }
    });
}

void clsStationPages::ShowUnit(const StationUnit& unit) { m_run->TakeUnit(unit); }

void clsStationPages::SayNotice(const QString& text) {
    if (Running()) m_run->SayNotice(text);
}

void clsStationPages::Progress(int number, int count) {
    if (Running()) m_station->Progress(number, count);
}

void clsStationPages::ImageProgress(int received, int count) {
    if (Running()) m_station->ImageProgress(received, count);
}

void clsStationPages::Leave() {
    if (!Running()) {
        emit Left();
        return;
    }
    m_after = After::Leave;
    m_station->Stop();
}

bool clsStationPages::MayClose(bool atOnce) {
    if (!Running()) return true;
    const StationShown& shown = m_station->Shown();
    const bool waits = shown.LabelWaits || shown.LateLabels > 0;
    const bool middle = shown.State == StationState::Working || shown.LabelAsked;
    if ((middle || waits) && !atOnce && !m_asked) {
        m_asked = true;
        QString text = tr("A unit is being worked on. Break it off and leave? It has failed then.");
        if (shown.LabelAsked) text = tr("This unit has no label yet. Leave all the same?");
        if (waits) text = tr("A label is not in the history yet, and is lost then. Leave all the same?");
        m_run->AskToLeave(text, [this](bool yes) {
            m_asked = false;
            if (!yes) return;
            if (MayClose(/*atOnce=*/true)) emit CloseWanted();
        });
        return false;
    }
    m_station->Abort();
    if (!Running()) return true;
    m_after = After::Close;
    return false;
}

void clsStationPages::Export() {
    const QString suggested = tr("station-%1.csv").arg(QDate::currentDate().toString(Qt::ISODate));
    const QString file = m_parts.ChooseFile(suggested, /*save=*/true, csvFilter);
    if (file.isEmpty()) return;
    Save(file, m_run->Units().Csv());
}

void clsStationPages::SaveSheet(const StationUnit& unit) {
    clsIHistory* const history = m_parts.History();
    if (history == nullptr)
        return m_run->SayNotice(tr("No history is kept: there is nothing to make a sheet of."));
    const auto found = history->Find(unit.Id);
    if (found.Value.size() != 1)
        return m_run->SayNotice(tr("This unit is not in the history: there is no sheet of it."));
    const HistoryEvent& event = found.Value.front();
    const QString file =
        m_parts.ChooseFile(HistorySheet::FileName(event) + ".pdf", /*save=*/true, sheetFilter);
    if (!file.isEmpty()) Save(file, HistorySheet::Pdf(event).toStdString());
}

void clsStationPages::Save(const QString& file, const std::string& content) {
    const bool saved = m_parts.Files.ReplaceFile(QFile::encodeName(file).toStdString(), content);
    const QString why = QString::fromStdString(m_parts.Files.LastError());
    m_run->SayNotice(saved ? tr("Saved to %1.").arg(file)
                           : tr("It could not be saved to %1: %2").arg(file, why));
}

// -- sound --------------------------------------------------------------------------------------------------

void clsStationPages::Beep(int times) {
    if (StationSettings::Sound(m_parts.Store)) Sound(times, 0);
}

void clsStationPages::Sound(int times, int delay) {
    for (int i = 0; i < times; ++i) {
        const int wait = delay + i * beepGap;
        if (wait == 0) {
            m_parts.Beep();
        } else {
            QTimer::singleShot(wait, this, [this] { m_parts.Beep(); });
        }
    }
}

void clsStationPages::TrySound() {
    Sound(1, 0);
    Sound(2, tryGap);
}
