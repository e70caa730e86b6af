# SPDX-License-Identifier: GPL-3.0-or-later
# The rules that every library of the house is built by: warnings, sanitizers, and the order of the floors.

add_library(brambury_options INTERFACE)
target_include_directories(brambury_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(brambury_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<BOOL:${WARNINGS_AS_ERRORS}>:-Werror>)
target_compile_definitions(brambury_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_KEYWORDS
  $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>
  BRAMBURY_VERSION="${PROJECT_VERSION}")
if(BRAMBURY_SANITIZE)
  target_compile_options(brambury_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -D_GLIBCXX_ASSERTIONS)
  target_link_options(brambury_options INTERFACE -fsanitize=address,undefined)
endif()

# The floors, lowest first. A library may link only what stands before it here.
set(BRAMBURY_FLOORS
  platform shell data log linktest mail publish
  platform_system platform_desktop platform_pages platform_database platform_network platform_parts platform_widgets
  ui_parts ui_lists ui_help ui_mail ui_records ui_main cli)

# brambury_library(NAME DEPENDS lower-libraries... LIBS outside-libraries...)
# Builds every source of the current folder (not of folders below it) into one static library.
# Configuring fails when NAME would link a library of a later floor.
function(brambury_library NAME)
  cmake_parse_arguments(ARG "" "" "DEPENDS;LIBS;PRIVATE_LIBS" ${ARGN})
  list(FIND BRAMBURY_FLOORS ${NAME} own)
  if(own LESS 0)
    message(FATAL_ERROR "${NAME} has no floor in BRAMBURY_FLOORS")
  endif()
  foreach(dep IN LISTS ARG_DEPENDS)
    list(FIND BRAMBURY_FLOORS ${dep} floor)
    if(floor LESS 0 OR NOT floor LESS own)
      message(FATAL_ERROR "${NAME} may not link ${dep}: it does not stand before it")
    endif()
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS *.cpp *.h)
  add_library(${NAME} STATIC ${sources})
  set_target_properties(${NAME} PROPERTIES LINKER_LANGUAGE CXX)
  target_link_libraries(${NAME} PUBLIC brambury_options ${ARG_DEPENDS} ${ARG_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
endfunction()

# brambury_test(SOURCE LIBS...) builds and registers one Qt test program named after its source.
function(brambury_test SOURCE)
  get_filename_component(name ${SOURCE} NAME_WE)
  add_executable(${name} ${SOURCE})
  target_link_libraries(${name} PRIVATE Qt6::Test ${ARGN})
  target_compile_definitions(${name} PRIVATE
    BRAMBURY_SOURCE_DIR="${PROJECT_SOURCE_DIR}" BRAMBURY_BINARY_DIR="${PROJECT_BINARY_DIR}")
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;TZ=UTC;ASAN_OPTIONS=detect_leaks=0;no_proxy=*")
endfunction()
