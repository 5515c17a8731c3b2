#include "LookupDialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <set>

#include "LookupModel.h"
#include "LookupTableView.h"
#include "TableCsvExport.h"

namespace ormex::host {

LookupDialog::LookupDialog(const QString& title, std::vector<Column> columns, Reader reader, bool multiSelect,
                           const QString& searchText, QWidget* parent)
    : QDialog(parent), m_reader(std::move(reader))
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
    m_model = new LookupModel(std::move(columns), this);
    m_table = new LookupTableView(*m_model, this);
    m_table->setObjectName("lookupTable");
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
    connect(m_table, &QTableView::doubleClicked, this, &QDialog::accept);
    resize(720, 420);
    search();
}

void LookupDialog::search()
{
    m_model->load([reader = m_reader, text = m_search->text().trimmed().toStdString()](
                      std::size_t offset, std::size_t count) { return reader(text, offset, count); });
    if (m_model->rowCount() > 0) m_table->selectRow(0);
}

platform::RecordList LookupDialog::chosen() const
{
    std::set<int> rows;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
        rows.insert(index.row());
    platform::RecordList records;
    for (int r : rows)
        records.push_back(m_model->record(r));
    return records;
}

} // namespace ormex::host
