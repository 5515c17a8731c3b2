#include <QApplication>
#include <QFont>
#include <QTimer>
#include <QWidget>

#include <cstdlib>
#include <iostream>
#include <optional>

#include "HostCommandLine.h"
#include "HostLog.h"
#include "LauncherWindow.h"
#include "LoginDialog.h"
#include "ModuleLoader.h"
#include "UiServices.h"
#include "host/core/HostRuntime.h"
#include "store/Operators.h"
#include "store/SchemaUpgrade.h"
#include "store/SharedDatabases.h"

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
    // Answered before any window system is touched: help2man runs these on a machine without one.
    if (line.help || line.version) {
        std::cout << (line.help ? host::HostCommandLine::helpText() : host::HostCommandLine::versionText());
        return 0;
    }
    QApplication app(argc, argv);
    // What went wrong, for whoever looks after the till: beside the databases, and on stderr.
    const host::HostLogFile logFile(QString::fromStdString(line.config.dataFolder + "/ormex-host.log"));

    QApplication::setFont(QFont(QStringLiteral("Noto Sans CJK SC"), 10));
    host::installUiServices(line.config);

    // The session is the operator who logs in: in the login window, or with ORMEX_PASSWORD for
    // the user --user names (scripts). A picture asked for without a password is of the login.
    const char* password = std::getenv("ORMEX_PASSWORD");
    const bool scripted = password && !line.config.login.empty();
    std::optional<db::LoginOutcome> who;
    try {
        auto& database = db::sharedDatabase(line.config.databasePath());
        if (!db::hasOperators(database)) {
            std::cerr
                << "ormex-host: " << line.config.databasePath()
                << " has no operators yet: add one with 'ormex-db user add <db> <login> --role admin'\n";
            return 1;
        }
        if (scripted) {
            who = db::login(database, line.config.login, password, host::loginMachineName());
            if (who->result != db::LoginOutcome::Result::Ok) {
                std::cerr << "ormex-host: " << who->message() << '\n';
                return 1;
            }
        } else {
            if (!line.screenshot.empty()) screenshotSoon(line.screenshot);
            who = host::LoginDialog::run(line.config.databasePath(), line.config.login);
            if (!who) return 0;
        }
    } catch (const db::SchemaVersionError& error) {
        std::cerr << "ormex-host: " << error.what() << '\n';
        return 1;
    } catch (const std::exception& error) {
        std::cerr
            << "ormex-host: " << error.what() << '\n'
            << "Create the demo databases with: ormex-db demo --branch data/branch.db --hq data/HQ.db\n";
        return 1;
    }
    line.config.userId = who->userId;
    line.config.userName = who->name;

    std::unique_ptr<host::HostRuntime> runtime;
    try {
        runtime = std::make_unique<host::HostRuntime>(line.config);
    } catch (const std::exception& error) {
        std::cerr << "ormex-host: " << error.what() << '\n';
        return 1;
    }
    host::ModuleLoader loader(host::ModuleLoader::defaultLibraryPath());

    if (line.function) {
        if (!line.screenshot.empty()) screenshotSoon(line.screenshot);
        if (const std::string right = host::HostRuntime::functionRight(*line.function);
            !right.empty() && !runtime->allows(right))
            return 1;
        try {
            loader.showForm(*line.function, platform::Value(line.tab));
        } catch (const std::exception& error) {
            std::cerr << "ormex-host: " << error.what() << '\n';
            return 1;
        }
        return 0;
    }
    host::LauncherWindow launcher(*runtime, loader);
    launcher.show();
    if (!line.screenshot.empty()) screenshotSoon(line.screenshot);
    return app.exec();
}
