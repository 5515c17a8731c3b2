#pragma once

#include <QWidget>

#include "host/core/HostRuntime.h"

class QLabel;
class QPushButton;

namespace ormex::host {

class ModuleLoader;

// The host's launcher: the five member-card functions by name, the session, whether headquarters
// can be reached and, in a branch linked to it, how many changes wait to be sent there and how
// many headquarters refused (opening their window), and the reconciliation with headquarters.
class LauncherWindow : public QWidget
{
public:
    // The functions and the report open only for a user holding their rights.
    LauncherWindow(const HostRuntime& runtime, ModuleLoader& loader, QWidget* parent = nullptr);

    // Checks the link and sends the changes that wait for headquarters.
    void refreshHeadquartersStatus();
    void openFunction(int functionId);
    QPushButton* functionButton(int functionId) const;
    // The window of the changes headquarters refused, and the reconciliation's (shown, not modal).
    class HeldChangesWindow* openHeldChanges();
    class ReconciliationWindow* openReconciliation();
    QPushButton* heldButton() const { return m_held; }

private:
    const HostRuntime& m_runtime;
    ModuleLoader& m_loader;
    void showWaitingChanges(int waiting, const std::string& lastError);
    void showHeldChanges();

    bool m_linked = false;
    QLabel* m_hqStatus = nullptr;
    QLabel* m_replayStatus = nullptr;
    QPushButton* m_sendNow = nullptr;
    QPushButton* m_held = nullptr;
    QPushButton* m_reconcile = nullptr;
    QPushButton* m_buttons[5] = {};
};

} // namespace ormex::host
