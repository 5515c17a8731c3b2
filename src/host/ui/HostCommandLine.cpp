#include "HostCommandLine.h"

#include <filesystem>
#include <stdexcept>

#include "platform/NumberText.h"

namespace ormex::host {

const char* HostCommandLine::usage()
{
    return "ormex-host: the retail host with the member-card functions\n"
           "\n"
           "  --data DIR          data folder (default ./data)\n"
           "  --database FILE     session database in the data folder (default branch.db)\n"
           "  --config FILE       settings file of name=value lines (default <data>/host.conf)\n"
           "  --user LOGIN        the operator the login window offers (ORMEX_PASSWORD set:\n"
           "                      logs in with it, without the window)\n"
           "  --branch-id ID      BranchID of the session (default 2)\n"
           "  --branch-num NUM    BranchNum of the session (default 01)\n"
           "  --is-branch 0|1     the session runs in a branch (default 1)\n"
           "  --sv-share 0|1      stored-value cards are shared with headquarters (default 1)\n"
           "  --hq-deadline-seconds S\n"
           "                      how long a call to headquarters waits for a server that sends\n"
           "                      nothing before headquarters counts as unreachable (default 10)\n"
           "  --function N        open function N (1 会员卡管理, 2 会员设置, 3 会员档案审核,\n"
           "                      4 积分管理, 5 储值管理) and exit when it closes\n"
           "  --tab T             the tab that functions 4 and 5 open on\n"
           "  --screenshot FILE   save a picture of the window to FILE and exit\n"
           "  --help              this text\n";
}

HostCommandLine HostCommandLine::parse(const std::vector<std::string>& args)
{
    HostCommandLine line;
    std::string configFile;
    std::vector<std::pair<std::string, std::string>> settings;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            line.help = true;
            continue;
        }
        if (arg.rfind("--", 0) != 0) throw std::runtime_error("unexpected argument '" + arg + "'");
        if (i + 1 >= args.size()) throw std::runtime_error(arg + " needs a value");
        const std::string name = arg.substr(2), value = args[++i];
        if (name == "config")
            configFile = value;
        else if (name == "function" || name == "tab") {
            if (!platform::isAllDigits(value) || value.size() > 6)
                throw std::runtime_error("--" + name + " needs a number, not '" + value + "'");
            (name == "function" ? *(line.function = 0) : line.tab) = std::stoi(value);
        } else if (name == "screenshot")
            line.screenshot = value;
        else
            settings.emplace_back(name, value);
    }
    // The data folder decides where the default config file is.
    for (const auto& [name, value] : settings)
        if (name == "data") line.config.dataFolder = value;
    if (configFile.empty() && std::filesystem::exists(line.config.dataFolder + "/host.conf"))
        configFile = line.config.dataFolder + "/host.conf";
    if (!configFile.empty()) line.config.readFile(configFile);
    for (const auto& [name, value] : settings) {
        try {
            line.config.set(name, value);
        } catch (const std::invalid_argument& error) {
            throw std::runtime_error(std::string(error.what()) + " (see --help)");
        }
    }
    return line;
}

} // namespace ormex::host
