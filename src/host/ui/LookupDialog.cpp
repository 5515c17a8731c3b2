#include "LookupDialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <set>

#include "HostLog.h"
#include "TableCsvExport.h"

namespace ormex::host {

LookupDialog::LookupDialog(const QString& title, std::vector<Column> columns, Reader reader, bool multiSelect,
                           const QString& searchText, QWidget* parent)
    : QDialog(parent), m_columns(std::move(columns)), m_reader(std::move(reader))
{
    setObjectName("lookupDialog");
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(QStringLiteral("查找："), this));
    m_search = new QLineEdit(searchText, this);
    m_search->setObjectName("lookupSearch");
    m_search->setPlaceholderText(QStringLiteral("输入编号、名称或手机号"));
    row->addWidget(m_search, 1);
    layout->addLayout(row);
    m_table = new QTableWidget(this);
    m_table->setObjectName("lookupTable");
    m_table->setColumnCount(static_cast<int>(m_columns.size()));
    QStringList captions;
    for (const auto& column : m_columns)
        captions << column.second;
    m_table->setHorizontalHeaderLabels(captions);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(multiSelect ? QAbstractItemView::ExtendedSelection
                                          : QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->verticalHeader()->setDefaultSectionSize(22);
    AddCsvExportCommand(*m_table, title.toStdString());
    layout->addWidget(m_table, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("确定(&O)"));
    buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("取消(&C)"));
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_search, &QLineEdit::textChanged, this, &LookupDialog::search);
    connect(m_table, &QTableWidget::cellDoubleClicked, this, &QDialog::accept);
    resize(720, 420);
    search();
}

void LookupDialog::search()
{
    m_rows.clear();
    try {
        m_rows = m_reader(m_search->text().trimmed().toStdString()).toRecordList();
    } catch (const std::exception& error) {
        qCWarning(lcHost, "the lookup %s for \"%s\" failed: %s", qUtf8Printable(windowTitle()),
                  qUtf8Printable(m_search->text()), error.what());
        m_rows.clear();
    }
    m_table->setRowCount(static_cast<int>(m_rows.size()));
    for (int r = 0; r < m_table->rowCount(); ++r)
        for (int c = 0; c < m_table->columnCount(); ++c)
            m_table->setItem(
                r, c,
                new QTableWidgetItem(QString::fromStdString(m_rows[static_cast<std::size_t>(r)].text(
                    m_columns[static_cast<std::size_t>(c)].first.toStdString()))));
    if (!m_rows.empty()) m_table->selectRow(0);
}

platform::RecordList LookupDialog::chosen() const
{
    std::set<int> rows;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
        rows.insert(index.row());
    platform::RecordList records;
    for (int r : rows)
        records.push_back(m_rows[static_cast<std::size_t>(r)]);
    return records;
}

} // namespace ormex::host
