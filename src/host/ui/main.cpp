#include <QApplication>
#include <QFont>
#include <QTimer>
#include <QWidget>

#include <iostream>

#include "HostCommandLine.h"
#include "LauncherWindow.h"
#include "ModuleLoader.h"
#include "UiServices.h"
#include "host/core/HostRuntime.h"

using namespace ormex;

namespace {

// Saves a picture of the window on top (a screen or its dialog) and closes it.
void screenshotSoon(const std::string& file)
{
    QTimer::singleShot(800, [file] {
        QWidget* top = QApplication::activeModalWidget() ? QApplication::activeModalWidget()
                                                         : QApplication::activeWindow();
        if (top) {
            top->grab().save(QString::fromStdString(file));
            top->close();
        }
        QTimer::singleShot(200, [] { QApplication::exit(0); });
    });
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> args(argv + 1, argv + argc);
    host::HostCommandLine line;
    try {
        line = host::HostCommandLine::parse(args);
    } catch (const std::exception& error) {
        std::cerr << "ormex-host: " << error.what() << '\n';
        return 2;
    }
    if (line.help) {
        std::cout << host::HostCommandLine::usage();
        return 0;
    }
    QApplication app(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Noto Sans CJK SC"), 10));
    std::unique_ptr<host::HostRuntime> runtime;
    try {
        runtime = std::make_unique<host::HostRuntime>(line.config);
    } catch (const std::exception& error) {
        std::cerr
            << "ormex-host: " << error.what() << '\n'
            << "Create the demo databases with: ormex-db demo --branch data/branch.db --hq data/HQ.db\n";
        return 1;
    }
    host::installUiServices(line.config);
    host::ModuleLoader loader(host::ModuleLoader::defaultLibraryPath());

    if (line.function) {
        if (!line.screenshot.empty()) screenshotSoon(line.screenshot);
        try {
            loader.showForm(*line.function, platform::Value(line.tab));
        } catch (const std::exception& error) {
            std::cerr << "ormex-host: " << error.what() << '\n';
            return 1;
        }
        return 0;
    }
    host::LauncherWindow launcher(line.config, loader);
    launcher.show();
    if (!line.screenshot.empty()) screenshotSoon(line.screenshot);
    return app.exec();
}
