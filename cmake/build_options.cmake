# Language, warnings and sanitizers for everything that this project compiles.

set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
# The GNU dialect: strict C++20 lacks _stdcall, which ONNX Runtime's header uses on Windows.
set(CMAKE_CXX_EXTENSIONS ON)

# All outputs go into one folder, so that the library finds its runtime as it does when deployed.
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN")

# Keeps build paths out of the binaries, apart from debug information.
add_compile_options("-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=")

option(VORNIC_SANITIZERS "Build with the address, undefined-behaviour and leak sanitizers (Clang)" OFF)
if(VORNIC_SANITIZERS)
    # The function and vptr checks need a C++ runtime, which callers written in C do not link. ONNX
    # Runtime's enums are C enums: a caller's number is passed on unchanged, and ONNX Runtime rejects it.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize=enum,function,vptr
                        -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

# Hardening as in Linux distributions. MinGW would need another library for it.
if(NOT WIN32 AND NOT VORNIC_SANITIZERS)
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
    add_compile_options("$<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    add_link_options(-Wl,-z,relro,-z,now)
endif()

# Warnings for the project's targets. Any warning is an error.
function(vornic_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Werror
        -Wcast-align -Wcast-qual -Wconversion -Wformat=2 -Wshadow -Wsign-conversion -Wundef
        # MinGW has two printfs, and this name selects one; Clang has a single one.
        $<$<CXX_COMPILER_ID:Clang>:-Dgnu_printf=printf>
        $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>
        $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual>)
endfunction()

# The library is linked as C without the C++ runtime, does nothing when it is loaded, and runs on its
# callers' stacks, which may be small.
function(vornic_library_options target)
    vornic_warnings(${target})
    target_compile_definitions(${target} PRIVATE ONNXRUNTIME_VORNIC_BUILD)
    target_compile_options(${target} PRIVATE
        -ffunction-sections -fdata-sections -fvisibility=hidden -Wframe-larger-than=32768
        $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()
