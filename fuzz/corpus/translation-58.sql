declare @a int
update T set x=1 where c=@a
update T set x=1 where c=@b