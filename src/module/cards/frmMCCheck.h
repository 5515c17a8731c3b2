#pragma once

#include "module/frame/ModuleForm.h"

#include <array>
#include <optional>

#include "ApprovalCondition.h"
#include "platform/RecordList.h"

class QCheckBox;
class QComboBox;
class QPushButton;

namespace ormex::module::frame {
class Grid;
}
namespace ormex::module::widgets {
class CodeList;
class InputField;
} // namespace ormex::module::widgets

namespace ormex::module::cards {

// 会员档案审核: lists the member records waiting for approval by conditions, shows in red every
// value that differs from the card's stored record, and approves the ticked records.
class frmMCCheck : public frame::ModuleForm
{
public:
    explicit frmMCCheck(QWidget* parent = nullptr);

    // Runs on every showing: resets the conditions, today's date and an empty grid.
    void loadForm() override;

    // The condition the query passes to the approval list ("" or " and …").
    std::string buildCondition() const;
    ApprovalConditionInput conditionInput() const;
    void onQuery();
    void onRowClicked(int row);
    void onSelectAll();
    void onApprove();

    frame::Grid* grid() const { return m_grid; }
    widgets::InputField* conditionField(int index) const { return m_iptCon[static_cast<std::size_t>(index)]; }
    widgets::CodeList* operatorList() const { return m_operators; }
    widgets::CodeList* statusList() const { return m_statuses; }
    widgets::InputField* detailField(int index) const { return m_iptMember[static_cast<std::size_t>(index)]; }
    QCheckBox* selectAll() const { return m_chkSel; }

private:
    void buildUi();

    std::array<widgets::InputField*, 7> m_iptCon{};
    widgets::CodeList* m_operators = nullptr;
    widgets::CodeList* m_statuses = nullptr;
    std::array<widgets::InputField*, 15> m_iptMember{};
    frame::Grid* m_grid = nullptr;
    QCheckBox* m_chkSel = nullptr;
    QPushButton* m_cmdQuery = nullptr;
    QPushButton* m_cmdCheck = nullptr;
    QPushButton* m_cmdCancel = nullptr;

    std::optional<platform::RecordList> m_approvalList;
    std::optional<platform::RecordList> m_currentList;
};

} // namespace ormex::module::cards
