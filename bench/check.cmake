# The check services over the wire.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux") # the measured server is forked
    zuk_bench(bench_check zuk_check zuk_demodata)
    zuk_bench(bench_latency zuk_check zuk_web zuk_demodata)
endif()
