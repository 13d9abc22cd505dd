#pragma once

#include <map>
#include <memory>
#include <string>

#include "base/clsIFiles.h"

/// The machine's files, and texts that stand for files: under the name "-" what came in on standard input.
/// Owned by the run of a command.
class clsCliFiles final : public clsIFiles {
  public:
    static constexpr const char* standard = "-";  ///< standard input, or standard output

    explicit clsCliFiles(clsIFiles& files) : m_files(files) {}
    void SetInput(const std::string& text) { SetText(standard, text); }
    [[nodiscard]] bool HasInput() const { return m_texts.contains(standard); }
    /// From now on the file of that name is this.
    void SetText(const std::string& name, const std::string& text) { m_texts[name] = text; }

    [[nodiscard]] std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) override;
    [[nodiscard]] bool Exists(const std::string& name) override {
        return m_texts.contains(name) || m_files.Exists(name);
    }
    bool ReplaceFile(const std::string& name, const std::string& content) override {
        return m_files.ReplaceFile(name, content);
    }
    bool MayReplace(const std::string& name) override { return m_files.MayReplace(name); }
    [[nodiscard]] std::string LastError() const override { return m_files.LastError(); }

  private:
    clsIFiles& m_files;
    std::map<std::string, std::string> m_texts;
};
