#include "ReconciliationWindow.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "HostLog.h"
#include "ModuleLoader.h"
#include "TableCsvExport.h"
#include "host/core/DatabaseConnection.h"
#include "platform/HostServices.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

ReconciliationWindow::ReconciliationWindow(const HostRuntime& runtime, ModuleLoader& loader, QWidget* parent)
    : QDialog(parent), m_runtime(runtime), m_loader(loader)
{
    setObjectName("reconciliation");
    setWindowTitle(QStringLiteral("分店与总部对账"));
    auto* layout = new QVBoxLayout(this);
    auto* top = new QHBoxLayout;
    m_summary = new QLabel(this);
    m_summary->setObjectName("summary");
    m_summary->setWordWrap(true);
    top->addWidget(m_summary, 1);
    auto* again = new QPushButton(QStringLiteral("重新对账(&S)"), this);
    again->setObjectName("reconcileAgain");
    top->addWidget(again);
    layout->addLayout(top);
    m_table = new QTableWidget(this);
    m_table->setObjectName("differences");
    m_table->verticalHeader()->hide();
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->horizontalHeader()->setStretchLastSection(true);
    AddCsvExportCommand(*m_table, "分店与总部不一致的会员卡");
    layout->addWidget(m_table, 1);
    auto* close = new QPushButton(QStringLiteral("关闭"), this);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(new QLabel(QStringLiteral("右键或 Ctrl+E 导出CSV"), this), 1);
    bottom->addWidget(close);
    layout->addLayout(bottom);
    connect(again, &QPushButton::clicked, this, &ReconciliationWindow::refresh);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    resize(980, 460);
}

bool ReconciliationWindow::refresh()
{
    m_summary->setText(QStringLiteral("正在对账…"));
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::string failure;
    try {
        const HostConfig& config = m_runtime.config();
        const std::string text = m_loader.hqConnection();
        if (text.empty()) throw std::runtime_error("未设置总部数据库");
        DatabaseConnection headquarters(config.dataFolder, config.hqDeadline);
        headquarters.open(text);
        m_result = db::reconcile(db::sharedDatabase(config.databasePath()), headquarters.database());
    } catch (const std::exception& error) {
        qCWarning(lcHost, "reconciling with headquarters failed: %s", error.what());
        m_result = {};

        failure = error.what();
    }
    QApplication::restoreOverrideCursor();
    fill();
    if (failure.empty()) return true;
    m_summary->setText(QStringLiteral("无法对账：%1").arg(QString::fromStdString(failure)));
    platform::HostServices::instance().messages().error("无法对账：" + failure);
    return false;
}

void ReconciliationWindow::fill()
{
    const platform::Recordset rows = db::differencesTable(m_result);
    const std::size_t columns = rows.columns().size();
    m_table->setColumnCount(static_cast<int>(columns));
    QStringList headers;
    for (const std::string& name : rows.columns())
        headers << QString::fromStdString(name);
    m_table->setHorizontalHeaderLabels(headers);
    m_table->setRowCount(static_cast<int>(rows.recordCount()));
    for (std::size_t r = 0; r < rows.recordCount(); ++r) {
        const bool unexplained = !m_result.differences[r].explained();
        for (std::size_t c = 0; c < columns; ++c) {
            auto* item = new QTableWidgetItem(QString::fromStdString(rows.cell(r, c).toString()));
            if (c >= 1 && c <= 6) item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            if (unexplained) item->setForeground(QColor(0xb4, 0x23, 0x18));
            m_table->setItem(static_cast<int>(r), static_cast<int>(c), item);
        }
    }
    m_table->resizeColumnsToContents();
    m_summary->setText(QStringLiteral("共比较 %1 张卡：%2 张不一致，其中 %3 张无法由待上传的变更解释。")
                           .arg(m_result.cardsCompared)
                           .arg(m_result.differences.size())
                           .arg(m_result.unexplained()));
}

} // namespace ormex::host
