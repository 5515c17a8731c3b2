#include "StoredValueLayouts.h"

namespace ormex::module::storedvalue {

frame::LayoutStore StoredValueLayouts()
{
    frame::LayoutStore store;
    // caption, field, cell type, locked, visible, width (twips), save
    store.add("Detail1", {10,
                          "",
                          {
                              {"卡号", "FCardId", 1, 1, 1, 1200, 1},
                              {"姓名", "FVipName", 1, 1, 1, 1200, 1},
                              {"充值金额", "FChargeAmt", 13, 0, 1, 1200, 1},
                              {"实付金额", "FActualAmt", 13, 0, 1, 1200, 1},
                              {"付款方式", "FBalanceStyle", 1, 0, 0, 1200, 0},
                              {"付款方式ID", "FBalanceStyleID", 1, 1, 0, 0, 1},
                              {"付款方式Num", "FBalanceStyleNum", 1, 1, 0, 0, 0},
                              {"备注", "other1", 1, 0, 1, 1500, 1},
                              {"余额", "FResidualAmt", 13, 1, 0, 960, 1},
                              {"发卡金额", "FVipTax", 13, 1, 0, 960, 1},
                          }});
    store.add("Detail2", {9,
                          "",
                          {
                              {"卡号", "FCardId", 1, 1, 1, 1200, 1},
                              {"姓名", "FVipName", 1, 1, 1, 1200, 1},
                              {"本次使用积分", "FPoint", 13, 0, 1, 1200, 1},
                              {"换取储值", "FAmt", 13, 1, 1, 1200, 1},
                              {"卡状态", "FCardStatus", 1, 1, 1, 1200, 1},
                              {"当前积分", "cur_num", 13, 1, 0, 960, 1},
                              {"已用积分", "FDecNum", 13, 1, 0, 960, 1},
                              {"余额", "FResidualAmt", 13, 1, 0, 960, 1},
                              {"会员类别", "FCardType", 1, 1, 0, 960, 1},
                          }});
    return store;
}

} // namespace ormex::module::storedvalue
