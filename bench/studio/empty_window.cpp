// The reference of the start-up benchmark: a main window with nothing in it.

#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Empty window"));
    window.showMaximized();
    return QApplication::exec();
}
