#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/clsIFiles.h"
#include "base/clsIHost.h"
#include "base/clsILineFile.h"
#include "base/clsISettingsStore.h"
#include "comm/CommDevices.h"
#include "history/clsIHistory.h"
#include "ports/AccessReport.h"
#include "ports/clsIPortDirectory.h"
#include "ports/clsISerialControl.h"

/// What the command line takes of its machine. Each part is made when it is first asked for, so that a
/// question that needs none is answered at once. Built by main, or by a test.
class clsICliPlatform {
  public:
    virtual ~clsICliPlatform() = default;
    virtual clsIHost& Host() = 0;
    virtual clsISerialControl& Serial() = 0;
    virtual clsIPortDirectory& Ports() = 0;
    /// Readers on USB HID. With `watch` also those that are plugged in later, and the news of serial ports
    /// that come and go; a short question does without, since it would take longer for it.
    virtual CommDevices Devices(bool watch) = 0;
    virtual clsISettingsStore& Store() = 0;
    virtual clsIFiles& Files() = 0;
    /// A new file for a recording, or one that is emptied for it. Null when it cannot be had, with the reason
    /// in `error`.
    virtual std::unique_ptr<clsILineFile> LineFile(const std::string& name, std::string& error) = 0;
    /// The user's map of ports: the options' entries, or the environment's when there are none. What is
    /// wrong with it, empty when nothing is.
    virtual std::string SetPortMap(const std::vector<std::string>& entries) = 0;
    /// The name of the line behind a device file, or behind one of that name in /dev; empty when the text
    /// names none.
    virtual std::string AddDevice(const std::string& path) = 0;
    /// All of standard input, of which there may be `limit` bytes. Nothing when it cannot be had, with the
    /// reason in `error`, or without one after Ctrl-C. Runs the host's loop until its end.
    virtual std::optional<std::string> ReadInput(std::size_t limit, std::string& error) = 0;
    /// Everything between this account and these ports.
    virtual AccessReport Access(const std::vector<PortEntry>& ports) = 0;
    /// A question to whoever sits at the terminal, answered with yes or no; nothing where nobody does.
    virtual std::optional<bool> Confirm(const std::string& question) = 0;
    /// Standard input line by line, without line ends, from the host's loop until the connection is dropped;
    /// `ended` once, with an empty line, when there is no more of it.
    [[nodiscard]] virtual clsConnection WatchInput(
        std::function<void(const std::string& line, bool ended)> take) = 0;
    /// The history in that file, the user's own when the name is empty. Null where none is kept.
    virtual clsIHistory* History(const std::string& file) = 0;
    /// When what is behind the device file was plugged in, ms since 1970, UTC; 0 where the system does not
    /// tell.
    virtual std::int64_t PluggedIn(const std::string& device) = 0;
    /// The station is about to start: simulated readers may come and go from now on.
    virtual void BeginUnits() {}
    /// The file of defaults: where it is, or where it should be.
    virtual std::string DefaultFile() = 0;
};
