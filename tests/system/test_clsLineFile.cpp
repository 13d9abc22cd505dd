#include "system/clsLineFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <fstream>

#include "base/Recording.h"
#include "support/TempFolder.h"

namespace {

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
