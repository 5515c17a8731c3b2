#pragma once

#include "module/frame/ModuleForm.h"

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "CardStatusRules.h"
#include "module/frame/NameListLookup.h"
#include "module/frame/TaskHandle.h"
#include "platform/FieldMap.h"
#include "platform/Lookups.h"

class QLabel;
class QPrinter;
class QPushButton;

namespace ormex::module::widgets {
class InputField;
}

namespace ormex::module::cards {

// 会员卡管理: finds one member card by card number, face number or mobile, shows its information,
// balance and points, prints the card sheet, and runs the status operations (report loss,
// restore, extend, change card, void, set password).
class frmMemCardManage : public frame::ModuleForm
{
public:
    explicit frmMemCardManage(QWidget* parent = nullptr);
    ~frmMemCardManage() override;

    // Runs on every showing.
    void loadForm() override;

    long EditMode() const { return m_editMode; }
    void setEditMode(long mode) { m_editMode = mode; }
    long ItemID() const { return m_itemId; }
    void setItemID(long id) { m_itemId = id; }

    // The search button's action.
    void onSearchClicked();
    // The card search on the current search key.
    void cardSearch();
    // A click of cmdStatus(index).
    void onStatusClicked(int index);
    void onLookup();

    const std::string& searchKey() const { return m_searchKey; }
    bool cardShown() const { return m_card.has_value() && !m_card->empty(); }
    long taskHandle() const { return m_task.value(); }

    // The text the card sheet shows in a row (1 to 6); "" for the rows the screen does not fill.
    std::string sheetRowText(int row) const;
    // Renders the card sheet onto a printer (PDF included).
    void printSheet(QPrinter& printer) const;

    widgets::InputField* numberField() const { return m_itNumber; }
    widgets::InputField* itemField(int index) const { return m_itItem[static_cast<std::size_t>(index)]; }
    QPushButton* statusButton(int index) const { return m_cmdStatus[static_cast<std::size_t>(index)]; }

protected:
    void unloadForm() override;

private:
    void buildUi();
    void clearCardInformation();
    void showCardInformation();
    // Warns when the card shown no longer matches the seal of its balance and points.
    void showSealState();
    void applyStatusButtons(int status, bool savingCard);
    void refreshCardTypeFlag();
    void attachNameList();
    void onPrint();

    // The operations; each returns after its own messages.
    void reportLoss(int status);
    void restore(int status);
    void extend();
    void changeCard(int status);
    void voidCard(int status);
    void setPassword();
    // Writes the change; in a linked branch `replayed` is queued for headquarters with it.
    bool saveChange(platform::FieldMap& change, const std::string& replayed);

    widgets::InputField* m_itNumber = nullptr;
    QPushButton* m_cmdSearch = nullptr;
    std::array<widgets::InputField*, 11> m_itItem{};
    std::array<QPushButton*, 7> m_cmdStatus{};
    QPushButton* m_cmdHistory = nullptr;
    QLabel* m_lblSeal = nullptr;
    QPushButton* m_cmdPrint = nullptr;
    QPushButton* m_cmdCancel = nullptr;

    std::optional<platform::FieldMap> m_card;
    std::string m_searchKey;
    platform::Value m_cardType;
    frame::TaskHandle m_task;
    int m_operationCode = 0;
    long m_editMode = 0;
    long m_itemId = 0;
    frame::NameListLookup m_nameList;
};

} // namespace ormex::module::cards
