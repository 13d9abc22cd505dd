#include "window/clsStationSetup.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>

#include "qt/QtText.h"
#include "station/StationLabel.h"
#include "station/clsStation.h"

namespace {

constexpr auto section = "Station";
constexpr auto storeProfile = "Profile";
constexpr auto storeLine = "Line";
constexpr auto storeLabels = "Labels";
constexpr auto storePattern = "Pattern";
constexpr auto storeForm = "Form";
constexpr auto storeCheckOnly = "CheckOnly";
constexpr auto storeSound = "Sound";
constexpr auto usualPattern = "A-{0001}";
constexpr int fieldWidth = 90;  // characters, at most
constexpr int margin = 24;      // pixels

struct LabelRow {
    StationLabels Kind;
    const char* Key;
    const char* Text;
};
constexpr LabelRow labelRows[] = {
    {StationLabels::None, "none", "None"},
    {StationLabels::Running, "running", "Running number"},
    {StationLabels::Asked, "ask", "Typed or scanned for each unit"},
    {StationLabels::Serial, "serial", "The reader's own serial number (USB HID only)"}};

QString TextOf(clsISettingsStore& store, const char* key, const char* usual) {
    return QString::fromStdString(store.GetSetting(section, key, usual));
}

}  // namespace

namespace StationSettings {

bool Sound(clsISettingsStore& store) { return store.GetSetting(section, storeSound, "1") != "0"; }
void SetSound(clsISettingsStore& store, bool on) { store.SaveSetting(section, storeSound, on ? "1" : "0"); }

}  // namespace StationSettings

clsStationSetup::clsStationSetup(Parts parts, QWidget* parent) : QWidget(parent), m_parts(std::move(parts)) {
    setObjectName("pagStationSetup");
    m_choices = new QWidget(this);
    auto* const form = new QFormLayout(m_choices);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    MakeProfile(*form);
    m_line = new QComboBox(this);
    m_line->setObjectName("cboStationLine");
    form->addRow(tr("Readers &come"), m_line);
    MakeLabels(*form);
    MakeWays(*form);

    auto* const title = new QLabel(tr("Station: one reader after the other"), this);
    QFont large = title->font();
    large.setPointSizeF(large.pointSizeF() * 1.6);
    large.setBold(true);
    title->setFont(large);
    auto* const says = new QLabel(
        tr("Each reader that is plugged in is read, given the profile, read back and compared; then it says "
           "PASS or FAIL, and the next one is waited for."),
        this);
    says->setWordWrap(true);
    m_start = new QPushButton(tr("&Start"), this);
    m_start->setObjectName("cmdStationStart");
    m_start->setDefault(true);
    m_back = new QPushButton(tr("&Back"), this);
    m_back->setObjectName("cmdStationBack");
    m_back->setToolTip(tr("To the settings (Esc)"));
    for (QPushButton* button : {m_browse, m_try, m_start, m_back}) button->setAutoDefault(true);
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_start);
    buttons->addWidget(m_back);

    auto* const body = new QWidget;
    auto* const column = new QVBoxLayout(body);
    column->setContentsMargins(margin, margin, margin, margin);
    for (QWidget* part : {static_cast<QWidget*>(title), static_cast<QWidget*>(says), m_choices})
        column->addWidget(part);
    column->addLayout(buttons);
    column->addStretch();
    body->setMaximumWidth(fontMetrics().averageCharWidth() * fieldWidth + 2 * margin);
    auto* const area = new QScrollArea(this);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidgetResizable(true);
    area->setWidget(body);
    area->setAlignment(Qt::AlignHCenter);
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(area);

    connect(m_profile, &QLineEdit::textChanged, this, &clsStationSetup::CheckProfile);
    connect(m_browse, &QPushButton::clicked, this, [this] {
        const QString name = m_parts.ChooseProfile();
        if (!name.isEmpty()) m_profile->setText(name);
    });
    connect(m_start, &QPushButton::clicked, this, &clsStationSetup::StartWanted);
    connect(m_back, &QPushButton::clicked, this, &clsStationSetup::BackWanted);
}

QWidget* clsStationSetup::WithButton(QWidget* control, QPushButton*& button, const QString& text,
                                     const char* name) {
    auto* const both = new QWidget(this);
    auto* const row = new QHBoxLayout(both);
    row->setContentsMargins(0, 0, 0, 0);
    button = new QPushButton(text, both);
    button->setObjectName(name);
    row->addWidget(control, /*stretch=*/1);
    row->addWidget(button);
    return both;
}

