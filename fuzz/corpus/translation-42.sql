declare @a int, @b int
