// The history's file as others leave it: gone, in another's place, behind a link, and its troubles told.

#include <sys/stat.h>

#include <QByteArray>
#include <QtEndian>
#include <random>

#include "HistoryFixture.h"
#include "qt/EventBytes.h"

namespace {

TEST_F(History, AFileThatIsNoLongerThereIsLeftForTheOneThatIs) {
    for (const bool another : {false, true}) {
        const auto first = Open();
        first->Keep(Ended(*first));
        for (const char* part : {"", "-wal", "-shm"}) fs::remove(file + part);
        const auto second = Open();
        if (another) second->Keep(Ended(*second));
        const auto inode = another ? Inode(file) : 0;
        HistoryEvent event = Ended(*first);
        first->Keep(event);
        EXPECT_EQ(Listed().size(), another ? 2U : 1U);
        EXPECT_EQ(first->List({}).Value.size(), another ? 2U : 1U);
        EXPECT_EQ(another ? Inode(file) : 0, inode);
        const auto log = Inode(file + "-wal");
        first->SetLabel(event.Id, "17");
        EXPECT_EQ(Inode(file + "-wal"), log) << "nobody's log is deleted";
        second->Keep(Ended(*second));
        EXPECT_EQ(Listed().size(), another ? 3U : 2U);
        EXPECT_EQ(Open()->Find(event.Id).Value.at(0).Label, "17");
    }
    EXPECT_TRUE(notices.empty());
}

TEST_F(History, EachTroubleIsSaidOnceAndItsEndToo) {
    const auto history = Open();
    history->Keep(Ended(*history));
    Other other(file);
    const auto refuse = [&](const char* why) {
        other.Do("DROP TRIGGER IF EXISTS no");
        const std::string raise = "SELECT RAISE(ABORT, '" + std::string(why) + "')";
        other.Do(("CREATE TRIGGER no BEFORE INSERT ON events BEGIN " + raise + "; END").c_str());
    };
    for (const char* why : {"first", "first", "second"}) {
        refuse(why);
        for (int i = 0; i < 2; ++i) history->Keep(Ended(*history));
    }
    other.Do("DROP TRIGGER no");
    const std::string back = "The history is kept again, with all that waited for it";
    for (int i = 0; i < 2; ++i) history->Keep(Ended(*history));
    EXPECT_EQ(notices, (Texts{"History is not kept: first", "History is not kept: second", back}));
    EXPECT_EQ(Listed().size(), 9U);
    notices.clear();
    other.Do("BEGIN IMMEDIATE");
    history->Keep(Ended(*history));
    Until([&] { return !notices.empty(); });
    other.Do("COMMIT");
    Until([&] { return history->Settled(); });
    refuse("first");
    history->Keep(Ended(*history));
    EXPECT_EQ(notices, (Texts{"History is not kept: another program keeps its file locked", back,
                              "History is not kept: first"}));
}

TEST_F(History, WhatWaitsForTooLongIsCountedAsLost) {
    const auto history = Open();
    history->Keep(Ended(*history));
    Other other(file);
    other.Do("CREATE TRIGGER no BEFORE INSERT ON events BEGIN SELECT RAISE(ABORT, 'full'); END");
    for (int i = 0; i < 1003; ++i) history->Keep(Ended(*history));
    other.Do("DROP TRIGGER no");
    history->Keep(Ended(*history));
    EXPECT_TRUE(Until([&] { return history->Settled(); }));
    EXPECT_EQ(notices.back(), "The history is kept again; events that waited too long are lost: 4");
    EXPECT_EQ(Listed().size(), 1001U);
}

TEST_F(History, NoOtherUserReadsAFileThatIsMadeBehindALinkAndNothingElseIsClosed) {
    const struct {
        const char *Link, *Target;  // in the folder of the data, and what it leads to
        bool Own;
        int FileMode, FolderMode;
    } rows[] = {
        {"zarn74/history.db", "new", true, 0600, 0700},
        {"zarn74/history.db", "new", false, 0600, 0755},
        {"zarn74/history.db", "old", true, 0644, 0700},
        {"zarn74", "shared", true, 0600, 0755},
    };
    for (const auto& row : rows) {
        fs::remove_all(folder + "/data");
        for (const char* name : {"/data/zarn74", "/shared"}) {
            fs::remove_all(folder + name);
            fs::create_directories(folder + name);
            EXPECT_EQ(chmod((folder + name).c_str(), 0755), 0);
        }
        fs::remove(folder + "/new");
        Put("old", "");
        EXPECT_EQ(chmod((folder + "/old").c_str(), 0644), 0);
        fs::remove(folder + "/data/" + row.Link);
        fs::create_symlink(folder + "/" + row.Target, folder + "/data/" + row.Link);
        const auto history = Open({file, row.Own});
        history->Keep(Ended(*history));
        EXPECT_EQ(Mode(file), row.FileMode) << row.Target;
        EXPECT_EQ(Mode(folder + "/data/zarn74"), row.FolderMode) << row.Target;
        EXPECT_EQ(Listed().size(), 1U);
    }
    EXPECT_TRUE(notices.empty());
}

/// Made so that they take all memory of whoever unpacks them.
TEST_F(History, WhatIsNoEventIsNotUnpacked) {
    std::string any(200'000, '\0');
    std::mt19937 random(1);
    for (char& byte : any) byte = static_cast<char>(random());
    const auto packed = [](const std::string& plain, std::uint32_t says) {
        QByteArray bytes = qCompress(QByteArray::fromStdString(plain), 9);
        if (says != 0) qToBigEndian(says, bytes.data());
        return bytes;
    };
    HistoryEvent event;
    event.Lines = std::string(150'000, 'x') + "\n";
    const QByteArray good = EventBytes::Pack(event);
    const std::string plain = qUncompress(good).toStdString();
    EXPECT_TRUE(EventBytes::Unpack(packed(plain, 0), event)) << "the rows do what they say";
    const std::pair<const char*, QByteArray> rows[] = {
        {"more than it says", packed(plain, 100)},
        {"less than it says", packed(plain, 200'000)},
        {"more than any event", packed(plain + std::string(1'000'000, '\0'), 0)},
        {"says that it is gigantic", packed(plain, 0xFFFFFFF0)},
        {"no event is as large packed", packed(plain + any, 0)},
        {"bytes behind it", packed(plain + "x", 0)}};
    for (const auto& [what, bytes] : rows) EXPECT_FALSE(EventBytes::Unpack(bytes, event)) << what;
}

}  // namespace
