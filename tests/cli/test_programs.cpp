// The real programs over a real pseudo-terminal.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

/// A simulated reader at work, and a shell that knows how to reach it: $C is the program with the reader on
/// COM7, the file `in` takes the reader's commands.
struct clsProgramsTest : testing::Test {
    clsProgramsTest() {
        std::string pattern = testing::TempDir() + "zarn74-XXXXXX";
        folder = mkdtemp(pattern.data());
        mkfifo((folder + "/in").c_str(), 0600);
        in = open((folder + "/in").c_str(), O_RDWR | O_CLOEXEC);
        Shell(ZARN74SIM
              " --example --pace 19200 --link reader --log frames <in >sim.out 2>&1 &"
              " for i in 1 2 3 4 5 6 7 8 9; do [ -e reader ] || sleep 0.1; done");
    }
    ~clsProgramsTest() override {
        Shell("echo quit >in; for i in 1 2 3 4 5 6 7 8 9; do [ -e reader ] && sleep 0.1; done");
        close(in);
        std::filesystem::remove_all(folder);
    }
    /// The exit status of a script.
    int Shell(const std::string& script) const {
        const std::string line = "cd " + folder + "; export XDG_CONFIG_HOME=" + folder +
                                 "/config; C='" ZARN74CTL " --port-map COM7=" + folder + "/reader'; " +
                                 script;
        const int status = std::system(line.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    [[nodiscard]] std::string Content(const std::string& name) const {
        std::ifstream file(folder + "/" + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string folder;
    int in = -1;
};

TEST_F(clsProgramsTest, AReaderBehindADeviceFileIsFoundReadAndWritten) {
    EXPECT_EQ(Shell("$C scan >out 2>err"), 0);
    EXPECT_NE(Content("out").find("COM Port: COM7, 19200 baud\n"), std::string::npos) << Content("err");
    EXPECT_EQ(Shell(ZARN74CTL " --port ./reader --baud 14400 read -o file 2>err"), 0) << Content("err");
    EXPECT_EQ(Shell(ZARN74CTL " demo read >demo 2>err; cmp file demo"), 0);
    EXPECT_EQ(Shell("$C write file 2>err && grep -c u0002C frames >count"), 0) << Content("err");
    EXPECT_EQ(Content("count"), "1\n");
    EXPECT_EQ(
        Shell("$C --slow read >out 2>/dev/null & sleep 0.3; $C info 2>err; e=$?; kill -INT $!; exit $e"), 3);
    EXPECT_EQ(
        Shell("ZARN74_PORT_MAP=COM9=/no/such,COM7=reader " ZARN74CTL " get 0xD2 >out 2>err; cmp out - <<-E\n"
              "210 (0x0D2) = 2 (0x02)\nE"),
        0);
}

TEST_F(clsProgramsTest, WhatEndsARunInTheMiddleEndsItAtOnce) {
    const struct {
        const char *what, *script;
        int exit;
    } rows[] = {
        {"Ctrl-C", "$C --slow read >out 2>err & sleep 0.5; kill -INT $!; wait $!", 130},
        {"SIGTERM", "$C --slow read -o file >out 2>err & sleep 0.5; kill $!; wait $!", 130},
        {"two of them", "$C --slow read >out 2>err & sleep 0.5; kill -INT $!; kill -INT $!; wait $!", 130},
        {"a closed pipe",
         "($C --slow read 2>err; echo $? >code) | sleep 0.5; sleep 0.3; : >out; exit $(cat code)", 130},
        {"no reader of a monitor",
         "{ $C monitor 2>err; echo $? >code; } | head -1 >head; : >out; exit $(cat code)", 130},
        {"the cable pulled", "(sleep 0.5; echo unplug >in) & $C --slow read >out 2>err", 1},
    };
    for (const auto& row : rows) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Shell(row.script), row.exit) << row.what << Content("err");
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)) << row.what;
        EXPECT_EQ(Content("out"), "") << row.what;
    }
    EXPECT_NE(Content("err").find("COM7 is removed and closed"), std::string::npos);
    EXPECT_EQ(Shell("[ -e file ]"), 1);
}

TEST_F(clsProgramsTest, WhatCannotBeWrittenIsSaidAndLeavesTheOldFileWhole) {
    EXPECT_EQ(Shell(ZARN74CTL " --help >/dev/full 2>&1"), 1);
    EXPECT_EQ(Shell("$C info >/dev/full 2>err"), 1);
    EXPECT_EQ(Shell("grep -q 'cannot write to standard output' err"), 0);
    EXPECT_EQ(
        Shell("mkdir dir; echo old >dir/file; (ulimit -f 1; $C read -o dir/file 2>&1) | grep -q 'File NG!'"),
        0);
    EXPECT_EQ(Content("dir/file"), "old\n");
    EXPECT_EQ(Shell("[ $(ls -A dir | wc -l) = 1 ]"), 0);
}

TEST_F(clsProgramsTest, AFullOutputThatSomebodyMadeNonBlockingIsWaitedFor) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    std::string lying(1U << 20, '.');
    const ssize_t before = write(ends[1], lying.data(), lying.size());
    const std::string out = std::to_string(ends[1]);
    EXPECT_EQ(
        Shell("(" ZARN74CTL " demo dump >&" + out + " 2>err; echo $? >code) & sleep 0.5; [ ! -e code ]"), 0);
    EXPECT_EQ(read(ends[0], lying.data(), lying.size()), before);
    EXPECT_EQ(Shell("for i in 1 2 3 4 5 6 7 8 9; do [ -s code ] || sleep 0.1; done; exit $(cat code)"), 0);
    EXPECT_GT(read(ends[0], lying.data(), lying.size()), 1000);
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
