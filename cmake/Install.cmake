# What does `cmake --install` put where?  Libraries with headers, pkg-config and CMake files, the scanner, examples. Three
# components: coreMD_runtime, coreMD_development, coreMD_tools. Every file keeps working when the whole prefix moves.
include(CMakePackageConfigHelpers)

set(coreMD_package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/coreMD)
set(coreMD_pkgconfig_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS coreMD coreMD_static coreMD_host coreMD_host_static EXPORT coreMDTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT coreMD_runtime NAMELINK_COMPONENT coreMD_development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT coreMD_development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT coreMD_runtime)
set_target_properties(coreMD_host PROPERTIES EXPORT_NAME host)
set_target_properties(coreMD_host_static PROPERTIES EXPORT_NAME host_static)

install(FILES ${PROJECT_SOURCE_DIR}/include/coreMD.h ${PROJECT_SOURCE_DIR}/include/coreMD.hpp
        ${PROJECT_SOURCE_DIR}/include/coreMD-host.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT coreMD_development)
foreach(header IN LISTS coreMD_staged_headers)
    cmake_path(GET header PARENT_PATH room)
    install(FILES ${coreMD_staged_include}/${header}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${room} COMPONENT coreMD_development)
endforeach()

install(EXPORT coreMDTargets NAMESPACE coreMD::
    DESTINATION ${coreMD_package_directory} COMPONENT coreMD_development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/coreMDConfig.cmake.in ${PROJECT_BINARY_DIR}/coreMDConfig.cmake
    INSTALL_DESTINATION ${coreMD_package_directory} PATH_VARS CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/coreMDConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/coreMDConfig.cmake ${PROJECT_BINARY_DIR}/coreMDConfigVersion.cmake
    DESTINATION ${coreMD_package_directory} COMPONENT coreMD_development)

# pkg-config finds the prefix from where its file lies, and the other directories from the prefix, unless they are absolute.
# The system's prefix is written out: pkg-config leaves out /usr/include, but not a detour to it.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(coreMD_pc_prefix /usr)
else()
    file(RELATIVE_PATH coreMD_pc_to_prefix ${CMAKE_INSTALL_PREFIX}/${coreMD_pkgconfig_directory} ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" coreMD_pc_prefix "\${pcfiledir}/${coreMD_pc_to_prefix}")
endif()
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY "\${prefix}" OUTPUT_VARIABLE coreMD_pc_libdir)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_INCLUDEDIR BASE_DIRECTORY "\${prefix}" OUTPUT_VARIABLE coreMD_pc_includedir)
foreach(package coreMD coreMD-host coreMD-host-classes)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
        DESTINATION ${coreMD_pkgconfig_directory} COMPONENT coreMD_development)
endforeach()

# The scanner finds its library next to itself, but for the system's prefix, where the loader looks anyway.
if(TARGET mdscan)
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        file(RELATIVE_PATH coreMD_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(mdscan PROPERTIES INSTALL_RPATH "\$ORIGIN/${coreMD_bin_to_lib}")
    endif()
    install(TARGETS mdscan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT coreMD_tools)
endif()

# The licence goes with every part that is copied alone.
foreach(component runtime development tools)
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT coreMD_${component})
endforeach()
foreach(example minimal.c conditioned.c minimal.cpp multi_camera.cpp background_snapshot.cpp partly_h264.cpp)
    install(FILES ${PROJECT_SOURCE_DIR}/examples/${example}
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT coreMD_development)
endforeach()

if(TARGET mdscan)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/mdscan.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/coreMD
        COMPONENT coreMD_tools)
endif()

# Manual pages are kept ready in man/; tests compare them with the header and the program.
install(FILES ${PROJECT_SOURCE_DIR}/man/coreMD.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT coreMD_development)
if(TARGET mdscan)
    install(FILES ${PROJECT_SOURCE_DIR}/man/mdscan.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT coreMD_tools)
endif()

# Completions likewise. Below the system's prefix, shells look where distributors install, elsewhere where users do.
if(TARGET mdscan)
    set(coreMD_zsh_folder site-functions)
    if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        set(coreMD_zsh_folder vendor-completions)
    endif()
    install(FILES ${PROJECT_SOURCE_DIR}/completions/mdscan.bash RENAME mdscan
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT coreMD_tools)
    install(FILES ${PROJECT_SOURCE_DIR}/completions/_mdscan
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${coreMD_zsh_folder} COMPONENT coreMD_tools)
    install(FILES ${PROJECT_SOURCE_DIR}/completions/mdscan.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT coreMD_tools)
endif()
