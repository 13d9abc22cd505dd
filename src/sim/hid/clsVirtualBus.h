#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "hidlib/clsEventDescriptor.h"
#include "sim/hid/clsBusDevice.h"

/// The simulated bus: its devices and the one thread they all run on. Made by whoever needs it first, never
/// destroyed. Called from any thread.
class clsVirtualBus {
  public:
    static clsVirtualBus& Instance();

    /// Runs `work` on the bus's thread and returns when it is done.
    void Run(const std::function<void()>& work);
    /// Readable when a device was plugged in or pulled out.
    clsEventDescriptor Notices;

    // On the bus's thread:

    int Plug(std::string_view text);
    bool Unplug(int number);
    bool Replug(int number);
    void Reset();
    /// Null when there never was one.
    clsBusDevice* Device(int number);
    std::vector<HidDevice> List();
    clsBusDevice* DeviceOf(const HidDevice& described);

  private:
    clsVirtualBus();
    void Serve();

    std::mutex m_lock;  // guards the two below
    std::condition_variable m_done;
    std::vector<std::pair<const std::function<void()>*, bool*>> m_work;
    clsEventDescriptor m_wake;

    std::unique_ptr<clsIHost> m_host;
    std::map<int, std::unique_ptr<clsBusDevice>> m_devices;
    int m_lastNumber = 0;
};
