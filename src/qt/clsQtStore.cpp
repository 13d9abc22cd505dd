#include "qt/clsQtStore.h"

#include <QStandardPaths>

#include "qt/QtText.h"

namespace {

QString StoreFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/zarn74/zarn74.conf";
}

QString StoreKey(const std::string& section, const std::string& key) {
    return QtText::ToQString(section) + "/" + QtText::ToQString(key);
}

}  // namespace

clsQtStore::clsQtStore() : m_settings(StoreFile(), QSettings::IniFormat) {}

std::string clsQtStore::GetSetting(const std::string& section, const std::string& key,
                                   const std::string& defaultValue) {
    m_settings.sync();
    return QtText::ToBytes(
        m_settings.value(StoreKey(section, key), QtText::ToQString(defaultValue)).toString());
}

void clsQtStore::SaveSetting(const std::string& section, const std::string& key, const std::string& value) {
    m_settings.setValue(StoreKey(section, key), QtText::ToQString(value));
    m_settings.sync();
}
