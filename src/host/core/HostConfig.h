#pragma once

#include <chrono>
#include <optional>
#include <string>

// The session a host runs: where its database is, who is logged on and which branch this is.
namespace ormex::host {

struct HostConfig
{
    std::string dataFolder = "data";
    std::string databaseFile = "branch.db";
    // The operator, as the login found them (never a setting: a session is the user who logged in).
    int userId = 0;
    std::string userName;
    // The login name the login window offers ("user").
    std::string login;
    // The shared properties of the session; a value that is not set is absent from the table.
    std::optional<std::string> branchId = std::string("2");
    std::optional<std::string> branchNum = std::string("01");
    std::optional<bool> isBranch = true;
    std::optional<bool> svCardShareType = true;
    // The key of the card seals (64 hexadecimal digits), kept here and never in a database.
    std::string sealKey;
    // How long a call to headquarters waits for a server that sends nothing before the operator
    // is told headquarters cannot be reached ("hq-deadline-seconds", 1 to 600).
    std::chrono::milliseconds hqDeadline{std::chrono::seconds(10)};
    // The settings file read, for messages ("" when none was).
    std::string settingsFile;

    std::string databasePath() const;
    // The session descriptor handed to the business objects.
    std::string propsString() const;

    // Sets one setting by its name in a config file or on the command line ("data",
    // "database", "user", "branch-id", "branch-num", "is-branch", "sv-share", "seal-key",
    // "hq-deadline-seconds").
    // Throws std::invalid_argument for an unknown name or a bad value.
    void set(const std::string& name, const std::string& value);

    // Reads `name=value` lines ('#' starts a comment). Throws std::runtime_error naming the file
    // and line of a bad line.
    void readFile(const std::string& path);
};

} // namespace ormex::host
