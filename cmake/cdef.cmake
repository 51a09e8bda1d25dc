# onnxruntime_vornic.cdef: the header's types and functions, one per line, without comments and
# preprocessor directives, for foreign-function interfaces that parse C.

set(cdef_header "${PROJECT_SOURCE_DIR}/include/onnxruntime_vornic.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${cdef_header}")
file(READ "${cdef_header}" cdef)
string(REGEX REPLACE "/\\*[^*]*\\*+([^/*][^*]*\\*+)*/" "" cdef "${cdef}")
string(REGEX REPLACE "^.*extern \"C\" {[\n]#endif" "" cdef "${cdef}")
string(REGEX REPLACE "#ifdef __cplusplus.*" "" cdef "${cdef}")
string(REGEX REPLACE "ONNXRUNTIME_VN_API\\(([^)]*)\\)" "\\1" cdef "${cdef}")
string(REGEX REPLACE "[ \n]+" " " cdef "${cdef}")
string(REGEX REPLACE "; " ";\n" cdef "${cdef}")
string(STRIP "${cdef}" cdef)
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/onnxruntime_vornic.cdef" CONTENT "@cdef@\n" @ONLY)
