#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "hidlib/OrvHidTable.h"
#include "sim/hid/orvbus.h"

/// One of the two libraries, loaded as a program loads it.
struct LoadedLibrary : OrvHidTable {
    explicit LoadedLibrary(const char* path) : Module(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (Module == nullptr) ADD_FAILURE() << dlerror();
        Complete = Resolve([&](const char* name) { return dlsym(Module, name); });
#define ORVBUS_EXPORT(result, name, parameters) \
    (name) = reinterpret_cast<decltype(name)>(dlsym(Module, #name));
#include "sim/hid/orvbus_exports.def"
#undef ORVBUS_EXPORT
    }
    void* Module;
    bool Complete = false;
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ORVBUS_EXPORT(result, name, parameters) decltype(&::name) name = nullptr;
#include "sim/hid/orvbus_exports.def"
#undef ORVBUS_EXPORT
};

inline LoadedLibrary& VirtualLibrary() {
    static LoadedLibrary library(ORVHID_VIRTUAL);
    return library;
}

/// A handle with a call-back that keeps what it is given.
class HidHandle {
  public:
    struct Event {
        std::uint32_t Code;
        std::string Name;
        bool operator==(const Event& other) const { return Code == other.Code && Name == other.Name; }
    };

    explicit HidHandle(LoadedLibrary& library = VirtualLibrary()) : Lib(library), Id(library.orvhidCreate()) {
        All()[Id] = this;
        Lib.orvhidSetCallBackProc(Id, &HidHandle::CallBack, /*user=*/Id + 1000);
    }
    HidHandle(const HidHandle&) = delete;
    HidHandle& operator=(const HidHandle&) = delete;
    ~HidHandle() {
        Lib.orvhidDestroy(Id);
        All().erase(Id);
    }

    /// Waits as a host does until `done` is true; False after ten seconds, and soon once that has happened.
    bool Until(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(m_late ? 50 : 10000);
        while (!done()) {
            if (std::chrono::steady_clock::now() > end) return !(m_late = true);
            pollfd descriptor{Lib.orvhidGetEventDescriptor(Id), POLLIN, 0};
            poll(&descriptor, 1, /*timeout=*/10);  // what is asked for may come without an event
            Lib.orvhidDispatch(Id);
        }
        return true;
    }
    bool UntilEvent(std::uint32_t code) {
        return Until([&] { return Count(code) > 0; });
    }
    [[nodiscard]] int Count(std::uint32_t code) const {
        int count = 0;
        for (const Event& event : Events) count += event.Code == code ? 1 : 0;
        return count;
    }

    bool Write(std::string_view bytes) { return Lib.orvhidWrite(Id, Bytes(bytes), Size(bytes)) == 1; }
    bool WriteCtrl(std::string_view bytes) { return Lib.orvhidWriteCtrl(Id, Bytes(bytes), Size(bytes)) == 1; }
    /// What arrives until `count` bytes are there.
    std::string Read(std::size_t count) { return Take(count, Lib.orvhidBytesToRead, Lib.orvhidRead); }
    std::string ReadCtrl(std::size_t count) {
        return Take(count, Lib.orvhidBytesToReadCtrl, Lib.orvhidReadCtrl);
    }
    /// The text that an export gives back.
    template <class Function, class... Arguments>
    std::string Text(Function function, Arguments... arguments) {
        std::string text(static_cast<std::size_t>(function(Id, arguments..., nullptr, 0)), '\0');
        function(Id, arguments..., text.data(), static_cast<std::int32_t>(text.size() + 1));
        return text;
    }
    std::string Name(int index) { return Text(Lib.orvhidEnumDeviceName, index); }

    LoadedLibrary& Lib;
    const orvhid_handle Id;
    std::vector<Event> Events;
    std::function<void(std::uint32_t)> OnEvent;
    std::thread::id Thread;  ///< of the last call-back

  private:
    bool m_late = false;

    static const std::uint8_t* Bytes(std::string_view text) {
        return reinterpret_cast<const std::uint8_t*>(text.data());
    }
    static std::int32_t Size(std::string_view text) { return static_cast<std::int32_t>(text.size()); }

    std::string Take(std::size_t count, decltype(OrvHidTable::orvhidBytesToRead) waiting,
                     decltype(OrvHidTable::orvhidRead) read) {
        Until([&] { return waiting(Id) >= static_cast<std::int32_t>(count); });
        std::string bytes(count, '\0');
        bytes.resize(
            static_cast<std::size_t>(read(Id, reinterpret_cast<std::uint8_t*>(bytes.data()), Size(bytes))));
        return bytes;
    }
    static std::map<orvhid_handle, HidHandle*>& All() {
        static std::map<orvhid_handle, HidHandle*> all;
        return all;
    }
    static std::uint32_t CallBack(orvhid_handle handle, std::uint32_t user, std::uint32_t code,
                                  std::uint32_t param) {
        EXPECT_EQ(user, handle + 1000);
        HidHandle& self = *All().at(handle);
        self.Thread = std::this_thread::get_id();
        self.Events.push_back({code, param == 0 ? "" : self.Text(self.Lib.orvhidGetParamString, param)});
        if (self.OnEvent) self.OnEvent(code);
        return 0;
    }
};
