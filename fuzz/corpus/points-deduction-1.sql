
insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,FComFlag)
select 1,'01','9000000001','1',0,5.5 ,16394,getdate(),'积分冲减',1
 declare @blnIsinset1 int 
 set @blnIsinset1=1 
 If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='9000000001' and FBranchID=1)
 begin 
 insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )
 select '9000000001',1,'01',5.5,'1' 
 set @blnIsinset1=0 
 end 
 Else 
 update T_Pos_VipConsume set FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+5.5
 where FCardId='9000000001' and FBranchID=1

If (select FValue from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='g_branch_no')='01' or @blnIsinset1=1
 update T_Pos_VipRecord set FDecNum=case when 103.5>100 then 100 else 103.5 end,FAccNum= 100
 where FCardId='9000000001'
