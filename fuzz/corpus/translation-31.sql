Insert Into T_Pos_VipGift(FItemNum)
Values('1')