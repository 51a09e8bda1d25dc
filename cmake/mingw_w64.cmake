# Toolchain: Windows x64 from Linux.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The variant whose C++ library has std::thread, which the tests need.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Links the compiler's libraries statically.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

# Lets ctest run the built programs.
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
