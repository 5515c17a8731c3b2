#pragma once

#include <QString>

#include "platform/MessageService.h"

// The operator dialogue of the host: Qt message boxes, input boxes and the save dialog.
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
    // A bare proposed name opens in the folder chosen last in this process (the documents folder
    // at first).
    std::optional<std::string> saveFileName(const std::string& title, const std::string& proposedName,
                                            const std::string& filter) override;

private:
    QString m_lastFolder;
};

} // namespace ormex::host
