#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/clsIFiles.h"
#include "flows/SettingsCheck.h"
#include "flows/clsConvertTable.h"
#include "settings/ZarnInfo.h"

/// Takes a settings file's bytes piece by piece and applies its lines to a record. Starting one empties the
/// record's conversion table. A line counts with its first 64 KiB, so that memory stays bounded whatever the
/// file holds.
class clsSettingsParser {
  public:
    static constexpr std::size_t lineLimit = 65536;

    /// `record` and `autoRead` outlive the parser; what the file does not name stays as it is in them.
    clsSettingsParser(ZarnInfo& record, bool& autoRead);
    void Feed(std::string_view bytes);
    /// The end of the file: the last line may lack its line end.
    void End();
    /// Nothing that follows can change anything any more.
    [[nodiscard]] bool Finished() const { return m_section == Section::Behind; }
    /// Whether any key of a setting was found.
    [[nodiscard]] bool KnownKey() const { return m_knownKey; }
    /// What is odd with the lines, without those that a later one of the same setting makes up for; of lines
    /// without a setting the first 100.
    [[nodiscard]] const std::vector<SettingsFinding>& Findings() const { return m_findings; }

  private:
    enum class Section { Before, Inside, Behind };
    void ApplyLine(std::string_view line);
    void ApplyHeader(std::string_view line);
    void ApplyKey(std::string_view line);
    void Find(const SettingsFinding& finding);

    ZarnInfo& m_record;
    bool& m_autoRead;
    std::string m_line;
    bool m_afterCR = false;
    bool m_knownKey = false;
    std::vector<SettingsFinding> m_findings;
    Section m_section = Section::Before;
};

/// The settings file: one section of keys, every line ended by CR LF. Knows nothing of reader and controls.
class clsSettingsFile {
  public:
    explicit clsSettingsFile(clsIFiles& files) : m_files(files) {}

    /// The file's text. `lostCR` tells that a row's output text held a CR, which no line can carry: the row
    /// is written without it.
    static std::string MakeText(const ZarnInfo& record, const std::vector<ConvertRow>& rows, bool autoRead,
                                bool& lostCR);
    /// Replaces the file. False, and the file as it was, when it cannot be written.
    bool SaveInfoFile(const std::string& name, const ZarnInfo& record, const std::vector<ConvertRow>& rows,
                      bool autoRead, bool& lostCR);
    /// Whether the file could be replaced, as far as that shows without doing it.
    bool MaySave(const std::string& name) { return m_files.MayReplace(name); }
    /// Lays the file over the record, whose conversion table is emptied first. False, and nothing changed,
    /// when the file cannot be opened or read to its end; true whatever it holds. `knownKey` tells whether it
    /// held any setting, `findings`, if asked for, what is odd with its lines.
    bool OpenInfoFile(const std::string& name, ZarnInfo& record, bool& autoRead, bool& knownKey,
                      std::vector<SettingsFinding>* findings = nullptr);
    /// The kind of byte-order mark that the file opened last begins with; empty without one.
    [[nodiscard]] std::string ByteOrderMark() const { return m_mark; }
    /// Keeps the file as it is now under `name` + ".bak". False when it cannot be kept whole; a file that is
    /// not there needs no keeping.
    bool KeepBackup(const std::string& name);

  private:
    clsIFiles& m_files;
    std::string m_mark;
};
