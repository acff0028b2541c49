# Terminal sessions and what terminals push.
add_library(zuk_terminalsite STATIC terminalsite.cpp terminalsite.h)
target_link_libraries(zuk_terminalsite PUBLIC zuk_logger zuk_sessions zuk_rpcpeer)
target_compile_definitions(zuk_terminalsite PRIVATE
    ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")

zuk_test(tst_logger zuk_terminalsite)
zuk_test(tst_sessions zuk_terminalsite)
zuk_test(tst_localday zuk_calc_rules)
zuk_test(tst_csvfollower zuk_reader)
zuk_test(tst_ekeyeventhandler zuk_terminalsite zuk_reader)
zuk_test(tst_keptwrites zuk_storage)
target_compile_definitions(tst_ekeyeventhandler PRIVATE
    ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")