void clsStationSetup::MakeProfile(QFormLayout& form) {
    m_profile = new QLineEdit(this);
    m_profile->setObjectName("txtStationProfile");
    m_profile->setAccessibleName(tr("Profile"));  // its caption stands outside its row
    m_profile->setToolTip(tr("The settings file that every reader is to hold"));
    form.addRow(tr("&Profile"), WithButton(m_profile, m_browse, tr("B&rowse..."), "cmdStationBrowse"));
    static_cast<QLabel*>(form.labelForField(m_profile->parentWidget()))->setBuddy(m_profile);
    m_findings = new QLabel(this);
    m_findings->setObjectName("labStationFindings");
    m_findings->setTextFormat(Qt::PlainText);
    m_findings->setWordWrap(true);
    m_findings->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    form.addRow(QString(), m_findings);
}

void clsStationSetup::MakeLabels(QFormLayout& form) {
    m_labels = new QComboBox(this);
    m_labels->setObjectName("cboStationLabels");
    for (const LabelRow& row : labelRows) m_labels->addItem(tr(row.Text), row.Key);
    form.addRow(tr("&Labels"), m_labels);
    m_pattern = new QLineEdit(this);
    m_pattern->setObjectName("txtStationPattern");
    m_pattern->setToolTip(tr("The first number stands in braces; the next one is remembered"));
    form.addRow(tr("&Number them as"), m_pattern);
    m_form = new QLineEdit(this);
    m_form->setObjectName("txtStationForm");
    m_form->setPlaceholderText(tr("anything but a card's ID"));
    m_form->setToolTip(
        tr("# stands for a digit, ? for a character, * for any; what looks otherwise asks first"));
    form.addRow(tr("A label looks li&ke"), m_form);
    m_labelHint = new QLabel(this);
    m_labelHint->setObjectName("labStationNext");
    m_labelHint->setTextFormat(Qt::PlainText);
    form.addRow(QString(), m_labelHint);
    connect(m_labels, &QComboBox::currentIndexChanged, this, &clsStationSetup::Update);
    connect(m_pattern, &QLineEdit::textChanged, this, &clsStationSetup::Update);
}

void clsStationSetup::MakeWays(QFormLayout& form) {
    m_checkOnly = new QCheckBox(tr("Check &only: write nothing"), this);
    m_checkOnly->setObjectName("chkStationCheckOnly");
    m_plugged = new QCheckBox(tr("Start &with what is plugged in"), this);
    m_plugged->setObjectName("chkStationPlugged");
    m_plugged->setToolTip(tr("Else what is plugged in at the start is left alone until it was removed once"));
    m_sound = new QCheckBox(tr("So&und: one beep for PASS, two for FAIL"), this);
    m_sound->setObjectName("chkStationSound");
    form.addRow(QString(), m_checkOnly);
    form.addRow(QString(), m_plugged);
    form.addRow(QString(), WithButton(m_sound, m_try, tr("Tr&y"), "cmdStationTry"));
    connect(m_sound, &QCheckBox::toggled, this,
            [this](bool on) { StationSettings::SetSound(m_parts.Store, on); });
    connect(m_try, &QPushButton::clicked, this, [this] { m_parts.TrySound(); });
}

void clsStationSetup::Begin(const std::string& profile) {
    clsISettingsStore& store = m_parts.Store;
    SetProfile(profile.empty() ? store.GetSetting(section, storeProfile, {}) : profile);
    ShowLines();
    m_labels->setCurrentIndex(std::max(m_labels->findData(TextOf(store, storeLabels, "none")), 0));
    m_pattern->setText(TextOf(store, storePattern, usualPattern));
    m_form->setText(TextOf(store, storeForm, ""));
    m_checkOnly->setChecked(store.GetSetting(section, storeCheckOnly, "0") == "1");
    m_plugged->setChecked(false);
    m_sound->setChecked(StationSettings::Sound(store));
    CheckProfile();
    (m_profileGood ? static_cast<QWidget*>(m_start) : m_profile)->setFocus(Qt::OtherFocusReason);
}

