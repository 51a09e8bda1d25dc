# What cpack makes: archives to unpack and run, and a package for Debian and its kin.

set(CPACK_PACKAGE_NAME onnxruntime_vornic)
set(CPACK_PACKAGE_VENDOR "onnxruntime_vornic contributors")
set(CPACK_PACKAGE_CONTACT "onnxruntime_vornic contributors <nobody@localhost>" CACHE STRING
    "Maintainer of the packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "ONNX Runtime inference through plain C functions")
set(CPACK_PACKAGE_DESCRIPTION "A shared library for callers in any language: tensors go in and
out as JSON or as arrays of floats. With its header, a tool, examples and an
ONNX Runtime of its own, which does not get in the way of the system's.")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME "onnxruntime_vornic-${PROJECT_VERSION}-windows-${architecture}")
else()
    set(CPACK_GENERATOR TGZ DEB)
    set(CPACK_PACKAGE_FILE_NAME "onnxruntime_vornic-${PROJECT_VERSION}-linux-${architecture}")
endif()

set(CPACK_DEBIAN_PACKAGE_NAME "${deb_name}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# The libraries needed, as dpkg-shlibdeps reads them off the files; two of them are in the package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(CMAKE_CROSSCOMPILING)
    # It would name the packages of this machine's cross compiler, and cpack this machine's
    # architecture. The tests compare the list with what the files need.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.34), libgcc-s1 (>= 4.0), libstdc++6 (>= 10.2)")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${architecture})
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${CMAKE_BINARY_DIR}" "${CMAKE_BINARY_DIR}/onnxruntime_stub")
# What other packages need when they link the library; the runtime is nobody else's to link.
file(CONFIGURE OUTPUT shlibs CONTENT
    "libonnxruntime_vornic ${PROJECT_VERSION_MAJOR} ${deb_name} (>= ${PROJECT_VERSION})\n")
file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${CMAKE_BINARY_DIR}/shlibs" "${CMAKE_BINARY_DIR}/triggers")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
