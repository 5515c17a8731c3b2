
If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='9000000001'
 Else 
 update T_Pos_VipRecord set FResidualAmt='<?BJHMP' where FCardId='9000000001'
insert T_Pos_AddMoneyList(FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,FBranchno,other1,FPlusRealAmt,FResidualAmt,FBalanceStyle,FComFlag)
select '9000000001',100,16394,'2026-11-23 10:00:00',120.5,1,'01','充值 ''memo''',100,'220.5',1,'1'