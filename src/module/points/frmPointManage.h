#pragma once

#include "module/frame/ModuleForm.h"

#include <QElapsedTimer>

#include <array>
#include <optional>
#include <string>

#include "GiftCatalogueStatements.h"
#include "module/frame/Gateway.h"
#include "module/frame/GridLayout.h"
#include "module/frame/NameListLookup.h"
#include "module/frame/SavePackage.h"
#include "module/frame/TaskHandle.h"
#include "platform/BusinessObjects.h"
#include "platform/FieldMap.h"

class QHBoxLayout;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QLineEdit;

namespace ormex::module::widgets {
class CodeList;
class InputField;
} // namespace ormex::module::widgets

namespace ormex::module::points {

// 积分管理: three tabs, each with its member or gift box, its grid and its buttons. Tab 0 "积分增减"
// rewards, deducts and clears points for the listed members; tab 1 "礼品设置" keeps the gift
// catalogue; tab 2 "礼品兑换" exchanges a member's points for gifts. OK commits the current tab in
// one batch.
class frmPointManage : public frame::ModuleForm
{
public:
    enum Tab { PointsTab = 0, GiftSettingsTab = 1, ExchangeTab = 2 };
    enum Operation { Reward = 0, Deduction = 1, Clearing = 2 };

    explicit frmPointManage(QWidget* parent = nullptr);
    ~frmPointManage() override;

    // Runs on every showing: session values, controls, layouts, the branch rule, the tab asked for.
    void loadForm() override;

    // The commit flow of the current tab (the OK button).
    void onOk();
    // Turns the tab's save package into one batch and runs it; true when it ran (or, with clearing
    // chosen, when there was nothing to run). A refusal of its own sets the message-shown flag.
    bool Save(const frame::SavePackage* rows, int tab);
    // Disables (false) or enables the commands around a commit; the progress bar shows meanwhile.
    void SetControlEnable(bool enable);
    // Locks (false) or unlocks the editable columns of the gift catalogue.
    void EnabelVsDetailCol(int tab, bool enable);

    // The member query of tab 0, with an extra condition from the lookup ("" for none).
    void queryMembers(const std::string& extra = {});
    // What the operator reads when a save was written but its log entry was not.
    static constexpr const char* kLogNotWrittenMessage = "数据已保存，但操作日志写入失败！";
    // The query button of a tab.
    void onQuery(int tab);
    void onOption(int index);
    // "批量填充": the active cell's value into the rows below it.
    void onBatchFill(int tab);
    void onCardLookup();
    void onTypeLookup();
    void onAdd(int tab);
    void onDelete(int tab);
    void onPrint();

    // True when no grid row of the tab other than `row` has this gift, card type and warehouse.
    bool CheckData(int tab, const std::string& itemId, int row, const std::string& cardType,
                   const std::string& warehouseId) const;

    Operation operation() const;
    bool isChanged(int tab) const { return m_changed[static_cast<std::size_t>(tab)]; }
    long taskHandle() const { return m_task.value(); }
    frame::Grid* grid(int tab) const { return m_grids[static_cast<std::size_t>(tab)]; }
    widgets::InputField* memberBox(int tab) const { return m_itNo[static_cast<std::size_t>(tab)]; }
    widgets::CodeList* statusList() const { return m_status; }
    widgets::InputField* typeBox() const { return m_type; }
    widgets::CodeList* comparisonList() const { return m_comparison; }
    QLineEdit* leavePointBox() const { return m_txtLeavePoint; }
    QRadioButton* option(int index) const { return m_optPoint[static_cast<std::size_t>(index)]; }
    QTabWidget* tabs() const { return m_tabs; }
    QProgressBar* progressBar() const { return m_progress; }
    // The condition the last member query of tab 0 passed to the member list.
    const std::string& lastCondition() const { return m_lastCondition; }

protected:
    // With unsaved changes: "数据已经改变，是否保存？"; Yes commits, No discards.
    bool queryUnload() override;
    void unloadForm() override;

private:
    void buildUi();
    QWidget* buildPointsTab();
    QWidget* buildGiftSettingsTab();
    QWidget* buildExchangeTab();
    // The query, add, delete and batch-fill buttons of a tab.
    void addCommands(QWidget* tab, QHBoxLayout* row, int index, const char* addCaption);
    void connectGrid(int tab);
    void readSession();
    void applyBranchRule();
    std::string tabCaption(int tab) const;
    std::string optionCaption(Operation operation) const;
    frame::SavePackage savePackage(int tab) const;
    // Reads the tab again after a save, with the conditions its rows were listed by (on tab 0 the
    // cards chosen in the lookup too), without asking about unsaved edits.
    void refresh(int tab);

