#pragma once

#include <QAbstractTableModel>

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "platform/RecordList.h"
#include "platform/Recordset.h"

// The rows of a lookup window, read a page at a time: the first page when the list is loaded,
// the next one when the view asks for more (the operator scrolled to the last row held). A list
// over a million cards thus costs what the operator has seen, not what the query could return.
// Each row is held once, with every field of the query, so that the chosen records are whole.
namespace ormex::host {

class LookupModel : public QAbstractTableModel
{
public:
    // Reads `count` rows of the list from row `offset` on, always in the same order.
    using PageReader = std::function<platform::Recordset(std::size_t offset, std::size_t count)>;
    using Column = std::pair<QString, QString>; // field, caption

    static constexpr std::size_t kPageRows = 200;

    explicit LookupModel(std::vector<Column> columns, QObject* parent = nullptr);

    // Forgets the rows held and reads the first page from `reader`. A reader that throws leaves
    // the list empty, or ends it where it failed.
    void load(PageReader reader);
    // Reads every page still unread (for commands that act on the whole list).
    void fetchAll();
    const platform::FieldMap& record(int row) const { return m_rows[static_cast<std::size_t>(row)]; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

private:
    // Reads the page after the rows held; returns its rows and marks the end when it was short.
    platform::RecordList readPage();

    std::vector<Column> m_columns;
    std::vector<std::string> m_fields;
    PageReader m_reader;
    platform::RecordList m_rows;
    bool m_complete = true;
};

} // namespace ormex::host
