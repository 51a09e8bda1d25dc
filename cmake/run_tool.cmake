# onnxruntime_vornic-run, the C example that is installed as a tool.

file(GLOB run_sources "${PROJECT_SOURCE_DIR}/examples/c/run*.c")
add_executable(onnxruntime_vornic_run ${run_sources})
vornic_warnings(onnxruntime_vornic_run)
target_link_libraries(onnxruntime_vornic_run PRIVATE onnxruntime_vornic)
set_target_properties(onnxruntime_vornic_run PROPERTIES OUTPUT_NAME onnxruntime_vornic-run)
vornic_version_resource(onnxruntime_vornic_run onnxruntime_vornic-run.exe VFT_APP
    "Describes, runs and times models")
if(WIN32)
    target_link_options(onnxruntime_vornic_run PRIVATE -static -Wl,--no-insert-timestamp)
endif()
