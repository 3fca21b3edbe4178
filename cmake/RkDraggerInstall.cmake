# Installation and packaging: libraries, public headers (with generated form
# headers), a CMake package (find_package(RkDragger CONFIG)), a pkg-config file
# and a Debian package through CPack.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(RKDRAGGER_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/rkDragger)
set(RKDRAGGER_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/RkDragger)
set(RKDRAGGER_PUBLIC_HEADER_DIRS
    ${PROJECT_SOURCE_DIR}/toolkits/src/host
    ${PROJECT_SOURCE_DIR}/toolkits/src/guiCommon/dragger
)

# Consumers include every header by bare name, as the libraries do.
foreach(target rkHost rkDragger)
    target_include_directories(${target} PUBLIC
        $<INSTALL_INTERFACE:${RKDRAGGER_INSTALL_INCLUDEDIR}>)
endforeach()

# librkDragger finds librkHost beside itself, wherever the prefix is.
set_target_properties(rkDragger PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS rkHost rkDragger EXPORT RkDraggerTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
)

# Every header of the two library folders is public: a new header is
# installed without an edit here.
foreach(dir ${RKDRAGGER_PUBLIC_HEADER_DIRS})
    install(DIRECTORY ${dir}/ DESTINATION ${RKDRAGGER_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
endforeach()

# Every Qt Designer form of librkDragger: its uic header (ui_<form>.h) is part
# of the public interface, as the form class may be built on any widget.
get_target_property(rkdragger_sources rkDragger SOURCES)
list(FILTER rkdragger_sources INCLUDE REGEX "\\.ui$")
get_target_property(rkdragger_binary_dir rkDragger BINARY_DIR)
get_property(rkdragger_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
set(rkdragger_uic_dir ${rkdragger_binary_dir}/rkDragger_autogen/include)
if(rkdragger_multi_config)
    string(APPEND rkdragger_uic_dir "_$<CONFIG>")
endif()
foreach(form ${rkdragger_sources})
    get_filename_component(form_name ${form} NAME_WE)
    install(FILES ${rkdragger_uic_dir}/ui_${form_name}.h
        DESTINATION ${RKDRAGGER_INSTALL_INCLUDEDIR})
endforeach()

# CMake package.
install(EXPORT RkDraggerTargets NAMESPACE RkDragger::
    DESTINATION ${RKDRAGGER_INSTALL_CMAKEDIR})
configure_package_config_file(cmake/RkDraggerConfig.cmake.in
    ${PROJECT_BINARY_DIR}/RkDraggerConfig.cmake
    INSTALL_DESTINATION ${RKDRAGGER_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/RkDraggerConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/RkDraggerConfig.cmake
    ${PROJECT_BINARY_DIR}/RkDraggerConfigVersion.cmake
    cmake/RkDraggerDependencies.cmake
    DESTINATION ${RKDRAGGER_INSTALL_CMAKEDIR})

# pkg-config, relocatable: the prefix is found from the .pc file's own place.
file(RELATIVE_PATH RKDRAGGER_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
set(RKDRAGGER_PC_QT_WIDGETS Qt${RKDRAGGER_QT_MAJOR}Widgets)
configure_file(cmake/rkDragger.pc.in ${PROJECT_BINARY_DIR}/rkDragger.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/rkDragger.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Debian package (cpack -G DEB): one development package with the shared
# libraries, headers and package files; the run-time dependencies come from
# dpkg-shlibdeps, the headers' from the list below.
if(RKDRAGGER_QT_MAJOR EQUAL 6)
    set(RKDRAGGER_DEB_QT_DEV "qt6-base-dev")
else()
    set(RKDRAGGER_DEB_QT_DEV "qtbase5-dev")
endif()
set(CPACK_PACKAGE_NAME librkdragger-dev)
set(CPACK_PACKAGE_VENDOR "librkDragger developers")
set(CPACK_PACKAGE_CONTACT "librkDragger developers <rkdragger@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Interactive 3D manipulators for OpenSceneGraph scenes in Qt applications")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libopenscenegraph-dev (>= 3.6), libboost-dev (>= 1.74), ${RKDRAGGER_DEB_QT_DEV}")
set(CPACK_GENERATOR DEB)
include(CPack)
