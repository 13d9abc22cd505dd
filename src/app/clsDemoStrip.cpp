#include "app/clsDemoStrip.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>

clsDemoStrip::clsDemoStrip(QWidget* parent) : QFrame(parent) {
    setAutoFillBackground(true);
    setAccessibleName(tr("Simulated readers"));
    Color();
}

QLabel* clsDemoStrip::MakeBanner(const QString& text) {
    auto* const banner = new QLabel(text);
    banner->setObjectName("labDemo");
    QFont bold = banner->font();
    bold.setBold(true);
    banner->setFont(bold);
    return banner;
}

void clsDemoStrip::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !m_coloring) Color();
}

/// An amber strip: light with dark text, or the other way round on a dark theme.
void clsDemoStrip::Color() {
    m_coloring = true;
    const bool dark = palette().color(QPalette::Base).lightness() < 128;
    QPalette colors = palette();
    colors.setColor(QPalette::Window, dark ? QColor(0x5A, 0x45, 0x00) : QColor(0xFF, 0xE8, 0xA3));
    colors.setColor(QPalette::WindowText, dark ? QColor(0xFF, 0xF2, 0xCC) : QColor(0x3A, 0x2C, 0x00));
    setPalette(colors);
    m_coloring = false;
}

clsDemoStationStrip::clsDemoStationStrip(int units, int bad) {
    setObjectName("pnlDemo");
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(12, 6, 12, 6);
    row->addWidget(MakeBanner(tr("%1 simulated readers, %2 of them bad: nothing here "
                                 "reaches a real one.")
                                  .arg(units)
                                  .arg(bad)));
}
