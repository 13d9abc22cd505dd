#pragma once

#include <string>
#include <string_view>

#include "base/clsEvent.h"

/// What hangs at the far end of a serial line. Owned by whoever makes it; whatever plays the line gives it
/// received bytes and takes what it sends.
class clsIReader {
  public:
    virtual ~clsIReader() = default;
    /// Bytes from the host. Answers go out through OnSend, from inside this call or later.
    virtual void Receive(std::string_view bytes) = 0;
    /// Forgets a half-received frame and what is still to be sent.
    virtual void PowerUp() = 0;
    /// The line speed that it uses since power-up, in bits per second.
    [[nodiscard]] virtual int LineSpeed() const = 0;

    clsEvent<const std::string&> OnSend;  ///< bytes on their way to the host

  protected:
    clsIReader() = default;
    clsIReader(const clsIReader&) = delete;
    clsIReader& operator=(const clsIReader&) = delete;
};
