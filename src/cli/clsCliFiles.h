#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/clsIFiles.h"

/// The machine's files, and under the name "-" what came in on standard input. Owned by the run of a command.
class clsCliFiles final : public clsIFiles {
  public:
    static constexpr const char* standard = "-";  ///< standard input, or standard output

    explicit clsCliFiles(clsIFiles& files) : m_files(files) {}
    void SetInput(const std::string& text) { m_input = text; }
    [[nodiscard]] bool HasInput() const { return m_input.has_value(); }

    [[nodiscard]] std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) override;
    bool ReplaceFile(const std::string& name, const std::string& content) override {
        return m_files.ReplaceFile(name, content);
    }
    bool MayReplace(const std::string& name) override { return m_files.MayReplace(name); }
    [[nodiscard]] std::string LastError() const override { return m_files.LastError(); }

  private:
    clsIFiles& m_files;
    std::optional<std::string> m_input;
};
