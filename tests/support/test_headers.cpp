// An object of the target whose precompiled headers the tests share.
