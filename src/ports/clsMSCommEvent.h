#pragma once

#include <string>

#include "base/clsEvent.h"

class clsIMScomm;

/// The sink that port adapters report to, and the port set listens to. Owned by the port set.
class clsMSCommEvent {
  public:
    /// Something happened on `port`; its CommEvent says what.
    void RaiseOnComm(clsIMScomm& port) { OnComm.Raise(port); }
    void RaiseOnMessage(clsIMScomm& port, const std::string& message) { OnMessage.Raise(port, message); }

    clsEvent<clsIMScomm&> OnComm;
    clsEvent<clsIMScomm&, const std::string&> OnMessage;
};
