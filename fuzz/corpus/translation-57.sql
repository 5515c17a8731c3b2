declare @a int
update T set x=convert(varchar(10),y,120) where c=@a
update T set x=convert(varchar(10),y,101) where c=@a