#pragma once

#include <QSettings>

#include "base/clsISettingsStore.h"

/// The user's store: the file zarn74/zarn74.conf in the user's configuration folder, shared by all programs
/// of the family. Built by main. Every question sees what another of them has saved since.
class clsQtStore final : public clsISettingsStore {
  public:
    clsQtStore();
    [[nodiscard]] std::string GetSetting(const std::string& section, const std::string& key,
                                         const std::string& defaultValue) override;
    void SaveSetting(const std::string& section, const std::string& key, const std::string& value) override;

  private:
    QSettings m_settings;
};
