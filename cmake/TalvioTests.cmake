# talvio_add_gtest(NAME SOURCES a.cpp ... [LIBRARIES l ...]): a GoogleTest program whose cases CTest knows one by one.
# talvio_add_qtest(NAME SOURCES a.cpp ... [LIBRARIES l ...]): a Qt Test program, run on Qt's offscreen platform
#     unless it starts an X server of its own.

set(TALVIO_TEST_DEFINITIONS
    TALVIO_MEDIA_DIR="${TALVIO_MEDIA_DIR}"
    TALVIO_TEST_WORK_DIR="${CMAKE_BINARY_DIR}/test-work")
file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/test-work")

# Optimising what the sanitizers add to the tests' own code takes longer than running it ever does.
set(TALVIO_TEST_OPTIONS "")
if(TALVIO_SANITIZE MATCHES "address")
    set(TALVIO_TEST_OPTIONS -O0)
endif()

include(GoogleTest)

function(talvio_add_gtest name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE talvio_options ${ARG_LIBRARIES} GTest::gtest GTest::gmock GTest::gtest_main)
    target_compile_definitions(${name} PRIVATE ${TALVIO_TEST_DEFINITIONS})
    target_compile_options(${name} PRIVATE ${TALVIO_TEST_OPTIONS})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60 DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT ${ARG_TIMEOUT} SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
endfunction()

function(talvio_add_qtest name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_link_libraries(${name} PRIVATE talvio_options ${ARG_LIBRARIES} Qt6::Test Qt6::Widgets)
    target_compile_definitions(${name} PRIVATE ${TALVIO_TEST_DEFINITIONS})
    target_compile_options(${name} PRIVATE ${TALVIO_TEST_OPTIONS})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()
