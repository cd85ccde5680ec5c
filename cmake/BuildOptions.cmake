# What our own targets are compiled with. `cirrus_build_options` never reaches a host's build.
add_library(cirrus_build_options INTERFACE)
target_compile_options(cirrus_build_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# GCC 12 sees uninitialised memory in the moves of any variant that holds a string.
target_compile_options(cirrus_build_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
target_include_directories(cirrus_build_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)

if(CIRRUS_SANITIZERS)
    add_compile_options(-fsanitize=${CIRRUS_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CIRRUS_SANITIZERS})
elseif(PROJECT_IS_TOP_LEVEL AND UNIX)
    # Debian's default hardening; a host that builds Cirrus within its own project has its own.
    add_compile_options(-fstack-protector-strong "$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    if(NOT APPLE)
        add_link_options(LINKER:-z,relro,-z,now)
    endif()
    include(CheckPIESupported)
    check_pie_supported()
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
