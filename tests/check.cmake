# What terminals and administration clients may do.
zuk_test(tst_checkservices zuk_terminalsite zuk_check)
target_compile_definitions(tst_checkservices PRIVATE
    ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")
