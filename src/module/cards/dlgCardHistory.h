#pragma once

#include <QDialog>

#include <string>

#include "CardHistory.h"

class QComboBox;
class QLabel;
class QPushButton;

namespace ormex::module::frame {
class Grid;
}
namespace ormex::module::widgets {
class InputField;
}

namespace ormex::module::cards {

// 会员卡历史: the history of one card, newest first, with the running points and stored value,
// filtered by a date range and a kind, totals under the list, print and CSV. When the card's
// changes do not explain what it holds, the window says by how much, above the list. In a linked
// branch the operator chooses between headquarters' history (the default) and this branch's, and the
// window says which one it shows.
class dlgCardHistory : public QDialog
{
public:
    explicit dlgCardHistory(QWidget* parent = nullptr);

    // Reads the card's history and shows it; false (the operator has been told) when it cannot be
    // read.
    bool load(const std::string& card);
    // Applies the filter fields; a bad date is refused with a message and the list stays as it was.
    bool applyFilter();

    const CardHistory& history() const { return m_history; }
    HistoryDatabase source() const { return m_source; }
    frame::Grid& grid() const { return *m_grid; }
    QString sourceText() const;
    QString totalsText() const;

private:
    void buildUi();
    void onSourceChanged(int index);
    void onPrint();
    void showRows(const std::vector<HistoryEntry>& rows);

    QLabel* m_lblCard = nullptr;
    QLabel* m_lblMismatch = nullptr;
    QLabel* m_lblSource = nullptr;
    QComboBox* m_cmbSource = nullptr;
    widgets::InputField* m_itFrom = nullptr;
    widgets::InputField* m_itTo = nullptr;
    QComboBox* m_cmbKind = nullptr;
    QPushButton* m_cmdQuery = nullptr;
    frame::Grid* m_grid = nullptr;
    QLabel* m_lblTotals = nullptr;
    QPushButton* m_cmdPrint = nullptr;
    QPushButton* m_cmdExport = nullptr;
    QPushButton* m_cmdCancel = nullptr;

    std::string m_card;
    HistoryDatabase m_source = HistoryDatabase::Local;
    CardHistory m_history;
    std::vector<HistoryEntry> m_shown;
};

// Opens the history of a card over `parent`; nothing for an empty card number.
void ShowCardHistory(QWidget* parent, const std::string& card);

} // namespace ormex::module::cards
