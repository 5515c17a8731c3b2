#pragma once

#include <string>
#include <vector>

// The command line of ormex-db: the command word, then that command's own arguments and options,
// each command with its help.
namespace ormex::tools {

// What the command line asks for.
struct CommandLine
{
    enum class Action { Run, Help, Version };
    Action action = Action::Run;
    // The command word; for Help, the command whose help is asked for ("" for the overview).
    std::string command;
    // For Run: the command word, its positional arguments, then the options it was given in the
    // order the command lists them ("--name" or "--name value").
    std::vector<std::string> args;
    std::string config; // --config: the settings file with the seal key
    std::string user;   // --user: the operator the command acts for
};

// Throws UsageError; `command` is the command word as soon as it is known, for naming its usage.
CommandLine parseCommandLine(const std::vector<std::string>& args, std::string& command);

bool isCommand(const std::string& command);
// The help of ormex-db as a whole, and of one command.
std::string overviewHelp();
std::string commandHelp(const std::string& command);
// The usage lines of a command, each "ormex-db <command> ...".
std::string commandUsage(const std::string& command);
std::string versionText();

} // namespace ormex::tools
