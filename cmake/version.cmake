# Reads the header into the variable header, checks that its version is the project's, and sets
# vornic_functions, its functions in alphabetical order.

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/include/onnxruntime_vornic.h")
file(READ "${PROJECT_SOURCE_DIR}/include/onnxruntime_vornic.h" header)
foreach(pair IN ITEMS "=\"${PROJECT_VERSION}\"" _MAJOR=${PROJECT_VERSION_MAJOR}
        _MINOR=${PROJECT_VERSION_MINOR} _PATCH=${PROJECT_VERSION_PATCH})
    string(REPLACE "=" " " line "#define ONNXRUNTIME_VORNIC_VERSION${pair}")
    if(NOT header MATCHES "\n${line}\n")
        message(FATAL_ERROR "onnxruntime_vornic.h lacks '${line}'")
    endif()
endforeach()

string(REGEX MATCHALL "onnxruntime_vn_[a-z0-9_]+\\(" vornic_functions "${header}")
list(TRANSFORM vornic_functions REPLACE "\\(" "")
list(SORT vornic_functions)
list(REMOVE_DUPLICATES vornic_functions)

# vornic_version_resource(TARGET FILE TYPE DESCRIPTION): what Windows shows in a file's properties.
function(vornic_version_resource target file type description)
    if(WIN32)
        enable_language(RC)
        set(resource "${CMAKE_BINARY_DIR}/${target}.rc")
        configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${resource}" @ONLY)
        target_sources(${target} PRIVATE "${resource}")
    endif()
endfunction()
