#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <optional>
#include <string>
#include <string_view>

#include "base/clsEvent.h"
#include "base/clsIHost.h"
#include "sim/SimFault.h"
#include "sim/clsIReader.h"

/// A card lying on the simulated reader.
struct SimCard {
    int Type = 1;  ///< 1 Mifare 1K, 2 Mifare 4K, 3 UltraLight, 4 DESFire, 5 EM125K; 0..255 is sent as it is
    std::string Serial;  ///< upper-case hexadecimal digits
};

/// A whole reader in software: 512 registers, identity, a card, typed card IDs, and faults on request. Strict
/// about frames. It reads and builds frames with code of its own, so that it is a second opinion on the wire
/// format. Owned by whatever plays the cable (a pseudo-terminal, a serial control, a USB adapter), which
/// gives it received bytes and takes what it sends. Everything it does later than at once goes through the
/// host's timers, in the order in which it was asked.
///
/// A whole frame that asks for what there is not is refused: N01 unknown command, N02 bad register field or
/// number, N03 bad or unexpected parameter. A frame without STX or CR, too long, or a write with a wrong or
/// missing checksum is not answered.
class clsSimReader final : public clsIReader {
  public:
    static constexpr std::size_t registerCount = 512;

    /// Factory-fresh: all registers FF, product "Zarn74,00", version "V1.02R007,FWQ-K4436".
    explicit clsSimReader(clsIHost& host);
    ~clsSimReader() override;

    std::array<std::uint8_t, registerCount> Registers{};
    std::string Product = "Zarn74,00";
    std::string Version = "V1.02R007,FWQ-K4436";
    /// Answers the command that sends a reader into its firmware loader. The loader is not simulated: the
    /// reader goes on as it is.
    std::string LoaderAnswer = "True";

    /// Writes a register as a frame does: OnRegister tells when that changed it. `number` is 0..511.
    void SetRegister(int number, std::uint8_t value);
    void Receive(std::string_view bytes) override;
    /// The line speed of register 209 counts from then on.
    void PowerUp() override;
    [[nodiscard]] int LineSpeed() const override { return m_lineSpeed; }

    void PlaceCard(const SimCard& card) { m_card = card; }
    void RemoveCard() { m_card.reset(); }
    [[nodiscard]] const std::optional<SimCard>& Card() const { return m_card; }
    /// Sends the text as the reader does when a card is read: the bytes as they are.
    void TypeText(const std::string& bytes);

    /// The rule stays where it is until ClearFaults; its Fired counts up.
    SimFaultRule& AddFault(const SimFaultRule& rule) { return m_faults.emplace_back(rule); }
    void ClearFaults() { m_faults.clear(); }
    [[nodiscard]] const std::list<SimFaultRule>& Faults() const { return m_faults; }

    /// Frames that were understood (refused ones too) since the start, all of them or those of one command
    /// letter.
    [[nodiscard]] int FramesReceived(char command = 0) const;
    /// Frames that were dropped because something in them was not as it must be.
    [[nodiscard]] int FramesRejected() const { return m_rejected; }

    clsEvent<const std::string&, bool> OnFrame;  ///< a whole frame or reply; True for received by the reader
    clsEvent<> OnRegister;                       ///< a write has changed a register; raised before its answer

  private:
    struct Request;
    // What is still to be sent: bytes, and the ms to wait before them once all before them is gone.
    struct Piece {
        std::string Bytes;
        int Delay = 0;
        std::string Frame;  // the whole reply, in its first piece
    };

    static Request ReadRequest(std::string_view text);
    void HandleFrame(const std::string& text);
    [[nodiscard]] SimFaultRule* FaultFor(const Request& request);
    [[nodiscard]] std::string MakeReply(const Request& request, const SimFaultRule* fault);
    [[nodiscard]] std::string AcceptedText(const Request& request) const;
    [[nodiscard]] std::string Image() const;
    void Send(const std::string& bytes, int delay, int gap);
    void SendPieces();

    clsIHost& m_host;
    std::optional<SimCard> m_card;
    std::list<SimFaultRule> m_faults;
    std::array<int, 256> m_received{};
    int m_rejected = 0;
    int m_lineSpeed = 19200;
    bool m_inFrame = false;
    std::string m_frame;
    std::deque<Piece> m_pieces;
    bool m_sending = false;
    clsIHost::TimerId m_timer = 0;
};

/// Fills the registers with the example configuration of the demo: key strings with control characters, one
/// table row of each card type, some filters.
void LoadExampleConfiguration(clsSimReader& reader);
