#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hidlib/orvhidio.h"
#include "sim/hid/orvbus.h"

/// A handle of the library that the test is linked with. Its call-back keeps what it is given.
class HidHandle {
  public:
    using Event = std::pair<std::uint32_t, std::string>;  ///< code, device name

    HidHandle() {
        all[Id] = this;
        orvhidSetCallBackProc(Id, &HidHandle::CallBack, /*user=*/Id + 1000);
    }
    HidHandle(const HidHandle&) = delete;
    HidHandle& operator=(const HidHandle&) = delete;
    ~HidHandle() {
        orvhidDestroy(Id);
        all.erase(Id);
    }

    /// Waits as a host does until `done` is true; False after ten seconds.
    bool Until(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!done()) {
            if (std::chrono::steady_clock::now() > end) return false;
            pollfd descriptor{orvhidGetEventDescriptor(Id), POLLIN, 0};
            poll(&descriptor, 1, /*timeout=*/10);  // what is asked for may come without an event
            orvhidDispatch(Id);
        }
        return true;
    }
    bool UntilEvent(std::uint32_t code) {
        return Until([&] { return Count(code) > 0; });
    }
    bool UntilListed(int devices) {
        return Until([&] { return orvhidNumberOfDevice(Id) == devices; });
    }
    [[nodiscard]] long Count(std::uint32_t code) const {
        return std::ranges::count(Events, code, &Event::first);
    }

    bool Open(const std::string& name) { return orvhidOpen(Id, name.c_str()) == 1; }
    bool Write(std::string_view bytes) { return orvhidWrite(Id, Bytes(bytes), Size(bytes)) == 1; }
    bool WriteCtrl(std::string_view bytes) { return orvhidWriteCtrl(Id, Bytes(bytes), Size(bytes)) == 1; }
    /// What arrives until `count` bytes are there.
    std::string Read(std::size_t count) { return Take(count, orvhidBytesToRead, orvhidRead); }
    std::string ReadCtrl(std::size_t count) { return Take(count, orvhidBytesToReadCtrl, orvhidReadCtrl); }
    /// The text that an export gives back.
    template <class Function, class Argument>
    std::string Text(Function function, Argument argument) {
        std::string text(static_cast<std::size_t>(function(Id, argument, nullptr, 0)), '\0');
        function(Id, argument, text.data(), static_cast<std::int32_t>(text.size() + 1));
        return text;
    }
    std::string Name() { return Text(orvhidEnumDeviceName, 0); }

    static const std::uint8_t* Bytes(std::string_view text) {
        return reinterpret_cast<const std::uint8_t*>(text.data());
    }
    static std::int32_t Size(std::string_view text) { return static_cast<std::int32_t>(text.size()); }

    const orvhid_handle Id = orvhidCreate();
    std::vector<Event> Events;
    std::function<void(std::uint32_t)> OnEvent;

  private:
    std::string Take(std::size_t count, decltype(orvhidBytesToRead) waiting, decltype(orvhidRead) read) {
        Until([&] { return waiting(Id) >= static_cast<std::int32_t>(count); });
        std::vector<std::uint8_t> bytes(count);
        return {bytes.begin(), bytes.begin() + read(Id, bytes.data(), static_cast<std::int32_t>(count))};
    }
    static std::uint32_t CallBack(orvhid_handle handle, std::uint32_t user, std::uint32_t code,
                                  std::uint32_t param) {
        EXPECT_EQ(user, handle + 1000);
        HidHandle& self = *all.at(handle);
        self.Events.emplace_back(code, param == 0 ? "" : self.Text(orvhidGetParamString, param));
        if (self.OnEvent) self.OnEvent(code);
        return 0;
    }

    static inline std::map<orvhid_handle, HidHandle*> all;
};
