#include "system/clsLineFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <fstream>

#include "base/Recording.h"
#include "support/TempFolder.h"

namespace {

// What is there and is no recording stays as it is; a recording gives way to the next. IDs go into it.
TEST(LineFile, EmptiesRecordingsOnlyAndIsItsOwnersAlone) {
    const TempFolder disk;
    const std::string name = disk.folder + "/line";
    const std::string head = RecordingLine(RecordingHead{"zarn74", "1", "COM1", 19200, "now"});
    const struct {
        std::string content;
        bool emptied;
    } rows[] = {{"", true},
                {head + "\n", true},
                {head, true},
                {head + "\n{\"t\":1.0,\"end\":true}\n", true},
                {"[General]\r\nLanguage=3\r\n", false},
                {"\n" + head + "\n", false},
                {head.substr(0, 20), false},
                {"{}", false},
                {std::string(20'000, '\0'), false},
                {R"({"t":1.0,"dir":"rx","hex":"00","text":""})", false}};
    for (const auto& row : rows) {
        std::ofstream(name) << row.content;
        std::string error;
        EXPECT_EQ(clsLineFile::Open(name, error) != nullptr, row.emptied) << row.content << error;
        std::ifstream stream(name);
        const std::string now{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(now, row.emptied ? "" : row.content);
    }
    std::string error;
    ASSERT_TRUE(clsLineFile::Open(name + "2", error));
    struct stat info {};
    ASSERT_EQ(stat((name + "2").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0600U);
}

// On a disk of any size: what was taken before it was full stands in the file, no more, and the file says
// that it breaks off, however often it is tried again when there is room.
TEST(LineFile, KeepsWhatItTookWhenTheDiskIsFull) {
    const TempFolder disk;
    const std::string name = disk.folder + "/line";
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    for (rlim_t room = 90; room < 700; room += 7) {
        SCOPED_TRACE(room);
        std::string error;
        const auto file = clsLineFile::Open(name, error);
        ASSERT_TRUE(file) << error;
        Recording taken{{"zarn74", "1", "COM1", 19200, "now"}, {}, true};
        const rlimit small{room, former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        bool fits = file->Append(RecordingLine(taken.Head));
        for (int frame = 0; fits && frame < 20; ++frame) {
            RecordingEntry entry;
            entry.Microseconds = frame;
            for (int part = 0; fits && part < 3; ++part) {
                entry.Bytes += "A47";
                fits = part == 0 ? file->Append(RecordingLine(entry)) : file->Lengthen(RecordingLine(entry));
                if (!fits) break;
                if (part == 0) taken.Entries.emplace_back();
                taken.Entries.back() = entry;
            }
        }
        setrlimit(RLIMIT_FSIZE, &former);
        ASSERT_FALSE(fits);
        EXPECT_FALSE(file->LastError().empty());
        EXPECT_FALSE(file->Append("{}") || file->Lengthen("{}"));
        std::ifstream stream(name);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(text, RecordingText(taken));
        const auto read = ReadRecording(text, error);
        ASSERT_TRUE(read) << error;
        EXPECT_EQ(read->Entries, taken.Entries);
        EXPECT_TRUE(read->CutOff);
    }
}

}  // namespace
