#pragma once

#include <cstdio>
#include <exception>

/// Runs `program`, the whole of a main, and gives its exit status. What it throws is said in one line behind
/// the program's name, and the status is 1.
template <class Program>
int RunProgram(const char* name, Program program) noexcept {
    try {
        return program();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", name, error.what());
    } catch (...) {
        std::fprintf(stderr, "%s: an error without a text\n", name);
    }
    return 1;
}
