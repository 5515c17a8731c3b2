#include "ModuleLoader.h"

#include <dlfcn.h>

#include <QCoreApplication>

#include <filesystem>
#include <stdexcept>

#include "module/Application.h"

namespace ormex::host {

ModuleLoader::ModuleLoader(std::string libraryPath) : m_path(std::move(libraryPath)) {}

ModuleLoader::~ModuleLoader()
{
    if (m_application && m_destroy) m_destroy(m_application);
    // The library stays loaded: Qt may still hold metadata of its widgets until exit.
}

std::string ModuleLoader::defaultLibraryPath()
{
    // In the build tree the component lies beside the program; installed, in lib/ormex.
    const std::string bin = QCoreApplication::applicationDirPath().toStdString();
    const std::string beside = bin + "/libOrmexCardManage.so";
    if (std::filesystem::exists(beside)) return beside;
    return bin + "/../lib/ormex/libOrmexCardManage.so";
}

module::Application& ModuleLoader::application()
{
    if (m_application) return *m_application;
    m_handle = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle)
        throw std::runtime_error(std::string("cannot load the member-card component: ") + dlerror());
    using Create = module::Application* (*)();
    auto create = reinterpret_cast<Create>(dlsym(m_handle, "OrmexCardManage_CreateApplication"));
    m_destroy = reinterpret_cast<void (*)(module::Application*)>(
        dlsym(m_handle, "OrmexCardManage_DestroyApplication"));
    if (!create || !m_destroy)
        throw std::runtime_error("the member-card component has no entry points: " + m_path);
    m_application = create();
    return *m_application;
}

void ModuleLoader::showForm(int functionId, const platform::Value& parameter)
{
    application().ShowForm(functionId, parameter);
}

bool ModuleLoader::connHQ()
{
    return application().ConnHQ();
}

int ModuleLoader::sendToHQ(std::string& lastError)
{
    return application().SendToHQ(lastError);
}

int ModuleLoader::waitingForHQ(std::string& lastError)
{
    return application().WaitingForHQ(lastError);
}

std::string ModuleLoader::hqConnection()
{
    return application().HQConnection();
}

} // namespace ormex::host
