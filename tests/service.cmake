# Tests of the service shell. The stand-in for the system library is loaded when the tests run.
add_library(standin_advapi32 MODULE standin_advapi32.cpp)
target_link_libraries(standin_advapi32 PRIVATE Qt5::Core)
set_target_properties(standin_advapi32 PROPERTIES PREFIX "" AUTOMOC OFF CXX_VISIBILITY_PRESET hidden)

zuk_test(tst_service zuk_service)
target_compile_definitions(tst_service PRIVATE ZUK_STANDIN="$<TARGET_FILE:standin_advapi32>")
add_dependencies(tst_service standin_advapi32)

if(UNIX)
    zuk_test(tst_systemdservice zuk_service)
    target_compile_definitions(tst_systemdservice PRIVATE
        ZUK_PACKAGED_UNIT="${CMAKE_SOURCE_DIR}/packaging/zuk3srv.service")
endif()
