Delete from T_Pos_VipGift
Delete from T_Pos_VipGift Where 1=1  And FItemId='1' And FCardType='' And FBranchID='2'
Insert Into T_Pos_VipGift(FItemNum,FVipNum,FBeginDate,FEndDate,FBranchID,FBranchNo,FItemID,FCardType)
Values('1','100.5','2026-11-23','2026-12-23','2','0101','1','All')