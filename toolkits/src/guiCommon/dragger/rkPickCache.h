#ifndef RK_PICK_CACHE_H
#define RK_PICK_CACHE_H

#include <osg/Node>
#include <osgUtil/LineSegmentIntersector>

namespace osgGA {
class GUIEventAdapter;
}
namespace osgViewer {
class View;
}

namespace Rk {

/// The scene pick under a pointer event, shared by every dragger that asks
/// for the same event in the same view with the same intersection mask.
///
/// The pick is the view's own `computeIntersections` at the event's
/// `getX()`, `getY()`; the hits are ordered front to back, exactly as that
/// call gives them. A view whose pick finds nothing gives no hits.
class PickCache
{
public:
    using Hits = osgUtil::LineSegmentIntersector::Intersections;

    /// The hits under the pointer of `event` in `view` for `mask`; empty when
    /// nothing is hit. The reference stays valid until the next call.
    static const Hits& hits(osgViewer::View& view, const osgGA::GUIEventAdapter& event,
                            osg::Node::NodeMask mask);
};

} // namespace Rk

#endif
