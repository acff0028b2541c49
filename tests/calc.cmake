# Events, schedules and settings told in a few words, in memory or in a site with attendance tables, and what the
# calculation makes of them.
add_library(zuk_calcsite STATIC calcrows.cpp calcsite.cpp dayaccount.cpp outcome.cpp)
target_include_directories(zuk_calcsite PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(zuk_calcsite PUBLIC zuk_calc Qt5::Test)
target_compile_definitions(zuk_calcsite PRIVATE ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")

foreach(name inputs users settings pairing summaries dayrules periods packing explanation shares)
    zuk_test(tst_calc_${name} zuk_calcsite)
endforeach()
