#include "ScriptedMessageService.h"

namespace ormex::test {

void ScriptedMessageService::message(const std::string& text, const std::string& title,
                                     platform::MessageIcon icon)
{
    m_shown.push_back({Kind::Message, text, title, icon});
}

bool ScriptedMessageService::question(const std::string& text, const std::string& title,
                                      platform::MessageIcon icon)
{
    m_shown.push_back({Kind::Question, text, title, icon});
    if (m_answers.empty()) return false;
    const bool yes = m_answers.front();
    m_answers.pop_front();
    return yes;
}

std::optional<std::string> ScriptedMessageService::input(const std::string& prompt, const std::string& title,
                                                         const std::string&)
{
    m_shown.push_back({Kind::Input, prompt, title, platform::MessageIcon::None});
    if (m_inputs.empty()) return std::nullopt;
    auto text = m_inputs.front();
    m_inputs.pop_front();
    return text;
}

void ScriptedMessageService::error(const std::string& description)
{
    m_shown.push_back({Kind::Error, description, "", platform::MessageIcon::Critical});
}

void ScriptedMessageService::warning(const std::string& text)
{
    m_shown.push_back({Kind::Warning, text, "", platform::MessageIcon::Warning});
}

std::optional<std::string> ScriptedMessageService::saveFileName(const std::string& title,
                                                                const std::string& proposedName,
                                                                const std::string& filter)
{
    m_shown.push_back({Kind::SaveFile, proposedName, title, platform::MessageIcon::None});
    m_lastFilter = filter;
    if (m_paths.empty()) return std::nullopt;
    auto path = m_paths.front();
    m_paths.pop_front();
    return path;
}

std::vector<std::string> ScriptedMessageService::texts() const
{
    std::vector<std::string> out;
    for (const auto& s : m_shown)
        out.push_back(s.text);
    return out;
}

} // namespace ormex::test
