# The house is built of rooms: one folder, one target, one job.
#
#   corvix_room(NAME [ROOMS room...] [LIBS lib...])
#       An object library of all sources in the current folder. ROOMS are the rooms that it may include from.
#   corvix_wire(NAME)
#       A static library of all sources in the current folder below src/wire: portable, and linked by the library
#       and by programs that do not use it alike.
#   corvix_test(NAME [ROOMS room...] [LIBS lib...] [DLL] [SOURCE_DIR])
#       A GoogleTest program of all sources in the current folder. With ROOMS it is built from those rooms'
#       objects and those below them; with DLL it is linked against the import library, as a caller's program would be.
#       SOURCE_DIR tells it where the source tree is, as CORVIX_SOURCE_DIR.
#   corvix_program(NAME [FOLDERS folder...] [LIBS lib...] [DLL])
#       A program of all sources in the current folder and in these folders below it, put into the build tree's bin/.
#   corvix_transcripts(NAME [FILES file...] [PROGRAMS name target...] [BEFORE command...])
#       A test of each *.transcript in the current folder, or of these. Its commands may use the native simulator
#       as corvixsim, targets of the build tree (or the system's programs of Windows) by the names given, and the
#       functions in the folder's commands.sh; others may be run before them.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

find_program(CORVIX_CCACHE ccache)
if(CORVIX_CCACHE)
  # Precompiled headers are cached only with these settings; the others let several checkouts share what they compile.
  set(launcher "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${CORVIX_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER "${launcher}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${launcher}")
endif()

add_library(corvix_options INTERFACE)
target_compile_definitions(corvix_options INTERFACE
  $<$<PLATFORM_ID:Windows>:UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00 WINVER=0x0A00>)
if(MSVC)
  target_compile_options(corvix_options INTERFACE /W4 /WX /permissive- /utf-8 /EHsc)
else()
  target_compile_options(corvix_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
endif()

if(MINGW)
  # With precompiled headers GCC 12 sees overruns at -O3 in the standard library's own strings, where there are none.
  target_compile_options(corvix_options INTERFACE
    $<$<CONFIG:Release>:-Wno-array-bounds -Wno-stringop-overread -Wno-stringop-overflow>)
endif()

# Half of a compile is reading Windows' and the standard library's headers, so these are read once: in one form for
# what is shipped and in one for the tests. Natively there is too little to compile for it to pay.
set(CORVIX_COMMON_HEADERS <winsock2.h> <windows.h> <oaidl.h> <algorithm> <functional> <map> <memory> <mutex> <optional>
  <string> <string_view> <vector>)

# corvix_precompile(NAME FROM): the target NAME takes the precompiled headers of the target FROM.
function(corvix_precompile NAME FROM)
  get_target_property(sources ${NAME} SOURCES)
  if(MINGW AND sources MATCHES "[.]cpp")
    target_precompile_headers(${NAME} REUSE_FROM ${FROM})
    target_compile_options(${NAME} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
  endif()
endfunction()

if(MINGW)
  file(WRITE "${CMAKE_BINARY_DIR}/precompiled.cpp" "")
  add_library(corvix_precompiled OBJECT "${CMAKE_BINARY_DIR}/precompiled.cpp")
  target_link_libraries(corvix_precompiled PRIVATE corvix_options)
  target_precompile_headers(corvix_precompiled PRIVATE ${CORVIX_COMMON_HEADERS})
  target_compile_options(corvix_precompiled PRIVATE -fpch-preprocess)
endif()

function(corvix_sources OUT)
  set(patterns "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/*.c")
  foreach(folder IN LISTS ARGN)
    list(APPEND patterns "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp")
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  set(${OUT} ${sources} PARENT_SCOPE)
endfunction()

function(corvix_room NAME)
  cmake_parse_arguments(ROOM "" "" "ROOMS;LIBS" ${ARGN})
  corvix_sources(sources)
  if(NOT sources)
    message(FATAL_ERROR "The room ${NAME} has no sources")
  endif()
  add_library(${NAME} OBJECT ${sources})
  target_include_directories(${NAME} PUBLIC
    "${CMAKE_SOURCE_DIR}/include" "${CMAKE_SOURCE_DIR}/src" "${CMAKE_SOURCE_DIR}/shared/common/utils")
  target_compile_definitions(${NAME} PUBLIC CORVIXDM_BUILD)
  target_link_libraries(${NAME} PUBLIC corvix_options ${ROOM_LIBS})
  # Objects do not travel from room to room: this hands on include folders and system libraries only.
  target_link_libraries(${NAME} PUBLIC ${ROOM_ROOMS})
  corvix_precompile(${NAME} corvix_precompiled)
  set_property(TARGET ${NAME} PROPERTY CORVIX_NEEDS "${ROOM_ROOMS}")
  set_property(GLOBAL APPEND PROPERTY CORVIX_ROOMS ${NAME})
endfunction()

function(corvix_wire NAME)
  corvix_sources(sources)
  add_library(${NAME} STATIC ${sources})
  target_include_directories(${NAME} PUBLIC "${CMAKE_SOURCE_DIR}/src")
  target_link_libraries(${NAME} PUBLIC corvix_options)
endfunction()

# The rooms given and every room that they stand on.
function(corvix_rooms_below OUT)
  set(closed)
  set(open ${ARGN})
  while(open)
    list(POP_FRONT open room)
    if(NOT room IN_LIST closed)
      list(APPEND closed ${room})
      get_target_property(needs ${room} CORVIX_NEEDS)
      if(needs)
        list(APPEND open ${needs})
      endif()
    endif()
  endwhile()
  set(${OUT} ${closed} PARENT_SCOPE)
endfunction()

function(corvix_link_against_dll NAME)
  target_include_directories(${NAME} PRIVATE "${CMAKE_SOURCE_DIR}/include")
  target_link_libraries(${NAME} PRIVATE corvixdm64)
endfunction()

function(corvix_program NAME)
  cmake_parse_arguments(PROGRAM "DLL" "" "FOLDERS;LIBS" ${ARGN})
  corvix_sources(sources ${PROGRAM_FOLDERS})
  add_executable(${NAME} ${sources})
  target_link_libraries(${NAME} PRIVATE corvix_options ${PROGRAM_LIBS})
  corvix_precompile(${NAME} corvix_precompiled)
  if(MINGW)
    target_link_options(${NAME} PRIVATE -municode)
  endif()
  if(PROGRAM_DLL)
    corvix_link_against_dll(${NAME})
  endif()
endfunction()

function(corvix_test NAME)
  cmake_parse_arguments(TEST "DLL;SOURCE_DIR" "" "ROOMS;LIBS" ${ARGN})
  corvix_sources(sources)
  if(NOT sources)
    return()
  endif()
  add_executable(${NAME} ${sources})
  target_include_directories(${NAME} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  corvix_rooms_below(rooms ${TEST_ROOMS})
  target_link_libraries(${NAME} PRIVATE corvix_options ${rooms} ${TEST_LIBS} corvix_test_main)
  corvix_precompile(${NAME} corvix_test_main)
  if(TEST_SOURCE_DIR)
    target_compile_definitions(${NAME} PRIVATE CORVIX_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  endif()
  if(TEST_DLL)
    corvix_link_against_dll(${NAME})
  endif()
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 TEST_PREFIX "${NAME}." PROPERTIES TIMEOUT 120)
endfunction()

function(corvix_transcripts NAME)
  cmake_parse_arguments(TRANSCRIPTS "" "" "FILES;PROGRAMS;BEFORE" ${ARGN})
  if(NOT TRANSCRIPTS_FILES)
    file(GLOB TRANSCRIPTS_FILES CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}"
      "${CMAKE_CURRENT_SOURCE_DIR}/*.transcript")
  endif()
  set(options --var "source=${CMAKE_SOURCE_DIR}" --program "corvixsim=${CORVIXSIM_NATIVE}")
  if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/commands.sh")
    list(APPEND options --var "BASH_ENV=${CMAKE_CURRENT_SOURCE_DIR}/commands.sh")
  endif()
  while(TRANSCRIPTS_PROGRAMS)
    list(POP_FRONT TRANSCRIPTS_PROGRAMS program target)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    if(TARGET "${target}")
      set(target "$<TARGET_FILE:${target}>")
    endif()
    list(APPEND options --program "${program}=${emulator} ${target}")
  endwhile()
  foreach(command IN LISTS TRANSCRIPTS_BEFORE)
    list(APPEND options --before "${command}")
  endforeach()
  foreach(file IN LISTS TRANSCRIPTS_FILES)
    get_filename_component(name "${file}" NAME_WE)
    add_test(NAME ${NAME}.${name} COMMAND "${CMAKE_SOURCE_DIR}/tests/transcript/transcript.py"
      "${CMAKE_CURRENT_SOURCE_DIR}/${file}" ${options})
    set_tests_properties(${NAME}.${name} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 240)
  endforeach()
endfunction()