    // Tab 0: the statements of the rows into `batch`; false after a refusal.
    bool savePoints(const frame::SavePackage& rows, std::string& batch, std::string& logText,
                    std::optional<frame::CardSealsReading>& seals);
    void fillClearing();
    // Shows a card of the member list in a row of tab 0.
    void showMember(int row, const platform::FieldMap& card);
    // Tab 1: the catalogue query, adding and deleting rows, the catalogue's statements and the
    // emptying put in front of them (the whole catalogue: a save writes it as the grid holds it).
    void queryGiftCatalogue();
    // The query button of tab 1: with unsaved edits, asks whether to save them first.
    void queryGiftCatalogueAsked();
    void addGift();
    void deleteGift();
    // The operator changed a cell of the catalogue: the gift, card type or warehouse it names.
    void onGiftEdited(int row, int column);
    void fillGift(int row);
    void fillCardType(int row);
    void fillWarehouse(int row);
    void setDefaultWarehouse(int row);
    // The first row failing a check of the catalogue, with its message; false when one failed.
    bool checkGiftRows();
    bool saveGiftSettings(const frame::SavePackage& rows, std::string& batch);
    std::string giftCatalogueEmptying() const;
    // Tab 2: the card and its gifts; the checks before the prompt (false stops the commit) and the
    // prompt; the statements.
    void queryExchangeCard();
    void showExchangeCard(const platform::FieldMap* card);
    // The operator ticked a gift or changed its quantity.
    void onExchangeEdited(int row, int column);
    void chooseAuxProp(int row);
    // Remaining points shown: accumulated − used − the points of the ticked gifts.
    double recomputeLeavePoint();
    double leavePoint() const;
    bool confirmExchange(std::string& prompt);
    bool saveExchange(const frame::SavePackage& rows, std::string& batch);
    // The check that the card still has `points` left where its points are kept.
    platform::ReadCheck exchangePointsCheck(const std::string& card, double points) const;
    // True when the card, read again, no longer has `points` left (false when it cannot be read).
    bool exchangePointsGone(const std::string& card, double points) const;
    // The cards a save of the tab changes.
    std::vector<std::string> cardsOf(const frame::SavePackage& rows, int tab) const;
    // A refusal of Save: the message, the active cell on the row's field, the message-shown flag.
    void refuse(const std::string& message, int row, const char* field);
    // F7 or F8 in a grid cell.
    void onGridLookup(int tab, int row, int column, int key);
    // Lets pending window events run, at most every few milliseconds, so that the window repaints
    // while the batch is built.
    void advanceProgress(int built);
    // Runs the built batch under the local checks on a worker thread; the progress bar goes on
    // from the records built to the statements run. Throws what ExecuteSQL throws.
    void runBatch(const std::string& batch);

    // What the screen knows of the session (read at load).
    std::string m_userId;
    std::string m_branchId;
    std::string m_branchNo;
    bool m_linked = false;

    frame::LayoutStore m_layouts;
    std::array<frame::FieldColumnMap, 3> m_columns;
    std::array<bool, 3> m_changed{};
    bool m_messageShown = false;
    // Time since the window last ran its events while a batch was built.
    QElapsedTimer m_slice;
    std::string m_lastCondition;
    // The cards chosen in the lookup that tab 0 lists ("" when it lists the query's cards).
    std::string m_memberExtra;
    // Values a save read and computed its statements from (local or at headquarters): the batch
    // runs only while they stand.
    std::vector<platform::ReadCheck> m_localChecks;
    std::vector<platform::ReadCheck> m_hqChecks;
    std::string m_exchangeCardType;
    // The points the exchange being saved takes.
    double m_exchangedPoints = 0;
    frame::TaskHandle m_task;
    frame::NameListLookup m_nameList;

    QTabWidget* m_tabs = nullptr;
    std::array<frame::Grid*, 3> m_grids{};
    std::array<widgets::InputField*, 3> m_itNo{};
    std::array<QPushButton*, 3> m_cmdSearch{};
    std::array<QPushButton*, 3> m_cmdAdd{};
    std::array<QPushButton*, 3> m_cmdDel{};
    std::array<QPushButton*, 3> m_cmdBatchAdd{};
    widgets::CodeList* m_status = nullptr;
    widgets::InputField* m_type = nullptr;
    widgets::CodeList* m_comparison = nullptr;
    QLineEdit* m_txtLeavePoint = nullptr;
    std::array<QRadioButton*, 3> m_optPoint{};
    QPushButton* m_cmdOk = nullptr;
    QPushButton* m_cmdPrint = nullptr;
    QPushButton* m_cmdCancel = nullptr;
    QProgressBar* m_progress = nullptr;
    // The card panel of tab 2.
    std::array<widgets::InputField*, 8> m_panel{};
};

} // namespace ormex::module::points
