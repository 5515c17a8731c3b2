#include "HostCommandLine.h"

#include <QCommandLineParser>
#include <QStringList>

#include <filesystem>
#include <stdexcept>

#include "platform/NumberText.h"

namespace ormex::host {

namespace {

// The settings of host.conf that the command line may give as well, by the same names.
struct SettingOption
{
    const char* name;
    const char* value;
    const char* description;
    bool hidden = false;
};

const SettingOption kSettings[] = {
    {"data", "dir", "Data folder (default ./data)."},
    {"database", "file", "Session database in the data folder (default branch.db)."},
    {"user", "login",
     "The operator the login window offers; with ORMEX_PASSWORD set, logs in as them without the "
     "window."},
    {"branch-id", "id", "BranchID of the session (default 2)."},
    {"branch-num", "num", "BranchNum of the session (default 01)."},
    {"is-branch", "0|1", "The session runs in a branch (default 1)."},
    {"sv-share", "0|1", "Stored-value cards are shared with headquarters (default 1)."},
    {"hq-deadline-seconds", "s",
     "How long a call to headquarters waits for a server that sends nothing before headquarters "
     "counts as unreachable (default 10)."},
    // Belongs in the settings file, where no other user of the machine can read it in a process list.
    {"seal-key", "hex", "The key of the card seals.", true},
};

QCommandLineOption option(const char* name, const char* value, const char* description, bool hidden = false)
{
    QCommandLineOption result(QString::fromLatin1(name), QString::fromUtf8(description));
    if (value) result.setValueName(QString::fromLatin1(value));
    if (hidden) result.setFlags(QCommandLineOption::HiddenFromHelp);
    return result;
}

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("\nThe retail host with the member-card functions: the login window, then the\n"
                       "launcher of the functions over the session database."));
    parser.addOption(
        option("config", "file", "Settings file of name=value lines (default <data>/host.conf)."));
    for (const SettingOption& setting : kSettings)
        parser.addOption(option(setting.name, setting.value, setting.description, setting.hidden));
    parser.addOption(
        option("function", "n",
               "Open function N (1 会员卡管理, 2 会员设置, 3 会员档案审核, 4 积分管理, 5 储值管理) "
               "after the login and exit when it closes."));
    parser.addOption(option("tab", "t", "The tab that functions 4 and 5 open on."));
    parser.addOption(option("screenshot", "file", "Save a picture of the window to FILE and exit."));
    parser.addOption(QCommandLineOption({QStringLiteral("h"), QStringLiteral("help")},
                                        QStringLiteral("Show this help and exit.")));
    parser.addOption(
        QCommandLineOption(QStringLiteral("version"), QStringLiteral("Show the version and exit.")));
}

int number(const QCommandLineParser& parser, const char* name)
{
    const std::string value = parser.value(QString::fromLatin1(name)).toStdString();
    if (!platform::isAllDigits(value) || value.size() > 6)
        throw std::runtime_error(std::string("--") + name + " needs a number, not '" + value + "'");
    return std::stoi(value);
}

} // namespace

std::string HostCommandLine::helpText()
{
    QCommandLineParser parser;
    describe(parser);
    QString text = parser.helpText();
    // Qt names the program as it was started, or not at all before the application exists.
    text.replace(0, text.indexOf(QLatin1String(" [options]")), QStringLiteral("Usage: ormex-host"));
    return text.toStdString() +
           "\nEnvironment:\n"
           "  ORMEX_PASSWORD      the password of the operator --user names: log in without the window\n"
           "  QT_QPA_PLATFORM     offscreen runs without a display (with --screenshot)\n";
}

std::string HostCommandLine::versionText()
{
    return std::string("ormex-host ") + ORMEX_VERSION + "\n";
}

HostCommandLine HostCommandLine::parse(const std::vector<std::string>& args)
{
    QStringList arguments{QStringLiteral("ormex-host")};
    for (const std::string& arg : args)
        arguments << QString::fromStdString(arg);
    QCommandLineParser parser;
    describe(parser);
    if (!parser.parse(arguments)) throw std::runtime_error(parser.errorText().toStdString());
    if (!parser.positionalArguments().isEmpty())
        throw std::runtime_error("Unexpected argument '" +
                                 parser.positionalArguments().constFirst().toStdString() + "'.");

    HostCommandLine line;
    line.help = parser.isSet(QStringLiteral("help"));
    line.version = parser.isSet(QStringLiteral("version"));
    if (line.help || line.version) return line;
    if (parser.isSet(QStringLiteral("function"))) line.function = number(parser, "function");
    if (parser.isSet(QStringLiteral("tab"))) line.tab = number(parser, "tab");
    line.screenshot = parser.value(QStringLiteral("screenshot")).toStdString();

    // The data folder decides where the default config file is.
    if (parser.isSet(QStringLiteral("data")))
        line.config.dataFolder = parser.value(QStringLiteral("data")).toStdString();
    std::string configFile = parser.value(QStringLiteral("config")).toStdString();
    if (configFile.empty() && std::filesystem::exists(line.config.dataFolder + "/host.conf"))
        configFile = line.config.dataFolder + "/host.conf";
    if (!configFile.empty()) line.config.readFile(configFile);
    for (const SettingOption& setting : kSettings) {
        const QString name = QString::fromLatin1(setting.name);
        if (!parser.isSet(name)) continue;
        try {
            line.config.set(setting.name, parser.value(name).toStdString());
        } catch (const std::invalid_argument& error) {
            throw std::runtime_error(std::string(error.what()) + " (see --help)");
        }
    }
    return line;
}

} // namespace ormex::host
