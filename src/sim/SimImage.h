#pragma once

#include <string>

#include "base/clsIFiles.h"
#include "sim/clsSimReader.h"

/// Fills the registers from a file of exactly 512 bytes and powers the reader up. The reason when that fails,
/// the reader then being as it was; empty when it is done.
std::string LoadSimImage(clsIFiles& files, const std::string& name, clsSimReader& reader);
/// Replaces the file as a whole by the 512 registers. False when that failed.
bool SaveSimImage(clsIFiles& files, const std::string& name, const clsSimReader& reader);
