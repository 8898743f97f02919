# SPDX-License-Identifier: MIT
# How Tessel builds its targets: one place for warnings, sanitizers, visibility, SONAME and install rules.

# Warnings and definitions that hold for all of our own code. Sizes have 64 bits in Qt 6: there the libraries are held to
# lose none of them, while programs and tests count what is small.
add_library(tessel_warnings INTERFACE)
set(tessel_library_warnings $<$<STREQUAL:${TESSEL_QT},6>:-Wconversion>)
target_compile_options(tessel_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow $<$<STREQUAL:${TESSEL_QT},5>:-Wconversion> -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<BOOL:${TESSEL_WERROR}>:-Werror>)
target_compile_definitions(tessel_warnings INTERFACE
  QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS QT_DISABLE_DEPRECATED_BEFORE=0x050F00)

if(TESSEL_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(TESSEL_SANITIZE STREQUAL "thread")
  # GCC warns that TSan does not see stand-alone fences; Qt's headers use them.
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -Wno-tsan)
  add_link_options(-fsanitize=thread)
  # Every program of ours tells the sanitizer how Qt orders threads.
  add_library(tessel_qtthreads OBJECT ${PROJECT_SOURCE_DIR}/tests/support/qtthreads.cpp)
  target_link_libraries(tessel_qtthreads PRIVATE Qt${TESSEL_QT}::Core)
  target_sources(tessel_warnings INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:tessel_qtthreads>>)
elseif(TESSEL_SANITIZE STREQUAL "fuzzer")
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "TESSEL_SANITIZE=fuzzer needs clang; set CMAKE_CXX_COMPILER to clang++, as the preset fuzz does")
  endif()
  # What is compiled counts its branches for the fuzzer; only the programs of tests/fuzz bring the fuzzer itself.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(NOT TESSEL_SANITIZE STREQUAL "")
  message(FATAL_ERROR "TESSEL_SANITIZE is \"${TESSEL_SANITIZE}\"; it must be empty, address, thread or fuzzer")
endif()

# tessel_precompile(TARGET [HEADER ...]): compiles once per target what nearly all its sources read, and HEADERs that
# many do. Sources include what they use all the same: packaging/check-style reads them without this, and
# CMAKE_DISABLE_PRECOMPILE_HEADERS builds without.
set(tessel_common_headers
  <algorithm> <atomic> <chrono> <functional> <map> <memory> <mutex> <optional> <string> <string_view> <utility> <vector>
  <QByteArray> <QDebug> <QHash> <QList> <QMap> <QMutex> <QObject> <QString> <QStringList> <QVariant>)
function(tessel_precompile target)
  target_precompile_headers(${target} PRIVATE ${tessel_common_headers} ${ARGN})
endfunction()

# tessel_precompile_test(TARGET): the same for test code, which shares one set of headers.
function(tessel_precompile_test target)
  target_link_libraries(${target} PRIVATE qtpromise::qtpromise Qt${TESSEL_QT}::Test)
  target_precompile_headers(${target} REUSE_FROM tessel_test_headers)
endfunction()

# tessel_library(NAME EXPORT MACRO_PREFIX SOURCES ... PUBLIC ... PRIVATE ...)
# A shared library with a SONAME, hidden visibility and its export macro; alias tessel::NAME.
# tessel::NAME_private is an archive of the same objects: tests of private code link it in place of the library, and
# nothing else does.
function(tessel_library name)
  cmake_parse_arguments(ARG "" "EXPORT" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name}_objects OBJECT ${ARG_SOURCES})
  set_target_properties(${name}_objects PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    AUTOMOC ON)
  target_compile_definitions(${name}_objects PRIVATE ${ARG_EXPORT}_LIBRARY)
  target_compile_options(${name}_objects PRIVATE ${tessel_library_warnings})
  target_include_directories(${name}_objects PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name}_objects PRIVATE ${ARG_PUBLIC} ${ARG_PRIVATE} tessel_warnings)

  add_library(${name} SHARED $<TARGET_OBJECTS:${name}_objects>)
  add_library(tessel::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH "$ORIGIN"
    LINKER_LANGUAGE CXX)
  if(UNIX AND NOT APPLE)
    target_link_options(${name} PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/hidden.map)
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/hidden.map)
  endif()
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  install(TARGETS ${name} EXPORT TesselTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

  add_library(${name}_private STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:${name}_objects>)
  add_library(tessel::${name}_private ALIAS ${name}_private)
  set_target_properties(${name}_private PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${name}_private PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name}_private PUBLIC ${ARG_PUBLIC} ${ARG_PRIVATE})
