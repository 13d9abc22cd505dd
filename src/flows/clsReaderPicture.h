#pragma once

#include <bitset>
#include <cstddef>
#include <optional>
#include <vector>

#include "base/clsIHost.h"
#include "settings/Differences.h"
#include "settings/RegisterImage.h"

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

/// How a register stands to the image that was read last.
enum class RegisterSight {
    Unknown,  ///< none was read
    Seen,     ///< the reader was seen to hold the image's byte
    Written,  ///< its setting was written since
    Old       ///< nobody knows any more, or its setting was read otherwise since
};

/// All registers as they were read in one piece.
struct SeenImage {
    RegisterImage Bytes{};
    TimeOfDayRecord Time;
};

/// What the reader was last seen to hold, setting by setting, and what it was given since. A value; the flows
/// keep it: nobody else knows when a reader was seen.
class clsReaderPicture {
  public:
    /// Everything was read; out of `image`, or null.
    void Read(const ZarnInfo& record, TimeOfDayRecord time, const RegisterImage* image = nullptr);
    /// The record was written and the reader said that it was done; everything, when nothing was known. A
    /// write may send also `items` that do not differ: their registers may hold other bytes than the image.
    void Written(const ZarnInfo& record, const std::vector<SettingItem>& items = {});
    /// Nobody knows any more.
    void Forget() { m_known = m_imageHolds = false; }

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

    /// The image that was read last, and the one before it; they stay when nobody knows any more whether they
    /// still hold. Of says that, register by register.
    [[nodiscard]] const std::optional<SeenImage>& Image() const { return m_image; }
    [[nodiscard]] const std::optional<SeenImage>& ImageBefore() const { return m_imageBefore; }
    [[nodiscard]] RegisterSight Of(int number) const;

  private:
    bool m_known = false;
    bool m_wasRead = false;
    ZarnInfo m_held;  // as stored
    TimeOfDayRecord m_time;
    std::bitset<itemCount> m_written;
    std::optional<SeenImage> m_image;
    std::optional<SeenImage> m_imageBefore;
    std::bitset<itemCount> m_sent;      // since the image was read, the same or not
    bool m_imageHolds = false;          // nothing made all of it doubtful
    std::bitset<itemCount> m_outdated;  // read otherwise since, one by one
};
