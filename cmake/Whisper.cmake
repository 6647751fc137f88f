# Two targets: quillmere_ggml, the tensor library, and quillmere_whisper, the speech engine over it. From the pinned source
# of whisper.cpp under third_party/src, or, with QUILLMERE_SYSTEM_WHISPER=ON, from an installed one.
add_library(quillmere_ggml INTERFACE)
add_library(quillmere_whisper INTERFACE)

if(QUILLMERE_SYSTEM_WHISPER)
  find_package(ggml CONFIG QUIET)
  if(TARGET ggml::ggml)
    target_link_libraries(quillmere_ggml INTERFACE ggml::ggml)
  else()
    # An older one comes without a description of its own, beside the engine.
    pkg_check_modules(GGML QUIET IMPORTED_TARGET ggml)
    if(GGML_FOUND)
      target_link_libraries(quillmere_ggml INTERFACE PkgConfig::GGML)
    endif()
  endif()
  find_package(whisper CONFIG QUIET)
  if(TARGET whisper)
    target_link_libraries(quillmere_whisper INTERFACE whisper quillmere_ggml)
  else()
    pkg_check_modules(WHISPER REQUIRED IMPORTED_TARGET whisper)
    target_link_libraries(quillmere_whisper INTERFACE PkgConfig::WHISPER quillmere_ggml)
  endif()
  message(STATUS "Speech engine: the installed whisper.cpp. A cancel may take as long as one encoder run.")
  return()
endif()

set(whisper_source "${PROJECT_SOURCE_DIR}/third_party/src/whisper.cpp")
set(whisper_stamp "${PROJECT_SOURCE_DIR}/third_party/src/.whisper.cpp.stamp")
if(NOT EXISTS "${whisper_source}/CMakeLists.txt" OR NOT EXISTS "${whisper_stamp}")
  message(FATAL_ERROR "The source of whisper.cpp is missing. Run third_party/fetch.sh first, or configure with "
                      "-DQUILLMERE_SYSTEM_WHISPER=ON to use an installed whisper.cpp.")
endif()
file(READ "${whisper_stamp}" whisper_version)
string(MD5 whisper_version "${whisper_version}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${whisper_stamp}")

# A build of its own: always optimised (an unoptimised encoder takes 30 times as long), never with our warnings or
# sanitizers, and with g++ also where our own code is compiled by clang, whose code for the encoder takes 25 % longer and
# needs an OpenMP runtime of its own.
find_program(QUILLMERE_ENGINE_C_COMPILER NAMES gcc ${CMAKE_C_COMPILER} DOC "C compiler for the speech engine")
find_program(QUILLMERE_ENGINE_CXX_COMPILER NAMES g++ ${CMAKE_CXX_COMPILER} DOC "C++ compiler for the speech engine")
execute_process(COMMAND ${QUILLMERE_ENGINE_CXX_COMPILER} -print-file-name=libgomp.so
                OUTPUT_VARIABLE whisper_openmp OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(IS_ABSOLUTE "${whisper_openmp}" AND EXISTS "${whisper_openmp}")
  set(whisper_openmp_flag ON)
else()
  set(whisper_openmp "")
  set(whisper_openmp_flag OFF)
  message(WARNING "The speech engine is built without OpenMP, because ${QUILLMERE_ENGINE_CXX_COMPILER} has no libgomp. "
                  "Install g++ for a faster one.")
endif()

# The processor features are named one by one: with SOURCE_DATE_EPOCH set, as in package builds, their defaults flip.
# AVX-512 stays off: it is slower here. An empty GIT_EXE keeps our commit out of the engine's objects.
set(whisper_options
    -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DCMAKE_POSITION_INDEPENDENT_CODE=ON
    -DCMAKE_C_COMPILER=${QUILLMERE_ENGINE_C_COMPILER} -DCMAKE_CXX_COMPILER=${QUILLMERE_ENGINE_CXX_COMPILER}
    -DCMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER} -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}
    -DWHISPER_BUILD_TESTS=OFF -DWHISPER_BUILD_SERVER=OFF -DWHISPER_BUILD_EXAMPLES=${QUILLMERE_BENCH} -DWHISPER_ALL_WARNINGS=OFF
    -DGGML_NATIVE=OFF -DGGML_LLAMAFILE=ON -DGGML_OPENMP=${whisper_openmp_flag} -DGGML_BLAS=OFF -DGGML_CCACHE=OFF -DGIT_EXE=)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  foreach(feature SSE42 AVX AVX2 FMA F16C BMI2)
    list(APPEND whisper_options -DGGML_${feature}=ON)
  endforeach()
