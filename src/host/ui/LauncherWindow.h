#pragma once

#include <QWidget>

#include "host/core/HostConfig.h"

class QLabel;
class QPushButton;

namespace ormex::host {

class ModuleLoader;

// The host's launcher: the five member-card functions by name, the session and whether
// headquarters can be reached.
class LauncherWindow : public QWidget
{
public:
    LauncherWindow(const HostConfig& config, ModuleLoader& loader, QWidget* parent = nullptr);

    void refreshHeadquartersStatus();
    void openFunction(int functionId);
    QPushButton* functionButton(int functionId) const;

private:
    ModuleLoader& m_loader;
    QLabel* m_hqStatus = nullptr;
    QPushButton* m_buttons[5] = {};
};

} // namespace ormex::host
