zuk_test(tst_database zuk_storage)
zuk_test(tst_readconnection zuk_storage)
zuk_test(tst_guardedfile zuk_storage)
zuk_test(tst_rescuefile zuk_storage)
