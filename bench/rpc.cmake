# The RPC library, the terminals on it and the fingerprint reader beside them.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux") # the measured servers are forked
    zuk_bench(bench_rpc zuk_knetrpc)
    foreach(name bench_terminals bench_ekey)
        zuk_bench(${name} zuk_reader)
        target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
        target_compile_definitions(${name} PRIVATE
            ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")
    endforeach()
    target_sources(bench_terminals PRIVATE flushdelay.cpp)
endif()
