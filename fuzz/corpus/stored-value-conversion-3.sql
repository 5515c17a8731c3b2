
insert Into T_Pos_VipGiftList(Fbranchid,FBranchno, FCardId, flag, FVipPlusAmt, FVipNum,fuserid,FOperDate,FComFlag,memo)
select 1,'01','9000000001','4',10,100,16394,'2026-11-23 10:00:00','1','积分转储值'
 declare @blnIsinset1 int 
 set @blnIsinset1=1 
if not exists(select 1 from T_Pos_VipConsume  where FCardId='9000000001' and FBranchID=1 and FBranchNo='01')
 begin 
 insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) 

select '9000000001',1,'01',100,'1' 
 set @blnIsinset1=0 
 end 
else
Update T_Pos_VipConsume set FVipMinusTotalNum=FVipMinusTotalNum+100 where FCardId='9000000001' and FBranchID=1 and FBranchNo='01'
If (select FValue from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='g_branch_no')='01' or @blnIsinset1=1
update T_Pos_VipRecord set FDecNum=FDecNum+100 where FCardId='9000000001'
If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='9<?BEN' where FCardId='9000000001'
 Else 
 update T_Pos_VipRecord set FResidualAmt='9<?BEN' where FCardId='9000000001'
insert T_Pos_AddMoneyList(FCardId, fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,FPlusAmt,FResidualAmt,other1,FComFlag)
select '9000000001',16394,'2026-11-23 10:00:00',50,1,'01',10,'60','积分转储值','1'
insert Into T_Pos_VipGiftList(Fbranchid,FBranchno, FCardId, flag, FVipPlusAmt, FVipNum,fuserid,FOperDate,FComFlag,memo)
select 1,'01','A''01','4',10,100,16394,'2026-11-23 10:00:00','1','积分转储值'
 declare @blnIsinset2 int 
 set @blnIsinset2=1 
if not exists(select 1 from T_Pos_VipConsume  where FCardId='A''01' and FBranchID=1 and FBranchNo='01')
 begin 
 insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) 

select 'A''01',1,'01',100,'1' 
 set @blnIsinset2=0 
 end 
else
Update T_Pos_VipConsume set FVipMinusTotalNum=FVipMinusTotalNum+100 where FCardId='A''01' and FBranchID=1 and FBranchNo='01'
If (select FValue from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='g_branch_no')='01' or @blnIsinset2=1
update T_Pos_VipRecord set FDecNum=FDecNum+100 where FCardId='A''01'
If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='9<?BEN' where FCardId='A''01'
 Else 
 update T_Pos_VipRecord set FResidualAmt='9<?BEN' where FCardId='A''01'
insert T_Pos_AddMoneyList(FCardId, fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,FPlusAmt,FResidualAmt,other1,FComFlag)
select 'A''01',16394,'2026-11-23 10:00:00',50,1,'01',10,'60','积分转储值','1'
insert Into T_Pos_VipGiftList(Fbranchid,FBranchno, FCardId, flag, FVipPlusAmt, FVipNum,fuserid,FOperDate,FComFlag,memo)
select 1,'01','会员0003','4',10,100,16394,'2026-11-23 10:00:00','1','积分转储值'
 declare @blnIsinset3 int 
 set @blnIsinset3=1 
if not exists(select 1 from T_Pos_VipConsume  where FCardId='会员0003' and FBranchID=1 and FBranchNo='01')
 begin 
 insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) 

select '会员0003',1,'01',100,'1' 
 set @blnIsinset3=0 
 end 
else
Update T_Pos_VipConsume set FVipMinusTotalNum=FVipMinusTotalNum+100 where FCardId='会员0003' and FBranchID=1 and FBranchNo='01'
If (select FValue from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='g_branch_no')='01' or @blnIsinset3=1
update T_Pos_VipRecord set FDecNum=FDecNum+100 where FCardId='会员0003'
If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='9<?BEN' where FCardId='会员0003'
 Else 
 update T_Pos_VipRecord set FResidualAmt='9<?BEN' where FCardId='会员0003'
insert T_Pos_AddMoneyList(FCardId, fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,FPlusAmt,FResidualAmt,other1,FComFlag)
select '会员0003',16394,'2026-11-23 10:00:00',50,1,'01',10,'60','积分转储值','1'