endif()

# g++ marks statics of inline functions as unique in the process, and such names stay global when the others of
# libggml-cpu are made local below.
execute_process(COMMAND ${QUILLMERE_ENGINE_CXX_COMPILER} -fno-gnu-unique -E -x c++ /dev/null
                RESULT_VARIABLE whisper_no_unique OUTPUT_QUIET ERROR_QUIET)
if(whisper_no_unique EQUAL 0)
  list(APPEND whisper_options -DCMAKE_CXX_FLAGS=-fno-gnu-unique)
endif()

include(ExternalProject)
include(ProcessorCount)
ProcessorCount(whisper_jobs)
if(whisper_jobs LESS 1)
  set(whisper_jobs 1)
endif()
set(whisper_build "${PROJECT_BINARY_DIR}/third_party/whisper.cpp")
set(whisper_library "${whisper_build}/src/libwhisper.a")
set(ggml_libraries "${whisper_build}/ggml/src/libggml.a" "${whisper_build}/libggml-cpu-isolated.a"
                   "${whisper_build}/ggml/src/libggml-base.a")

# libggml-cpu is compiled for AVX2. Its copies of the standard library's inline functions must not become those of our
# own code, which has to reach the check of the processor alive: one object, all but ggml's own names made local.
ExternalProject_Add(whisper_cpp EXCLUDE_FROM_ALL TRUE
  SOURCE_DIR "${whisper_source}"
  BINARY_DIR "${whisper_build}"
  STAMP_DIR "${whisper_build}-stamp/${whisper_version}"
  DOWNLOAD_COMMAND "" UPDATE_COMMAND ""
  CMAKE_ARGS ${whisper_options}
  BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target whisper --parallel ${whisper_jobs}
  INSTALL_COMMAND ${QUILLMERE_ENGINE_CXX_COMPILER} -nostdlib -r -o <BINARY_DIR>/ggml-cpu.o -Wl,--force-group-allocation
                  -Wl,--whole-archive <BINARY_DIR>/ggml/src/libggml-cpu.a
          COMMAND ${CMAKE_OBJCOPY} --wildcard --keep-global-symbol=ggml_* <BINARY_DIR>/ggml-cpu.o
          COMMAND ${CMAKE_COMMAND} -E rm -f <BINARY_DIR>/libggml-cpu-isolated.a
          COMMAND ${CMAKE_AR} rcs <BINARY_DIR>/libggml-cpu-isolated.a <BINARY_DIR>/ggml-cpu.o
  BUILD_BYPRODUCTS ${whisper_library} ${ggml_libraries}
  USES_TERMINAL_BUILD TRUE LOG_CONFIGURE TRUE LOG_INSTALL TRUE LOG_OUTPUT_ON_FAILURE TRUE)

add_dependencies(quillmere_ggml whisper_cpp)
target_include_directories(quillmere_ggml SYSTEM INTERFACE "${whisper_source}/ggml/include")
target_link_libraries(quillmere_ggml INTERFACE ${ggml_libraries} ${whisper_openmp} Threads::Threads ${CMAKE_DL_LIBS} m)
add_dependencies(quillmere_whisper whisper_cpp)
target_include_directories(quillmere_whisper SYSTEM INTERFACE "${whisper_source}/include")
target_link_libraries(quillmere_whisper INTERFACE ${whisper_library} quillmere_ggml)
# The engine's call that computes a graph goes through ours, which is how a run stops promptly: platform/whisper/GraphAbort.h.
target_link_options(quillmere_whisper INTERFACE "LINKER:--wrap=ggml_backend_sched_graph_compute")
target_compile_definitions(quillmere_whisper INTERFACE QUILLMERE_WHISPER_GRAPH_HOOK)

if(QUILLMERE_BENCH)
  # The engine's own command-line program, for comparisons: third_party/whisper.cpp/bin/whisper-cli in the build tree.
  add_custom_target(whisper_cli COMMAND ${CMAKE_COMMAND} --build "${whisper_build}" --target whisper-cli
                                        --parallel ${whisper_jobs} DEPENDS whisper_cpp USES_TERMINAL)
  add_dependencies(whisper_cli whisper_cpp)
endif()
