# Statements, registers, exceptions, and the program that makes them.
zuk_test(tst_report zuk_calcsite zuk_report zuk_page_tables)
zuk_test(tst_zukreport zuk_calcsite)
target_compile_definitions(tst_zukreport PRIVATE ZUK_REPORT="$<TARGET_FILE:zukreport>")
add_dependencies(tst_zukreport zukreport)
set_property(TEST tst_report tst_zukreport APPEND PROPERTY
    ENVIRONMENT "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/scripts/lsan.supp:print_suppressions=0")
