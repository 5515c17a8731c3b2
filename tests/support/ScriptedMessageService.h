#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/MessageService.h"

namespace ormex::test {

// The operator of a test: records every text the system shows and answers questions and input
// boxes from queues (No and Cancel when a queue is empty).
class ScriptedMessageService : public platform::MessageService
{
public:
    enum class Kind { Message, Question, Input, Error, Warning, SaveFile };
    struct Shown
    {
        Kind kind;
        std::string text;
        std::string title;
        platform::MessageIcon icon;
    };

    void message(const std::string& text, const std::string& title, platform::MessageIcon icon) override;
    bool question(const std::string& text, const std::string& title, platform::MessageIcon icon) override;
    std::optional<std::string> input(const std::string& prompt, const std::string& title,
                                     const std::string& defaultText) override;
    void error(const std::string& description) override;
    void warning(const std::string& text) override;
    // Records the proposed name as the text; the filter is kept apart (lastFilter).
    std::optional<std::string> saveFileName(const std::string& title, const std::string& proposedName,
                                            const std::string& filter) override;

    void answer(bool yes) { m_answers.push_back(yes); }
    void type(std::optional<std::string> text) { m_inputs.push_back(std::move(text)); }
    // The path the next save dialog answers (nothing: cancelled).
    void choose(std::optional<std::string> path) { m_paths.push_back(std::move(path)); }

    const std::vector<Shown>& shown() const { return m_shown; }
    // Every text shown, in order.
    std::vector<std::string> texts() const;
    std::string last() const { return m_shown.empty() ? std::string() : m_shown.back().text; }
    void clear() { m_shown.clear(); }
    const std::string& lastFilter() const { return m_lastFilter; }

private:
    std::vector<Shown> m_shown;
    std::deque<bool> m_answers;
    std::deque<std::optional<std::string>> m_inputs;
    std::deque<std::optional<std::string>> m_paths;
    std::string m_lastFilter;
};

} // namespace ormex::test
