# The check services over the wire.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux") # the measured server is forked
    zuk_bench(bench_check zuk_check zuk_demodata)
endif()
