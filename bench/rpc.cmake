# The RPC library and the terminals on it.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux") # the measured servers are forked
    zuk_bench(bench_rpc zuk_knetrpc)
endif()
