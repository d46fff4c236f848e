# cmake -DROOT=<source tree> -P cmake/CheckLayers.cmake
#
# Checks every quoted #include of the library and the programs (src/, include/, apps/)
# against the layer map of cmake/Layers.cmake: a file may include its own layer's headers,
# the public headers (include/kvlnmov/...) of the layers its layer uses (directly or through
# their uses), and the private headers (under src/) only of its own layer and of the layers
# the map lets it reach. Prints every include against the map and fails when there is one.

cmake_minimum_required(VERSION 3.25)

if(NOT ROOT)
    message(FATAL_ERROR "usage: cmake -DROOT=<source tree> -P CheckLayers.cmake")
endif()
include(${CMAKE_CURRENT_LIST_DIR}/Layers.cmake)

# The layer a path (relative to ROOT) belongs to: the one with the longest matching folder
# (a layer may also name a single file, such as a public header of its own).
function(layer_of path out)
    set(best "")
    set(bestLength 0)
    foreach(layer IN LISTS KVLNMOV_LAYERS)
        foreach(folder IN LISTS KVLNMOV_LAYER_${layer}_PATHS)
            string(LENGTH "${folder}/" length)
            string(SUBSTRING "${path}" 0 ${length} head)
            if((head STREQUAL "${folder}/" OR path STREQUAL folder) AND length GREATER bestLength)
                set(best ${layer})
                set(bestLength ${length})
            endif()
        endforeach()
    endforeach()
    set(${out} "${best}" PARENT_SCOPE)
endfunction()

# Every layer `layer` may include: itself and the closure of its uses.
function(reachable layer out)
    set(found ${layer})
    set(pending ${KVLNMOV_LAYER_${layer}_USES})
    while(pending)
        list(POP_FRONT pending next)
        if(NOT next IN_LIST found)
            list(APPEND found ${next})
            list(APPEND pending ${KVLNMOV_LAYER_${next}_USES})
        endif()
    endwhile()
    set(${out} "${found}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE files RELATIVE ${ROOT}
     ${ROOT}/src/*.h ${ROOT}/src/*.cpp ${ROOT}/include/*.h ${ROOT}/apps/*.h ${ROOT}/apps/*.cpp)
set(violations 0)
set(checked 0)
foreach(file IN LISTS files)
    # Tests under apps/ are white-box tests of their program, not part of it.
    if(file MATCHES "/tests/")
        continue()
    endif()
    layer_of("${file}" layer)
    if(layer STREQUAL "")
        message(NOTICE "${file}: in no layer of cmake/Layers.cmake")
        math(EXPR violations "${violations} + 1")
        continue()
    endif()
    reachable(${layer} allowed)
    get_filename_component(folder "${file}" DIRECTORY)
    file(STRINGS ${ROOT}/${file} includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
    foreach(line IN LISTS includes)
        string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]+)\".*" "\\1" name "${line}")
        if(name MATCHES "^kvlnmov/")
            set(target "include/${name}")
            set(private FALSE)
        elseif(EXISTS ${ROOT}/src/${name})
            set(target "src/${name}")
            set(private TRUE)
        elseif(EXISTS ${ROOT}/${folder}/${name})
            set(target "${folder}/${name}")
            set(private TRUE)
        else()
            message(NOTICE "${file}: includes \"${name}\", which is in no folder of the tree")
            math(EXPR violations "${violations} + 1")
            continue()
        endif()
        math(EXPR checked "${checked} + 1")
        layer_of("${target}" included)
        if(NOT included IN_LIST allowed)
            message(NOTICE "${file}: layer ${layer} includes \"${name}\" of layer "
                               "'${included}', which it does not use")
            math(EXPR violations "${violations} + 1")
        elseif(private AND NOT included STREQUAL layer AND
               NOT included IN_LIST KVLNMOV_LAYER_${layer}_PRIVATE)
            message(NOTICE "${file}: layer ${layer} includes \"${name}\", a private header "
                               "of layer '${included}'")
            math(EXPR violations "${violations} + 1")
        endif()
    endforeach()
endforeach()

if(violations GREATER 0)
    message(FATAL_ERROR "layers: ${violations} include(s) against cmake/Layers.cmake")
endif()
list(LENGTH files count)
message(STATUS "layers: ${checked} includes of ${count} files follow cmake/Layers.cmake")
