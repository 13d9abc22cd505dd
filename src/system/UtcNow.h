#pragma once

#include <string>

/// The machine's time of now: "2026-03-31T12:05:09.123Z".
std::string UtcNow();
