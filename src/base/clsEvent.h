#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// One subscription to an event or to a watched descriptor. Whoever holds it is subscribed; destroying it, or
/// calling Disconnect, ends the subscription at once, also from inside the handler that is being called.
class clsConnection {
  public:
    clsConnection() = default;
    /// `live` is the flag that the source looks at before each call; it must start as true.
    explicit clsConnection(std::shared_ptr<bool> live, std::function<void()> ended = {});
    clsConnection(clsConnection&& other) noexcept;
    clsConnection& operator=(clsConnection&& other) noexcept;
    clsConnection(const clsConnection&) = delete;
    clsConnection& operator=(const clsConnection&) = delete;
    ~clsConnection() { Disconnect(); }

    void Disconnect();
    [[nodiscard]] bool Connected() const { return m_live && *m_live; }

  private:
    std::shared_ptr<bool> m_live;
    std::function<void()> m_ended;
};

/// An event with typed arguments. Owned by the object that raises it; handlers run in the order they
/// connected, on the thread that raises. A handler may raise the event again, connect, disconnect itself or
/// others, and destroy the event's owner: a handler connected while a Raise is under way is first called by
/// the next one.
template <class... Args>
class clsEvent {
  public:
    using Handler = std::function<void(Args...)>;

    clsEvent() = default;
    clsEvent(const clsEvent&) = delete;
    clsEvent& operator=(const clsEvent&) = delete;

    [[nodiscard]] clsConnection Connect(Handler handler) {
        auto live = std::make_shared<bool>(true);
        m_list->Slots.push_back(std::make_shared<Slot>(Slot{live, std::move(handler)}));
        return clsConnection(live);
    }

    void Raise(Args... args) const {
        const auto list = m_list;  // keeps the list alive when a handler destroys this event
        const std::size_t count = list->Slots.size();
        ++list->Depth;
        const clsLeave leave{*list};
        for (std::size_t i = 0; i < count; ++i) {
            const auto slot = list->Slots[i];
            if (*slot->Live) slot->Call(args...);
        }
    }

  private:
    struct Slot {
        std::shared_ptr<bool> Live;
        Handler Call;
    };
    struct List {
        std::vector<std::shared_ptr<Slot>> Slots;
        int Depth = 0;  // Raise calls under way; slots are only dropped when there is none
    };
    struct clsLeave {
        List& list;
        ~clsLeave() {
            if (--list.Depth == 0) std::erase_if(list.Slots, [](const auto& slot) { return !*slot->Live; });
        }
    };

    std::shared_ptr<List> m_list = std::make_shared<List>();
};
