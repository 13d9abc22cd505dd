// A bare window with sixty plain controls, for the program's own window to be measured against.

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QWidget window;
    auto* const grid = new QGridLayout(&window);
    constexpr int rows = 12;
    for (int row = 0; row < rows; ++row) {
        auto* const list = new QComboBox;
        list->addItems({"one", "two", "three"});
        grid->addWidget(new QLabel("A label"), row, 0);
        grid->addWidget(list, row, 1);
        grid->addWidget(new QLineEdit("Text"), row, 2);
        grid->addWidget(new QCheckBox("A check box"), row, 3);
        grid->addWidget(new QPushButton("A button"), row, 4);
    }
    window.resize(1060, 780);
    window.show();
    return QApplication::exec();
}
