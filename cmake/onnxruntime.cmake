# ONNX Runtime: its C header, its library, and what to link its one imported function against.

set(ONNXRUNTIME_ROOT "$ENV{ONNXRUNTIME_ROOT}" CACHE PATH
    "Folder of an official ONNX Runtime release archive (include/ and lib/); \
empty for what scripts/prepare has fetched")

if(WIN32)
    set(runtime_name onnxruntime.dll)
    set(fetched_folder win-${architecture})
else()
    set(runtime_name libonnxruntime.so.1)
    set(fetched_folder linux-${architecture})
endif()

if(ONNXRUNTIME_ROOT)
    set(ONNXRUNTIME_INCLUDE_DIR "${ONNXRUNTIME_ROOT}/include")
    set(ONNXRUNTIME_LIBRARY "${ONNXRUNTIME_ROOT}/lib/${runtime_name}")
    set(ONNXRUNTIME_LICENCES
        "${ONNXRUNTIME_ROOT}/LICENSE" "${ONNXRUNTIME_ROOT}/ThirdPartyNotices.txt")
    set(ONNXRUNTIME_LICENCES_ARE "Its own notices, from the release archive, follow.")
    if(EXISTS "${ONNXRUNTIME_ROOT}/VERSION_NUMBER")
        file(STRINGS "${ONNXRUNTIME_ROOT}/VERSION_NUMBER" ONNXRUNTIME_RELEASE)
    endif()
else()
    set(ONNXRUNTIME_INCLUDE_DIR "${PROJECT_SOURCE_DIR}/.deps/onnxruntime/include")
    set(ONNXRUNTIME_LIBRARY
        "${PROJECT_SOURCE_DIR}/.deps/onnxruntime/${fetched_folder}/${runtime_name}")
    # Debian's list of licences, and the texts of those that the list only names.
    set(ONNXRUNTIME_LICENCES "${PROJECT_SOURCE_DIR}/.deps/onnxruntime/copyright")
    set(ONNXRUNTIME_LICENCES_NAMED
        /usr/share/common-licenses/Apache-2.0 /usr/share/common-licenses/MPL-2.0)
    file(READ "${PROJECT_SOURCE_DIR}/third_party/npm/package.json" manifest)
    string(JSON ONNXRUNTIME_RELEASE GET "${manifest}" dependencies onnxruntime-node)
    set(ONNXRUNTIME_LICENCES_ARE "ONNX Runtime is under the MIT licence, according to the npm package \
that it comes from, onnxruntime-node\n${ONNXRUNTIME_RELEASE}, which contains no notices. Parts of it have \
other licences. Debian's list of them, made for release\n1.21, follows; the texts of licences that it only \
names are in the folder licences or, on Debian, in\n/usr/share/common-licenses. The authoritative list is \
ThirdPartyNotices.txt in the release archive of ${ONNXRUNTIME_RELEASE}.")
endif()
foreach(needed "${ONNXRUNTIME_INCLUDE_DIR}/onnxruntime_c_api.h" "${ONNXRUNTIME_LIBRARY}")
    if(NOT EXISTS "${needed}")
        message(FATAL_ERROR "${needed} is missing: run scripts/prepare, or set ONNXRUNTIME_ROOT")
    endif()
endforeach()

add_library(onnxruntime_header INTERFACE)
target_include_directories(onnxruntime_header SYSTEM INTERFACE "${ONNXRUNTIME_INCLUDE_DIR}")
if(MINGW)
    # An annotation that MinGW's sal.h lacks.
    target_compile_options(onnxruntime_header INTERFACE "-D_Return_type_success_(condition)=")
endif()

# onnxruntime_entry: the target that the library links for OrtGetApiBase.
add_library(onnxruntime_entry INTERFACE)
if(WIN32)
    # A delay-loaded import: the library chooses the runtime at the first call.
    set(import_folder "${CMAKE_BINARY_DIR}/onnxruntime_delayed")
    set(import_library "${import_folder}/libonnxruntime_delayed.a")
    file(MAKE_DIRECTORY "${import_folder}")
    # Run in the folder, because dlltool names its symbols after the output path.
    add_custom_command(OUTPUT "${import_library}"
        COMMAND "${CMAKE_DLLTOOL}" --input-def "${CMAKE_CURRENT_LIST_DIR}/onnxruntime.def"
            --output-delaylib libonnxruntime_delayed.a
        WORKING_DIRECTORY "${import_folder}"
        DEPENDS "${CMAKE_CURRENT_LIST_DIR}/onnxruntime.def"
        VERBATIM)
    add_custom_target(onnxruntime_import DEPENDS "${import_library}")
    add_dependencies(onnxruntime_entry onnxruntime_import)
    target_link_libraries(onnxruntime_entry INTERFACE "${import_library}")
else()
    # The official library's symbols carry the version of its release: linked against it, this library
    # would work with no other release. Linked against this stub, it works with all.
    add_library(onnxruntime_stub SHARED "${CMAKE_CURRENT_LIST_DIR}/onnxruntime_stub.c")
    target_compile_options(onnxruntime_stub PRIVATE -fno-sanitize=all)
    target_link_options(onnxruntime_stub PRIVATE -nostdlib -fno-sanitize=all)
    set_target_properties(onnxruntime_stub PROPERTIES
        OUTPUT_NAME onnxruntime
        SOVERSION 1
        LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/onnxruntime_stub")
    target_link_libraries(onnxruntime_entry INTERFACE onnxruntime_stub)
endif()

# The runtime next to the built library, as when deployed.
file(CREATE_LINK "${ONNXRUNTIME_LIBRARY}" "${CMAKE_BINARY_DIR}/${runtime_name}"
     COPY_ON_ERROR SYMBOLIC)
