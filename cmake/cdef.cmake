# onnxruntime_vornic.cdef: the header's types and functions, one per line, without comments and
# preprocessor directives, for foreign-function interfaces that parse C.

string(REGEX REPLACE "/\\*[^*]*\\*+([^/*][^*]*\\*+)*/" "" cdef "${header}")
string(REGEX REPLACE "^.*extern \"C\" {[\n]#endif" "" cdef "${cdef}")
string(REGEX REPLACE "#ifdef __cplusplus.*" "" cdef "${cdef}")
string(REGEX REPLACE "ONNXRUNTIME_VN_API\\(([^)]*)\\)" "\\1" cdef "${cdef}")
string(REGEX REPLACE "[ \n]+" " " cdef "${cdef}")
string(REGEX REPLACE "; " ";\n" cdef "${cdef}")
string(STRIP "${cdef}" cdef)
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/onnxruntime_vornic.cdef" CONTENT "@cdef@\n" @ONLY)
