# One static library and one test executable a room, made by the two functions below.

set(QUILLMERE_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  list(APPEND QUILLMERE_WARNINGS -Wno-gnu-zero-variadic-macro-arguments)
else()
  # False alarms of g++ 12 inside its own headers and in Qt's.
  list(APPEND QUILLMERE_WARNINGS -Wno-maybe-uninitialized -Wno-stringop-overflow -Wno-array-bounds -Wno-restrict
       -Wno-dangling-pointer -Wno-missing-field-initializers)
endif()

# quillmere_precompiled(TARGET HEADER): the first target that asks for a header of cmake/ compiles it, all others use
# that one. Their options must agree: what differs from target to target may not be seen by the header.
function(quillmere_precompiled target header)
  get_property(owner GLOBAL PROPERTY quillmere_precompiled_${header})
  if(owner)
    target_precompile_headers(${target} REUSE_FROM ${owner})
  else()
    set_property(GLOBAL PROPERTY quillmere_precompiled_${header} ${target})
    target_precompile_headers(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/${header}.h")
  endif()
endfunction()

function(quillmere_own_code target)
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}/src")
  target_compile_options(${target} PRIVATE ${QUILLMERE_WARNINGS})
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>")
  endif()
  # A compiler cache takes precompiled headers only when it may overlook macros of time; clang has to leave the time out
  # of what it precompiles, see above.
  if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "(^|/)ccache$")
    set_target_properties(${target} PROPERTIES CXX_COMPILER_LAUNCHER
      "env;CCACHE_SLOPPINESS=pch_defines,time_macros;${CMAKE_CXX_COMPILER_LAUNCHER}")
  endif()
  target_compile_definitions(${target} PRIVATE QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH)
  if(QUILLMERE_SANITIZE)
    list(JOIN QUILLMERE_SANITIZE "," kinds)
    target_compile_options(${target} PRIVATE -fsanitize=${kinds} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} PUBLIC -fsanitize=${kinds})
  endif()
  # A fuzzer only learns from code that tells it where it has been.
  if(QUILLMERE_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    target_link_options(${target} PUBLIC -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# quillmere_room(NAME LIBS ...): src/NAME/**.cpp becomes the library quillmere_NAME ('/' becomes '_').
# A room of headers only is an INTERFACE library.
function(quillmere_room name)
  cmake_parse_arguments(R "MOC" "" "LIBS" ${ARGN})
  string(REPLACE "/" "_" id ${name})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/${name}/*.cpp")
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/${name}/*.h")
  set(target quillmere_${id})
  if(sources)
    add_library(${target} STATIC ${sources} ${headers})
    target_link_libraries(${target} PUBLIC Qt6::Core Threads::Threads ${R_LIBS})
    quillmere_own_code(${target})
    quillmere_precompiled(${target} Precompiled)
    if(R_MOC)
      set_target_properties(${target} PROPERTIES AUTOMOC ON)
    endif()
  else()
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(${target} INTERFACE Qt6::Core Threads::Threads ${R_LIBS})
  endif()
endfunction()

# quillmere_test(NAME LIBS ...): tests/NAME/**.cpp becomes the executable NAME_tests and one ctest entry of that name, run
# through LAUNCHER when there is one, with the arguments ARGS. UNIT: our own code alone, without the speech engine, media
# libraries and programs; these run under the sanitizers, too (label "unit", target unit_tests). WITHOUT leaves a folder
# below to a test of its own.
function(quillmere_test name)
  cmake_parse_arguments(T "UNIT" "TIMEOUT;WITHOUT" "LIBS;ENV;LAUNCHER;ARGS" ${ARGN})
  string(REPLACE "/" "_" id ${name})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${name}/*.cpp")
  if(T_WITHOUT)
    list(FILTER sources EXCLUDE REGEX "/tests/${name}/${T_WITHOUT}/")
  endif()
  if(NOT sources)
    return()
  endif()
  add_executable(${id}_tests ${sources})
  quillmere_own_code(${id}_tests)
  target_include_directories(${id}_tests PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${id}_tests PRIVATE ${T_LIBS} quillmere_test_support GTest::gmock GTest::gtest)
  quillmere_precompiled(${id}_tests PrecompiledTests)
  add_test(NAME ${id} COMMAND ${T_LAUNCHER} $<TARGET_FILE:${id}_tests> ${T_ARGS})
  if(T_UNIT)
    set_tests_properties(${id} PROPERTIES LABELS unit)
    add_dependencies(unit_tests ${id}_tests)
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  set_tests_properties(${id} PROPERTIES TIMEOUT ${T_TIMEOUT} ENVIRONMENT "QUILLMERE_SOURCE_DIR=${PROJECT_SOURCE_DIR};QUILLMERE_BUILD_DIR=${PROJECT_BINARY_DIR};${T_ENV}")
endfunction()
