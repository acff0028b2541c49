# The RPC library and the terminals on it.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux") # the measured servers are forked
    zuk_bench(bench_rpc zuk_knetrpc)
    zuk_bench(bench_terminals zuk_logger)
    target_include_directories(bench_terminals PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_definitions(bench_terminals PRIVATE
        ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")
endif()
