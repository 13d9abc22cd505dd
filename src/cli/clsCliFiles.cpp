#include "cli/clsCliFiles.h"

#include <optional>
#include <utility>

namespace {

class clsTextReader final : public clsIFileReader {
  public:
    explicit clsTextReader(std::string text) : m_text(std::move(text)) {}
    std::optional<std::size_t> Read(char* to, std::size_t count) override {
        const std::size_t copied = m_text.copy(to, count, m_at);
        m_at += copied;
        return copied;
    }

  private:
    std::string m_text;
    std::size_t m_at = 0;
};

}  // namespace

std::unique_ptr<clsIFileReader> clsCliFiles::OpenFile(const std::string& name) {
    if (const auto text = m_texts.find(name); text != m_texts.end())
        return std::make_unique<clsTextReader>(text->second);
    return m_files.OpenFile(name);
}
