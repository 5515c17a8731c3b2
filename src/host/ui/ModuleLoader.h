#pragma once

#include <string>

#include "platform/Value.h"

namespace ormex::module {
class Application;
}

// Loads the member-card component (libOrmexCardManage.so beside the executable, or in
// lib/ormex/ of an installed tree) on first use
// and calls its Application.
namespace ormex::host {

class ModuleLoader
{
public:
    explicit ModuleLoader(std::string libraryPath);
    ~ModuleLoader();
    ModuleLoader(const ModuleLoader&) = delete;
    ModuleLoader& operator=(const ModuleLoader&) = delete;

    // Throws std::runtime_error when the library cannot be loaded; errors of the screen's
    // dispatch (an unknown function number) come back from the component.
    void showForm(int functionId, const platform::Value& parameter = platform::Value(0));
    bool connHQ();
    // The changes waiting for headquarters, after sending (sendToHQ) or not; `lastError` says why
    // the oldest was not taken.
    int sendToHQ(std::string& lastError);
    int waitingForHQ(std::string& lastError);
    std::string hqConnection();

    static std::string defaultLibraryPath();

private:
    module::Application& application();
    std::string m_path;
    void* m_handle = nullptr;
    module::Application* m_application = nullptr;
    void (*m_destroy)(module::Application*) = nullptr;
};

} // namespace ormex::host
