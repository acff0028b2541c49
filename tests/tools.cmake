zuk_test(tst_zukimport zuk_import)
