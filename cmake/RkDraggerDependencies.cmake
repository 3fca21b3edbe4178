# Finds what the libraries build on. Shared by the build and by the installed
# package configuration, so that a consumer finds the same dependencies again
# on its own machine instead of inheriting the build machine's paths.
#
# Sets RKDRAGGER_QT_MAJOR to the Qt major version in use (6 or 5) and provides
# the versionless Qt targets (Qt::Core, Qt::Gui, Qt::Widgets), Boost::headers
# and RkDragger::OpenSceneGraph.

# Oldest minor release accepted per Qt major version.
set(RKDRAGGER_QT6_MINIMUM 6.2)
set(RKDRAGGER_QT5_MINIMUM 5.15)
set(RKDRAGGER_OSG_COMPONENTS osgGA osgUtil osgViewer osgDB osgManipulator)

# Qt: the major version asked for, or Qt 6 when present and Qt 5 otherwise.
macro(rkdragger_find_qt)
    if(RKDRAGGER_QT_MAJOR STREQUAL "")
        find_package(Qt6 ${RKDRAGGER_QT6_MINIMUM} QUIET COMPONENTS Core Gui Widgets)
        if(Qt6_FOUND)
            set(RKDRAGGER_QT_MAJOR 6)
        else()
            set(RKDRAGGER_QT_MAJOR 5)
        endif()
    endif()
    if(NOT RKDRAGGER_QT_MAJOR MATCHES "^[56]$")
        message(FATAL_ERROR "RKDRAGGER_QT_MAJOR must be 5 or 6, not '${RKDRAGGER_QT_MAJOR}'")
    endif()
    find_package(Qt${RKDRAGGER_QT_MAJOR} ${RKDRAGGER_QT${RKDRAGGER_QT_MAJOR}_MINIMUM}
        REQUIRED COMPONENTS Core Gui Widgets ${ARGN})
endmacro()

# FindOpenSceneGraph yields variables, not targets. One imported target carries
# them, so that the exported library targets name RkDragger::OpenSceneGraph
# and the package configuration defines it anew from the consumer's own find.
function(rkdragger_import_openscenegraph)
    if(TARGET RkDragger::OpenSceneGraph)
        return()
    endif()
    add_library(RkDragger::OpenSceneGraph INTERFACE IMPORTED ${ARGN})
    target_include_directories(RkDragger::OpenSceneGraph INTERFACE ${OPENSCENEGRAPH_INCLUDE_DIRS})
    # The variable may hold optimized/debug keywords, which only
    # target_link_libraries understands.
    target_link_libraries(RkDragger::OpenSceneGraph INTERFACE ${OPENSCENEGRAPH_LIBRARIES})
endfunction()
