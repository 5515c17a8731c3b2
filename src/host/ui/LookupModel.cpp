#include "LookupModel.h"

#include "HostLog.h"

namespace ormex::host {

LookupModel::LookupModel(std::vector<Column> columns, QObject* parent)
    : QAbstractTableModel(parent), m_columns(std::move(columns))
{
    for (const auto& column : m_columns)
        m_fields.push_back(column.first.toStdString());
}

void LookupModel::load(PageReader reader)
{
    beginResetModel();
    m_reader = std::move(reader);
    m_rows.clear();
    m_complete = false;
    m_rows = readPage();
    endResetModel();
}

platform::RecordList LookupModel::readPage()
{
    platform::RecordList page;
    try {
        page = m_reader(m_rows.size(), kPageRows).toRecordList();
    } catch (const std::exception& error) {
        qCWarning(lcHost, "a lookup list could not read its rows from row %zu on: %s", m_rows.size(),
                  error.what());
        // What was read stays listed; the list ends here rather than asking again on every scroll.
        page.clear();
    }
    if (page.size() < kPageRows) m_complete = true;
    return page;
}

void LookupModel::fetchAll()
{
    while (canFetchMore({}))
        fetchMore({});
}

int LookupModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int LookupModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant LookupModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole)) return {};
    return QString::fromStdString(
        record(index.row()).text(m_fields[static_cast<std::size_t>(index.column())]));
}

QVariant LookupModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < static_cast<int>(m_columns.size()))
        return m_columns[static_cast<std::size_t>(section)].second;
    return QAbstractTableModel::headerData(section, orientation, role);
}

bool LookupModel::canFetchMore(const QModelIndex& parent) const
{
    return !parent.isValid() && !m_complete;
}

void LookupModel::fetchMore(const QModelIndex& parent)
{
    if (!canFetchMore(parent)) return;
    platform::RecordList page = readPage();
    if (page.empty()) return;
    const int first = static_cast<int>(m_rows.size());
    beginInsertRows({}, first, first + static_cast<int>(page.size()) - 1);
    for (auto& record : page)
        m_rows.push_back(std::move(record));
    endInsertRows();
}

} // namespace ormex::host
