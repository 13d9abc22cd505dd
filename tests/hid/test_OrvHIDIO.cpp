#include "HidFixture.h"
#include "ports/clsIMScomm.h"

namespace {

using Control = HidFixture;
const std::string ackNothing = "\x06\0"s;

TEST_F(Control, WithoutTheLibraryNothingHappensAndNothingIsSaid) {
    loader.Present = "";
    hid.ReadProperties(bag);
    hid.SetCommPort("path");
    hid.SetPortOpen(true);
    EXPECT_FALSE(hid.PortOpen());
    EXPECT_EQ(hid.NumberOfCommPorts(), 0);
    EXPECT_FALSE(hid.IsFunctionSupported("orvhidOpen"));
    EXPECT_FALSE(hid.IsMyCommPort("HID1"));
    EXPECT_EQ(library.Calls, "");
    EXPECT_EQ(loader.Loaded.front(), "/app/OrvHIDIO");
}

TEST_F(Control, TheProbeGivesItsReferenceBackAndNotesWhatTheLibraryLacks) {
    loader.Exports.erase("orvhidFlushQueue");
    loader.Application.clear();  // the host cannot tell: the folder is computed
    hid.ReadProperties(bag);
    EXPECT_EQ(loader.References, 0);
    EXPECT_FALSE(hid.FlushQueue());
    EXPECT_EQ(library.Calls, "create ");
}

TEST_F(Control, EachCallOfIsFunctionSupportedGivesOneReferenceBack) {
    loader.References = 2;
    EXPECT_TRUE(hid.IsFunctionSupported("orvhidFlushQueue"));
    EXPECT_FALSE(hid.IsFunctionSupported("orvhidNoSuch"));
    EXPECT_EQ(loader.References, 0);
    EXPECT_TRUE(hid.IsFunctionSupported("orvhidFlushQueue"));  // loads it, and gives that back
    EXPECT_EQ(loader.References, 0);
    OrvHIDIO designed(host, loader, library, /*userMode=*/false);
    EXPECT_FALSE(designed.IsFunctionSupported("orvhidFlushQueue"));
}

TEST_F(Control, OpeningAnAdapterSetsItsRateAndReadsItsDirection) {
    hid.ReadProperties(bag);
    hid.SetSettings("9600,N,8,1");  // closed: kept for the next open
    EXPECT_TRUE(library.SentCtrl.empty());
    hid.SetCommPort("path");
    library.Answers = {ackNothing, ackNothing, ackNothing, "\x06\x01\x13"s};
    hid.SetPortOpen(true);
    EXPECT_TRUE(hid.PortOpen());
    EXPECT_EQ(library.SentCtrl, (Texts{"\xCB\0"s, "\x01\x04\0\0\x25\x80"s, "\xCB\0"s, "\x05\0"s}));
    EXPECT_GE(host.Now(), 150 + 50 + 50);
    EXPECT_LT(host.Now(), 270);
    EXPECT_EQ(hid.TarkaDefaultSerialTo() * 100 + hid.TarkaDefaultPS2To() * 10 + hid.TarkaDefaultHIDExTo(),
              110);
    EXPECT_TRUE(hid.TarkaIsKeyboardExist());
    EXPECT_NE(library.Calls.find("in=2048 out=2048 "), std::string::npos);

    library.SentCtrl.clear();
    hid.SetPortOpen(false);
    EXPECT_EQ(library.SentCtrl, Texts{"\x03\x01\x03"s});
    EXPECT_FALSE(hid.TarkaCmdSetEnabled());
}

TEST_F(Control, WhichDevicesHaveTheAdaptersCommandSet) {
    const struct {
        const char* product;
        std::pair<int, int> id;
        bool adapter;
    } rows[] = {{"Tarka USB", {0x2E91, 5}, true},
                {"a Merro9", {0x2E91, 5}, true},
                {"tarka", {0x2E91, 5}, false},
                {"Tarka USB", {0x2E91, 0x15}, false},
                {"Zarn74", {0x2E91, 5}, false}};
    for (const auto& row : rows) {
        library.Product = row.product;
        library.Id = row.id;
        const auto start = host.Now();
        Opened();
        EXPECT_EQ(hid.TarkaCmdSetEnabled(), row.adapter) << row.product;
        if (!row.adapter) {
            EXPECT_EQ(host.Now(), start) << row.product;  // nothing is waited for
            hid.SetSettings("2400,N,8,1");
            EXPECT_EQ(host.Now(), start) << row.product;
        }
        hid.SetPortOpen(false);
    }
}

TEST_F(Control, ARefusingOrSilentAdapterIsOpenAllTheSame) {
    const struct {
        const char* what;
        std::string answer;
        std::size_t packets;  // one discard and one command an attempt
    } rows[] = {
        {"refuses", "\x15\0"s, 4}, {"refuses with a code", "\x15\x01\x04"s, 4}, {"is silent", "", 12}};
    for (const auto& row : rows) {
        library.Always = row.answer;
        library.SentCtrl.clear();
        hid.ReadProperties(bag);
        hid.SetCommPort("path");
        hid.SetPortOpen(true);
        EXPECT_TRUE(hid.PortOpen()) << row.what;
        EXPECT_EQ(library.SentCtrl.size(), row.packets) << row.what;
        EXPECT_EQ(hid.TarkaDefaultHIDExTo(), 1) << row.what;
        hid.SetPortOpen(false);
    }
    library.Always.clear();
    library.SentCtrl.clear();
    host.StartTimer(700, [this] { hid.CancelHIDCommand(); });
    const auto start = host.Now();
    hid.SetPortOpen(true);
    EXPECT_EQ(host.Now() - start, 700);  // a cancel ends all the attempts
    library.Refuses = true;
    hid.SetPortOpen(true);
}

TEST_F(Control, AdapterCommandsAndTheirAnswers) {
    const struct {
        const char* what;
        std::string code_data, answer;
        bool result;
        std::string data;
        bool nak, notSupported;
    } rows[] = {
        {"no data", "", "\x06\0"s, true, "", false, false},
        {"an answer with data and bytes behind it", "x", "\x06\2ABCD", true, "AB", false, false},
        {"refused", "", "\x15\x01\x03"s, false, "\x03", true, false},
        {"not supported", "", "\x15\x01\x04"s, false, "\x04", true, true},
        {"another status", "", "\x07\0"s, false, "", false, false},
        {"incomplete", "",
         "\x06\x03"
         "A",
         false, "A", false, false},
        {"half a header", "", "\x06", false, "", false, false},
    };
    Opened();
    for (const auto& row : rows) {
        library.SentCtrl.clear();
        library.Answers = {row.answer};
        std::string data;
        EXPECT_EQ(hid.SendHIDCMD(9, row.code_data, data), row.result) << row.what;
        EXPECT_EQ(library.SentCtrl.front(),
                  "\x09"s + static_cast<char>(row.code_data.size()) + row.code_data);
        EXPECT_EQ(data, row.data) << row.what;
        EXPECT_EQ(hid.IsSendHIDCmdNAK(), row.nak) << row.what;
        EXPECT_EQ(hid.IsCommandNotSupported(), row.notSupported) << row.what;
    }
    std::string data;
    library.SentCtrl.clear();
    EXPECT_FALSE(hid.SendHIDCMD(9, std::string(256, 'x'), data));
    EXPECT_TRUE(library.SentCtrl.empty());
    library.Answers = {"\x06\x01Z"s};
    EXPECT_TRUE(hid.SendHIDRawCmd("raw", data));
    EXPECT_EQ(data, "\x06\x01Z");
    EXPECT_EQ(library.SentCtrl, Texts{"raw"});
}

TEST_F(Control, CommandsWaitOneSecondForTheFirstByteAndLessBetweenPieces) {
    Opened();
    library.Always.clear();
    const auto lasts = [this](auto&& command) {
        const auto start = host.Now();
        command();
        return host.Now() - start;
    };
    std::string answer;
    EXPECT_EQ(lasts([&] { hid.SendHIDCMD(4, {}, answer); }), 1000);
    library.ArriveCtrl("\x06", 400);
    EXPECT_EQ(lasts([&] { hid.SendHIDCMD(4, {}, answer); }), 400 + 150);
    library.ArriveData("\2A1", 300);
    EXPECT_EQ(lasts([&] { EXPECT_FALSE(hid.SendHIDOrvNetCmd("V", false, answer, false)); }), 300 + 150);
    EXPECT_EQ(answer, "A1");
    std::vector<std::uint8_t> image(512, 0xEE);
    library.ArriveData(std::string(511, 'x'), 100);
    EXPECT_EQ(lasts([&] { EXPECT_FALSE(hid.SendHIDOrvNetDumpCmd(image)); }), 100 + 250);
    EXPECT_EQ(image[0], 0xEE);
    host.StartTimer(40, [this] { hid.CancelHIDCommand(); });
    EXPECT_EQ(lasts([&] { hid.SendHIDCMD(4, {}, answer); }), 40);
    EXPECT_FALSE(hid.IsBusy());
}

TEST_F(Control, OrvNetCommandsUseTheChannelOfTheMode) {
    Opened();
    int events = 0;
    const auto onComm = hid.OnComm.Connect([&] { ++events; });
    std::string answer;
    library.OnData = [this](const std::string&) { library.ArriveData("\rjunk\x02old\2A41A6\rrest", 3); };
    EXPECT_TRUE(hid.SendHIDOrvNetCmd("B05", /*addChecksum=*/true, answer, /*checkChecksum=*/true));
    EXPECT_EQ(answer, "A41A6");
    EXPECT_EQ(library.SentData, Texts{"\2B05A7\r"});
    EXPECT_EQ(events, 0);  // the reply is the command's own
    library.OnData = [this](const std::string&) { library.ArriveData("\2A41A7\r", 3); };
    EXPECT_FALSE(hid.SendHIDOrvNetCmd("B05", /*addChecksum=*/false, answer, /*checkChecksum=*/true));

    hid.SetIsHIDControlMode(true);
    library.Answers = {"\2AV\r"};
    EXPECT_TRUE(hid.SendHIDOrvNetCmd("V", /*addChecksum=*/false, answer, /*checkChecksum=*/false));
    EXPECT_EQ(answer, "AV");
    library.Answers = {std::string(512, 'i') + "more"};
    std::vector<std::uint8_t> image(512);
    EXPECT_TRUE(hid.SendHIDOrvNetDumpCmd(image));
    EXPECT_EQ(image[511], 'i');
}

TEST_F(Control, ASecondCommandMeanwhileIsRefusedAndCounted) {
    Opened();
    library.Always.clear();
    bool inner = true;
    int depth = 0;
    host.StartTimer(10, [&] {
        std::string answer;
        depth = hid.NestingDepth();
        inner = hid.SendHIDCMD(4, {}, answer) || hid.SendHIDOrvNetCmd("V", false, answer, false);
        EXPECT_TRUE(hid.IsBusy());
    });
    std::string answer;
    hid.SendHIDCMD(4, {}, answer);
    EXPECT_FALSE(inner);
    EXPECT_EQ(depth, 1);
    EXPECT_EQ(hid.NestingDepth(), 0);
    EXPECT_EQ(library.SentCtrl.size(), 1U);
}

TEST_F(Control, LibraryEventsBecomePortEventsByTheirTable) {
    Opened();
    std::string seen;
    const auto onComm = hid.OnComm.Connect([&] { seen += "c" + std::to_string(hid.CommEvent()) + " "; });
    const auto onDevice = hid.OnDevice.Connect([&](std::uint32_t event, const std::string& name) {
        seen += "d" + std::to_string(event) + name + " ";
    });
    const auto onProc = hid.OnOrvHIDProc.Connect(
        [&](std::uint32_t event, std::uint32_t) { seen += std::to_string(event) + ":"; });
    for (const std::uint32_t event : {0U, 1U, 2U, 3U, 4U, 5U, 8U, 9U, 16U, 17U, 18U, 35U, 99U})
        library.Tell(event, 3);
    EXPECT_EQ(seen,
              "0:c2 1:c1008 2:c1 3:c1010 4:c2 5:8:d8device3 9:d9device3 16:d16device3 17:d17device3 "
              "18:d18device3 35:c3 99:");
    EXPECT_TRUE(hid.IsNewDevicePlugin());
    EXPECT_FALSE(hid.IsNewDevicePlugin());

    seen.clear();
    library.Always.clear();
    host.StartTimer(900, [&] { library.Tell(5); });
    library.ArriveCtrl("\x06", 950);  // the event restarts the command's time, and is the command's own
    std::string answer;
    hid.SendHIDCMD(4, {}, answer);
    EXPECT_EQ(seen, "");
    library.TellAs(99999, 0);  // an id that nobody has
    EXPECT_EQ(seen, "");

    library.ArriveData("waiting", 0);
    host.DoEvents();
    seen.clear();
    hid.SetIsHIDControlMode(false);
    EXPECT_EQ(seen, "c2 ");
}

TEST_F(Control, RegisterCallsAreCutAtTheArraysEndAndAtEightBytes) {
    Opened();
    const std::vector<std::uint8_t> data{1, 2, 3, 4, 5, 6, 7, 8};
    const struct {
        int start, count;
        std::string get, set;  // empty: refused unsent
    } rows[] = {{0, 8, "\x09\x03\x34\x12\x08", "\x0A\x0B\x34\x12\x08\x01\x02\x03\x04\x05\x06\x07\x08"},
                {6, 4, "\x09\x03\x34\x12\x02", "\x0A\x05\x34\x12\x02\x07\x08"},
                {8, 1, "\x09\x03\x34\x12\0"s, "\x0A\x03\x34\x12\0"s},
                {9, 1, "", ""},
                {0, -1, "", ""},
                {-1, 2, "", ""},
                {2147483647, 2147483647, "", ""}};
    for (const auto& row : rows) {
        library.SentCtrl.clear();
        EXPECT_EQ(hid.TarkaGetRegister(0x1234, data, row.start, row.count), !row.get.empty()) << row.start;
        EXPECT_EQ(hid.TarkaSetRegister(0x1234, data, row.start, row.count), !row.set.empty()) << row.start;
        EXPECT_EQ(library.SentCtrl, row.get.empty() ? Texts{} : (Texts{row.get, row.set})) << row.start;
    }
    const std::vector<std::uint8_t> nine(9);
    EXPECT_FALSE(hid.TarkaGetRegister(0, nine, 0, 9));
    EXPECT_FALSE(hid.TarkaSetRegister(0, {}, 0, 0));
    library.SentCtrl.clear();
    hid.SetTarkaIODirect({1, 0, 1});
    hid.SetTarkaKeyCode(1, 2, 255);
    hid.TarkaEraseFlash();
    EXPECT_EQ(library.SentCtrl, (Texts{"\x03\x01\x05", "\x02\x03\x01\x02\xFF", "\x0B\0"s}));
    library.Answers = {"\x06\x05V1.2\0"s};
    EXPECT_EQ(hid.GetHIDVersion(), "V1.2");
    library.Answers = {"\x06\x01\x10"s};
    TarkaIODirection direction{1, 0, 0};
    EXPECT_TRUE(hid.GetTarkaDefaultIODirect(direction));
    EXPECT_EQ(direction, (TarkaIODirection{0, 1, 1}));
}

TEST_F(Control, ARateThatTheAdapterDoesNotTakeIsNotKept) {
    Opened();
    library.Always = "\x15\0"s;
    const auto start = host.Now();
    hid.SetSettings("2400,N,8,1");
    EXPECT_EQ(library.SentCtrl.size(), 3U);
    EXPECT_GE(host.Now() - start, 100);
    EXPECT_EQ(hid.Settings(), "19200,N,8,1");
    library.Always = ackNothing;
    hid.SetSettings("2400,N,8,1");
    EXPECT_EQ(hid.Settings(), "2400,N,8,1");
}

TEST_F(Control, NamesOfThisTransport) {
    EXPECT_FALSE(hid.IsMyCommPort("HID1"));  // no handle yet
    hid.ReadProperties(bag);
    const struct {
        std::string name;
        bool mine;
    } rows[] = {{"HID1", true},
                {"hid256", true},
                {"HID257", false},
                {"HID0", false},
                {"HID", false},
                {"HID1x", false},
                {"COM1", false},
                {R"(\\?\HID#VID_2E91&PID_0005#7)", true},
                {R"(\\?\hid#vid_2e91&pid_0006#7)", false},
                {R"(\hid 2e91 vid pid 0005)", false}};
    for (const auto& row : rows) EXPECT_EQ(hid.IsMyCommPort(row.name), row.mine) << row.name;
}

TEST_F(Control, DefaultIdsReadAsHexAndChangeOnlyAtDesignTime) {
    OrvHIDIO designed(host, loader, library, /*userMode=*/false);
    EXPECT_EQ(designed.DefaultHexVendorID(), "2E91");
    designed.SetDefaultHexVendorID("1A");
    EXPECT_EQ(designed.DefaultHexVendorID(), "001A");
    for (const char* text : {"0x15", "&H15", "15", "15z"}) {
        designed.SetDefaultHexProductID(text);
        EXPECT_EQ(designed.DefaultProductID(), 21) << text;
    }
    designed.SetDefaultHexProductID("(any pid)");
    EXPECT_EQ(designed.DefaultProductID(), 0);
    designed.SetDefaultProductID(-1);
    EXPECT_EQ(designed.DefaultHexProductID(), "(Any PID)");
    designed.WriteProperties(bag);
    EXPECT_EQ(bag.Values,
              (std::map<std::string, std::string>{{"DefaultProductID", "-1"}, {"DefaultVendorID", "26"}}));

    hid.SetDefaultVendorID(1);
    hid.SetDefaultHexProductID("7");
    EXPECT_EQ(boxes, (Texts{"The DefaultVederID property can't chagne at runtime!",
                            "The ProductID property can't chagne at runtime!"}));
    EXPECT_EQ(hid.DefaultVendorID(), 11921);
}

}  // namespace
