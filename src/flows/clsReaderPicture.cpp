#include "flows/clsReaderPicture.h"

#include "settings/RegisterMeaning.h"

void clsReaderPicture::Read(const ZarnInfo& record, TimeOfDayRecord time, const RegisterImage* image) {
    m_held = AsStored(record);
    m_time = time;
    m_written.reset();
    m_known = true;
    m_wasRead = true;
    m_outdated.reset();
    if (image != nullptr) {
        m_imageBefore = m_image;
        m_image = SeenImage{*image, time};
        m_imageHolds = true;
        m_sent.reset();
    } else if (m_image) {
        const ZarnInfo seen = AsStored(RecordOf(m_image->Bytes));
        for (std::size_t place = 0; place < itemCount; ++place)
            m_outdated.set(place, !SettingItem(place).Same(seen, m_held));
    }
}

void clsReaderPicture::Written(const ZarnInfo& record, const std::vector<SettingItem>& items) {
    const ZarnInfo stored = AsStored(record);
    if (!m_known) m_wasRead = false;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        if (!m_known || !item.Same(m_held, stored)) m_written.set(place);
    }
    for (const SettingItem& item : items) m_sent.set(item.Place());
    m_held = stored;
    m_known = true;
}

Sight clsReaderPicture::Of(const SettingItem& item, const ZarnInfo& record) const {
    if (!m_known) return Sight::Unknown;
    if (!item.Same(m_held, record)) return Sight::Differs;
    return IsWritten(item) ? Sight::Written : Sight::Same;
}

SightCount clsReaderPicture::Count(const ZarnInfo& record) const {
    SightCount count;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const Sight sight = Of(SettingItem(place), record);
        count.Differs += sight == Sight::Differs ? 1 : 0;
        count.Written += sight == Sight::Written ? 1 : 0;
    }
    return count;
}

RegisterSight clsReaderPicture::Of(int number) const {
    if (!m_image) return RegisterSight::Unknown;
    if (!m_known) return RegisterSight::Old;
    const auto item = RegisterMeaning::RoleOf(number).Item;
    if (item && IsWritten(*item)) return RegisterSight::Written;
    const bool old = !m_imageHolds || (item && m_outdated[item->Place()]);
    if (old) return RegisterSight::Old;
    return item && m_sent[item->Place()] ? RegisterSight::Written : RegisterSight::Seen;
}
