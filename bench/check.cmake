# The check services over the wire.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux") # the measured server is forked
    zuk_bench(bench_check zuk_check zuk_demodata)
    zuk_bench(bench_latency zuk_check zuk_web zuk_demodata)
    zuk_bench(bench_flood zuk_check zuk_web)
    target_include_directories(bench_flood PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_definitions(bench_flood PRIVATE
        ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")
endif()
