#include "rkExtraHandleGeometry.h"

#include "rkBallGeometry.h"

#include <osg/BlendFunc>
#include <osg/Geometry>

namespace RkExtraHandleGeometry {

osg::Geode* createPlaneSquareGeode(const osg::Vec3& centre, const osg::Vec3& first,
                                   const osg::Vec3& second, float halfSize)
{
    osg::Vec3Array* vertices = new osg::Vec3Array;
    const osg::Vec3 a = first * halfSize;
    const osg::Vec3 b = second * halfSize;
    for (const osg::Vec3& corner : {-a - b, a - b, a + b, b - a})
        vertices->push_back(centre + corner);
    osg::Geometry* square = new osg::Geometry;
    square->setVertexArray(vertices);
    square->addPrimitiveSet(new osg::DrawArrays(GL_QUADS, 0, vertices->size()));

    osg::Geode* geode = new osg::Geode;
    geode->addDrawable(square);
    osg::StateSet* stateSet = geode->getOrCreateStateSet();
    stateSet->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    stateSet->setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
    stateSet->setAttributeAndModes(new osg::BlendFunc, osg::StateAttribute::ON);
    stateSet->setRenderingHint(osg::StateSet::TRANSPARENT_BIN);
    return geode;
}

osg::Geode* createScreenHandleGeode(float radius)
{
    osg::Geode* geode = new osg::Geode;
    // Every press near the centre crosses the sphere: its triangle index
    // lets the pick test a few of its triangles instead of all of them.
    geode->addDrawable(new Rk::BallGeometry(osg::Vec3(), radius));
    return geode;
}

} // namespace RkExtraHandleGeometry
