#include "PointLayouts.h"

namespace ormex::module::points {

frame::LayoutStore PointLayouts()
{
    frame::LayoutStore store;
    // caption, field, cell type, locked, visible, width (twips), save
    store.add("Detail0", {6,
                          "",
                          {
                              {"卡号", "FCardId", 1, 1, 1, 2000, 1},
                              {"姓名", "FVipName", 1, 1, 1, 2000, 1},
                              {"积分奖励", "FVipNum", 13, 0, 1, 1200, 1},
                              {"卡状态", "FCardStatus", 1, 1, 1, 960, 1},
                              {"卡类别", "FCardType", 1, 1, 1, 960, 1},
                              {"剩余积分", "cur_num", 13, 1, 0, 1200, 1},
                          }});
    store.add("Detail1", {14,
                          "",
                          {
                              {"礼品编码", "FNumber", 1, 0, 1, 1200, 0},
                              {"主条码", "FBarCode", 1, 1, 1, 960, 0},
                              {"品名", "FName", 1, 1, 1, 1500, 0},
                              {"单位", "FUnit", 1, 1, 1, 500, 0},
                              {"数量", "FItemNum", 3, 0, 1, 500, 1},
                              {"会员类别", "type_name", 1, 0, 1, 1500, 0},
                              {"对应积分", "FVipNum", 13, 0, 1, 1000, 1},
                              {"有效期始", "FBeginDate", 0, 0, 1, 1200, 1},
                              {"有效期至", "FEndDate", 0, 0, 1, 1200, 1},
                              {"对应仓库", "FStockName", 1, 0, 1, 1500, 0},
                              {"仓库ID", "FBranchID", 1, 1, 0, 100, 1},
                              {"仓库编码", "FBranchNo", 1, 1, 0, 100, 1},
                              {"商品ID", "FItemID", 1, 0, 0, 100, 1},
                              {"会员类别ID", "FCardType", 1, 0, 0, 100, 1},
                          }});
    store.add("Detail2", {16,
                          "",
                          {
                              {"选择", "Sel", 1, 0, 1, 500, 1},
                              {"礼品编码", "FNumber", 1, 1, 1, 960, 1},
                              {"主条码", "FBarCode", 1, 1, 1, 960, 1},
                              {"品名", "FName", 1, 1, 1, 960, 1},
                              {"单位", "FUnit", 1, 1, 1, 500, 1},
                              {"数量", "FItemNum", 13, 1, 1, 500, 1},
                              {"对应积分", "FVipNum", 13, 1, 1, 1000, 1},
                              {"仓库编码", "FBranchNo", 1, 1, 0, 1500, 1},
                              {"仓库ID", "FBranchID", 1, 0, 0, 100, 1},
                              {"对应仓库", "FStockName", 1, 1, 1, 1500, 0},
                              {"辅助属性", "FAuxPropName", 1, 1, 1, 1300, 0},
                              {"辅助属性ID", "FAuxPropID", 1, 1, 0, 0, 1},
                              {"辅助属性Num", "FAuxPropNum", 1, 1, 0, 0, 0},
                              {"是否可按辅助属性管理", "FIsAuxi", 13, 1, 0, 0, 0},
                              {"商品ID", "FItemID", 1, 0, 0, 100, 1},
                              {"单位数量积分", "PPoint", 13, 1, 0, 100, 1},
                          }});
    return store;
}

} // namespace ormex::module::points
