# onnxruntime_vornic-run, the C example that is installed as a tool.

add_executable(onnxruntime_vornic_run "${PROJECT_SOURCE_DIR}/examples/c/run.c")
vornic_warnings(onnxruntime_vornic_run)
target_compile_definitions(onnxruntime_vornic_run PRIVATE
    "ONNXRUNTIME_VORNIC_VERSION=\"${PROJECT_VERSION}\"")
target_link_libraries(onnxruntime_vornic_run PRIVATE onnxruntime_vornic)
set_target_properties(onnxruntime_vornic_run PROPERTIES OUTPUT_NAME onnxruntime_vornic-run)
if(WIN32)
    target_link_options(onnxruntime_vornic_run PRIVATE -static -Wl,--no-insert-timestamp)
endif()
