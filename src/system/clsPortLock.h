#pragma once

#include <optional>
#include <string>

/// The lock file "LCK..ttyUSB0" that programs on serial lines make, so that they keep off one another: ten
/// places for the process, a line with the program's name and one with the machine's. Owned by the line that
/// it stands for. Where the folder cannot be written there is none, which is no failure.
class clsPortLock {
  public:
    /// Who made a lock file.
    struct Holder {
        std::string File;
        long Process = 0;     ///< 0: the file does not tell
        std::string Program;  ///< may be empty
        bool Alive = true;    ///< false: the process has ended, and the file could not be removed
    };
    explicit clsPortLock(std::string folder) : m_folder(std::move(folder)) {}
    ~clsPortLock() { Release(); }
    clsPortLock(const clsPortLock&) = delete;
    clsPortLock& operator=(const clsPortLock&) = delete;

    /// Makes the file for a device, named by its real path. One that a program left behind is removed. False
    /// when another program has it; LockedBy then tells which.
    bool Take(const std::string& device);
    void Release();
    [[nodiscard]] const Holder& LockedBy() const { return m_holder; }

    /// Who has the lock file of a device in that folder; nothing when there is none. Changes nothing.
    static std::optional<Holder> HolderOf(const std::string& folder, const std::string& device);
    /// Whether that account could remove the file, so that one which was left behind is no obstacle.
    static bool MayRemove(const std::string& file, unsigned user);

  private:
    bool Read(const std::string& file);

    std::string m_folder;
    std::string m_file;  // ours; empty: none
    Holder m_holder;
};
