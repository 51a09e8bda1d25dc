# The library, onnxruntime_vornic.

file(GLOB vornic_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/*/*.cpp")
if(WIN32)
    list(FILTER vornic_sources EXCLUDE REGEX "_posix\\.cpp$")
else()
    list(FILTER vornic_sources EXCLUDE REGEX "_windows\\.cpp$")
endif()
# Code that accesses a processor's registers is in one source file per processor; code that uses its vector
# instructions is in one folder of headers per processor.
if(architecture STREQUAL x64)
    list(FILTER vornic_sources EXCLUDE REGEX "_arm64\\.cpp$")
else()
    list(FILTER vornic_sources EXCLUDE REGEX "_x64\\.cpp$")
endif()
set(vornic_entry_sources ${vornic_sources})
list(FILTER vornic_entry_sources INCLUDE REGEX "/core/runtime_entry_")
list(FILTER vornic_sources EXCLUDE REGEX "/core/runtime_entry_")

# Parts that tests and benchmarks also use on their own, without ONNX Runtime: the number kernels, and
# reading arrays of numbers.
function(vornic_part name)
    add_library(${name} OBJECT ${ARGN})
    vornic_library_options(${name})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/include"
        "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/src/number/${architecture}")
endfunction()
set(vornic_number_sources ${vornic_sources})
list(FILTER vornic_number_sources INCLUDE REGEX "/src/number/")
set(vornic_array_sources ${vornic_sources})
list(FILTER vornic_array_sources INCLUDE REGEX
    "/src/(core/last_error|json/array_reader|json/number_block|json/scan)\\.cpp$")
set(vornic_other_sources ${vornic_sources})
list(REMOVE_ITEM vornic_other_sources ${vornic_number_sources} ${vornic_array_sources})
vornic_part(vornic_number ${vornic_number_sources})
vornic_part(vornic_arrays ${vornic_array_sources})
target_link_libraries(vornic_arrays PUBLIC vornic_number INTERFACE $<TARGET_OBJECTS:vornic_number>)

# Everything except the lookup of the runtime, so that the tests can substitute a function table.
vornic_part(vornic_objects ${vornic_other_sources})
target_link_libraries(vornic_objects PUBLIC onnxruntime_header
    INTERFACE $<TARGET_OBJECTS:vornic_number> $<TARGET_OBJECTS:vornic_arrays>)

add_library(onnxruntime_vornic SHARED ${vornic_entry_sources})
vornic_library_options(onnxruntime_vornic)
target_include_directories(onnxruntime_vornic INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>")
target_link_libraries(onnxruntime_vornic PRIVATE vornic_objects onnxruntime_entry)
set_target_properties(onnxruntime_vornic PROPERTIES LINKER_LANGUAGE C)
# Otherwise CMake would link the C++ runtime, because the objects are C++.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
target_link_options(onnxruntime_vornic PRIVATE -Wl,--gc-sections)
vornic_version_resource(onnxruntime_vornic onnxruntime_vornic.dll VFT_DLL
    "ONNX Runtime inference through plain C functions")
if(WIN32)
    set_target_properties(onnxruntime_vornic PROPERTIES PREFIX "")
    # -static: no dependencies on the compiler's libraries. Without a timestamp the same sources give the
    # same bytes.
    target_link_options(onnxruntime_vornic PRIVATE -static -static-libgcc -Wl,--no-insert-timestamp)
else()
    set_target_properties(onnxruntime_vornic PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    target_link_options(onnxruntime_vornic PRIVATE -Wl,--as-needed)
    if(NOT VORNIC_SANITIZERS)
        # The sanitizers' functions come from the program.
        target_link_options(onnxruntime_vornic PRIVATE -Wl,--no-undefined)
    endif()
endif()
