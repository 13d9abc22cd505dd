#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/clsEvent.h"
#include "sim/clsSimReader.h"

/// The USB adapter between a reader and the host, in software: answers the commands of its control channel,
/// and passes the reader's bytes on while its line speed is the reader's and its direction says so. Owned by
/// whatever plays the USB device; reader and adapter run on one thread.
class clsSimAdapter {
  public:
    /// How a command is met: by its code, or all of them.
    enum class Manner { Obeys, Refuses, Unknown, Silent };  // Unknown refuses with error 4

    explicit clsSimAdapter(clsSimReader& reader);
    clsSimAdapter(const clsSimAdapter&) = delete;
    clsSimAdapter& operator=(const clsSimAdapter&) = delete;

    std::string Version = "Tarka V2.10";
    bool Keyboard = false;              ///< one is attached
    std::uint8_t DefaultDirection = 0;  ///< as command 5 tells it, without the keyboard's bit
    std::map<int, Manner> Manners;      ///< by command code; -1 is every other one
    int Announced = -1;                 ///< the count in every answer whatever it holds; -1 tells the truth

    /// Bytes of the two channels from the host. Answers come from inside these calls or later.
    void ReceiveControl(std::string_view bytes);
    void ReceiveData(std::string_view bytes);
    /// Everything as after it was plugged in, the reader too. Registers stay.
    void PowerUp();

    [[nodiscard]] int LineSpeed() const { return m_lineSpeed; }
    /// Bit 0 lets the reader's bytes through to the host.
    [[nodiscard]] std::uint8_t Direction() const { return m_direction; }
    /// Whole commands since the start, all of them or those of one code.
    [[nodiscard]] int CommandsReceived(int code = -1) const;

    clsEvent<const std::string&> OnControl;  ///< bytes on their way to the host
    clsEvent<const std::string&> OnData;

  private:
    void Obey(int code, std::string_view data);
    void Answer(std::uint8_t status, std::string_view data = {});
    [[nodiscard]] bool ReaderHears() const { return m_reader.LineSpeed() == m_lineSpeed; }

    clsSimReader& m_reader;
    std::string m_command;            // what has come of the next command
    bool m_answersByControl = false;  // the reader was last spoken to over the control channel
    int m_lineSpeed = 19200;
    std::uint8_t m_direction = 0;
    std::vector<std::uint8_t> m_registers = std::vector<std::uint8_t>(65536, 0xFF);
    std::array<int, 256> m_received{};
    clsConnection m_fromReader;
};
