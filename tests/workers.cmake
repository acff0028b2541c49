# Worker threads that read the file.
zuk_test(tst_readpool zuk_workers)
zuk_test(tst_poolcrew zuk_workers zuk_calcsite)
