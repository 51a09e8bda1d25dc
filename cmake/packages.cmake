# packages.json in the build folder: what cmake/package.py needs to know about the build.

set(licences "${PROJECT_SOURCE_DIR}/LICENSE")
if(MINGW)
    list(APPEND licences /usr/share/doc/mingw-w64-common/copyright)
endif()
string(TOLOWER "${CMAKE_SYSTEM_NAME}" system)
string(TOLOWER "${CMAKE_CROSSCOMPILING}" cross)
file(CONFIGURE OUTPUT packages.json @ONLY CONTENT [[{
    "folder": "@CMAKE_BINARY_DIR@",
    "version": "@PROJECT_VERSION@",
    "system": "@system@",
    "architecture": "@architecture@",
    "cross": @cross@,
    "readelf": "@CMAKE_READELF@",
    "library": "@library_folder@/@vornic_file@",
    "runtime": "@runtime_folder@/@runtime_name@",
    "licences": "@licences@",
    "runtime_licences": "@ONNXRUNTIME_LICENCES_NAMED@"
}
]])
