# Tests of the server: web front and host.
set(ZUK_SCHEMA_FILE ${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql)

zuk_test(tst_diagnostics zuk_process)
zuk_test(tst_localtime zuk_process)
if(NOT WIN32)
    zuk_test(tst_descriptors_unix zuk_process)
endif()
zuk_test(tst_webmetods zuk_web)
zuk_test(tst_webguards zuk_web)
zuk_test(tst_echoserver zuk_web)
zuk_test(tst_webreading zuk_web)
zuk_test(tst_sslechoserver zuk_web)
zuk_test(tst_metrics zuk_host)
zuk_test(tst_servicesstarter zuk_host zuk_rpcpeer)
zuk_test(tst_zuk3server zuk_storage Qt5::WebSockets)
zuk_test(tst_zukweb zuk_terminalsite zuk_web)
zuk_test(tst_protocol zuk_storage zuk_rpcpeer)

foreach(name tst_protocol tst_webmetods tst_zuk3server tst_zukweb)
    target_compile_definitions(${name} PRIVATE ZUK_SCHEMA_FILE="${ZUK_SCHEMA_FILE}")
endforeach()
target_compile_definitions(tst_zuk3server PRIVATE ZUK_SERVER="$<TARGET_FILE:zuk3server>")
target_compile_definitions(tst_protocol PRIVATE ZUK_SERVER="$<TARGET_FILE:zuk3server>"
    ZUK_PROTOCOL_REFERENCE="${CMAKE_SOURCE_DIR}/docs/protocol.md")
target_compile_definitions(tst_zukweb PRIVATE ZUK_WEB_CLIENT="$<TARGET_FILE:zukweb>")
add_dependencies(tst_zuk3server zuk3server)
add_dependencies(tst_protocol zuk3server)
add_dependencies(tst_zukweb zukweb)

# The server's database lies beside the executable: these two need a folder of their own, and use fixed ports.
set_target_properties(tst_servicesstarter PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/servicesstarter)
set_tests_properties(tst_servicesstarter tst_zuk3server tst_protocol PROPERTIES RESOURCE_LOCK zuk_server_ports)
