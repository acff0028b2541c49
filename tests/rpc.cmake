# The RPC library.
add_library(zuk_rpcpeer STATIC rpcpeer.cpp)
target_include_directories(zuk_rpcpeer PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(zuk_rpcpeer PUBLIC zuk_knetrpc Qt5::Test)

zuk_test(tst_rpc_wire zuk_rpcpeer)
zuk_test(tst_rpc_calls zuk_rpcpeer)
zuk_test(tst_rpc_answers zuk_rpcpeer)
zuk_test(tst_rpc_output zuk_rpcpeer)
# Peers that are slow, but not for want of a processor.
set_tests_properties(tst_rpc_answers tst_rpc_output PROPERTIES RUN_SERIAL TRUE)
