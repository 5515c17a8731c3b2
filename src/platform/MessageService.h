#pragma once

#include <optional>
#include <string>

// How the module talks to the operator. The Qt host shows real dialogs; tests install a scripted
// service that records every text and answers from a queue.
namespace ormex::platform {

enum class MessageIcon { None, Information, Question, Warning, Critical };

class MessageService
{
public:
    virtual ~MessageService() = default;

    // A message box with an OK button.
    virtual void message(const std::string& text, const std::string& title = "提示",
                         MessageIcon icon = MessageIcon::Information) = 0;
    // A box with Yes and No buttons; true for Yes.
    virtual bool question(const std::string& text, const std::string& title = "信息提示",
                          MessageIcon icon = MessageIcon::Question) = 0;
    // An input box; nothing when the operator cancels.
    virtual std::optional<std::string> input(const std::string& prompt, const std::string& title,
                                             const std::string& defaultText = {}) = 0;
    // Shows the description of the error that ended an operation.
    virtual void error(const std::string& description) = 0;
    // A one-line warning.
    virtual void warning(const std::string& text) = 0;
    // The save dialog: asks where to write a file, offering `proposedName` (a bare file name or a
    // path) and the files of `filter` ("CSV 文件 (*.csv)"). The chosen path; nothing when the
    // operator cancels.
    virtual std::optional<std::string> saveFileName(const std::string& title, const std::string& proposedName,
                                                    const std::string& filter) = 0;
};

} // namespace ormex::platform
