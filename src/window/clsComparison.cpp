#include "window/clsComparison.h"

clsComparison::clsComparison(const clsReaderPicture& picture, std::function<void(ZarnForm&)> form,
                             QObject* parent)
    : QObject(parent), m_picture(picture), m_form(std::move(form)) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &clsComparison::Update);
    Outdate();
}

void clsComparison::Outdate() {
    if (!m_timer.isActive()) m_timer.start();
}

void clsComparison::Update() {
    m_timer.stop();
    ZarnForm form;
    m_form(form);
    ZarnInfo shown = m_picture.Held();  // what a list without a selection stands for
    form.SaveZarn74(shown);
    m_here = AsStored(shown);
    for (std::size_t place = 0; place < itemCount; ++place)
        m_sights[place] = m_picture.Of(SettingItem(place), m_here);
    emit Changed();
}

QString clsComparison::ReadAt() const {
    const TimeOfDayRecord time = m_picture.Time();
    return QString("%1:%2").arg(time.Hour, 2, 10, QChar('0')).arg(time.Minute, 2, 10, QChar('0'));
}

QString clsComparison::InReader(const SettingItem& item) const {
    return m_picture.Known() ? QString::fromStdString(item.Value(m_picture.Held())) : QString();
}

QString clsComparison::InControls(const SettingItem& item) const {
    return QString::fromStdString(item.Value(m_here));
}

QString clsComparison::Told(const SettingItem& item) const {
    const Sight sight = Of(item);
    if (!m_picture.Known() || sight == Sight::Unknown || sight == Sight::Same) return {};
    if (m_picture.IsWritten(item)) return tr("written, not read back: %1").arg(InReader(item));
    return tr("in the reader (read %1): %2").arg(ReadAt(), InReader(item));
}

QString clsComparison::Summary() const {
    if (!m_picture.Known()) return tr("reader not read");
    const SightCount count = m_picture.Count(m_here);
    QStringList parts;
    if (count.Differs == 1) parts += tr("1 change not written");
    if (count.Differs > 1) parts += tr("%1 changes not written").arg(count.Differs);
    if (count.Written > 0) parts += tr("%1 written, not read back").arg(count.Written);
    return parts.join(", ");
}
