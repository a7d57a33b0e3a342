# SPDX-License-Identifier: GPL-3.0-or-later
# What every target of the project shares, and the functions that declare rooms and their tests.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

add_library(kestrin_common INTERFACE)
target_compile_features(kestrin_common INTERFACE cxx_std_20)
target_include_directories(kestrin_common INTERFACE "${CMAKE_SOURCE_DIR}/src")
target_compile_options(kestrin_common INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
    -Wformat=2 -Wundef -Wno-missing-field-initializers -fno-omit-frame-pointer
    # GCC 12 sees faults in its own library when it inlines std::variant and std::string.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized -Wno-restrict>
    $<$<BOOL:${KESTRIN_WARNINGS_AS_ERRORS}>:-Werror>)
target_compile_definitions(kestrin_common INTERFACE
    KESTRIN_VERSION="${PROJECT_VERSION}"
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_KEYWORDS
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_DISABLE_DEPRECATED_BEFORE=0x060400
    $<$<NOT:$<CONFIG:Debug>>:QT_NO_DEBUG_OUTPUT>)
# A library that nothing was taken from is not loaded: the terminal commands start without Qt Gui.
target_link_options(kestrin_common INTERFACE -Wl,--as-needed)
if(KESTRIN_SANITIZE)
    target_compile_options(kestrin_common INTERFACE -fsanitize=${KESTRIN_SANITIZE})
    if(KESTRIN_SANITIZE MATCHES "undefined")
        target_compile_options(kestrin_common INTERFACE -fno-sanitize-recover=undefined)
    endif()
    target_link_options(kestrin_common INTERFACE -fsanitize=${KESTRIN_SANITIZE})
endif()

# kestrin_room(NAME SOURCES file... [LINKS target...]): the static library kestrin_NAME.
function(kestrin_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
    add_library(kestrin_${name} STATIC ${ROOM_SOURCES})
    target_link_libraries(kestrin_${name} PUBLIC kestrin_common ${ROOM_LINKS})
endfunction()

# kestrin_test(NAME SOURCES file... LINKS target... [LABELS label...]): the test program NAME, one CTest
# case a test. Every program runs in a throw-away home (tests/support/TestMain.cpp).
function(kestrin_test name)
    cmake_parse_arguments(TEST "" "" "SOURCES;LINKS;LABELS" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE ${TEST_LINKS} kestrin_test_support)
    # The code under test is optimised; the tests themselves only have to compile fast.
    target_compile_options(${name} PRIVATE -O0)
    set(properties TIMEOUT 300)
    if(TEST_LABELS)
        list(APPEND properties LABELS "${TEST_LABELS}")
    endif()
    # CTest itself takes "[  SKIPPED ]" for a skipped case.
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES ${properties})
endfunction()

# kestrin_widget_test(NAME SOURCES file... LINKS target... [LABELS label...]): the same for a program
# that shows windows, on a screen that nobody sees (tests/support/TestMainWidgets.cpp).
function(kestrin_widget_test name)
    cmake_parse_arguments(TEST "" "" "SOURCES;LINKS;LABELS" ${ARGN})
    kestrin_test(${name} SOURCES ${TEST_SOURCES} LABELS ${TEST_LABELS}
        LINKS kestrin_widget_test_support ${TEST_LINKS})
endfunction()
