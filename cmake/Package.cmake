# Installation and packaging: the library (shared, or static with KVLNMOV_STATIC_PACKAGE) as
# kvlnmov::kvlnmov with its headers, the CMake package files and kvlnmov.pc, the tool and the
# viewer, the Python module, and a Debian package of it all through CPack (cpack -G DEB).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(KVLNMOV_STATIC_PACKAGE
       "Install the static libkvlnmov.a as kvlnmov::kvlnmov instead of the shared library" OFF)

# The library applications link. Its build folder holds only what the layers compile; what
# a user links is the whole library, with the include folders and C++20 it needs.
if(KVLNMOV_STATIC_PACKAGE)
    # Every layer the shared library holds (the scenario runner is the tool's and the tests').
    get_property(layers GLOBAL PROPERTY KVLNMOV_LAYERS)
    list(REMOVE_ITEM layers kvlnmov_scenario)
    set(objects "")
    foreach(layer IN LISTS layers)
        list(APPEND objects $<TARGET_OBJECTS:${layer}>)
    endforeach()
    add_library(kvlnmov_static STATIC ${objects})
    set_target_properties(kvlnmov_static PROPERTIES OUTPUT_NAME kvlnmov)
    target_link_libraries(kvlnmov_static PRIVATE SQLite::SQLite3 Threads::Threads)
    if(KVLNMOV_WITH_ODBC)
        target_link_libraries(kvlnmov_static PRIVATE ODBC::ODBC)
    endif()
    set(kvlnmov_library kvlnmov_static)
    set(KVLNMOV_PC_LIBS_PRIVATE "-lsqlite3 -lpthread")
    if(KVLNMOV_WITH_ODBC)
        string(APPEND KVLNMOV_PC_LIBS_PRIVATE " -lodbc")
    endif()
else()
    set(kvlnmov_library kvlnmov_shared)
    set(KVLNMOV_PC_LIBS_PRIVATE "")
endif()
set_target_properties(${kvlnmov_library} PROPERTIES EXPORT_NAME kvlnmov)
target_include_directories(${kvlnmov_library} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(${kvlnmov_library} INTERFACE cxx_std_20)
add_library(kvlnmov::kvlnmov ALIAS ${kvlnmov_library})

install(TARGETS ${kvlnmov_library} EXPORT kvlnmovTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kvlnmov ${PROJECT_BINARY_DIR}/include/kvlnmov
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT kvlnmovTargets NAMESPACE kvlnmov::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvlnmov)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/templates/kvlnmovConfig.cmake.in
    ${PROJECT_BINARY_DIR}/kvlnmovConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvlnmov)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kvlnmovConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kvlnmovConfig.cmake
              ${PROJECT_BINARY_DIR}/kvlnmovConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvlnmov)

# pkg-config. The paths are those of the installation; cmake --install --prefix P rewrites
# the prefix line, so the file stays right wherever it is installed.
set(KVLNMOV_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
set(KVLNMOV_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/templates/kvlnmov.pc.in
               ${PROJECT_BINARY_DIR}/kvlnmov.pc.in @ONLY)
install(CODE "
    file(READ \"${PROJECT_BINARY_DIR}/kvlnmov.pc.in\" pc)
    string(REGEX REPLACE \"^prefix=[^\\n]*\" \"prefix=\${CMAKE_INSTALL_PREFIX}\" pc \"\${pc}\")
    file(WRITE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/kvlnmov.pc\" \"\${pc}\")
    message(STATUS \"Installing: \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/kvlnmov.pc\")
")

# The programs.
install(TARGETS kvlnmov_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET kvlnmov-viewer)
    install(TARGETS kvlnmov-viewer RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# The Python module, where Debian's python3 looks for packages, with the installed library's
# path written into it.
set(KVLNMOV_PYTHON_DIR "${CMAKE_INSTALL_LIBDIR}/python3/dist-packages" CACHE STRING
    "Folder under the prefix for the Python module")
if(EXISTS ${PROJECT_SOURCE_DIR}/python/kvlnmov AND NOT KVLNMOV_STATIC_PACKAGE)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/kvlnmov DESTINATION ${KVLNMOV_PYTHON_DIR}
            PATTERN __pycache__ EXCLUDE)
    install(CODE "
        file(WRITE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${KVLNMOV_PYTHON_DIR}/kvlnmov/_installed.py\"
             \"LIBRARY = \\\"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libkvlnmov.so.${PROJECT_VERSION_MAJOR}\\\"\\n\")
    ")
endif()

# The Debian package: cpack -G DEB in the build folder.
set(CPACK_PACKAGE_NAME kvlnmov)
set(CPACK_PACKAGE_VENDOR kvlnmov)
set(CPACK_PACKAGE_CONTACT "kvlnmov developers <kvlnmov@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "General journal library of a Spanish double-entry accounting suite")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The package carries no debug information (the build folder keeps it).
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "python3, libsqliteodbc")
include(CPack)
