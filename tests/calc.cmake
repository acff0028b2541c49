# A site with attendance tables that the calculation's tests fill by a few words.
add_library(zuk_calcsite STATIC calcsite.cpp)
target_include_directories(zuk_calcsite PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(zuk_calcsite PUBLIC zuk_calc zuk_storage Qt5::Test)
target_compile_definitions(zuk_calcsite PRIVATE ZUK_SCHEMA_FILE="${CMAKE_SOURCE_DIR}/packaging/attendance-schema.sql")

foreach(name inputs pairing dayrules summaries packing)
    zuk_test(tst_calc_${name} zuk_calcsite zuk_calc)
endforeach()
