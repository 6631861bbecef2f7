# How every target of the project is compiled, and how a library is made of its objects.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_compile_options(-Wall -Wextra -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  add_compile_options(-Wthread-safety -Wthread-safety-beta)
endif()
if(TNX_SANITIZE)
  add_compile_options(-fsanitize=${TNX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TNX_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Instrumented code makes GCC warn about its own standard library.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

# tnx_library(NAME VERSION_SCRIPT FILE): an OBJECT library NAME_objects, which folders add their
# sources to and tests link, and the shared library NAME made of it.
function(tnx_library name)
  cmake_parse_arguments(ARG "" "VERSION_SCRIPT" "" ${ARGN})
  add_library(${name}_objects OBJECT)
  add_library(${name} SHARED)
  target_sources(${name} PRIVATE $<TARGET_OBJECTS:${name}_objects>)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    LINKER_LANGUAGE CXX LINK_DEPENDS ${ARG_VERSION_SCRIPT})
  # Bound at once: binding on first use spills the registers, with what they hold, to the stack.
  target_link_options(${name} PRIVATE
    LINKER:--version-script=${ARG_VERSION_SCRIPT},-z,relro,-z,now)
  if(NOT TNX_SANITIZE)
    target_link_options(${name} PRIVATE LINKER:--no-undefined)
  endif()
endfunction()
