# Warnings are errors everywhere; sanitizers apply to every target when asked for.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                    -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Werror)

# GCC 12 at -O3 reports an overlap inside std::string's own `"text" + string`
# (GCC bug 105329, fixed in 13): a warning about the library, not our code,
# that stopped the Release build wherever a literal led a concatenation.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
endif()

# The plain build is what the Debian package is made from: it gets the
# hardening Debian builds its own packages with (dpkg-buildflags).
if(NOT QUILLON_SANITIZE AND NOT QUILLON_FUZZ)
  add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>
                      -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  add_link_options(LINKER:-z,relro LINKER:-z,now)
endif()

if(QUILLON_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=address,undefined -fno-sanitize-recover=all)
endif()

# The fuzz build instruments every library for coverage; only the fuzz targets
# link the fuzzer's own main (fuzz/CMakeLists.txt).
if(QUILLON_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined -fno-sanitize-recover=all)
endif()

# quillon_test(NAME SOURCES... LIBS ...): a GoogleTest executable registered with CTest.
function(quillon_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS "${ARG_LABELS}")
endfunction()
include(GoogleTest)
