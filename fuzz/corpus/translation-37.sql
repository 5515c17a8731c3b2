update T set a=case when 1>2 then 3 else 4 end,b= 5
 where c='x'