 declare @blnIsinset1 int 
 set @blnIsinset1=1 
 If Not Exists(select 1 from T where a='x')
 begin 
 insert into T (a) 
 select 'x' 
 set @blnIsinset1=0 
 end 
 Else 
 update T set b=1
 where a='x'

If (select v from P)='01' or @blnIsinset1=1
 update R set c=case when 2>1 then 1 else 2 end
 where a='x'