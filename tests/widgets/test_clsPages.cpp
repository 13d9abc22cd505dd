#include <gtest/gtest.h>

#include <QDir>
#include <QLabel>
#include <QVBoxLayout>

#include "widgets/clsPages.h"

namespace {

/// What it looks like on a ground that shows through.
template <class Group, class Pages>
QImage Picture() {
    QWidget window;
    auto* const pages = new Pages(&window);
    pages->setGeometry(0, 0, 200, 400);
    auto* const group = new Group("&Group", &window);
    group->setGeometry(200, 7, 190, 390);
    for (const char* caption : {"&One", "Two"}) pages->addTab(new QWidget, caption);
    window.resize(400, 400);
    return window.grab().toImage();
}

auto Threads() { return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(); }

}  // namespace

TEST(clsPages, TallFramesArePaintedAsAnyWithoutThreads) {
    const auto threads = Threads();
    const QImage ours = Picture<clsGroup, clsPages>();
    EXPECT_EQ(Threads(), threads);
    EXPECT_EQ(ours, (Picture<QGroupBox, QTabWidget>()));
}

TEST(clsPages, APageIsMadeAndMeasuredWhenItIsFirstShown) {
    clsPages pages;
    for (const char* caption : {"Seen", "Hidden"}) {
        auto* const page = new clsPage;
        auto* const layout = new QVBoxLayout(page);
        QObject::connect(page, &clsPage::FirstShown, page, [layout] {
            EXPECT_EQ(layout->count(), 0);  // once
            layout->addWidget(new QLabel(QString(100, 'x')));
        });
        pages.addTab(page, caption);
    }
    const int width = pages.sizeHint().width();
    pages.widget(1)->layout()->setContentsMargins(500, 0, 500, 0);
    EXPECT_EQ(pages.sizeHint().width(), width);
    for (const int page : {1, 0, 1}) pages.setCurrentIndex(page);
    EXPECT_GT(pages.sizeHint().width(), width + 900);
    EXPECT_GT(pages.minimumSizeHint().width(), width + 900);
}
