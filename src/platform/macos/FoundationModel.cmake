# quillet_foundation_model: the system's language model, which speaks Swift only and which only tools of its own year know.
#
# Swift is not a language of this project: CMake would then link every program with the Swift compiler, which takes other
# options than clang. The one file is compiled by hand, and what it needs is passed on to whoever links it.
option(QUILLET_ON_DEVICE_MODEL "Fail where the system's language model cannot be built in, instead of leaving it out" OFF)

set(architecture "${CMAKE_OSX_ARCHITECTURES}")
if(NOT architecture)
    set(architecture "${CMAKE_SYSTEM_PROCESSOR}")
endif()
set(sdk "${CMAKE_OSX_SYSROOT}")
if(NOT IS_DIRECTORY "${sdk}") # a name, or left to the compiler
    execute_process(COMMAND xcrun --sdk macosx --show-sdk-path OUTPUT_VARIABLE sdk OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(swiftc xcrun swiftc -sdk "${sdk}" -target "${architecture}-apple-macosx${CMAKE_OSX_DEPLOYMENT_TARGET}")

list(LENGTH architecture architectures)
if(architectures GREATER 1)
    set(missing "it is built for one architecture at a time, not for ${architecture}")
else()
    set(probe "${CMAKE_CURRENT_BINARY_DIR}/probe.swift")
    file(WRITE "${probe}" "import FoundationModels\n")
    execute_process(COMMAND ${swiftc} -typecheck "${probe}" RESULT_VARIABLE missing OUTPUT_QUIET ERROR_VARIABLE reason)
    if(missing)
        string(STRIP "these tools do not know it: ${reason}" missing)
    endif()
endif()

if(NOT missing)
    message(STATUS "On-device language model: built in")
    set(source "${CMAKE_CURRENT_SOURCE_DIR}/FoundationModel.swift")
    set(calls "${PROJECT_SOURCE_DIR}/src/platform/apple/FoundationModelCalls.h")
    set(object "${CMAKE_CURRENT_BINARY_DIR}/FoundationModel.o")
    add_custom_command(OUTPUT "${object}"
        COMMAND ${swiftc} -c -parse-as-library -O -module-name QuilletFoundationModel -import-objc-header "${calls}"
            -o "${object}" "${source}"
        DEPENDS "${source}" "${calls}"
        COMMENT "Building Swift object FoundationModel.o"
        VERBATIM)
    add_library(quillet_foundation_model STATIC "${object}")
    set_target_properties(quillet_foundation_model PROPERTIES LINKER_LANGUAGE CXX)
    # The object itself asks for the libraries of Swift's run time, which belong to the system; here is where to find them.
    target_link_options(quillet_foundation_model INTERFACE
        "LINKER:-weak_framework,FoundationModels" "-L${sdk}/usr/lib/swift" "LINKER:-rpath,/usr/lib/swift")
elseif(QUILLET_ON_DEVICE_MODEL)
    message(FATAL_ERROR "The on-device language model cannot be built in: ${missing}")
else()
    message(STATUS "On-device language model: left out; ${missing}")
    quillet_library(quillet_foundation_model FoundationModelAbsent.cpp)
endif()
