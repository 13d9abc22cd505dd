// Review and write: what is ticked is written, and what became of it is said, whatever comes in between.

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QPointer>

#include "WindowFixture.h"
#include "window/clsDifferenceList.h"

namespace {

struct clsReviewTest : clsWindowTest {
    /// Comes back when it was read, or that failed.
    void Review() {
        window->findChild<QAction*>("actReview")->trigger();
        dialog = window->findChild<QDialog*>("dlgReview");
        ASSERT_NE(dialog, nullptr);
    }
    [[nodiscard]] std::string Sentence() const { return Shown("labReview"); }
    [[nodiscard]] clsDifferenceList& List() const { return Find<clsDifferenceList>("lstReview"); }
    /// "Language: kept" of all rows that say what `note` begins with.
    [[nodiscard]] Texts Noted(const QString& note) const {
        Texts rows;
        for (const DifferenceRow& row : List().Model().Rows())
            if (row.Note.startsWith(note))
                rows.push_back(row.Item.Name() + ": " + row.Note.toStdString() +
                               (row.HasTick && row.Ticked ? " +" : ""));
        return rows;
    }
    void ShowOnPages(const ZarnInfo& record) const {
        ZarnForm form = Form();
        std::string message;
        ASSERT_TRUE(form.ShowZarn74(record, message)) << message;
        window->ShowForm(form);
    }
    void Close() {
        Click("cmdReviewCancel");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(dialog, nullptr) << "closed at once, as nothing runs";
    }

