#pragma once

#include "hidlib/orvhidio.h"

/// The library's entry points in a program that loads it at run time, under their exported names. A pointer
/// is null where the library lacks the export.
struct OrvHidTable {
// A declared name cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ORVHID_EXPORT(kind, result, name, parameters) decltype(&::name) name = nullptr;
#include "hidlib/orvhid_exports.def"
#undef ORVHID_EXPORT

    /// Fills every entry with what `lookup(const char* name)` -> void* finds. False when an export is missing
    /// that every such library has.
    template <class Lookup>
    bool Resolve(Lookup lookup) {
        enum class Kind { REQUIRED, OPTIONAL, OWN };
        bool complete = true;
#define ORVHID_EXPORT(kind, result, name, parameters)         \
    (name) = reinterpret_cast<decltype(name)>(lookup(#name)); \
    if ((name) == nullptr && Kind::kind == Kind::REQUIRED) complete = false;
#include "hidlib/orvhid_exports.def"
#undef ORVHID_EXPORT
        return complete;
    }
};
