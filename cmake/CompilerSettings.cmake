# Compiler settings shared by every target of the tree, and nothing that a consumer of the libraries would inherit.

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

# What is linked into a shared library shows only what is marked with KOVA_EXPORT.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(KovaCompilerSettings INTERFACE)
target_include_directories(KovaCompilerSettings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(KovaCompilerSettings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<BOOL:${KOVA_WARNINGS_AS_ERRORS}>:-Werror>)

# A host that links the libraries with -Wl,--gc-sections then holds only what it uses.
target_compile_options(KovaCompilerSettings INTERFACE $<$<NOT:$<CONFIG:Debug>>:-ffunction-sections -fdata-sections>)

if(KOVA_SANITIZE)
  target_compile_options(KovaCompilerSettings INTERFACE
    -fsanitize=${KOVA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(KovaCompilerSettings INTERFACE -fsanitize=${KOVA_SANITIZE})
endif()

# kova_library(NAME SOURCES … ) makes a static library whose headers, all files ending in .h, are verified to compile alone.
function(kova_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;PUBLIC;PRIVATE")
  add_library(${name} STATIC)
  set(headers ${arg_SOURCES})
  list(FILTER headers INCLUDE REGEX "\\.h$")
  list(FILTER arg_SOURCES EXCLUDE REGEX "\\.h$")
  target_sources(${name} PRIVATE ${arg_SOURCES})
  if(headers)
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
  endif()
  target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE $<BUILD_INTERFACE:KovaCompilerSettings> ${arg_PRIVATE})
endfunction()
