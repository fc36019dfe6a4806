#include "app/startup.h"

#include "app/studio.h"
#include "camera/vortainterface.h"
#include "mainwindow/mainwindow.h"
#include "services/messagebox.h"
#include "vorta/api/application.h"
#include "vorta/common/exceptions.h"
#include "vorta/viewer/vortaviewer.h"

#include <QCommandLineParser>
#include <QDir>
#include <QLocale>
#include <QMessageBox>
#include <QTimer>

#include <exception>

namespace Vorta {

namespace {

// What the toolkit must know before its application object exists.
void prepareToolkit() {
    VortaViewer::setDefaultSurfaceFormat();
    // Only the 3D view gets a native window; its neighbours and parents stay light.
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
}

} // namespace

QString fileToOpen(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("filename"), QStringLiteral("Name of file to open (.vdf)"), QString());
    // Parsed, not processed: an unknown option is no reason not to start.
    parser.parse(arguments);
    return parser.positionalArguments().value(0);
}

int runStudio(int& argc, char** argv) {
    QLocale::setDefault(QLocale(QLocale::English, QLocale::AnyCountry));
    Application application;
    prepareToolkit();
    Studio studio(application, argc, argv);
    const QString fileName = fileToOpen(QCoreApplication::arguments());
    MainWindow window(studio.controller());
    window.show();
    // In the event loop, like every other opening: boxes are shown, and the program can be ended, while it goes on.
    std::exception_ptr refusal;
    const auto openFile = [&] {
        try {
            // The recent files are opened from other folders later.
            window.openFile(QDir::cleanPath(QDir::current().absoluteFilePath(fileName)));
        } catch (const ArgumentException&) {
            refusal = std::current_exception(); // a file of another kind ends the start
            QApplication::quit();
        }
    };
    if (!fileName.isEmpty())
        QTimer::singleShot(0, &window, openFile);
    const int status = QApplication::exec();
    if (refusal)
        std::rethrow_exception(refusal);
    return status;
}

void showAlreadyRunning(int& argc, char** argv) {
    const QApplication application(argc, argv);
    QMessageBox::information(
        nullptr, QStringLiteral("Vorta Studio"),
        QStringLiteral("An instance of the application is running already. Only one instance is allowed."),
        QMessageBox::Ok);
}

void showFatalError(int& argc, char** argv, const char* message) {
    const QApplication application(argc, argv);
    VortaQt::showMessage(QMessageBox::Critical, nullptr, QStringLiteral("An exception occurred"),
                         QString::fromLocal8Bit(message));
}

} // namespace Vorta
