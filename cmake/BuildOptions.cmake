# What every target is compiled with: the language, warnings, sanitizers, coverage, hardening.
option(XKRDB_WARNINGS_ARE_ERRORS "Stop at the first warning" OFF)
option(XKRDB_SANITIZE "Address and undefined behaviour sanitizers" OFF)
option(XKRDB_COVERAGE "Line coverage" OFF)
option(XKRDB_TESTS "Build the tests" ON)
option(XKRDB_FUZZ "Build the fuzzers with libFuzzer; needs clang" OFF)
option(XKRDB_DEVICE "Build the device library; needs cmake/device-toolchain.cmake" OFF)
option(XKRDB_BENCH "Build the benchmark" OFF)
option(XKRDB_BENCH_COMPETITORS "With the programs of the stores that it compares with; needs their packages" ON)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

add_library(xkrdb_build_options INTERFACE)
target_compile_options(
  xkrdb_build_options
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wundef -Wformat=2
            $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
            $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
            $<$<BOOL:${XKRDB_WARNINGS_ARE_ERRORS}>:-Werror>)

if(XKRDB_SANITIZE)
  target_compile_options(xkrdb_build_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                                       -fno-omit-frame-pointer)
  target_link_options(xkrdb_build_options INTERFACE -fsanitize=address,undefined)
endif()

# Every object tells libFuzzer where it has been. Optimised, since executions are what a fuzzer lives on.
if(XKRDB_FUZZ)
  target_compile_options(xkrdb_build_options INTERFACE -fsanitize=fuzzer-no-link -O2 -gline-tables-only)
endif()

if(XKRDB_COVERAGE)
  target_compile_options(xkrdb_build_options INTERFACE --coverage -O0 -fprofile-abs-path)
  target_link_options(xkrdb_build_options INTERFACE --coverage)
endif()

# Programs are position independent too; without this only libraries would be.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

# The options that follow are for ELF; on Windows the linker's own defaults hold (addresses at random, no executable data).
#
# What is delivered is optimised as one: records are reached through many small functions in files of their own, and
# reading, sorting and searching take a tenth to a third less that way.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT WIN32)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT XKRDB_HAS_LINK_TIME_OPTIMISATION OUTPUT ignored LANGUAGES C CXX)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ${XKRDB_HAS_LINK_TIME_OPTIMISATION})
endif()

# What is delivered is hardened: buffer checks, stack canaries, no lazy binding, no writable and executable pages.
# scripts/check-hardening looks for it in the binaries.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT WIN32)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-fcf-protection=full XKRDB_HAS_CONTROL_FLOW_PROTECTION)
  check_cxx_compiler_flag(-fstack-clash-protection XKRDB_HAS_STACK_CLASH_PROTECTION)
  target_compile_options(
    xkrdb_build_options
    INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong
              $<$<BOOL:${XKRDB_HAS_CONTROL_FLOW_PROTECTION}>:-fcf-protection=full>
              $<$<BOOL:${XKRDB_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>)
  target_link_options(xkrdb_build_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack,-z,separate-code,--as-needed)
endif()

# An exported call that another call of the same library uses is the library's own, whatever the program that loads it
# exports under that name; so it may also be inlined.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT WIN32)
  target_compile_options(xkrdb_build_options INTERFACE -fno-semantic-interposition -fno-plt)
  target_link_options(xkrdb_build_options INTERFACE -Wl,-Bsymbolic-functions)
endif()
