#include "rkHandleFader.h"

#include "rkFinite.h"
#include "rkHandleHover.h"
#include "rkHandleShapes.h"
#include "rkOneAxisHandle.h"
#include "rkWindowProjection.h"

#include <osg/Camera>
#include <osgManipulator/RotateCylinderDragger>
#include <osgManipulator/Translate1DDragger>

#include <cmath>

namespace Rk {

namespace {

// Every one-axis handle moves along or turns about its own Z axis.
const osg::Vec3d kHandleAxis(0.0, 0.0, 1.0);
const double kRightAngleDegrees = 90.0;

// The line of sight through `centre` in world coordinates (not normalised):
// from the camera's viewer to the centre, or along the direction away from a
// viewer at infinity (w = 0) wherever the centre lies.
osg::Vec3d sightThrough(const osg::Camera& camera, const osg::Vec3d& centre)
{
    const osg::Vec4d viewer =
        WindowProjection::viewerInEye(camera.getProjectionMatrix()) * camera.getInverseViewMatrix();
    return centre * viewer.w() - osg::Vec3d(viewer.x(), viewer.y(), viewer.z());
}

void setBlended(osg::Node& handle, bool blended)
{
    osg::StateSet* stateSet = handle.getOrCreateStateSet();
    if (blended) {
        stateSet->setMode(GL_BLEND, osg::StateAttribute::ON);
        stateSet->setRenderingHint(osg::StateSet::TRANSPARENT_BIN);
    } else {
        stateSet->removeMode(GL_BLEND);
        stateSet->setRenderingHint(osg::StateSet::DEFAULT_BIN);
    }
}

} // namespace

void HandleFader::matchHandles()
{
    const std::vector<osgManipulator::Dragger*>& handles = m_shapes.handles();
    bool same = handles.size() == m_states.size();
    for (std::size_t i = 0; same && i < handles.size(); ++i)
        same = m_states[i].handle.get() == handles[i];
    if (same)
        return;
    clear();
    m_states.clear();
    for (osgManipulator::Dragger* handle : handles)
        m_states.push_back({handle, false, osg::Vec4()});
}

void HandleFader::update(const osg::Camera& camera, const osg::Node& owner, double limitDegrees)
{
    m_shapes.refresh();
    matchHandles();
    const osg::Vec3d centre = WindowProjection::localToWorld(owner).getTrans();
    const osg::Vec3d sight = sightThrough(camera, centre);
    if (!isFinite(sight) || sight.length2() == 0.0)
        return;
    for (State& state : m_states)
        if (state.handle.valid())
            setFaded(state, shouldFade(*state.handle, sight, limitDegrees));
}

bool HandleFader::shouldFade(osgManipulator::Dragger& handle, const osg::Vec3d& sight,
                             double limitDegrees) const
{
    const bool arrow = dynamic_cast<osgManipulator::Translate1DDragger*>(&handle) != nullptr;
    const bool ring = dynamic_cast<osgManipulator::RotateCylinderDragger*>(&handle) != nullptr;
    if (!arrow && !ring)
        return false;
    if (limitDegrees >= kRightAngleDegrees)
        return true;
    osg::Vec3d axis =
        osg::Matrixd::transform3x3(kHandleAxis, WindowProjection::localToWorld(handle));
    const double axisLength = axis.length();
    if (!(axisLength > 0.0))
        return false;
    // |cos| of the angle between the handle's axis and the line of sight.
    const double cosine = std::fabs(axis * sight) / (axisLength * sight.length());
    const double limitRadians = osg::DegreesToRadians(limitDegrees);
    // A ring's plane is within the limit of the line when its axis is
    // within the limit of the perpendicular to it.
    return arrow ? cosine >= std::cos(limitRadians) : cosine <= std::sin(limitRadians);
}

void HandleFader::setFaded(State& state, bool faded)
{
    osgManipulator::Dragger& handle = *state.handle;
    if (faded && !state.faded)
        state.ownColour = HandleHover::shownColour(handle);
    if (faded) {
        // Painted again at every decision: a press elsewhere recolours the
        // handles that it does not take.
        osg::Vec4 colour = state.ownColour;
        colour.a() = FADED_ALPHA;
        osgManipulator::setMaterialColor(colour, handle);
    } else if (state.faded) {
        osgManipulator::setMaterialColor(state.ownColour, handle);
    }
    if (faded != state.faded) {
        setBlended(handle, faded);
        if (auto* exclusion = dynamic_cast<PickExclusion*>(&handle))
            exclusion->setExcludedFromPicks(faded);
    }
    state.faded = faded;
}

void HandleFader::clear()
{
    // A handle destroyed since (a frame dragger's rebuilt optional handles)
    // has nothing left to give back.
    for (State& state : m_states)
        if (state.handle.valid())
            setFaded(state, false);
}

bool HandleFader::faded(const osgManipulator::Dragger* handle) const
{
    for (const State& state : m_states)
        if (state.handle.get() == handle)
            return state.faded;
    return false;
}

} // namespace Rk