    QPointer<QDialog> dialog;
};

TEST_F(clsReviewTest, OnlyWhatIsTickedIsWrittenAndThePagesStayAsTheyAre) {
    StartOnReader();
    const std::string record = TextOf(window->Flows().Record());
    Select("cboLanguage", "Spanish");
    Select("cboBaudRate", "4800");
    Find<TextBoxEx>("txtPrefix").SetText("mine");
    Review();
    EXPECT_EQ(Sentence(), "3 of 43 settings will be written, 40 are already as they should be.");
    EXPECT_EQ(Noted("takes"), Texts{"Baud rate: takes effect at the next start +"});
    QTest::keyClick(&List(), Qt::Key_Down);
    QTest::keyClick(&List(), Qt::Key_Down);
    QTest::keyClick(&List(), Qt::Key_Space);
    EXPECT_EQ(
        Sentence(),
        "2 of 43 settings will be written, 40 are already as they should be, 1 stay as the reader has them.");
    Sent.clear();
    Click("cmdReviewWrite");
    EXPECT_EQ(Sent.substr(0, 3), "CCY") << "two registers, and then it is read back";
    EXPECT_EQ(Sentence(), "The reader has kept all 2 settings that were written.");
    EXPECT_EQ(Noted(""), (Texts{"Language: kept", "Baud rate: kept; takes effect at the next start",
                                "Prefix: left as it was"}));
    Close();
    EXPECT_EQ(TextOf(window->Flows().Record()), record);
    EXPECT_EQ(Shown("cboLanguage txtPrefix"), "Spanish mine");
    QCoreApplication::processEvents();
    EXPECT_EQ(Shown("labStatusChanges"), "1 change not written");

    Click("cmdShowZarn74");
    Review();
    EXPECT_EQ(Sentence(), "The reader holds all 43 settings as they should be: there is nothing to write.");
    Close();
    ShowOnPages(AllOther(window->Flows().Record()));
    reader.Version = "V1.01R003,FWQ-K3861";
    Review();
    EXPECT_EQ(Noted("Needs").size(), 4U);
    EXPECT_EQ(Noted("Needs").front(),
              "Tag frequency: Needs firmware V1.02R002 or later, or model FWQ-K4436 or FWQ-K4407");
    EXPECT_TRUE(Sentence().starts_with("39 of 43 settings will be written, 0 are"));
    Click("cmdReviewWrite");
    EXPECT_EQ(Noted("Needs").size(), 4U);
    EXPECT_EQ(Noted("kept").size(), 39U);
    Close();
}

TEST_F(clsReviewTest, EverySettingThatIsNotKeptOrNotTakenIsSaid) {
    StartOnReader();
    const auto registers = reader.Registers;
    ShowOnPages(AllOther(window->Flows().Record()));
    for (const SimFault fault : {SimFault::DroppedWrite, SimFault::RefuseBusy, SimFault::NoAnswer}) {
        for (std::size_t place = 0; place < itemCount; ++place) {
            const SettingItem item(place);
            SCOPED_TRACE(item.Name() + " " + std::string(SimFaultName(fault)));
            reader.Registers = registers;
            reader.AddFault({fault, 'C', FirstRegister(item)});
            Review();
            Click("cmdReviewWrite");
            reader.ClearFaults();
            const bool dropped = fault == SimFault::DroppedWrite;
            EXPECT_EQ(Sentence(), dropped ? "The reader did not keep: " + item.Name()
                                          : "The writing broke off: what the reader holds now is not known. "
                                            "Read it.");
            EXPECT_EQ(Noted("not kept"), dropped ? Texts{item.Name() + ": not kept: there is " +
                                                         item.Value(window->Flows().Picture().Held())}
                                                 : Texts{});
            EXPECT_EQ(Noted("kept").size(), dropped ? itemCount - 1 : 0U);
            EXPECT_EQ(window->Flows().Picture().Known(), dropped);
            Close();
        }
    }
    // what nobody asked to be written, and is another one all the same
    reader.Registers = registers;
    Click("cmdShowZarn74");
    Find<TextBoxEx>("txtPrefix").SetText("x");
    Review();
    reader.Registers[210] = 4;
    Click("cmdReviewWrite");
    EXPECT_EQ(Noted(""), (Texts{"Language: not kept: there is Spanish", "Prefix: kept"}));
    // the reading back falls silent sooner or later
    Click("cmdShowZarn74");
    int answered = 1;  // the write itself; the reading back has three more
    for (const char* language : {"Japan", "France", "USA"}) {
        Close();
        Select("cboLanguage", language);
        Review();
        reader.AddFault({SimFault::NoAnswer, 0, -1, answered++});
        Click("cmdReviewWrite");
        reader.ClearFaults();
        EXPECT_EQ(Sentence(), "What was ticked was written. The reading back broke off: nothing is proven.");
        EXPECT_EQ(Noted(""), Texts{"Language: not proven"});
    }
}

TEST_F(clsReviewTest, WhateverComesInTheMiddleItEndsAndSaysWhatIsKnown) {
    enum Phase { Reading, Choosing, Writing, ReadingBack };
    enum What { Key, Escape, Cross, Pull, Stop };
    const struct {
        Phase phase;
        int at;  // ms from where the phase's wait begins
        const char *during, *cancelled, *pulled, *known;
    } rows[] = {
        {Reading, 30, "The reader is being read.", "Cancelled: nothing was written.",
         "The reader was not read to its end: nothing was written.", "1 change not written"},
        {Choosing, 0, "1 of 43 settings will be written, 42 are already as they should be.",
         "1 of 43 settings will be written, 42 are already as they should be.",
         "The reader has gone: nothing was written.", "1 change not written"},
        {Writing, 10, "The settings are being written.",
         "Cancelled while writing: what the reader holds now is not known. Read it.",
         "The writing broke off: what the reader holds now is not known. Read it.", "reader not read"},
        {ReadingBack, 50, "The settings were written and are being read back.",
         "What was ticked was written. The reading back was cancelled: nothing is proven.",
         "What was ticked was written. The reading back broke off: nothing is proven.",
         "1 written, not read back"},
    };
    for (const auto& row : rows) {
        for (const What what : {Key, Escape, Cross, Pull, Stop}) {
            SCOPED_TRACE(std::string(row.during) + " " + std::to_string(what));
            LoadExampleConfiguration(reader);
            serial.Replug(1);
            StartOnReader();
            Select("cboLanguage", "Spanish");
            reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
            int inside = 0;
            const auto act = [&] {
                dialog = window->findChild<QDialog*>("dlgReview");
                EXPECT_EQ(Sentence(), row.during);
                inside += window->Flows().FlowRunning();
                if (what == Key) QTest::keyClick(dialog, Qt::Key_F7);
                if (what == Escape) QTest::keyClick(dialog, Qt::Key_Escape);
                if (what == Cross) dialog->close();
                if (what == Pull) serial.Unplug(1);
                if (what == Stop) window->CloseSoon();
                EXPECT_TRUE(row.phase == Choosing || dialog->isVisible()) << "not under a flow";
            };
            if (row.phase == Reading) host.StartTimer(row.at, act);
            Review();
            if (row.phase == Choosing) act();
            if (row.phase > Choosing) {
                host.StartTimer(row.at, act);
                Click("cmdReviewWrite");
            }
            reader.ClearFaults();
            host.Run(1000);
            QCoreApplication::processEvents();
            EXPECT_EQ(inside, row.phase == Choosing ? 0 : 1);
            EXPECT_EQ(window->isVisible(), what != Stop);
            const bool closed = row.phase == Choosing && what != Key && what != Pull;
            if (closed) {
                QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                EXPECT_EQ(dialog, nullptr);
            } else {
                EXPECT_EQ(Sentence(), what == Pull ? row.pulled : row.cancelled);
                Close();
            }
            EXPECT_EQ(Shown("labStatusChanges"), what == Pull ? "reader not read" : row.known);
            window->close();
            comm.SetPortOpen(false);
        }
    }
    // something else holds the line
    serial.Replug(1);
    StartOnReader();
    Select("cboLanguage", "France");
    Review();
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    host.StartTimer(30, [this] { Click("cmdReviewWrite"); });
    EXPECT_EQ(window->Flows().Read(), FlowResult::Done);
    QCoreApplication::processEvents();
    EXPECT_EQ(Sentence(), "The reader has kept the setting that was written.");
}

TEST_F(clsReviewTest, ACardThatTypesItselfInDefersTheWrite) {
    enum What { Wait, Escape, Pull };
    for (const What what : {Wait, Escape, Pull}) {
        SCOPED_TRACE(what);
        if (!serial.Plugged(1)) serial.Replug(1);
        LoadExampleConfiguration(reader);
        StartOnReader();
        Select("cboLanguage", "Spanish");
        Find<QCheckBox>("chkAutoRead").setChecked(true);
        Review();
        reader.AddFault({SimFault::LateReply, 'J', -1, 0, -1, /*Value=*/300});
        reader.TypeText("04A1B2C3\r");
        Sent.clear();
        host.StartTimer(200, [&] {
            ASSERT_TRUE(window->Flows().FlowRunning()) << "the card is being read";
            Click("cmdReviewWrite");
            EXPECT_EQ(Sentence(), "A card is being read; the reader is written behind that.");
            EXPECT_FALSE(Enabled("cmdReviewWrite"));
            if (what == Escape) QTest::keyClick(dialog, Qt::Key_Escape);
            if (what == Pull) serial.Unplug(1);
        });
        host.Run(2000);
        reader.ClearFaults();
        QCoreApplication::processEvents();
        host.Run(1000);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(Sent.find('C') != std::string::npos, what == Wait) << Sent;
        EXPECT_EQ(dialog == nullptr, what == Escape);
        const char* const said[] = {"The reader has kept the setting that was written.", "",
                                    "The reader has gone: nothing was written."};
        EXPECT_EQ(dialog == nullptr ? "" : Sentence(), said[what]);
    }
}

}  // namespace
