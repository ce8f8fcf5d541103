# The libraries that read containers: E01, VHD and VHDX, VMDK, QCOW2. One interface target, container_libraries, with a
# definition LORQ_HAS_<library> for each that was found.
#
# Each static archive brings its own copies of the same helper libraries, of different ages. So each is linked into one
# object of which only the library's own functions can be seen from outside.
set(LORQ_CONTAINERS AUTO CACHE STRING "Read E01 and virtual disks: ON, OFF, or AUTO, with those libraries that are found")
add_library(container_libraries INTERFACE)

# container_library(name [archive...]): lib<name>, with further archives whose functions are called too
function(container_library name)
    find_path(${name}_include lib${name}.h)
    set(archives)
    foreach(archive IN ITEMS ${name} ${ARGN} z)
        find_library(${archive}_archive lib${archive}.a)
        list(APPEND archives ${${archive}_archive})
        if(NOT ${archive}_archive OR NOT ${name}_include)
            set(missing_containers ${missing_containers} lib${name} PARENT_SCOPE)
            return()
        endif()
    endforeach()
    set(object ${PROJECT_BINARY_DIR}/containers/${name}.o)
    list(JOIN ARGN "|" names)
    string(JOIN "|" names ${name} ${names})
    add_custom_command(OUTPUT ${object} DEPENDS ${archives} ${PROJECT_SOURCE_DIR}/cmake/one-object VERBATIM
        COMMAND ${PROJECT_SOURCE_DIR}/cmake/one-object
            ${CMAKE_LINKER} ${CMAKE_OBJCOPY} ${CMAKE_NM} ^lib\(${names}\)_ ${object} ${archives}
        COMMENT "Linking lib${name} as one object")
    add_custom_target(${name}_object DEPENDS ${object})
    add_dependencies(container_libraries ${name}_object)
    if(NOT ${name}_include STREQUAL /usr/include)
        target_include_directories(container_libraries SYSTEM INTERFACE ${${name}_include})
    endif()
    target_link_libraries(container_libraries INTERFACE ${object})
    string(TOUPPER ${name} definition)
    target_compile_definitions(container_libraries INTERFACE LORQ_HAS_${definition})
    set(found_containers ${found_containers} lib${name} PARENT_SCOPE)
endfunction()

if(LORQ_CONTAINERS)
    container_library(ewf)
    container_library(vhdi)
    container_library(vmdk bfio)
    # Asks the header of libvmdk for the functions that take files of libbfio.
    target_compile_definitions(container_libraries INTERFACE HAVE_LIBBFIO)
    container_library(qcow)
    if(libqcow IN_LIST found_containers)  # whose compressed clusters are inflated here
        target_link_libraries(container_libraries INTERFACE ${z_archive})
    endif()
endif()
if(LORQ_CONTAINERS STREQUAL ON AND missing_containers)
    list(JOIN missing_containers " " missing_containers)
    message(FATAL_ERROR "Not found: ${missing_containers} (scripts/install-deps containers, or windows)")
endif()
message(STATUS "Containers: ${found_containers}")
