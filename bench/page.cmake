# The employees' page beside the server.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux") # the measured servers are forked
    zuk_bench(bench_page zuk_check zuk_web zuk_page zuk_demodata)
endif()
