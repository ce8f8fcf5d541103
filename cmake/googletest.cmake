# The target gtest_main, when tests are wanted and GoogleTest is there: from its sources, so that it is built with the same
# compiler and sanitizers, or else an installed package of it.
set(LORQ_GOOGLETEST /usr/src/googletest CACHE PATH "Sources of GoogleTest")
if(NOT LORQ_TESTS)
    message(STATUS "Tests: not built")
    return()
endif()

if(EXISTS ${LORQ_GOOGLETEST}/CMakeLists.txt)
    message(STATUS "Tests: with GoogleTest from ${LORQ_GOOGLETEST}")
    set(BUILD_GMOCK OFF)
    set(INSTALL_GTEST OFF)
    set(gtest_disable_pthreads OFF)
    add_subdirectory(${LORQ_GOOGLETEST} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    target_compile_options(gtest PRIVATE -w -O0 -g0)  # its warnings are not ours to mend, nor is its speed
    return()
endif()

find_package(GTest QUIET)
if(GTest_FOUND)
    message(STATUS "Tests: with GoogleTest ${GTest_VERSION} from ${GTest_DIR}")
    add_library(gtest_main ALIAS GTest::gtest_main)
elseif(LORQ_TESTS STREQUAL AUTO)
    message(STATUS "Tests: not built, GoogleTest was not found (Debian: package googletest)")
else()
    message(FATAL_ERROR "GoogleTest was not found (Debian: package googletest, or scripts/install-deps test)")
endif()
