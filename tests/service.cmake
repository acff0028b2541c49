# Tests of the service shell. The stand-ins for the system library are loaded when the tests run.
foreach(standin standin_advapi32 standin_lacking)
    add_library(${standin} MODULE standin_advapi32.cpp)
    target_link_libraries(${standin} PRIVATE Qt5::Core)
    set_target_properties(${standin} PROPERTIES PREFIX "" AUTOMOC OFF CXX_VISIBILITY_PRESET hidden)
endforeach()
target_compile_definitions(standin_lacking PRIVATE STANDIN_LACKING)

zuk_test(tst_service zuk_service)
target_compile_definitions(tst_service PRIVATE ZUK_STANDIN="$<TARGET_FILE:standin_advapi32>"
    ZUK_STANDIN_LACKING="$<TARGET_FILE:standin_lacking>")
add_dependencies(tst_service standin_advapi32 standin_lacking)

if(UNIX)
    zuk_test(tst_systemdservice zuk_service)
    target_compile_definitions(tst_systemdservice PRIVATE
        ZUK_PACKAGED_UNIT="${CMAKE_SOURCE_DIR}/packaging/zuk3srv.service")
endif()
