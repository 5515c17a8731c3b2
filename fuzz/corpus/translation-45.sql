update T set z=x+1.5 where FCardId='C' and y=@a
update U set x=x+1.5 where FCardId='C' and y=@a
update T set x=x-1.5 where FCardId='C' and y=@a
update T set x=x+1.5 where FCardId=C and y=@a
update T set x=x+1.5 where [FCardId]='C' and y=@a