void clsStationSetup::ShowLines() {
    const std::string kept = m_parts.Store.GetSetting(section, storeLine, {});
    std::vector<std::string> lines = m_parts.Lines();
    if (!kept.empty() && std::find(lines.begin(), lines.end(), kept) == lines.end()) lines.push_back(kept);
    m_line->clear();
    m_line->addItem(tr("over USB: each one that is plugged in"));
    for (const std::string& line : lines) {
        m_line->addItem(tr("on the fixed line %1, one after the other").arg(QtText::ToQString(line)),
                        QtText::ToQString(line));
        if (line == kept) m_line->setCurrentIndex(m_line->count() - 1);
    }
}

void clsStationSetup::Lock() {
    m_choices->setEnabled(false);
    m_back->hide();
    m_start->setFocus(Qt::OtherFocusReason);
}

void clsStationSetup::SetProfile(const std::string& name) {
    m_profile->setText(QFile::decodeName(name.c_str()));
}

StationOptions clsStationSetup::Options() const {
    StationOptions options;
    options.Profile = QFile::encodeName(m_profile->text()).toStdString();
    options.Port = QtText::ToBytes(m_line->currentData().toString());
    options.CheckOnly = m_checkOnly->isChecked();
    options.Labels = labelRows[std::max(m_labels->currentIndex(), 0)].Kind;
    options.LabelPattern = m_pattern->text().toStdString();
    options.LabelForm = options.Labels == StationLabels::Asked ? m_form->text().toStdString() : std::string();
    options.StartWithPlugged = m_plugged->isChecked();
    return options;
}

bool clsStationSetup::Usable() const { return m_profileGood && clsStation::WrongWith(Options()).empty(); }

void clsStationSetup::Remember() const {
    const auto save = [this](const char* key, const QString& value) {
        m_parts.Store.SaveSetting(section, key, value.toStdString());
    };
    const StationOptions options = Options();
    m_parts.Store.SaveSetting(section, storeProfile, options.Profile);
    m_parts.Store.SaveSetting(section, storeLine, options.Port);
    save(storeLabels, m_labels->currentData().toString());
    save(storePattern, m_pattern->text());
    save(storeForm, m_form->text());
    save(storeCheckOnly, m_checkOnly->isChecked() ? "1" : "0");
}

void clsStationSetup::CheckProfile() {
    m_doubtful = false;
    m_profileGood = false;
    const std::string name = QFile::encodeName(m_profile->text()).toStdString();
    if (name.empty()) {
        m_findings->setText(tr("Choose the settings file that every reader is to hold."));
        return Update();
    }
    const clsStationProfile profile(m_parts.Files, name);
    QStringList lines;
    for (const std::string& error : profile.Errors())
        lines += tr("It cannot be used: %1").arg(QtText::ToQString(error));
    for (const std::string& warning : profile.Warnings())
        lines += tr("Warning: %1").arg(QtText::ToQString(warning));
    m_profileGood = profile.Errors().empty();
    m_doubtful = !lines.isEmpty();
    QFont font = m_profile->font();
    font.setBold(m_doubtful);
    m_findings->setFont(font);
    m_findings->setText(lines.isEmpty() ? tr("It can be used.") : lines.join('\n'));
    Update();
}

void clsStationSetup::Update() {
    const StationLabels kind = Options().Labels;
    const auto show = [this](QWidget* field, bool on) {
        static_cast<QFormLayout*>(m_choices->layout())->setRowVisible(field, on);
    };
    show(m_pattern, kind == StationLabels::Running);
    show(m_form, kind == StationLabels::Asked);
    show(m_labelHint, kind == StationLabels::Running);
    const auto running = clsRunningLabel::Of(m_pattern->text().toStdString());
    m_labelHint->setText(
        running ? tr("The next one is %1").arg(QString::fromStdString(running->Next(m_parts.Store)))
                : QString::fromStdString(clsStation::WrongWith(Options())));
    m_profile->setAccessibleDescription(m_findings->text());
    m_start->setEnabled(Usable());
    m_start->setAccessibleDescription(m_findings->text());
}

void clsStationSetup::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (m_start->isEnabled()) emit StartWanted();
            break;
        case Qt::Key_Escape:
            if (!m_back->isHidden()) emit BackWanted();
            break;
        default: QWidget::keyPressEvent(event);
    }
}
