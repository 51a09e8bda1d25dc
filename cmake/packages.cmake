# packages.cmake in the build folder, which makes the packages:
#
#   cmake -DOUTPUT=FOLDER [-DEFFORT=1] [-DCONTACT="NAME <ADDRESS>" [-DNO_ARCHIVE=ON]] -P packages.cmake
#
# An archive to unpack and run, and two wheels for Python; with a contact, on Linux, four packages for Debian
# and its kin. The same build gives the same bytes where SOURCE_DATE_EPOCH is the same.

if(WIN32)
    set(archive_name "onnxruntime_vornic-${PROJECT_VERSION}-windows-${architecture}")
else()
    set(archive_name "onnxruntime_vornic-${PROJECT_VERSION}-linux-${architecture}")
endif()
set(deb_version "${PROJECT_VERSION}-1")
set(deb_library "lib${deb_name}${PROJECT_VERSION_MAJOR}")
set(deb_development "lib${deb_name}-dev")
set(deb_tools "${deb_name}-tools")
set(deb_python "python3-${deb_name}")
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
# What debhelper's Python add-on would write.
file(CONFIGURE OUTPUT debian/postinst.python @ONLY CONTENT [[#!/bin/sh
set -e
if command -v py3compile >/dev/null; then
    py3compile -p @deb_python@
fi
]])
file(CONFIGURE OUTPUT debian/prerm.python @ONLY CONTENT [[#!/bin/sh
set -e
if command -v py3clean >/dev/null; then
    py3clean -p @deb_python@
else
    find /usr/lib/python3/dist-packages/onnxruntime_vornic -name __pycache__ -prune -exec rm -r {} +
fi
]])

set(library_licences "${PROJECT_SOURCE_DIR}/LICENSE")
if(MINGW)
    list(APPEND library_licences /usr/share/doc/mingw-w64-common/copyright)
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/packages.cmake.in" packages.cmake @ONLY)
