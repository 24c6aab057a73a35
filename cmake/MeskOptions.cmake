# What a build can be told, and what every target of the project is compiled with.
option(MESK_TESTS "build the tests and examples" ON)
option(MESK_BENCH "build the benchmarks" OFF)
option(MESK_FUZZ "build the fuzz targets, with clang" OFF)
option(MESK_WERROR "treat warnings as errors" OFF)
set(MESK_SANITIZE "" CACHE STRING "sanitizers, as -fsanitize= takes them")
option(MESK_COVERAGE "count executed lines and branches" OFF)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE}")
endif()

add_library(mesk_options INTERFACE)
target_compile_options(mesk_options INTERFACE -Wall -Wextra -Wconversion -Wshadow -Wnon-virtual-dtor)
if(MESK_WERROR)
  target_compile_options(mesk_options INTERFACE -Werror)
endif()
if(MESK_SANITIZE)
  # Texts that the library hands out are deleted by whoever got them, who does not know how long they are.
  target_compile_options(mesk_options INTERFACE -fsanitize=${MESK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined -fno-sized-deallocation)
  target_link_options(mesk_options INTERFACE -fsanitize=${MESK_SANITIZE})
endif()

# What the library and the platform are compiled with beside that: tests are not counted.
add_library(mesk_counted INTERFACE)
if(MESK_COVERAGE)
  # Several threads count.
  target_compile_options(mesk_counted INTERFACE --coverage -fprofile-abs-path -fprofile-update=atomic)
  target_link_options(mesk_options INTERFACE --coverage)
endif()
