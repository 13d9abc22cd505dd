#pragma once

#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "base/clsIFiles.h"

/// Files that exist only in a test. Refuse makes every writing fail, BreakAt the reading behind so many
/// bytes.
class clsMemoryFiles final : public clsIFiles {
  public:
    std::map<std::string, std::string> Contents;
    bool Refuse = false;
    std::optional<std::size_t> BreakAt;

    [[nodiscard]] std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) override {
        m_error = Contents.contains(name) ? "" : "No such file";
        return m_error.empty() ? std::make_unique<clsReader>(Contents.at(name), BreakAt) : nullptr;
    }
    [[nodiscard]] bool Exists(const std::string& name) override { return Contents.contains(name); }
    bool ReplaceFile(const std::string& name, const std::string& content) override {
        if (MayReplace(name)) Contents[name] = content;
        return !Refuse;
    }
    bool MayReplace(const std::string&) override {
        m_error = Refuse ? "Refused" : "";
        return !Refuse;
    }
    [[nodiscard]] std::string LastError() const override { return m_error; }

  private:
    struct clsReader final : clsIFileReader {
        clsReader(const std::string& content, std::optional<std::size_t> breakAt)
            : Stream(content.substr(0, breakAt.value_or(content.size()))), Breaks(breakAt) {}
        std::optional<std::size_t> Read(char* to, std::size_t count) override {
            Stream.read(to, static_cast<std::streamsize>(count));
            if (Stream.gcount() == 0 && Breaks) return std::nullopt;
            return static_cast<std::size_t>(Stream.gcount());
        }
        std::istringstream Stream;
        bool Breaks;
    };
    std::string m_error;
};
