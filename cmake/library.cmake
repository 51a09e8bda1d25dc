# The library, onnxruntime_vornic.

file(GLOB vornic_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/*/*.cpp")
if(WIN32)
    list(FILTER vornic_sources EXCLUDE REGEX "_posix\\.cpp$")
else()
    list(FILTER vornic_sources EXCLUDE REGEX "_windows\\.cpp$")
endif()
# What uses the processor's own registers has a source a processor; what uses its instructions, a
# folder of headers.
if(architecture STREQUAL x64)
    list(FILTER vornic_sources EXCLUDE REGEX "_arm64\\.cpp$")
else()
    list(FILTER vornic_sources EXCLUDE REGEX "_x64\\.cpp$")
endif()
set(vornic_entry_sources ${vornic_sources})
list(FILTER vornic_entry_sources INCLUDE REGEX "/core/runtime_entry_")
list(FILTER vornic_sources EXCLUDE REGEX "/core/runtime_entry_")

# Everything but the way to the runtime, so that the tests can put a table of their own there.
add_library(vornic_objects OBJECT ${vornic_sources})
vornic_library_options(vornic_objects)
target_include_directories(vornic_objects PUBLIC "${PROJECT_SOURCE_DIR}/include"
    "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/src/json/${architecture}")
target_link_libraries(vornic_objects PUBLIC onnxruntime_header)

add_library(onnxruntime_vornic SHARED ${vornic_entry_sources})
vornic_library_options(onnxruntime_vornic)
target_include_directories(onnxruntime_vornic INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>")
target_link_libraries(onnxruntime_vornic PRIVATE vornic_objects onnxruntime_entry)
set_target_properties(onnxruntime_vornic PROPERTIES LINKER_LANGUAGE C)
# CMake would add the C++ runtime for the sake of the objects' language.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
target_link_options(onnxruntime_vornic PRIVATE -Wl,--gc-sections)
vornic_version_resource(onnxruntime_vornic onnxruntime_vornic.dll VFT_DLL
    "ONNX Runtime inference through plain C functions")
if(WIN32)
    set_target_properties(onnxruntime_vornic PROPERTIES PREFIX "")
    # -static: the compiler's own libraries become no dependency. The time of the build is left out
    # so that the same sources give the same bytes.
    target_link_options(onnxruntime_vornic PRIVATE -static -static-libgcc -Wl,--no-insert-timestamp)
else()
    set_target_properties(onnxruntime_vornic PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    target_link_options(onnxruntime_vornic PRIVATE -Wl,--as-needed)
    if(NOT VORNIC_SANITIZERS)
        # The checkers' own functions come from the program.
        target_link_options(onnxruntime_vornic PRIVATE -Wl,--no-undefined)
    endif()
endif()
