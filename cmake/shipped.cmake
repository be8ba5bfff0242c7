# How a program that ships is compiled and linked. A program takes both libraries, a library of its
# parts only launcher_hardening:
#
#   launcher_hardening        protections that distributions build their programs with, each where
#                             the compiler has it; no path of the build gets inside
#   launcher_self_contained   the C++ and compiler libraries inside the program: where it runs nobody
#                             has installed them. A build without the static ones fails.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

add_library(launcher_hardening INTERFACE)
add_library(launcher_self_contained INTERFACE)

# Sanitizers, fuzzers and counters have libraries and checks of their own, which these would disturb.
if(LAUNCHER_SANITIZE OR LAUNCHER_FUZZ OR LAUNCHER_COVERAGE)
  return()
endif()

check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Some systems have the flag but not what the protected code calls.
set(CMAKE_REQUIRED_FLAGS -fstack-protector-strong)
check_cxx_source_compiles("
  int main(int count, char** words) { char text[64]; return text[count] = words[0][0]; }"
  LAUNCHER_HAS_STACK_PROTECTOR)
unset(CMAKE_REQUIRED_FLAGS)
if(LAUNCHER_HAS_STACK_PROTECTOR)
  target_compile_options(launcher_hardening INTERFACE -fstack-protector-strong)
endif()

foreach(flag IN ITEMS -fstack-clash-protection -fcf-protection -ffile-prefix-map=a=b)
  string(MAKE_C_IDENTIFIER "LAUNCHER_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
endforeach()
if(LAUNCHER_HAS_fstack_clash_protection)
  target_compile_options(launcher_hardening INTERFACE -fstack-clash-protection)
endif()
if(LAUNCHER_HAS_fcf_protection)
  target_compile_options(launcher_hardening INTERFACE -fcf-protection)
endif()
if(LAUNCHER_HAS_ffile_prefix_map_a_b)
  target_compile_options(launcher_hardening INTERFACE
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)
endif()
# It needs an optimiser; some compilers have set it to a level of their own.
target_compile_options(launcher_hardening INTERFACE
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=2>)

foreach(word IN ITEMS relro now noexecstack)
  check_linker_flag(CXX -Wl,-z,${word} LAUNCHER_HAS_z_${word})
  if(LAUNCHER_HAS_z_${word})
    target_link_options(launcher_hardening INTERFACE -Wl,-z,${word})
  endif()
endforeach()

target_link_options(launcher_self_contained INTERFACE -static-libgcc -static-libstdc++)
