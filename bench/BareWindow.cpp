// The least that a Qt program with a window does: what the start of the program is compared with.
#include <QApplication>
#include <QWidget>

int main(int argc, char **argv) {
    const QApplication application(argc, argv);
    QWidget window;
    window.resize(900, 600);
    window.show();
    return QApplication::exec();
}
