#pragma once

#include <string>

#include "ports/PortReason.h"
#include "system/clsPortLock.h"

/// What the machine tells of a device file that a program cannot use. Looks, and changes nothing.
namespace PortAccess {

/// The program that a process runs, empty where the system does not tell.
std::string ProgramName(long process);
/// The processes that have the device open, as far as this user may see them: "name (process 12), ...". With
/// `likely`, a process, that one alone if it is among them.
std::string ProgramsUsing(const std::string& device, long likely = 0);
/// Why this user may not read and write the device file; no obstacle when he may.
PortReason Look(const std::string& device);
/// Why opening it failed with the system's error, one of errno.
PortReason Explain(const std::string& device, int error);
/// The same for a device whose lock file another program has.
PortReason ExplainLock(const std::string& device, const clsPortLock::Holder& holder);

}  // namespace PortAccess