endfunction()

# tessel_install_component(COMPONENT): installs the archive tessel_COMPONENT, which applications ask for as a component of
# the package and link as tessel::COMPONENT.
function(tessel_install_component component)
  set_target_properties(tessel_${component} PROPERTIES EXPORT_NAME ${component})
  target_compile_features(tessel_${component} PUBLIC cxx_std_17)
  install(TARGETS tessel_${component} EXPORT Tessel_${component}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# tessel_install_program(TARGET): installs a program that finds the libraries beside it, wherever both are moved to.
file(RELATIVE_PATH tessel_libraries_from_programs ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
function(tessel_install_program target)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${tessel_libraries_from_programs}")
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endfunction()

# The sanitizer options of every test, and of what the build runs itself.
set(tessel_test_environment
  TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/tsan.supp
  UBSAN_OPTIONS=print_stacktrace=1
  LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/lsan.supp:print_suppressions=0)

# tessel_test(tst_subject SOURCES ... LIBRARIES ... [TIMEOUT seconds] [LABELS ...] [NO_PRECOMPILE] [AUTOMOC])
# One Qt Test program under CTest. The source defaults to tst_subject.cpp; a header among the sources is one with Q_OBJECT.
function(tessel_test name)
  cmake_parse_arguments(ARG "NO_PRECOMPILE;AUTOMOC" "TIMEOUT" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  if(NOT ARG_SOURCES)
    set(ARG_SOURCES ${name}.cpp)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  # A test includes the moc output of its source, and of a header with a base class. AUTOMOC would do, but costs 70 times
  # the processor time: it starts CMake and the compiler for each program.
  set(moc_directory ${CMAKE_CURRENT_BINARY_DIR}/${name}_moc)
  set_target_properties(${name} PROPERTIES AUTOMOC ${ARG_AUTOMOC}) # for classes among sources of a library
  foreach(source ${ARG_SOURCES})
    cmake_path(GET source FILENAME output)
    if(ARG_AUTOMOC)
      break()
    elseif(output MATCHES "^tst_")
      cmake_path(REPLACE_EXTENSION output LAST_ONLY moc)
    elseif(output MATCHES "\\.h$")
      cmake_path(REPLACE_EXTENSION output LAST_ONLY cpp)
      set(output moc_${output})
    else()
      continue()
    endif()
    add_custom_command(OUTPUT ${moc_directory}/${output}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${moc_directory}
      COMMAND Qt${TESSEL_QT}::moc --no-notes -o ${moc_directory}/${output} ${CMAKE_CURRENT_SOURCE_DIR}/${source}
      DEPENDS ${source} VERBATIM)
    target_sources(${name} PRIVATE ${moc_directory}/${output})
    set_source_files_properties(${moc_directory}/${output} PROPERTIES HEADER_FILE_ONLY ON)
  endforeach()
  target_include_directories(${name} PRIVATE ${moc_directory})
  if(NOT ARG_NO_PRECOMPILE)
    tessel_precompile_test(${name})
  endif()
  target_link_libraries(${name} PRIVATE test_process ${ARG_LIBRARIES} Qt${TESSEL_QT}::Core Qt${TESSEL_QT}::Test tessel_warnings)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}"
    ENVIRONMENT "${tessel_test_environment}")
endfunction()
