#pragma once

#include <QDialog>

#include "host/core/HostRuntime.h"
#include "store/Reconciliation.h"

class QLabel;
class QTableWidget;

namespace ormex::host {

class ModuleLoader;

// The branch's cards next to headquarters': those whose stored value or points differ, with both
// values and the queued or held changes that explain the difference; the unexplained ones in red.
// The list is saved as CSV from its context menu (Ctrl+E).
class ReconciliationWindow : public QDialog
{
public:
    ReconciliationWindow(const HostRuntime& runtime, ModuleLoader& loader, QWidget* parent = nullptr);

    // Compares again; false (the reason told) when headquarters or the branch cannot be read.
    bool refresh();
    const db::Reconciliation& result() const { return m_result; }
    QTableWidget* table() const { return m_table; }

private:
    void fill();

    const HostRuntime& m_runtime;
    ModuleLoader& m_loader;
    db::Reconciliation m_result;
    QLabel* m_summary = nullptr;
    QTableWidget* m_table = nullptr;
};

} // namespace ormex::host
