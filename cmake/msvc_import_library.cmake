# For Microsoft's linker: a list of the DLL's functions (.def), as the header declares them, and the import
# library (.lib) made from it.

find_program(VORNIC_LLVM_DLLTOOL NAMES llvm-dlltool-14 llvm-dlltool)
set(msvc_def "${CMAKE_BINARY_DIR}/onnxruntime_vornic.def")
set(msvc_lib "${CMAKE_BINARY_DIR}/onnxruntime_vornic.lib")

list(JOIN vornic_functions "\n    " functions)
file(CONFIGURE OUTPUT "${msvc_def}" CONTENT
    "LIBRARY onnxruntime_vornic.dll\nEXPORTS\n    ${functions}\n")
install(FILES "${msvc_def}" DESTINATION "${CMAKE_INSTALL_LIBDIR}")

if(VORNIC_LLVM_DLLTOOL)
    add_custom_command(OUTPUT "${msvc_lib}"
        COMMAND "${VORNIC_LLVM_DLLTOOL}" -m i386:x86-64 -d "${msvc_def}" -l "${msvc_lib}"
        DEPENDS "${msvc_def}"
        VERBATIM)
    add_custom_target(msvc_import_library ALL DEPENDS "${msvc_lib}")
    install(FILES "${msvc_lib}" DESTINATION "${CMAKE_INSTALL_LIBDIR}")
else()
    message(STATUS "No llvm-dlltool: skipping the import library for Microsoft's linker")
endif()
