# The native clang toolchain of the fuzzing build (libFuzzer comes with clang).
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
