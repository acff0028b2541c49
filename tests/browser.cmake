# The employees' page in a browser: the system's Chromium, driven by what scripts/install-packages test has fetched.
find_program(NODE node)
find_program(CHROMIUM chromium)
if(NOT NODE OR NOT CHROMIUM OR NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/browser/node_modules)
    message(STATUS "No tests in the browser; scripts/install-packages test brings what they need")
    return()
endif()

function(zuk_browser_test name)
    add_test(NAME browser_${name}
        COMMAND ${NODE} --test ${CMAKE_CURRENT_SOURCE_DIR}/browser/${name}.test.mjs)
    set(suppressions suppressions=${CMAKE_SOURCE_DIR}/scripts/lsan.supp:print_suppressions=0)
    # The terminals' port is fixed.
    set_tests_properties(browser_${name} PROPERTIES TIMEOUT 600 RESOURCE_LOCK zuk_server_ports
        ENVIRONMENT "TZ=Europe/Ljubljana;ZUK_BIN=${CMAKE_RUNTIME_OUTPUT_DIRECTORY};ZUK_CHROMIUM=${CHROMIUM};LSAN_OPTIONS=${suppressions}")
endfunction()

zuk_browser_test(page)
if(NOT ZUK_SANITIZE)
    zuk_browser_test(speed)
    set_tests_properties(browser_speed PROPERTIES RUN_SERIAL ON)
endif()
