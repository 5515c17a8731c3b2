#pragma once

#include <QDialog>

#include <string>
#include <vector>

#include "host/core/HostRuntime.h"
#include "store/HqOutbox.h"

class QLabel;
class QPushButton;
class QTableWidget;

namespace ormex::host {

class ModuleLoader;

// The changes headquarters refused and the branch set aside: when each was made, what it did,
// the cards it touched and headquarters' last error. An operator holding hy0017 (处理总部拒收的变更)
// retries one once its cause is mended (it is put back in line and sent at once) or discards it
// (it never reaches headquarters; reconciliation then shows its cards), each logged.
class HeldChangesWindow : public QDialog
{
public:
    HeldChangesWindow(const HostRuntime& runtime, ModuleLoader& loader, QWidget* parent = nullptr);

    // Reads the held changes again.
    void reload();
    // Retries or discards the change of the selected row; nothing without a selection or the right.
    void retrySelected();
    void discardSelected();

    QTableWidget* table() const { return m_table; }
    QPushButton* retryButton() const { return m_retry; }
    QPushButton* discardButton() const { return m_discard; }

private:
    long long selectedChange() const;
    db::OutboxOperator who() const;
    void enableCommands();

    const HostRuntime& m_runtime;
    ModuleLoader& m_loader;
    std::vector<db::QueuedChange> m_held;
    QLabel* m_summary = nullptr;
    QTableWidget* m_table = nullptr;
    QPushButton* m_retry = nullptr;
    QPushButton* m_discard = nullptr;
};

} // namespace ormex::host
