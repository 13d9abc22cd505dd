#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clsIFiles.h"
#include "flows/SettingsCheck.h"
#include "flows/clsConvertTable.h"
#include "settings/ZarnInfo.h"

/// What a settings file held besides the record's own settings.
struct SettingsContent {
    bool KnownKey = false;         ///< any key of a setting was found
    std::optional<bool> AutoRead;  ///< nothing where the file does not name it
    /// What is odd with the lines, without those that a later one of the same setting makes up for; of lines
    /// without a setting the first 100.
    std::vector<SettingsFinding> Findings;
};

/// Takes a settings file's bytes piece by piece and applies its lines to a record. Starting one empties the
/// record's conversion table. A line counts with its first 64 KiB, so that memory stays bounded whatever the
/// file holds.
class clsSettingsParser {
  public:
    static constexpr std::size_t lineLimit = 65536;

    /// `record` outlives the parser; what the file does not name stays as it is in it.
    explicit clsSettingsParser(ZarnInfo& record);
    void Feed(std::string_view bytes);
    /// The end of the file: the last line may lack its line end.
    void End();
    /// Nothing that follows can change anything any more.
    [[nodiscard]] bool Finished() const { return m_section == Section::Behind; }
    [[nodiscard]] const SettingsContent& Content() const { return m_content; }

  private:
    enum class Section { Before, Inside, Behind };
    void ApplyLine(std::string_view line);
    void ApplyHeader(std::string_view line);
    void ApplyKey(std::string_view line);
    void Find(const SettingsFinding& finding);

    ZarnInfo& m_record;
    SettingsContent m_content;
    std::string m_line;
    bool m_afterCR = false;
    Section m_section = Section::Before;
};

/// The text of a settings file.
struct SettingsText {
    std::string Text;
    bool LostCR = false;  ///< a row's output text held a CR, which no line can carry: it is written without
};

/// The settings file: one section of keys, every line ended by CR LF. Knows nothing of reader and controls.
class clsSettingsFile {
  public:
    explicit clsSettingsFile(clsIFiles& files) : m_files(files) {}

    static SettingsText MakeText(const ZarnInfo& record, const std::vector<ConvertRow>& rows, bool autoRead);
    /// Replaces the file. False, and the file as it was, when it cannot be written.
    bool SaveInfoFile(const std::string& name, const SettingsText& text) {
        return m_files.ReplaceFile(name, text.Text);
    }
    /// Whether the file could be replaced, as far as that shows without doing it.
    bool MaySave(const std::string& name) { return m_files.MayReplace(name); }
    /// Lays the file over the record, whose conversion table is emptied first. Nothing, and nothing changed,
    /// when the file cannot be opened or read to its end.
    std::optional<SettingsContent> OpenInfoFile(const std::string& name, ZarnInfo& record);
    /// The file as it is, its first MiB; nothing when it cannot be read.
    std::optional<std::string> Content(const std::string& name);
    /// The kind of byte-order mark that the file opened last begins with; empty without one.
    [[nodiscard]] std::string ByteOrderMark() const { return m_mark; }
    /// Keeps the file as it is now under `name` + ".bak". False when it cannot be kept whole; a file that is
    /// not there needs no keeping.
    bool KeepBackup(const std::string& name);

  private:
    clsIFiles& m_files;
    std::string m_mark;
};
