#pragma once

#include <string>
#include <vector>

#include "base/clsMemoryStore.h"
#include "comm/ucCOMM.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "support/clsVirtualHost.h"

using Texts = std::vector<std::string>;

/// A comm control over a simulated reader with the example configuration on COM1, which is open, in virtual
/// time.
struct SimWorld {
    SimWorld() {
        LoadExampleConfiguration(reader);
        clsSimSerialControl::Line line;
        line.Reader = &reader;
        serial.AddLine(1, line);
        comm.SetMSCommMode(false);
        comm.SetPortOpen(true);
    }
    void Fault(const std::string& rule) {
        std::string error;
        reader.AddFault(ParseSimFault(rule, error).value());
    }
    /// Bytes take their time from now on.
    void Pace() {
        clsSimSerialControl::Line line;
        line.Reader = &reader;
        line.Paced = true;
        serial.AddLine(1, line);
    }
    clsVirtualHost host;
    clsSimReader reader{host};
    clsSimSerialControl serial{host};
    clsMemoryStore store;
    ucCOMM comm{host, serial, store, "zarn74"};
};
