If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and lower(FKey)='is_branch' and fvalue='0')
 update T_Pos_VipRecord set FResidualAmt='9<?JMP' where FCardId='9000000001'
 Else 
 update T_Pos_VipRecord set FResidualAmt='9<?JMP' where FCardId='9000000001'