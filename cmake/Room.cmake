# What every target is built with. Coordinates must come out the same from every compiler at every level:
# no contraction to fused multiply-add.
add_library(annomend_options INTERFACE)
target_compile_features(annomend_options INTERFACE cxx_std_17)
target_compile_options(annomend_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wformat -Wformat-security -ffp-contract=off
  # A constructor's parameter is called as its member.
  $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>
  # GCC 13 and later take what a function returns for part of any temporary that it is given.
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,13>>:-Wno-dangling-reference>)

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
  set(hardening -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS -fstack-protector-strong)
  foreach(flag stack-clash-protection cf-protection)
    check_cxx_compiler_flag(-f${flag} ANNOMEND_HAS_${flag})
    if(ANNOMEND_HAS_${flag})
      list(APPEND hardening -f${flag})
    endif()
  endforeach()
  target_compile_options(annomend_options INTERFACE "$<$<CONFIG:Release>:${hardening}>")
  target_link_options(annomend_options INTERFACE "$<$<CONFIG:Release>:LINKER:-z,relro,-z,now>")
endif()

# annomend_headers(TARGET SCOPE [HEADERS file...]): the calling folder's headers (or only those named) under the folder's
# path from the root, "db/Transaction.h", for TARGET and, as SCOPE says, for whoever links it. Each target has a tree of
# links of its own to find its headers through: an include across a missing link between targets does not compile.
function(annomend_headers target scope)
  cmake_parse_arguments(ROOM "" "" "HEADERS" ${ARGN})
  file(RELATIVE_PATH room ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(root ${PROJECT_BINARY_DIR}/rooms/${target})
  file(REMOVE_RECURSE ${root})
  if(ROOM_HEADERS)
    file(MAKE_DIRECTORY ${root}/${room})
    foreach(header ${ROOM_HEADERS})
      file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${root}/${room}/${header} SYMBOLIC)
    endforeach()
  else()
    get_filename_component(above ${root}/${room} DIRECTORY)
    file(MAKE_DIRECTORY ${above})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${room} SYMBOLIC)
  endif()
  target_include_directories(${target} ${scope} ${root})
endfunction()

# annomend_room(NAME SOURCES file... [LINKS target...] [PRIVATE_LINKS target...])
#
# One room: a static library made of the calling folder. The links between the rooms are the architecture.
function(annomend_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${ROOM_SOURCES})
  annomend_headers(${name} PUBLIC)
  target_link_libraries(${name} PUBLIC ${ROOM_LINKS} PRIVATE annomend_options ${ROOM_PRIVATE_LINKS})
endfunction()

# A library that is linked by name and of which nothing is used is not loaded.
target_link_options(annomend_options INTERFACE LINKER:--as-needed)

# annomend_program(NAME SOURCES file... LINKS target...)
function(annomend_program name)
  cmake_parse_arguments(PROGRAM "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${PROGRAM_SOURCES})
  target_link_libraries(${name} PRIVATE annomend_options ${PROGRAM_LINKS})
endfunction()

# annomend_module(TARGET NAME SOURCES file... LINKS target...)
#
# A part that some runs load when they need it: libannomend-NAME-VERSION.so, in the folder that base/loadModule looks in.
# It carries the version in its name: a program never loads that of another. It shows what the calling folder's
# exports.map names.
function(annomend_module target name)
  cmake_parse_arguments(MODULE "" "" "SOURCES;LINKS" ${ARGN})
  set(exports ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
  add_library(${target} MODULE ${MODULE_SOURCES})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME annomend-${name}-${PROJECT_VERSION}
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}/annomend
    LINK_DEPENDS ${exports})
  annomend_headers(${target} PRIVATE)
  target_link_libraries(${target} PRIVATE annomend_options ${MODULE_LINKS})
  target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
endfunction()
