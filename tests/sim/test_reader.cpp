// The reader's own view of the wire: bytes in, bytes out, written down as they stand on the line.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/SimImage.h"
#include "sim/clsSimReader.h"
#include "support/clsVirtualHost.h"

namespace {

using namespace std::string_literals;

/// A reader on a virtual host, and everything it has sent with the ms at which it did.
struct Bench {
    clsVirtualHost Host;
    clsSimReader Reader{Host};
    std::string Sent;
    std::vector<std::int64_t> Times;
    clsConnection OnSend = Reader.OnSend.Connect([this](const std::string& bytes) {
        Sent += bytes;
        Times.push_back(Host.Now());
    });

    std::string Ask(const std::string& bytes) {
        Sent.clear();
        Times.clear();
        Reader.Receive(bytes);
        return Sent;
    }
    /// The answer with everything that comes within ten seconds.
    std::string AskAndWait(const std::string& bytes) {
        Ask(bytes);
        Host.Run(10000);
        return Sent;
    }
    void Arm(const std::string& text) {
        std::string error;
        const auto rule = ParseSimFault(text, error);
        ASSERT_TRUE(rule) << error;
        Reader.AddFault(*rule);
    }
};

TEST(SimReader, AnswersEachFrameAsTheWireAsks) {
    Bench bench;
    bench.Reader.Registers[5] = 0x0A;
    bench.Reader.Registers[300] = 0xC4;
    const struct {
        std::string Frame, Answer;
    } rows[] = {
        {"\x02V\r", "\x02"s + "AV1.02R007,FWQ-K4436\r"},
        {"\x02"
         "D\r",
         "\x02"s + "AZarn74,00\r"},
        {"\x02"
         "D00\r",
         "\x02"s + "AZarn74,00\r"},
        {"\x02"
         "DA5\r",
         "\x02"s + "AZarn74,00\r"},
        {"\x02"
         "B05\r",
         "\x02"s + "A0AB2\r"},
        {"\x02"
         "B012C\r",
         "\x02"s + "AC4B8\r"},
        {"\x02"
         "BFF\r",
         "\x02"s + "AFFCD\r"},
        {"\x02J\r", "\x02"s + "AFF\r"},
        {"\x02X\r", "\x02"s + "True\r"},
        // writes, with the checksum of everything between STX and it
        {"\x02"
         "C05,0135\r",
         "\x02"s + "A\r"},
        {"\x02"
         "B05\r",
         "\x02"s + "A01A2\r"},
        {"\x02"
         "C012C,0AB6\r",
         "\x02"s + "A\r"},
        {"\x02"
         "B012C\r",
         "\x02"s + "A0AB2\r"},
        // whole frames that ask for what there is not
        {"\x02"
         "B0005\r",
         "\x02"s + "N02B0\r"},
        {"\x02"
         "B2C1\r",
         "\x02"s + "N02B0\r"},
        {"\x02"
         "B0200\r",
         "\x02"s + "N02B0\r"},
        {"\x02"
         "Bff\r",
         "\x02"s + "N02B0\r"},
        {"\x02"
         "B\r",
         "\x02"s + "N02B0\r"},
        {"\x02"
         "C05,G04B\r",
         "\x02"s + "N03\r"},
        {"\x02"
         "C05,1\x30\x34\r",
         "\x02"s},
        {"\x02"
         "C0005,0195\r",
         "\x02"s + "N02\r"},
        {"\x02V56\r", "\x02"s + "N03\r"},
        {"\x02"
         "D5\r",
         "\x02"s + "N03\r"},
        {"\x02Q\r", "\x02"s + "N01\r"},
        // broken ones, which nobody answers
        {"V\r", ""},
        {"\x02V", ""},
        {"\r", ""},
        {"\x02\r", ""},
        {"\x02"
         "C05,01\r",
         ""},
        {"\x02"
         "C05,0136\r",
         ""},
        {"\x02"
         "C012C,0Ab6\r",
         ""},
        {"\x02V" + std::string(40, 'V') + "\r", ""},
        // a new STX drops what stood before it, and what is outside a frame means nothing
        {"\x02"
         "B0\x02"
         "B05\r",
         "\x02"s + "A01A2\r"},
        {"xyz\r\n\x02"
         "B05\r\n",
         "\x02"s + "A01A2\r"},
    };
    for (const auto& row : rows) {
        if (row.Answer == "\x02") continue;
        EXPECT_EQ(bench.Ask(row.Frame), row.Answer) << testing::PrintToString(row.Frame);
        bench.Reader.PowerUp();
    }
}

}  // namespace
