#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// A HID device that is plugged in, accepted or not. Texts are ISO 8859-1.
struct HidDevice {
    std::string Key;       ///< what the back end knows it by; never the same again after a re-plug
    std::string File;      ///< its device node
    std::string Instance;  ///< ends its name: no blank and no bracket; unique among those plugged in
    std::uint16_t Vendor = 0;
    std::uint16_t Product = 0;
    bool SpareKeyboard = false;  ///< the keyboard among several interfaces of one device
    std::string Maker;
    std::string ProductText;
    std::string Serial;
    std::map<int, std::string> Strings;  ///< the string descriptors that are known, by index
};

enum class NodeResult {
    Done,
    Again,    ///< nothing to read, or the device takes nothing now; the descriptor tells when to try again
    Refused,  ///< the device or the kernel did not do it; the device is still there
    Gone,     ///< the device is not there any more
};

/// An open device, which nobody else can open so. The worker alone reads, writes and asks; whoever drops the
/// last reference closes it.
class clsIHidNode {
  public:
    enum class Ask { InputReport, GetFeature, SetFeature };

    clsIHidNode() = default;
    clsIHidNode(const clsIHidNode&) = delete;
    clsIHidNode& operator=(const clsIHidNode&) = delete;
    virtual ~clsIHidNode() = default;

    /// Readable when a report waits, in error or hung up when the device has gone.
    [[nodiscard]] virtual int Descriptor() const = 0;
    /// One input report, as it came, into `report`, whose size at the call is the room.
    virtual NodeResult Read(std::vector<std::uint8_t>& report) = 0;
    /// One output report; byte 0 is the id or 0.
    virtual NodeResult Write(std::span<const std::uint8_t> report) = 0;
    /// Byte 0 of `report` is the id or 0, its size at the call is the room; a get leaves what was got.
    virtual NodeResult Request(Ask ask, std::vector<std::uint8_t>& report) = 0;
    /// Others may open the device from now on, though somebody here still holds this. Called from any thread,
    /// once; waits for nothing.
    virtual void Unlock() = 0;
};

/// Where the devices come from. Made by the first handle; List and the notices belong to the worker, Open and
/// Access to any thread.
class clsIHidBackend {
  public:
    clsIHidBackend() = default;
    clsIHidBackend(const clsIHidBackend&) = delete;
    clsIHidBackend& operator=(const clsIHidBackend&) = delete;
    virtual ~clsIHidBackend() = default;

    /// Readable when the set of devices may have changed; -1 where nobody tells.
    [[nodiscard]] virtual int NoticeDescriptor() const = 0;
    /// Notices may be missing: the devices have to be listed every now and then.
    [[nodiscard]] virtual bool MustPoll() const = 0;
    virtual void TakeNotices() = 0;
    /// In the order of the device nodes' numbers.
    virtual std::vector<HidDevice> List() = 0;
    /// An open node and its report descriptor; null and the system's error number when it cannot be opened,
    /// EBUSY when somebody has it open already.
    virtual std::unique_ptr<clsIHidNode> Open(const HidDevice& device, std::vector<std::uint8_t>& descriptor,
                                              int& error) = 0;
    /// 0 or the system's error number.
    virtual int Access(const HidDevice& device) = 0;
};

/// Each build of the library has one: the kernel's devices, or simulated ones.
std::unique_ptr<clsIHidBackend> MakeHidBackend();
