
insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,FComFlag)
select 1,'01','9000000001','3',0,10 ,16394,getdate(),'积分奖励',0
If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='9000000001' and FBranchID=1)
 insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,FComFlag)
 select '9000000001',1,'01',10,10,'0'  
 Else 
 update T_Pos_VipConsume set FComFlag=0,FVipCurAccNum=isnull(FVipCurAccNum,0)+10,FVipAccNum=isnull(FVipAccNum,0)+10
 where FCardId='9000000001' and FBranchID=1

update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +10
 where FCardId='9000000001'
