#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "PlatformFixture.h"
#include "platform/clsQtStore.h"
#include "platform/clsSystemFiles.h"

namespace {

namespace fs = std::filesystem;

struct clsSystemFilesTest : clsPlatformTest {
    clsSystemFiles files;
    std::string file = folder + "/settings.txt";
    [[nodiscard]] std::size_t Entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }
};

TEST_F(clsSystemFilesTest, OnlyRegularFilesAreOpenedAndNothingIsWaitedFor) {
    ASSERT_EQ(mkfifo((folder + "/fifo").c_str(), 0600), 0);
    for (const std::string& name :
         {folder, folder + "/fifo", folder + "/missing", std::string("/dev/zero"), std::string()})
        EXPECT_EQ(files.OpenFile(name), nullptr) << name;
    Put("settings.txt", std::string("a\0b", 3));
    const auto reader = files.OpenFile(file);
    ASSERT_NE(reader, nullptr);
    char bytes[8];
    EXPECT_EQ(reader->Read(bytes, 2), 2u);
    EXPECT_EQ(reader->Read(bytes, 8), 1u);
    EXPECT_EQ(reader->Read(bytes, 8), 0u);
}

TEST_F(clsSystemFilesTest, AFileIsReplacedAsAWholeAndKeepsItsMode) {
    EXPECT_TRUE(files.ReplaceFile(file, "one"));
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    EXPECT_TRUE(files.ReplaceFile(file, std::string(300'000, 'x')));
    EXPECT_EQ(Content(file), std::string(300'000, 'x'));
    struct stat info {};
    stat(file.c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777u, 0640u);

    fs::create_symlink("settings.txt", folder + "/link");
    EXPECT_TRUE(files.ReplaceFile(folder + "/link", "through"));
    EXPECT_EQ(Content(file), "through");
    EXPECT_TRUE(fs::is_symlink(folder + "/link"));
    fs::create_symlink(folder + "/new.txt", folder + "/dangling");
    EXPECT_TRUE(files.ReplaceFile(folder + "/dangling", "new"));
    EXPECT_EQ(Content(folder + "/new.txt"), "new");
    EXPECT_EQ(Entries(), 4u);  // nothing else beside them
}

TEST_F(clsSystemFilesTest, WhatIsNoFileIsNotReplaced) {
    fs::create_symlink("loop", folder + "/loop");
    for (const std::string& name :
         {folder, folder + "/no/such", std::string("/dev/null"), folder + "/loop", std::string()})
        EXPECT_FALSE(files.ReplaceFile(name, "x")) << name;
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(Entries(), 1u);
}

TEST_F(clsSystemFilesTest, AWriteThatEndsShortLeavesTheOldFileAlone) {
    ASSERT_TRUE(files.ReplaceFile(file, "old"));
    rlimit former{};
    getrlimit(RLIMIT_FSIZE, &former);
    rlimit small = former;
    small.rlim_cur = 65'536;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool tooLarge = files.ReplaceFile(file, std::string(65'537, 'x'));
    const bool other = files.ReplaceFile(folder + "/other.txt", std::string(200'000, 'x'));
    const bool fits = files.ReplaceFile(folder + "/fits.txt", std::string(65'536, 'x'));
    setrlimit(RLIMIT_FSIZE, &former);
    EXPECT_FALSE(tooLarge);
    EXPECT_FALSE(other);
    EXPECT_TRUE(fits);
    EXPECT_EQ(Content(file), "old");
    EXPECT_EQ(Entries(), 2u);
}

TEST_F(clsPlatformTest, TheStoreKeepsTextsForAllProgramsOfTheUser) {
    clsQtStore store;
    EXPECT_EQ(store.GetSetting("Zarn*", "LastCommPort", "COM1"), "COM1");
    const std::string odd = "a,b;\"c\" %\xE9\n@x";
    store.SaveSetting("Zarn*", "LastCommPort", "COM7");
    clsQtStore other;
    EXPECT_EQ(other.GetSetting("Zarn*", "LastCommPort", ""), "COM7");
    other.SaveSetting("Ports", "Adapters", odd);
    EXPECT_EQ(store.GetSetting("Ports", "Adapters", ""), odd);
    EXPECT_EQ(store.GetSetting("zarn", "LastCommPort", "none"), "none");
    EXPECT_TRUE(fs::exists(folder + "/config/zarn74/zarn74.conf"));
}

}  // namespace
