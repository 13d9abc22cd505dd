#pragma once

#include <poll.h>

#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "hidlib/clsHidSlot.h"

/// The library as a whole: the handles, and the worker that lives while there are any. One per process, made
/// by the first call and never destroyed, so that a program may leave at any moment. Called from any thread.
class clsHidLibrary {
  public:
    static clsHidLibrary& Instance();

    orvhid_handle Create();
    bool Destroy(orvhid_handle handle);
    /// Null for an unknown handle.
    std::shared_ptr<clsHidSlot> Find(orvhid_handle handle);

  private:
    using SlotPtr = std::shared_ptr<clsHidSlot>;

    // What the worker waits for.
    struct Watched {
        std::vector<pollfd> Descriptors;  // the wake, the notices, then one for each of Nodes
        std::vector<clsHidSlot::NodePtr> Nodes;
        clsHidSlot::Clock::time_point NextList = clsHidSlot::Clock::time_point::max();
    };

    void StartWorker();
    void Work();
    bool Turn(Watched& watched);
    std::vector<SlotPtr> Slots();
    void ListDevices(bool announce);

    std::mutex m_life;  // held over a whole Create or Destroy; the worker never takes it
    std::shared_ptr<HidShared> m_shared;
    std::thread m_worker;

    std::mutex m_lock;  // guards what follows; taken before the shared lock
    std::map<orvhid_handle, SlotPtr> m_slots;
    orvhid_handle m_lastHandle = 0;
    bool m_stop = false;
};
