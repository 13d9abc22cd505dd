#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include "base/clsPropertyBag.h"
#include "hid/OrvHIDIO.h"
#include "hid/clsHidLibraryApi.h"
#include "hidlib/UdevDaemon.h"
#include "sim/hid/clsDemoBus.h"
#include "support/clsVirtualHost.h"
#include "system/clsHidReaders.h"

namespace fs = std::filesystem;

namespace {

const fs::path library = ORVHID_VIRTUAL;

TEST(clsLibraryLoader, CountsReferencesAndReadsAsNotLoadedAtNone) {
    clsLibraryLoader loader(library.parent_path().string());
    const std::string file = HidLibraryFile::Default(loader);
    EXPECT_EQ(file, library.string());
    EXPECT_EQ(loader.GetModuleHandle(file), 0u);
    const auto handle = loader.LoadLibrary(file);
    ASSERT_NE(handle, 0u);
    void* const entry = loader.GetProcAddress(handle, "orvhidNumberOfDevice");
    EXPECT_EQ(loader.LoadLibrary(file), handle);
    loader.FreeLibrary(handle);
    EXPECT_EQ(loader.GetModuleHandle(file), handle);
    loader.FreeLibrary(handle);
    loader.FreeLibrary(handle);  // one too many
    EXPECT_EQ(loader.GetModuleHandle(file), 0u);
    EXPECT_EQ(reinterpret_cast<std::int32_t (*)(std::uint32_t)>(entry)(77), 0) << "its code stays in memory";
}

TEST(clsHidReaders, AFolderWithoutAUsableLibraryHasNoReadersAndNoBus) {
    std::string pattern = testing::TempDir() + "zarn74-XXXXXX";
    const fs::path folder = mkdtemp(pattern.data());
    const fs::path file = folder / "libOrvHIDIO.so";
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"nothing", [&] { fs::remove(file); }},
        {"for another processor", [&] { std::fstream(file).seekp(18).put('\xB7'); }},
        {"not a library", [&] { std::ofstream(file) << std::string(9999, 'x'); }},
        {"empty", [&] { fs::resize_file(file, 0); }},
        {"half a header", [&] { fs::resize_file(file, 40); }},
        {"the header alone", [&] { fs::resize_file(file, 64); }},
        {"its first page", [&] { fs::resize_file(file, 4096); }},
        {"its code alone", [&] { fs::resize_file(file, 100'000); }},
        {"a folder", [&] { fs::remove(file), fs::create_directory(file); }},
        {"a pipe", [&] { fs::remove(file), mkfifo(file.c_str(), 0600); }},
    };
    for (const auto& [what, spoil] : rows) {
        fs::remove(file);
        fs::copy_file(library, file);
        spoil();
        clsHidReaders readers(folder.string());
        EXPECT_FALSE(clsDemoBus(readers.Loader()).Ready()) << what;
        EXPECT_EQ(readers.Devices(/*notices=*/nullptr).Hid->Create(), 0u) << what;
    }
    fs::remove_all(folder);
    const fs::path before = fs::current_path();
    fs::current_path(library.parent_path());
    clsHidReaders relative(".");
    EXPECT_FALSE(clsDemoBus(relative.Loader()).Ready()) << "nothing is looked for beside the user";
    fs::current_path(before);
}

TEST(clsHidReaders, RawReportsAndDataGoThroughTheControlAsTheyAre) {
    clsVirtualHost host;
    clsHidReaders readers(library.parent_path().string());
    const clsDemoBus bus(readers.Loader());
    bus.Reset();
    ASSERT_GT(bus.Plug("reader ids=0 in=63 out=8 feature=63"), 0);
    clsWaitAccount waits;
    OrvHIDIO hid(host, waits, readers.Loader(), *readers.Devices(/*notices=*/nullptr).Hid, /*userMode=*/true);
    hid.ReadProperties(clsPropertyBag());
    hid.SetCommPort("HID1");
    const auto until = [](const std::function<bool()>& done) {
        for (int ms = 0; !done() && ms < 10'000; ++ms) usleep(1000);
        return done();
    };
    ASSERT_TRUE(until([&] {
        hid.SetPortOpen(true);
        return hid.PortOpen();
    }));

    const std::string frame("\0\3\2V\r\0\0\0\0", 9);
    std::int32_t size = 9;
    EXPECT_TRUE(hid.SetOutputReportPtr(frame.data(), size));
    EXPECT_EQ(size, 9);
    EXPECT_TRUE(until([&] { return hid.InBufferCount() > 0; }));
    const std::string answer = hid.CommInput();
    EXPECT_TRUE(answer.starts_with("\2A")) << answer;
    std::string report(64, '\0');
    size = 8;  // less than there is
    EXPECT_TRUE(hid.GetInputReportPtr(report.data(), size));
    EXPECT_EQ(size, 8);
    EXPECT_EQ(report.substr(0, 8), static_cast<char>(answer.size()) + answer.substr(0, 7));

    report.replace(0, frame.size(), frame);
    size = 64;
    EXPECT_TRUE(hid.SetFeaturePtr(report.data(), size));
    report.assign(64, '\0');
    EXPECT_TRUE(hid.GetFeaturePtr(report.data(), size));
    EXPECT_EQ(report.substr(2, answer.size()), answer);
    size = -1;
    EXPECT_FALSE(hid.GetFeaturePtr(report.data(), size));
    EXPECT_EQ(size, 0);

    hid.SetIsHIDControlMode(true);
    hid.DataOutput("\2V\r");
    hid.SetIsHIDControlMode(false);
    EXPECT_TRUE(until([&] { return hid.InBufferCount() > 0; }));
    EXPECT_EQ(hid.CommInput(), answer);
    bus.Reset();
}

TEST(UdevDaemon, ASocketsFileThatNobodyListensOnAnswersNothing) {
    sockaddr_un address{AF_UNIX, ""};
    const std::string file = testing::TempDir() + "zarn74-" + std::to_string(getpid());
    file.copy(address.sun_path, sizeof address.sun_path - 1);
    const int server = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_FALSE(UdevDaemon::SomebodyListens(file));
    ASSERT_EQ(listen(server, 1), 0);
    EXPECT_TRUE(UdevDaemon::SomebodyListens(file));
    EXPECT_FALSE(UdevDaemon::SomebodyListens(file + "x"));
    close(server);
    EXPECT_TRUE(fs::exists(file) && !UdevDaemon::SomebodyListens(file));
    fs::remove(file);
}

}  // namespace
