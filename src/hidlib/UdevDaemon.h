#pragma once

#include <string>

/// Whether the device manager runs, so that it tells of devices which come and go.
namespace UdevDaemon {

/// Its socket's file alone says little: it stays when the daemon ends, and a container that is given the file
/// hears nothing of what the daemon tells outside.
bool Answers();
/// Whether a process in this network name space listens on the local socket with that file. False where the
/// system does not tell.
bool SomebodyListens(const std::string& socketFile);

}  // namespace UdevDaemon
