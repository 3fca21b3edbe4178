#include "rkPickCache.h"

#include <osgViewer/View>

namespace Rk {

const PickCache::Hits& PickCache::hits(osgViewer::View& view, const osgGA::GUIEventAdapter& event,
                                       osg::Node::NodeMask mask)
{
    static Hits lastHits;
    lastHits.clear();
    view.computeIntersections(event.getX(), event.getY(), lastHits, mask);
    return lastHits;
}

} // namespace Rk
