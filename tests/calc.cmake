# Events, schedules and settings in memory, told in a few words, and what the calculation makes of them.
add_library(zuk_calcrows STATIC calcrows.cpp)
target_include_directories(zuk_calcrows PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(zuk_calcrows PUBLIC zuk_calc_input Qt5::Test)

# A site with attendance tables that the calculation's tests fill by a few words.
add_library(zuk_calcsite STATIC calcsite.cpp)
target_link_libraries(zuk_calcsite PUBLIC zuk_calcrows zuk_calc)
target_compile_definitions(zuk_calcsite PRIVATE ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")

# Rows in memory; those that also look at the file or at the records link the site.
foreach(name dayrules periods)
    zuk_test(tst_calc_${name} zuk_calcrows)
endforeach()
foreach(name inputs users settings pairing summaries packing explanation dayaccounts)
    zuk_test(tst_calc_${name} zuk_calcsite zuk_calc)
endforeach()
