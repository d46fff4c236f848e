# Shared build settings: warnings (as errors with KVLNMOV_WERROR), sanitizers, and a helper to add a test.

# Warnings are errors in the test command, CI and the developer presets (KVLNMOV_WERROR=ON),
# not in a user's build, where another compiler's new warning must not stop it.
option(KVLNMOV_WERROR "Treat build warnings as errors" OFF)
add_library(kvlnmov_warnings INTERFACE)
target_compile_options(kvlnmov_warnings INTERFACE -Wall -Wextra $<$<BOOL:${KVLNMOV_WERROR}>:-Werror>)
# GCC 12 at -O3 takes "text" + std::string(...) for an overlapping memcpy of exabytes (GCC bug
# 105329, fixed in 13): a false -Wrestrict on ordinary string building, so it is off there.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(kvlnmov_warnings INTERFACE -Wno-restrict)
endif()

option(KVLNMOV_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(KVLNMOV_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=address,undefined)
endif()

# kvlnmov_add_test(name SOURCES a.cpp b.cpp LIBS lib1 lib2 [DATABASE])
# Links the test support (tests/support, the fixtures). DATABASE labels the test's cases
# "database": they open their connections through tests/support/test_connection.h, so the test command runs them once per provider
# (ctest -L database with KVLNMOV_TEST_PROVIDER set).
function(kvlnmov_add_test name)
    cmake_parse_arguments(ARG "DATABASE" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} kvlnmov_test_support GTest::gtest
                          GTest::gtest_main kvlnmov_warnings)
    set(labels "")
    if(ARG_DATABASE)
        set(labels database)
    endif()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
        PROPERTIES ENVIRONMENT "KVLNMOV_SHARED_DATA=${KVLNMOV_SHARED_DATA}" LABELS "${labels}")
endfunction()
