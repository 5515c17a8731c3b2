declare @a int
update T set x=convert(varchar(10),y,120) where c='A'
update T set x=convert(varchar(20),y,120) where c='B'
update T set x=convert(varchar(10),y,120) where c='C'
select 'one', x from T where c='A'
select 'two', x from T where c='B'
update T set x=@a where c='D'
