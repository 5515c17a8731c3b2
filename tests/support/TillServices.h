#pragma once

#include <unistd.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/HostServices.h"

namespace ormex::test {

// The host services of a till forked by a concurrency test: the machine "till" at 10.0.0.9 with
// its own process id, and an operator who is shown nothing and answers yes to every question.
inline void installTillServices()
{
    class Till : public platform::SystemInfo
    {
    public:
        std::optional<std::string> computerName() const override { return std::string("till"); }
        int readTcp(std::string& out) const override
        {
            out = "10.0.0.9";
            return 1;
        }
        long processId() const override { return getpid(); }
    };
    class Silent : public platform::MessageService
    {
    public:
        void message(const std::string&, const std::string&, platform::MessageIcon) override {}
        bool question(const std::string&, const std::string&, platform::MessageIcon) override { return true; }
        std::optional<std::string> input(const std::string&, const std::string&, const std::string&) override
        {
            return std::nullopt;
        }
        void error(const std::string&) override {}
        void warning(const std::string&) override {}
        std::optional<std::string> saveFileName(const std::string&, const std::string&,
                                                const std::string&) override
        {
            return std::nullopt;
        }
    };
    auto& services = platform::HostServices::instance();
    services.reset();
    services.setSystemInfo(std::make_shared<Till>());
    services.setMessageService(std::make_shared<Silent>());
}

} // namespace ormex::test
