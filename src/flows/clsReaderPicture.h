#pragma once

#include <bitset>
#include <cstddef>

#include "base/clsIHost.h"
#include "settings/Differences.h"

/// How a setting of the reader compares with what a person wants there.
enum class Sight {
    Unknown,  ///< nobody has seen what the reader holds
    Same,     ///< the reader was seen to hold it
    Differs,  ///< the reader was seen to hold, or was given, something else
    Written   ///< the reader was given it and has not been read since
};

/// How many settings stand how.
struct SightCount {
    std::size_t Differs = 0;
    std::size_t Written = 0;
};

/// What the reader was last seen to hold, setting by setting, and what it was given since. A value; the flows
/// keep it: nobody else knows when a reader was seen.
class clsReaderPicture {
  public:
    /// Everything was read.
    void Read(const ZarnInfo& record, TimeOfDayRecord time);
    /// The record was written and the reader said that it was done; everything, when nothing was known.
    void Written(const ZarnInfo& record);
    /// Nobody knows any more.
    void Forget() { m_known = false; }

    [[nodiscard]] bool Known() const { return m_known; }
    /// When the reader was read last. A setting that was written without any read before has no such time.
    [[nodiscard]] bool WasRead() const { return m_wasRead; }
    [[nodiscard]] TimeOfDayRecord Time() const { return m_time; }
    /// What was read, and over it what was written since.
    [[nodiscard]] const ZarnInfo& Held() const { return m_held; }
    /// The setting was written since it was read.
    [[nodiscard]] bool IsWritten(const SettingItem& item) const { return m_written[item.Place()]; }

    /// How `item` of `record` stands; both as AsStored gives them.
    [[nodiscard]] Sight Of(const SettingItem& item, const ZarnInfo& record) const;
    [[nodiscard]] SightCount Count(const ZarnInfo& record) const;

  private:
    bool m_known = false;
    bool m_wasRead = false;
    ZarnInfo m_held;  // as stored
    TimeOfDayRecord m_time;
    std::bitset<itemCount> m_written;
};
