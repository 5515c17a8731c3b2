#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/core/HostConfig.h"

// The command line of ormex-host.
namespace ormex::host {

struct HostCommandLine
{
    HostConfig config;
    std::optional<int> function; // open one function directly, then exit
    int tab = 0;
    std::string screenshot; // render to this PNG file and exit
    bool help = false;
    bool version = false;

    // Settings come from the defaults, then the config file (--config, or <data>/host.conf when it
    // exists), then the other options. --help and --version read no settings. Throws
    // std::runtime_error with a message for the operator.
    static HostCommandLine parse(const std::vector<std::string>& args);
    static std::string helpText();
    static std::string versionText();
};

} // namespace ormex::host
