
If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='9000000001'
 Else 
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='9000000001'
insert T_Pos_AddMoneyList(FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,FBranchno,other1,FPlusRealAmt,FResidualAmt,FBalanceStyle,FComFlag)
select '9000000001',100,16394,'2026-11-23 10:00:00',120.5,1,'01','充值 ''memo''',100,'220.5',1,'1'
If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='A''01'
 Else 
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='A''01'
insert T_Pos_AddMoneyList(FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,FBranchno,other1,FPlusRealAmt,FResidualAmt,FBalanceStyle,FComFlag)
select 'A''01',100,16394,'2026-11-23 10:00:00',120.5,1,'01','充值 ''memo''',100,'220.5',1,'1'
If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='会员0003'
 Else 
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='会员0003'
insert T_Pos_AddMoneyList(FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,FBranchno,other1,FPlusRealAmt,FResidualAmt,FBalanceStyle,FComFlag)
select '会员0003',100,16394,'2026-11-23 10:00:00',120.5,1,'01','充值 ''memo''',100,'220.5',1,'1'