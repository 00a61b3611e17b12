# Build helpers shared by every folder: one function per kind of target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Test Pdf)

if(NOT TARGET tolvane_common)
  add_library(tolvane_common INTERFACE)
  target_compile_features(tolvane_common INTERFACE cxx_std_20)
  target_compile_options(tolvane_common INTERFACE
    -Wall -Wextra -Wpedantic -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual)
  if(TOLVANE_WERROR)
    target_compile_options(tolvane_common INTERFACE -Werror)
  endif()
  target_compile_definitions(tolvane_common INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_DISABLE_DEPRECATED_BEFORE=0x060400)
endif()

# tolvane_add_module(<name> [UI] SOURCES ... [DEPS ...] [QT Core Gui ...])
# Creates tolvane_<name> (or tolvane_<name>_ui with UI) and its alias tolvane::<name>[_ui].
# Logic targets may only use Qt Core and Gui; only UI targets may link Widgets.
function(tolvane_add_module name)
  cmake_parse_arguments(ARG "UI" "" "SOURCES;DEPS;QT" ${ARGN})
  set(target tolvane_${name})
  if(ARG_UI)
    set(target tolvane_${name}_ui)
  endif()
  if(NOT ARG_QT)
    set(ARG_QT Core)
  endif()
  if(NOT ARG_UI AND "Widgets" IN_LIST ARG_QT)
    message(FATAL_ERROR "${target}: logic targets must not link Qt Widgets; put widgets in ${name}/ui")
  endif()
  foreach(dep IN LISTS ARG_DEPS)
    if(NOT ARG_UI AND dep MATCHES "_ui$")
      message(FATAL_ERROR "${target}: logic targets must not depend on UI target ${dep}")
    endif()
  endforeach()
  string(REPLACE "tolvane_" "tolvane::" alias ${target})
  set(qtlibs)
  foreach(m IN LISTS ARG_QT)
    list(APPEND qtlibs Qt6::${m})
  endforeach()
  if(ARG_SOURCES)
    add_library(${target} STATIC ${ARG_SOURCES})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} PUBLIC tolvane_common ${qtlibs} ${ARG_DEPS})
  else()
    # A folder whose logic has not been written yet: headers only.
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} INTERFACE tolvane_common ${qtlibs} ${ARG_DEPS})
  endif()
  add_library(${alias} ALIAS ${target})
endfunction()

# tolvane_add_test(<name> SOURCES ... LIBS ... LABEL <folder> [GUI])
function(tolvane_add_test name)
  cmake_parse_arguments(ARG "GUI" "LABEL" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tolvane_common Qt6::Test ${ARG_LIBS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE
    TOLVANE_SHARED_DIR="${TOLVANE_SHARED_DIR}"
    TOLVANE_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  add_test(NAME ${name} COMMAND ${name})
  set(env "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABEL}" ENVIRONMENT "${env}" TIMEOUT 900)
endfunction()

# Sources of a folder's logic target (root and internal/) or of its ui/ target.
macro(tolvane_glob_sources var dir)
  file(GLOB ${var} CONFIGURE_DEPENDS ${dir}/*.cpp ${dir}/*.h ${dir}/internal/*.cpp ${dir}/internal/*.h)
endmacro()
