zuk_test(tst_database zuk_storage)
