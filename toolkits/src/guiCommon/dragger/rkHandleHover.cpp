#include "rkHandleHover.h"

#include <osg/Material>
#include <osgManipulator/RotateCylinderDragger>
#include <osgManipulator/Translate1DDragger>

namespace Rk {

const osg::Vec4 HandleHover::HIGHLIGHT_COLOUR(1.0f, 1.0f, 0.0f, 1.0f);

namespace {

osg::Vec4 ownColour(const osgManipulator::Dragger& handle)
{
    if (const auto* arrow = dynamic_cast<const osgManipulator::Translate1DDragger*>(&handle))
        return arrow->getColor();
    if (const auto* ring = dynamic_cast<const osgManipulator::RotateCylinderDragger*>(&handle))
        return ring->getColor();
    return osg::Vec4(1.0f, 1.0f, 1.0f, 1.0f);
}

} // namespace

osg::Vec4 HandleHover::shownColour(const osgManipulator::Dragger& handle)
{
    const osg::StateSet* stateSet = handle.getStateSet();
    const auto* material = stateSet ? dynamic_cast<const osg::Material*>(
                                          stateSet->getAttribute(osg::StateAttribute::MATERIAL))
                                    : nullptr;
    return material ? material->getDiffuse(osg::Material::FRONT) : ownColour(handle);
}

bool HandleHover::show(osgManipulator::Dragger* target)
{
    osgManipulator::Dragger* previous = m_hovered.get();
    if (target == previous && (m_painted || !target))
        return false;
    if (previous && previous != target && m_painted)
        osgManipulator::setMaterialColor(m_ownColour, *previous);
    if (target && (target != previous || !m_painted)) {
        m_ownColour = shownColour(*target);
        osgManipulator::setMaterialColor(HIGHLIGHT_COLOUR, *target);
    }
    m_painted = target != nullptr;
    m_hovered = target;
    return target != previous;
}

void HandleHover::adoptShownColour()
{
    m_painted = false;
}

} // namespace Rk
