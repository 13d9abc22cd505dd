#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "base/clsIFiles.h"

/// Files that exist only in a test. Refuse makes every writing fail.
class clsMemoryFiles final : public clsIFiles {
  public:
    std::map<std::string, std::string> Contents;
    bool Refuse = false;

    [[nodiscard]] std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) override {
        const auto at = Contents.find(name);
        if (at == Contents.end()) return nullptr;
        return std::make_unique<clsReader>(at->second);
    }
    bool ReplaceFile(const std::string& name, const std::string& content) override {
        if (!Refuse) Contents[name] = content;
        return !Refuse;
    }

  private:
    class clsReader final : public clsIFileReader {
      public:
        explicit clsReader(std::string content) : m_content(std::move(content)) {}
        std::size_t Read(char* to, std::size_t count) override {
            const std::size_t taken = std::min(count, m_content.size() - m_at);
            std::memcpy(to, m_content.data() + m_at, taken);
            m_at += taken;
            return taken;
        }

      private:
        std::string m_content;
        std::size_t m_at = 0;
    };
};
