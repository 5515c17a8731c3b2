
insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,FComFlag)
select 1,'01','9000000001','5',0,25 ,16394,getdate(),'积分清零',1
 If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='9000000001' and FBranchID=1)
  insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )
  select '9000000001',1,'01',30,'0' 
 Else 
 update T_Pos_VipConsume set FComFlag=0,FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+25
 where FCardId='9000000001' and FBranchID=1

 update T_Pos_VipRecord set FDecNum=FAccNum
 where FCardId='9000000001'

INSERT INTO T_Pos_VipPointClear (FAccDate, hostip, hostname, FOperDate, fuserid, FClearDesc,memo )
 select getdate(),'127.0.0.1','收银台',getdate(),'16394','','积分清除操作'