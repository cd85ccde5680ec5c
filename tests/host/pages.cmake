# Every C++ block of the pages is a program that has to compile and link as it stands there.
find_package(spdlog 1.10 REQUIRED)

function(add_programs_of page)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${page})
    file(READ ${PROJECT_SOURCE_DIR}/${page} rest)
    cmake_path(GET page STEM name)
    set(fence "```cpp\n")
    set(number 0)
    # Not with a regular expression: its matches come as a list, which semicolons would take apart.
    string(FIND "${rest}" "${fence}" start)
    while(NOT start EQUAL -1)
        string(SUBSTRING "${rest}" ${start} -1 rest)
        string(LENGTH "${fence}" start)
        string(SUBSTRING "${rest}" ${start} -1 rest)
        string(FIND "${rest}" "```" end)
        string(SUBSTRING "${rest}" 0 ${end} program)
        math(EXPR number "${number} + 1")
        set(target page-${name}-${number})
        file(CONFIGURE OUTPUT ${target}.cpp CONTENT "${program}" @ONLY)
        add_executable(${target} ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp)
        target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/examples/logging)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion)
        target_link_libraries(${target}
            PRIVATE Cirrus::Cirrus Cirrus::Emulator Qt6::Widgets PkgConfig::glib spdlog::spdlog)
        string(FIND "${rest}" "${fence}" start)
    endwhile()
    if(number EQUAL 0)
        message(FATAL_ERROR "${page} has no C++ block")
    endif()
endfunction()

add_programs_of(README.md)
add_programs_of(docs/getting-started.md)
add_programs_of(docs/when-drive-says-no.md)
# This one needs neither an account nor a network.
add_test(NAME first-program
    COMMAND page-getting-started-1 ${CMAKE_CURRENT_SOURCE_DIR}/CMakeLists.txt)
