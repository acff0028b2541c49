# The employees' page.
add_library(zuk_officesite STATIC officesite.cpp officesite.h)
target_link_libraries(zuk_officesite PUBLIC zuk_calcsite zuk_page_office)

zuk_test(tst_page_office zuk_officesite)
zuk_test(tst_page_requests zuk_officesite)
zuk_test(tst_page_http zuk_page)
zuk_test(tst_page_live zuk_page)
zuk_test(tst_zukpage zuk_options Qt5::Network)
target_compile_definitions(tst_zukpage PRIVATE ZUK_PAGE="$<TARGET_FILE:zukpage>")
add_dependencies(tst_zukpage zukpage)
set_property(TEST tst_zukpage APPEND PROPERTY
    ENVIRONMENT "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/scripts/lsan.supp:print_suppressions=0")
