Delete from T_Pos_VipGift
Delete from T_Pos_VipGift Where 1=1  And FItemId='1' And FCardType='' And FBranchID='2'
Insert Into T_Pos_VipGift(FItemNum,FVipNum,FBeginDate,FEndDate,FBranchID,FBranchNo,FItemID,FCardType)
Values('1','100.5','2026-11-23','2026-12-23','2','0101','1','All')
Delete from T_Pos_VipGift Where 1=1  And FItemId='2' And FCardType='03' And FBranchID='2'
Insert Into T_Pos_VipGift(FItemNum,FVipNum,FBeginDate,FEndDate,FBranchID,FBranchNo,FItemID,FCardType)
Values('2','201','2026-11-23','2026-12-23','2','0101','2','03')
Delete from T_Pos_VipGift Where 1=1  And FItemId='3' And FCardType='' And FBranchID='2'
Insert Into T_Pos_VipGift(FItemNum,FVipNum,FBeginDate,FEndDate,FBranchID,FBranchNo,FItemID,FCardType)
Values('3','301.5','2026-11-23','2026-12-23','2','0101','3','All')