# The Debian package, built from what this build made. Run as a script: its content and what it asks dpkg to do.
if(NOT CMAKE_SCRIPT_MODE_FILE)
    find_program(SHLIBDEPS dpkg-shlibdeps)
    if(SHLIBDEPS AND NOT ZUK_SANITIZE)
        add_test(NAME package COMMAND ${CMAKE_COMMAND} -D BUILD=${CMAKE_BINARY_DIR} -P ${CMAKE_CURRENT_LIST_FILE})
    endif()
    return()
endif()

set(folder ${BUILD}/package-test)
file(REMOVE_RECURSE ${folder})
execute_process(COMMAND ${CMAKE_CPACK_COMMAND} -D CPACK_STRIP_FILES=OFF -B ${folder} WORKING_DIRECTORY ${BUILD}
    OUTPUT_VARIABLE said ERROR_VARIABLE said RESULT_VARIABLE failed)
file(GLOB package ${folder}/*.deb)
if(failed OR NOT package)
    message(FATAL_ERROR "no package: ${said}")
endif()

execute_process(COMMAND dpkg-deb --contents ${package} OUTPUT_VARIABLE content COMMAND_ERROR_IS_FATAL ANY)
foreach(line "rwxr-xr-x root/root .* ./opt/zuk3srv/zuk3server\n" " ./usr/sbin/zuk3server -> /opt/zuk3srv/zuk3server\n"
        " ./lib/systemd/system/zuk3srv.service\n" " ./lib/systemd/system/zuk3srv-backup.timer\n"
        "rwxr-xr-x root/root .* ./usr/bin/zukpage\n" " ./lib/systemd/system/zukpage.service\n"
        "rwxr-xr-x root/root .* ./usr/bin/zukbackup\n" "rwxr-xr-x root/root .* ./usr/bin/zukadmin\n"
        "rwxr-xr-x root/root .* ./usr/bin/zukreport\n" " ./usr/share/man/man1/zukreport.1.gz\n"
        " ./usr/share/man/man8/zuk3server.8.gz\n" " ./usr/share/doc/zuk3server/attendance-schema.sql\n"
        " ./usr/share/doc/zuk3server/operation.md\n")
    if(NOT content MATCHES "${line}")
        message(FATAL_ERROR "lacks ${line}: ${content}")
    endif()
endforeach()
string(REGEX MATCHALL "\\./usr/bin/[a-z]+\n" programs "${content}")
foreach(program ${programs})
    string(REGEX REPLACE "\\./usr/bin/([a-z]+)\n" "\\1" name ${program})
    if(NOT content MATCHES " ./usr/share/man/man1/${name}.1.gz\n")
        message(FATAL_ERROR "no manual page of ${name}: ${content}")
    endif()
endforeach()
# The state beside the executable is nobody's: an upgrade or a removal leaves it alone.
if(content MATCHES "/opt/zuk3srv/[^/]*\\.(db|INI|ini)")
    message(FATAL_ERROR "holds state: ${content}")
endif()
execute_process(COMMAND dpkg-deb --field ${package} Depends OUTPUT_VARIABLE depends COMMAND_ERROR_IS_FATAL ANY)
foreach(library libqt5sql5-sqlite libqt5websockets5 libsystemd0 fonts-dejavu-core adduser)
    if(NOT depends MATCHES "${library}")
        message(FATAL_ERROR "depends not on ${library}: ${depends}")
    endif()
endforeach()
