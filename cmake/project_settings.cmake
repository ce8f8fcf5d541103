# Two interface targets. project_warnings is for our own code only; project_settings is what every target of ours is
# built with. Nothing of them reaches GoogleTest.
add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
    -Wall -Wextra -Wpedantic $<$<BOOL:${LORQ_WERROR}>:-Werror>
    -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2
    -Wcast-align -Wcast-qual -Wdouble-promotion -Wundef -Wunused -Wimplicit-fallthrough
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
    # The library's own stable_sort calls what the library marks as deprecated, and clang 19 tells us of it.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations>)

add_library(project_settings INTERFACE)
target_include_directories(project_settings INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(project_settings INTERFACE project_warnings)
# Bounds of the standard containers are checked wherever speed is not what the build is for.
target_compile_definitions(project_settings INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

# What is handed out has the same bytes from every folder and at every time.
target_compile_options(project_settings INTERFACE $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)
add_link_options(-Wl,$<IF:$<PLATFORM_ID:Windows>,--no-insert-timestamp,--build-id=none>)

if(LORQ_SANITIZE)
    # For GoogleTest too: a container that is poisoned on one side only gives false reports.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(LORQ_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
    add_link_options(-fsanitize=fuzzer-no-link)
endif()

if(LORQ_STATIC)
    if(WIN32)
        add_link_options(-static)
    else()
        # Without what is not used of the standard library: some of it would ask for a newer system than the program does.
        add_link_options(-static-libstdc++ -static-libgcc -Wl,--gc-sections)
    endif()
endif()

if(CMAKE_INTERPROCEDURAL_OPTIMIZATION)
    add_link_options(-flto=auto)  # on all cores
endif()
