#include "app/clsDemoPanel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <array>

#include "qt/QtText.h"
#include "widgets/clsWheelGuard.h"

namespace {

struct DemoCard {
    const char* Name;
    int Type;
    const char* Serial;
};
constexpr std::array<DemoCard, 6> cards{{{"Mifare 1K 04A1B2C3 (in the table)", 1, "04A1B2C3"},
                                         {"Mifare 1K 11223344", 1, "11223344"},
                                         {"Mifare 4K 5E11907D", 2, "5E11907D"},
                                         {"UltraLight 04526AF13B2C80", 3, "04526AF13B2C80"},
                                         {"DESFire 047C330AD56190", 4, "047C330AD56190"},
                                         {"EM125K 2B008E41F6", 5, "2B008E41F6"}}};
constexpr auto noSerial = "0000000000";

QLabel* BuddyLabel(const QString& text, QWidget* control) {
    auto* const label = new QLabel(text);
    label->setBuddy(control);
    return label;
}

}  // namespace

clsDemoPanel::clsDemoPanel(const std::vector<Connection>& connections, int chosen, QWidget* parent)
    : clsDemoStrip(parent),
      m_connections(connections),
      m_connection(new QComboBox),
      m_card(new QComboBox),
      m_fault(new QComboBox),
      m_plugged(new QCheckBox(tr("Plugged in"))),
      m_paced(new QCheckBox(tr("Real line speed"))) {
    setObjectName("pnlDemo");

    m_paced->setToolTip(tr("Bytes take as long as on a real serial line"));
    m_plugged->setChecked(true);
    m_plugged->setToolTip(tr("Pulls the reader's cable out and puts it back"));

    for (const Connection& connection : m_connections) m_connection->addItem(connection.Name);
    m_connection->setCurrentIndex(chosen);
    m_card->addItem(tr("no card"));
    for (const DemoCard& card : cards) m_card->addItem(card.Name);
    m_fault->addItem(tr("no fault"));
    for (const SimFault fault : AllSimFaults()) {
        m_fault->addItem(QtText::ToQString(SimFaultName(fault)));
        m_fault->setItemData(m_fault->count() - 1, QtText::ToQString(SimFaultHelp(fault)), Qt::ToolTipRole);
    }

    m_connection->setObjectName("cboDemoConnection");
    m_card->setObjectName("cboDemoCard");
    m_fault->setObjectName("cboDemoFault");
    m_plugged->setObjectName("chkDemoPlugged");
    m_paced->setObjectName("chkDemoPaced");
    for (QComboBox* box : {m_connection, m_card, m_fault}) new clsWheelGuard(*box);
    connect(m_connection, &QComboBox::currentIndexChanged, this, &clsDemoPanel::ApplyPlug);
    connect(m_plugged, &QCheckBox::toggled, this, &clsDemoPanel::ApplyPlug);
    connect(m_card, &QComboBox::currentIndexChanged, this, &clsDemoPanel::ApplyCard);
    connect(m_fault, &QComboBox::currentIndexChanged, this, &clsDemoPanel::ApplyFault);
    connect(m_paced, &QCheckBox::toggled, this, &clsDemoPanel::PacedChanged);
    Arrange();
    ApplyPlug();
}

// The controls in two rows, with what is only shown or clicked.
void clsDemoPanel::Arrange() {
    auto* const banner = MakeBanner(tr("Simulated reader: nothing here reaches a real one."));
    auto* const type = new QPushButton(tr("Type card ID"));
    type->setObjectName("cmdDemoType");
    type->setToolTip(tr("The reader types the ID of the card that lies on it, and Enter"));
    connect(type, &QPushButton::clicked, this, [this] {
        const int card = m_card->currentIndex() - 1;
        Reader().TypeText(std::string(card < 0 ? noSerial : cards.at(static_cast<std::size_t>(card)).Serial) +
                          "\r");
    });

    auto* const grid = new QGridLayout(this);
    grid->setContentsMargins(12, 6, 12, 6);
    grid->setHorizontalSpacing(8);
    grid->addWidget(banner, 0, 0, 1, 6);
    grid->addWidget(m_plugged, 0, 6);
    grid->addWidget(m_paced, 0, 7);
    grid->addWidget(BuddyLabel(tr("On"), m_connection), 1, 0);
    grid->addWidget(m_connection, 1, 1);
    grid->addWidget(BuddyLabel(tr("Card"), m_card), 1, 2);
    grid->addWidget(m_card, 1, 3);
    grid->addWidget(BuddyLabel(tr("Fault"), m_fault), 1, 4);
    grid->addWidget(m_fault, 1, 5);
    grid->addWidget(type, 1, 6);
    grid->setColumnStretch(8, 1);
}

clsIDemoReader& clsDemoPanel::Reader() const {
    return *m_connections.at(static_cast<std::size_t>(m_connection->currentIndex())).Reader;
}

void clsDemoPanel::ApplyPlug() {
    m_paced->setEnabled(m_connection->currentIndex() == 0);  // USB has a pace of its own
    for (const Connection& connection : m_connections)
        connection.Reader->SetPlugged(connection.Reader == &Reader() && m_plugged->isChecked());
}

void clsDemoPanel::ApplyCard() {
    const int card = m_card->currentIndex() - 1;
    std::optional<SimCard> placed;
    if (card >= 0) {
        const DemoCard& chosen = cards.at(static_cast<std::size_t>(card));
        placed = SimCard{chosen.Type, chosen.Serial};
    }
    for (const Connection& connection : m_connections) connection.Reader->PlaceCard(placed);
}

void clsDemoPanel::ApplyFault() {
    std::optional<SimFaultRule> fault;
    if (m_fault->currentIndex() > 0) {
        std::string error;
        fault = ParseSimFault(QtText::ToBytes(m_fault->currentText()), error);
    }
    for (const Connection& connection : m_connections) connection.Reader->SetFault(fault);
}
