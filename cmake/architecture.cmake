# The target processor, as folders, files and packages name it.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    set(architecture x64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64|ARM64)$")
    set(architecture arm64)
else()
    message(FATAL_ERROR "${CMAKE_SYSTEM_PROCESSOR}: this library is for x64 and arm64")
endif()
