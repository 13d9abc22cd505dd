#include <sys/stat.h>

#include "PlatformFixture.h"
#include "platform/clsQtStore.h"
#include "platform/clsSystemFiles.h"

namespace {

struct clsSystemFilesTest : clsPlatformTest {
    clsSystemFiles files;
    std::string file = folder + "/settings.txt";
    [[nodiscard]] long Entries() const {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }
};

TEST_F(clsSystemFilesTest, WhatIsNoRegularFileIsNeitherOpenedNorReplacedNorWaitedFor) {
    ASSERT_EQ(mkfifo((folder + "/fifo").c_str(), 0600), 0);
    fs::create_symlink("loop", folder + "/loop");
    for (const char* name : {"", "/fifo", "/loop", "/no/such"}) {
        EXPECT_EQ(files.OpenFile(folder + name), nullptr) << name;
        EXPECT_FALSE(files.ReplaceFile(folder + name, "x")) << name;
    }
    EXPECT_EQ(Entries(), 2);
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
    fs::create_symlink(folder + "/new.txt", folder + "/dangling");
    EXPECT_TRUE(files.ReplaceFile(folder + "/link", "through"));
    EXPECT_TRUE(files.ReplaceFile(folder + "/dangling", "new"));
    EXPECT_EQ(Content(file) + Content(folder + "/new.txt"), "throughnew");
    EXPECT_TRUE(fs::is_symlink(folder + "/link"));
    EXPECT_EQ(Entries(), 4);  // nothing else beside them
}

TEST_F(clsPlatformTest, TheStoreKeepsTextsForAllProgramsOfTheUser) {
    clsQtStore store;
    const std::string odd = "a,b;\"c\" %\xE9\n@x";
    store.SaveSetting("Zarn*", "LastCommPort", odd);
    clsQtStore other;
    EXPECT_EQ(other.GetSetting("Zarn*", "LastCommPort", ""), odd);
    other.SaveSetting("Ports", "Adapters", "5=x");
    EXPECT_EQ(store.GetSetting("Ports", "Adapters", ""), "5=x");
    EXPECT_EQ(store.GetSetting("zarn", "LastCommPort", "none"), "none");
}

}  // namespace
