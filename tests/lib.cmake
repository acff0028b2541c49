# Values and JSON.
zuk_test(tst_qany zuk_values)
zuk_test(tst_json zuk_values)
