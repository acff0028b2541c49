zuk_test(tst_zukimport zuk_import)
zuk_test(tst_demodata zuk_demodata)
target_compile_definitions(tst_demodata PRIVATE ZUK_DEMODATA="$<TARGET_FILE:demodata>")
add_dependencies(tst_demodata demodata)
