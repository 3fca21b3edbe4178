#include "rkRestingPointer.h"

#include "rkFinite.h"

#include <osg/Camera>
#include <osgGA/GUIEventAdapter>
#include <osgViewer/View>

namespace Rk {

namespace {

unsigned int frameNumberOf(const osgViewer::View& view)
{
    const osg::FrameStamp* stamp = view.getFrameStamp();
    return stamp ? stamp->getFrameNumber() : 0;
}

} // namespace

void RestingPointer::judged(const osgGA::GUIEventAdapter& event, const osgViewer::View& view)
{
    m_view = &view;
    m_frameNumber = frameNumberOf(view);
    m_x = event.getX();
    m_y = event.getY();
    m_xMax = event.getXmax();
    m_yMax = event.getYmax();
    m_near = false;
}

void RestingPointer::near(const Scene& scene)
{
    m_near = true;
    m_camera = scene.camera;
    m_cameraState = scene.camera ? CameraState(*scene.camera) : CameraState();
    m_parentToWorld = scene.parentToWorld;
    m_matrix = scene.matrix;
    m_scale = scene.scale;
}

bool RestingPointer::restsAt(const osgGA::GUIEventAdapter& frame, const osgViewer::View& view) const
{
    return m_view == &view && frame.getButtonMask() == 0 && frame.getX() == m_x &&
           frame.getY() == m_y && frame.getXmax() == m_xMax && frame.getYmax() == m_yMax &&
           frameNumberOf(view) != m_frameNumber;
}

bool RestingPointer::sceneMoved(const Scene& scene) const
{
    return !scene.camera || scene.camera != m_camera || !m_cameraState.describes(*scene.camera) ||
           !sameBits(scene.parentToWorld, m_parentToWorld) || !sameBits(scene.matrix, m_matrix) ||
           scene.scale != m_scale;
}

} // namespace Rk
