# Install rules. All paths are relative to the prefix, so that the tree can be moved. The components are
# library, development, tools and python.

include(CMakePackageConfigHelpers)
set(deb_name onnxruntime-vornic)  # Debian allows no underscore
if(NOT CMAKE_INSTALL_DOCDIR)
    set(CMAKE_INSTALL_DOCDIR "share/doc/${deb_name}")
endif()
include(GNUInstallDirs)

option(VORNIC_INSTALL_RUNTIME
    "Install ONNX Runtime too: on Linux in a private folder, where only this library finds it" ON)

# The private folder comes first: its parent may be a system folder with another ONNX Runtime.
set(private_folder onnxruntime_vornic)
set_target_properties(onnxruntime_vornic PROPERTIES
    INSTALL_RPATH "$ORIGIN/${private_folder};$ORIGIN")

install(TARGETS onnxruntime_vornic EXPORT onnxruntime_vornic
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(FILES "${PROJECT_SOURCE_DIR}/include/onnxruntime_vornic.h"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
if(WIN32)
    set(vornic_file onnxruntime_vornic.dll)
    set(library_folder "${CMAKE_INSTALL_BINDIR}")
    set(runtime_folder "${library_folder}")
    include(msvc_import_library)
else()
    set(vornic_file libonnxruntime_vornic.so.${PROJECT_VERSION_MAJOR})
    set(library_folder "${CMAKE_INSTALL_LIBDIR}")
    set(runtime_folder "${library_folder}/${private_folder}")
endif()
# Next to the library, where programs that load it by path find it.
install(FILES "${CMAKE_BINARY_DIR}/onnxruntime_vornic.cdef" DESTINATION "${library_folder}")
if(VORNIC_INSTALL_RUNTIME)
    file(REAL_PATH "${ONNXRUNTIME_LIBRARY}" runtime_file)
    install(FILES "${runtime_file}" RENAME "${runtime_name}" DESTINATION "${runtime_folder}"
        COMPONENT library)
endif()

# find_package(onnxruntime_vornic CONFIG)
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/onnxruntime_vornic")
set(package_config "${CMAKE_BINARY_DIR}/onnxruntime_vornic-config.cmake")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/package_config.cmake.in" "${package_config}"
    INSTALL_DESTINATION "${package_folder}" PATH_VARS CMAKE_INSTALL_LIBDIR
    NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
set(package_version "${CMAKE_BINARY_DIR}/onnxruntime_vornic-config-version.cmake")
write_basic_package_version_file("${package_version}" COMPATIBILITY SameMajorVersion)
install(FILES "${package_config}" "${package_version}" DESTINATION "${package_folder}")
install(EXPORT onnxruntime_vornic NAMESPACE onnxruntime_vornic::
    FILE onnxruntime_vornic-targets.cmake DESTINATION "${package_folder}")
add_library(onnxruntime_vornic::onnxruntime_vornic ALIAS onnxruntime_vornic)

# pkg-config onnxruntime_vornic
file(RELATIVE_PATH to_prefix
    "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
set(pc_libdir "\${prefix}")
cmake_path(APPEND pc_libdir "${CMAKE_INSTALL_LIBDIR}")  # keeps an absolute folder
set(pc_includedir "\${prefix}")
cmake_path(APPEND pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/onnxruntime_vornic.pc.in" onnxruntime_vornic.pc @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/onnxruntime_vornic.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# Documents and examples.
install(FILES LICENSE README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs examples DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    PATTERN __pycache__ EXCLUDE PATTERN Doxyfile EXCLUDE PATTERN "*.sed" EXCLUDE)
install(FILES modules/node/README.md DESTINATION "${CMAKE_INSTALL_DOCDIR}/modules/node")
# The Python module, where the examples look for it.
install(DIRECTORY modules/python/onnxruntime_vornic
    DESTINATION "${CMAKE_INSTALL_DOCDIR}/modules/python" COMPONENT python PATTERN __pycache__ EXCLUDE)

# For authors of bindings: a script of calls with the expected results, and the models it uses.
install(DIRECTORY tests/script DESTINATION "${CMAKE_INSTALL_DOCDIR}/tests")
install(FILES tests/play.py tests/caller.cpp DESTINATION "${CMAKE_INSTALL_DOCDIR}/tests")
install(FILES tests/support/make_models.py DESTINATION "${CMAKE_INSTALL_DOCDIR}/tests/support")

# The licences of everything that is installed, in one file, and the texts that it refers to.
file(READ LICENSE library_licence)
set(runtime_licences "")
if(VORNIC_INSTALL_RUNTIME)
    set(runtime_licences "ONNX Runtime ${ONNXRUNTIME_RELEASE}\n============\n\n${ONNXRUNTIME_LICENCES_ARE}\n\n")
    foreach(licences IN LISTS ONNXRUNTIME_LICENCES)
        if(EXISTS "${licences}")
            file(READ "${licences}" text)
            string(APPEND runtime_licences "${text}\n")
        else()
            message(WARNING "${licences} is missing: packages lack ONNX Runtime's licences")
        endif()
    endforeach()
    install(FILES ${ONNXRUNTIME_LICENCES_NAMED} DESTINATION "${CMAKE_INSTALL_DOCDIR}/licences"
        OPTIONAL)
endif()
if(MINGW)
    # Part of its C runtime is linked in.
    install(FILES /usr/share/doc/mingw-w64-common/copyright RENAME MinGW-w64
        DESTINATION "${CMAKE_INSTALL_DOCDIR}/licences" OPTIONAL)
endif()
file(CONFIGURE OUTPUT copyright @ONLY CONTENT
    "onnxruntime_vornic\n==================\n\n@library_licence@\n@runtime_licences@")
install(FILES "${CMAKE_BINARY_DIR}/copyright" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
