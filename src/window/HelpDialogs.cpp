#include "window/HelpDialogs.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "window/clsActions.h"

// A static library's resources are there once somebody asks for them; only outside of a namespace.
static void TakeResources() { Q_INIT_RESOURCE(window); }

namespace {

/// The dialog of that name, with `body` in it and a button that closes it, or the one that is open already.
template <class Body>
void Show(QWidget& parent, const char* name, const QString& title, QSize size, Body body) {
    auto* dialog = parent.findChild<QDialog*>(name);
    if (dialog == nullptr) {
        dialog = new QDialog(&parent);
        dialog->setObjectName(name);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setWindowTitle(title);
        auto* const layout = new QVBoxLayout(dialog);
        layout->addWidget(body(*dialog));
        auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
        QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
        layout->addWidget(buttons);
        dialog->resize(size.expandedTo(dialog->minimumSizeHint()));
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

QWidget* KeyTable(QWidget& parent, const clsActions& actions) {
    const auto lines = actions.KeyLines();
    auto* const table = new QTableWidget(static_cast<int>(lines.size()), 2, &parent);
    table->setObjectName("tblKeys");
    table->setHorizontalHeaderLabels({QObject::tr("Key"), QObject::tr("What it does")});
    table->verticalHeader()->hide();
    table->setShowGrid(false);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setTabKeyNavigation(false);
    int row = 0;
    for (const auto& [keys, what] : lines) {
        table->setItem(row, 0, new QTableWidgetItem(keys));
        table->setItem(row, 1, new QTableWidgetItem(what));
        ++row;
    }
    table->resizeColumnsToContents();
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() * 3 / 2);
    table->horizontalHeader()->setStretchLastSection(true);
    table->setCurrentCell(0, 0);
    return table;
}

}  // namespace

namespace HelpDialogs {

void ShowKeys(QWidget& parent, const clsActions& actions) {
    Show(parent, "dlgKeys", QObject::tr("Keys"), QSize(480, 460),
         [&](QWidget& dialog) { return KeyTable(dialog, actions); });
}

void ShowGuide(QWidget& parent) {
    Show(parent, "dlgGuide", QObject::tr("User guide"), QSize(820, 600), [](QWidget& dialog) {
        TakeResources();
        QFile file(":/USER_GUIDE.md");
        auto* const browser = new QTextBrowser(&dialog);
        browser->setObjectName("txtGuide");
        browser->setSearchPaths({":/"});  // its pictures
        browser->setOpenLinks(false);     // to other documents, which are not part of the program
        if (file.open(QIODevice::ReadOnly)) browser->setMarkdown(QString::fromUtf8(file.readAll()));
        return browser;
    });
}

void ShowAbout(QWidget& parent, const QString& title) {
    Show(parent, "dlgAbout", QObject::tr("About"), QSize(0, 0), [&](QWidget& dialog) {
        auto* const label = new QLabel(
            title + '\n' +
                QObject::tr("Prepares Zarn74 card readers before they are deployed.\n\n"
                            "Copyright 2026 Zarn74 developers. May be used, changed and passed on under\n"
                            "the terms of the Expat license, which comes with the package."),
            &dialog);
        label->setObjectName("labAbout");
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        return label;
    });
}

}  // namespace HelpDialogs
