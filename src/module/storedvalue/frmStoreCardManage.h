#pragma once

#include "module/frame/ModuleForm.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "module/frame/GridLayout.h"
#include "module/frame/NameListLookup.h"
#include "platform/BusinessObjects.h"
#include "platform/FieldMap.h"
#include "platform/Money.h"

class QLineEdit;
class QPushButton;
class QTabWidget;

namespace ormex::module::widgets {
class CodeList;
class InputField;
} // namespace ormex::module::widgets

namespace ormex::module::storedvalue {

// 储值管理: tab 0 "单卡充值" recharges one card (hidden when the screen opens), tab 1 "批量充值"
// (shown as "会员卡充值") recharges the cards of a grid, tab 2 "积分转储值" turns points into stored
// value. OK validates against the fill settings and saves the tab in one batch.
class frmStoreCardManage : public frame::ModuleForm
{
public:
    enum Tab { SingleTab = 0, BatchTab = 1, PointsTab = 2 };

    explicit frmStoreCardManage(QWidget* parent = nullptr);
    ~frmStoreCardManage() override;

    void loadForm() override;

    // The card search of tab 0 or the batch query of tabs 1 and 2; false when it found nothing.
    bool LoadCard(int tab, bool showMessages);
    // Reads the card on the tab's panel again and applies the search's checks to it, with their
    // messages, without the online requirement; false when it may not be recharged (or none is
    // shown). The card checked is the card recharged, whatever the search box holds meanwhile.
    bool CheckRechargeCard(int tab);
    // False when another grid row than `ignoreRow` (-1 none) holds the card.
    bool CheckGridData(int tab, const std::string& card, int ignoreRow) const;
    // Shows a card on the information panel, or clears it.
    void ShowCard(const platform::FieldMap* card);
    // The OK command: validation, then the save (which reads the tab again after its commit).
    void onOk();
    bool ValidateStoredValue(int tab);
    // True once the tab's rows are committed, whatever failed after the commit.
    bool SaveStoredValue(int tab);
    // True when the session's user holds the rights the save of the tab needs: hy0014 for a
    // recharge, hy0015 for a negative one (a batch holding both needs both), hy0016 for points
    // to stored value. Otherwise the refusal, naming the function, is shown and logged.
    bool CheckSaveRights(int tab);
    // Reads MaxFillAmount and AllowFillPlusAmt.
    void LoadFillSettings();
    // A cell of tab 2 left: converts the points typed into the value they buy.
    void ConvertPointsCell(int column, int row);

    void onBatchFill();
    void onDelete();
    void onCardLookup();
    void onTypeLookup();
    void onPrint();

    // What the screen keeps.
    double maxFillAmount() const { return m_maxFillAmount; }
    bool allowFillPlusAmt() const { return m_allowFillPlusAmt; }
    // A card's balance as last shown on a panel or re-read by a save; nothing for a card not read.
    std::optional<platform::Money> balanceOf(const std::string& card) const;
    const std::string& cardFilter() const { return m_cardFilter; }

    QTabWidget* tabs() const { return m_tabs; }
    frame::Grid* grid(int tab) const { return m_grids[static_cast<std::size_t>(tab)]; }
    widgets::InputField* field(const char* name) const;
    widgets::InputField* numberBox(int tab) const { return m_itNo[static_cast<std::size_t>(tab)]; }
    widgets::CodeList* comparison(int tab) const { return m_itLeaveAmt[static_cast<std::size_t>(tab)]; }
    QLineEdit* amountBox(int tab) const { return m_txtLeaveAmt[static_cast<std::size_t>(tab)]; }

protected:
    void unloadForm() override;

private:
    QWidget* buildSingleTab();
    QPushButton* historyButton(QWidget* tab, int t);
    QWidget* buildGridTab(int tab);
    widgets::InputField* panelField(QWidget* tab, int index, const char* name, const char* caption);
    void connectGrid(int tab);
    void readSession();
    void selectTab(int index);
    std::string tabCaption(int tab) const;

    // Tab 0.
    void onChargeChanged();
    void onPaymentTyped();
    // The batch query of tabs 1 and 2, from the chosen cards or the conditions on screen.
    bool queryCards(int tab, bool showMessages);
    void fillGrid(int tab, const platform::Recordset& cards);
    void onRowChanged(int tab, int row, int column);
    void onCellEdited(int tab, int row, int column);
    // The paid amount follows the recharge amount; a payment method typed by number is looked up.
    void leaveRechargeCell(int row, int column);
    void lookupPayment(int row);

    // Validation and save.
    bool validateSingle();
    bool validateBatch();
    bool validatePoints();
    // The balance of a card re-read from the database that owns it; the read is kept as a check and
    // the card among those of the save.
    platform::Money rereadBalance(const std::string& card);
    bool buildSingle(std::string& batch);
    bool buildBatch(std::string& batch);
    bool buildPoints(std::string& batch);
    // After a commit: the tab's amounts zeroed, the log row, the queue sent and the cards read
    // again. A step that fails is reported as "saved, but …"; no written row is left to send again.
    void afterCommit(int tab, const std::string& caption);
    // Runs the built batch under the local checks on a worker thread, the window painting and
    // none of its controls usable meanwhile. Throws what ExecuteSQL throws.
    void runBatch(const std::string& batch);
    void clearAmounts(int tab);
    void refuseCell(const std::string& text, bool warning, int tab, int row, const char* field);

    // Session values.
    std::string m_userId;
    std::string m_userName;
    std::string m_branchId;
    std::string m_branchNo;
    std::string m_branchName;
    bool m_linked = false;

    // Fill settings.
    double m_maxFillAmount = 0;
    bool m_allowFillPlusAmt = false;

    std::map<std::string, platform::Money> m_balances; // each card's balance as last read, by card
    std::string m_cardFilter;
    std::vector<std::string> m_chosenCards; // the cards of the last lookup, for the batch query
    std::vector<std::string> m_lastChosen;  // the cards the last batch query was made for
    bool m_reloading = false;
    bool m_gridEvents = false;
    std::string m_shownCard;
    std::vector<platform::ReadCheck> m_localChecks;
    std::vector<platform::ReadCheck> m_hqChecks;
    std::vector<std::string> m_batchCards; // the cards of the save being built

    frame::LayoutStore m_layouts;
    std::array<frame::FieldColumnMap, 3> m_columns;
    frame::NameListLookup m_nameList;

    QTabWidget* m_tabs = nullptr;
    std::array<frame::Grid*, 3> m_grids{};
    std::array<widgets::InputField*, 3> m_itNo{};
    std::array<widgets::InputField*, 3> m_itFCardType{};
    std::array<widgets::CodeList*, 3> m_itFCardStatus{};
    std::array<widgets::CodeList*, 3> m_itLeaveAmt{};
    std::array<QLineEdit*, 3> m_txtLeaveAmt{};
    std::array<QPushButton*, 3> m_cmdSearch{};
    std::array<QPushButton*, 3> m_cmdBatchAdd{};
    std::array<QPushButton*, 3> m_cmdDel{};
    QPushButton* m_cmdOk = nullptr;
    QPushButton* m_cmdCancel = nullptr;
    QPushButton* m_cmdPrint = nullptr;
};

} // namespace ormex::module::storedvalue
