#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// What the fuzzer made up, taken from the front.
class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size) {}

    [[nodiscard]] bool Empty() const { return m_rest.empty(); }
    /// 0 at the end.
    std::uint8_t Byte() { return m_rest.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(Take(1)[0]); }
    /// A length byte and as many bytes, or what is left of them.
    std::string Piece() {
        const std::size_t length = Byte();
        return std::string(Take(length));
    }
    std::string Rest() { return std::string(Take(m_rest.size())); }

  private:
    std::string_view Take(std::size_t count) {
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }
    std::string_view m_rest;
};

/// What a fuzzer does with one input. Each file of this folder is one fuzzer.
void TestOneInput(FuzzInput input);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TestOneInput(FuzzInput(data, size));
    return 0;
}

/// Ends the run, which the fuzzer then reports with its input.
inline void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}
