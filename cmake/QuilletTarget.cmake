# One place for what every target of ours shares: language level, warnings, sanitizers, include root.
option(QUILLET_WERROR "Treat warnings as errors" OFF)
set(QUILLET_SANITIZE "" CACHE STRING "Value for -fsanitize=, for example address,undefined or thread")

add_library(quillet_options INTERFACE)
target_compile_features(quillet_options INTERFACE cxx_std_20)
target_include_directories(quillet_options INTERFACE "${CMAKE_CURRENT_SOURCE_DIR}/src")
target_compile_options(quillet_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-qual -Wformat=2 -Wundef)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # At -O3 GCC 12 takes "text" + std::string for an overlapping copy (its bug 105651).
    target_compile_options(quillet_options INTERFACE -Wno-restrict)
endif()
target_compile_definitions(quillet_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_DISABLE_DEPRECATED_BEFORE=0x060400
    QUILLET_VERSION="${PROJECT_VERSION}")
if(APPLE)
    # Else <AssertMacros.h>, which the system's headers draw in, may define check(), require() and verify() as macros.
    target_compile_definitions(quillet_options INTERFACE __ASSERT_MACROS_DEFINE_VERSIONS_WITHOUT_UNDERSCORES=0)
endif()
if(QUILLET_WERROR)
    target_compile_options(quillet_options INTERFACE -Werror)
endif()
if(QUILLET_SANITIZE)
    target_compile_options(quillet_options INTERFACE -fsanitize=${QUILLET_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all
        # Instrumented, std::variant looks uninitialised to GCC 12.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(quillet_options INTERFACE -fsanitize=${QUILLET_SANITIZE})
endif()

function(quillet_library name)
    add_library(${name} STATIC ${ARGN})
    target_link_libraries(${name} PUBLIC quillet_options)
endfunction()
