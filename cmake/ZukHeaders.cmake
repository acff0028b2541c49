# Headers are included by their folder ("calc/rules/pairing.h"), and only by who links the target that has them: every
# target shows its headers under a root of its own, where they are links to the sources. So an include that follows no
# link line does not compile.
#
#   zuk_headers(<target> [AS <folder>] [FROM <subfolder>] [HEADERS <name>...])
#
# Without HEADERS it shows all of the current folder (or of its subfolder), without AS under that folder's path.
function(zuk_headers target)
    cmake_parse_arguments(ARG "" "AS;FROM" "HEADERS" ${ARGN})
    cmake_path(SET source NORMALIZE ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_FROM})
    if(NOT ARG_HEADERS)
        file(GLOB ARG_HEADERS CONFIGURE_DEPENDS RELATIVE ${source} ${source}/*.h)
    endif()
    if(NOT ARG_AS)
        file(RELATIVE_PATH ARG_AS ${CMAKE_SOURCE_DIR} ${source})
    endif()
    set(root ${CMAKE_BINARY_DIR}/headers/${target})
    file(REMOVE_RECURSE ${root})
    file(MAKE_DIRECTORY ${root}/${ARG_AS})
    foreach(header ${ARG_HEADERS})
        file(CREATE_LINK ${source}/${header} ${root}/${ARG_AS}/${header} COPY_ON_ERROR SYMBOLIC)
    endforeach()
    target_include_directories(${target} PUBLIC ${root})
endfunction()
