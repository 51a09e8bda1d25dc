# Toolchain: Clang 14, or the default version.
find_program(CMAKE_C_COMPILER NAMES clang-14 clang REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES clang++-14 clang++ REQUIRED)
