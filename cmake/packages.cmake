# packages.cmake in the build folder, which makes the packages:
#
#   cmake -DOUTPUT=FOLDER [-DEFFORT=1] [-DCONTACT="NAME <ADDRESS>" [-DNO_ARCHIVE=ON]] -P packages.cmake
#
# An archive to unpack and run; with a contact, on Linux, three packages for Debian and its kin. The same
# build gives the same bytes where SOURCE_DATE_EPOCH is the same.

if(WIN32)
    set(archive_name "onnxruntime_vornic-${PROJECT_VERSION}-windows-${architecture}")
else()
    set(archive_name "onnxruntime_vornic-${PROJECT_VERSION}-linux-${architecture}")
endif()
set(deb_version "${PROJECT_VERSION}-1")
set(deb_library "lib${deb_name}${PROJECT_VERSION_MAJOR}")
set(deb_development "lib${deb_name}-dev")
set(deb_tools "${deb_name}-tools")
set(deb_architecture amd64)
if(architecture STREQUAL arm64)
    set(deb_architecture arm64)
endif()

# What other packages need when they link the library; the runtime is nobody else's to link.
file(CONFIGURE OUTPUT debian/shlibs CONTENT
    "libonnxruntime_vornic ${PROJECT_VERSION_MAJOR} ${deb_library} (>= ${PROJECT_VERSION})\n")
list(TRANSFORM vornic_functions PREPEND " " OUTPUT_VARIABLE symbols)
list(TRANSFORM symbols APPEND "@Base ${PROJECT_VERSION}")
list(JOIN symbols "\n" symbols)
file(CONFIGURE OUTPUT debian/symbols CONTENT
    "libonnxruntime_vornic.so.${PROJECT_VERSION_MAJOR} ${deb_library} #MINVER#\n* Build-Depends-Package: ${deb_development}\n${symbols}\n")
file(CONFIGURE OUTPUT debian/triggers CONTENT "activate-noawait ldconfig\n")
# Python's own, of the examples that root has run, which dpkg does not know of. Where the system is set to
# leave out documents there is no folder.
file(CONFIGURE OUTPUT debian/prerm @ONLY CONTENT [[#!/bin/sh
set -e
folder=/usr/share/doc/@deb_name@
if [ -d "$folder" ]; then
    find "$folder" -type d -name __pycache__ -prune -exec rm -r {} +
fi
]])
configure_file("${CMAKE_CURRENT_LIST_DIR}/packages.cmake.in" packages.cmake @ONLY)
