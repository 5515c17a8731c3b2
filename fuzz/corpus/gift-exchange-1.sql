
insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag, Fitemid,FItemNum,FVipNum,fuserid,FOperDate,FAuxPropID,Memo,FComFlag)
select 1,'01','9000000001','2','7',2,10 ,16394,getdate(),0,'礼品兑换',1
 declare @blnIsinset1 int 
 set @blnIsinset1=1 
 If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='9000000001' and FBranchID=1)
 begin 
 insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag)
select '9000000001',1,'01',10,'0' 
 set @blnIsinset1=0 
 end 
 Else 
 update T_Pos_VipConsume set FComFlag='0',FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+10
 where FCardId='9000000001' and FBranchID=1

If (select FValue from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='g_branch_no')='01' or @blnIsinset1=1
update T_Pos_VipRecord set FDecNum=FDecNum+10  where FCardId='9000000001'
