# double.onnx, the documentation's example model, which adds its input to itself, for the packages.

find_program(VORNIC_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
execute_process(COMMAND "${VORNIC_PYTHON}" -c "import onnx" RESULT_VARIABLE no_onnx OUTPUT_QUIET ERROR_QUIET)
if(no_onnx)
    message(STATUS "No Python module onnx: double.onnx is not installed")
else()
    set(example_model "${CMAKE_BINARY_DIR}/example/double.onnx")
    set(make_models "${PROJECT_SOURCE_DIR}/tests/support/make_models.py")
    add_custom_command(OUTPUT "${example_model}"
        COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_BINARY_DIR}/example"
        COMMAND "${VORNIC_PYTHON}" "${make_models}" "${CMAKE_BINARY_DIR}/example" double
        DEPENDS "${make_models}"
        VERBATIM)
    add_custom_target(vornic_example_model ALL DEPENDS "${example_model}")
    install(FILES "${example_model}" DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples")
endif()
