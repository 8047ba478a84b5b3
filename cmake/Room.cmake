# What every target is built with. Coordinates must come out the same from every compiler at every level:
# no contraction to fused multiply-add.
add_library(annomend_options INTERFACE)
target_compile_features(annomend_options INTERFACE cxx_std_17)
target_compile_options(annomend_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat -Wformat-security -Werror -ffp-contract=off)

set(ANNOMEND_SANITIZE "" CACHE STRING "Sanitizers of all targets, as -fsanitize takes them")
if(ANNOMEND_SANITIZE)
  target_compile_options(annomend_options INTERFACE
    -fsanitize=${ANNOMEND_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>) # GCC gives false alarms from <regex> once a sanitizer is on
  target_link_options(annomend_options INTERFACE -fsanitize=${ANNOMEND_SANITIZE})
endif()

# What is shipped is hardened as the distribution's own packages are; scripts/check-hardening.sh looks at what came out.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT ANNOMEND_SANITIZE)
  set(hardening -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  foreach(flag stack-clash-protection cf-protection)
    check_cxx_compiler_flag(-f${flag} ANNOMEND_HAS_${flag})
    if(ANNOMEND_HAS_${flag})
      list(APPEND hardening -f${flag})
    endif()
  endforeach()
  target_compile_options(annomend_options INTERFACE "$<$<CONFIG:Release>:${hardening}>")
  target_link_options(annomend_options INTERFACE "$<$<CONFIG:Release>:LINKER:-z,relro,-z,now>")
endif()

# annomend_room(NAME SOURCES file... [LINKS target...] [PRIVATE_LINKS target...])
#
# One room: a static library made of the calling folder. Its headers are found by whoever links it, and by
# nobody else: the links between the rooms are the architecture.
function(annomend_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${ROOM_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ROOM_LINKS} PRIVATE annomend_options ${ROOM_PRIVATE_LINKS})
endfunction()

# What is linked by name and not used is not loaded.
target_link_options(annomend_options INTERFACE LINKER:--as-needed)

# annomend_program(NAME SOURCES file... LINKS target...)
function(annomend_program name)
  cmake_parse_arguments(PROGRAM "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${PROGRAM_SOURCES})
  target_link_libraries(${name} PRIVATE annomend_options ${PROGRAM_LINKS})
endfunction()
