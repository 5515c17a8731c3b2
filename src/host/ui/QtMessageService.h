#pragma once

#include "platform/MessageService.h"

// The operator dialogue of the host: Qt message boxes and input boxes.
namespace ormex::host {

class QtMessageService : public platform::MessageService
{
public:
    void message(const std::string& text, const std::string& title, platform::MessageIcon icon) override;
    bool question(const std::string& text, const std::string& title, platform::MessageIcon icon) override;
    std::optional<std::string> input(const std::string& prompt, const std::string& title,
                                     const std::string& defaultText) override;
    void error(const std::string& description) override;
    void warning(const std::string& text) override;
};

} // namespace ormex::host
