#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "hid/HidLibraryFile.h"
#include "platform/clsHidReaders.h"
#include "sim/hid/clsDemoBus.h"

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
    fs::copy_file(library, folder / "libOrvHIDIO.so");
    std::fstream(folder / "libOrvHIDIO.so").seekp(18).put('\xB7');  // made for another processor
    clsHidReaders readers(folder.string());
    EXPECT_FALSE(clsDemoBus(readers.Loader()).Ready());
    EXPECT_EQ(readers.Devices(/*notices=*/nullptr).Hid->Create(), 0u);
    fs::remove_all(folder);
    const fs::path before = fs::current_path();
    fs::current_path(library.parent_path());
    clsHidReaders relative(".");
    EXPECT_FALSE(clsDemoBus(relative.Loader()).Ready()) << "nothing is looked for beside the user";
    fs::current_path(before);
}

}  // namespace
