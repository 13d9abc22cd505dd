# One set of compile options for everything that is built here, and the two ways a target is declared.

find_program(ZARN74_CCACHE ccache)
if(ZARN74_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER "${ZARN74_CCACHE}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${ZARN74_CCACHE}")
endif()

add_library(zarn_options INTERFACE)
target_include_directories(zarn_options INTERFACE "${PROJECT_SOURCE_DIR}/src")
target_compile_definitions(zarn_options INTERFACE "ZARN74_VERSION=\"${PROJECT_VERSION}\"")
target_compile_options(zarn_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
# g++ 12 warns falsely about "text" + std::string when it optimises (its bug 105651).
target_compile_options(zarn_options INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<COMPILE_LANGUAGE:CXX>>:-Wno-restrict>)
if(ZARN74_WERROR)
  target_compile_options(zarn_options INTERFACE -Werror)
endif()
if(ZARN74_SANITIZE)
  target_compile_options(zarn_options INTERFACE "-fsanitize=${ZARN74_SANITIZE}" -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(zarn_options INTERFACE "-fsanitize=${ZARN74_SANITIZE}")
endif()

# zarn_layer(NAME [SOURCES ...] [LIBS ...]): a static library of one layer. LIBS are the layers below it.
function(zarn_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC zarn_options ${ARG_LIBS})
endfunction()

# zarn_test(NAME LABEL label SOURCES ... LIBS ...): one test executable, one ctest entry.
function(zarn_test name)
  cmake_parse_arguments(ARG "" "LABEL" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES} "${PROJECT_SOURCE_DIR}/tests/support/OwnFolders.cpp")
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} zarn_testsupport GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT 300)
endfunction()
