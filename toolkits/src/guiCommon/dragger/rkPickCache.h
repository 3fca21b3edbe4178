#ifndef RK_PICK_CACHE_H
#define RK_PICK_CACHE_H

#include "rkCameraState.h"

#include <osg/Matrixd>
#include <osg/Node>
#include <osg/observer_ptr>
#include <osgUtil/LineSegmentIntersector>

#include <vector>

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
/// `getX()`, `getY()`: the camera containing that point, then a line
/// segment intersector through that camera at the point's position in it
/// (window coordinates, or projection coordinates for a camera without a
/// viewport). The intersector is an `IndexedIntersector`, which finds the
/// same hits as the view's own and tests the handles' triangles through
/// their index. The hits are ordered front to back, exactly as that call gives
/// them. A view whose pick finds nothing gives no hits.
///
/// Every dragger of a scene sees each pointer event, so without sharing a
/// press would cost one full scene pick per dragger. The first call for an
/// event computes the pick; later calls for the same event give the same
/// hits when all of the following still hold, and compute a new pick
/// otherwise:
/// - the same event object (still alive), with the same type, position,
///   button and time stamp: any other event, a press or a pointer move
///   alike, picks anew, so a scene changed between two events is always seen;
/// - the same view, and the camera found under the pointer at the event's
///   first pick in that view still alive with the same view and projection
///   matrices and viewport;
/// - the same mask (picks for several masks of one event are kept side by side);
/// - every node on every hit's path is still alive, still a child of the
///   node before it, and still passes the mask: a node destroyed, removed or
///   hidden while the event is being handled (by a slot of an earlier
///   handler, say) sends the next caller to a new pick, and no caller ever
///   sees a path with a destroyed node.
/// A change that leaves all of this as it is while one event is being handled
/// (a node moved, added or shown by another handler of that very event) is
/// not seen by later callers of that event unless that handler calls
/// `invalidate()`; between events it always is.
///
/// The cache belongs to the calling thread. It holds the picks of one event
/// only; the first call for another event drops them.
class PickCache
{
public:
    using Hits = osgUtil::LineSegmentIntersector::Intersections;

    /// The hits under the pointer of `event` in `view` for `mask`; empty when
    /// nothing is hit. The reference stays valid until the next call.
    static const Hits& hits(osgViewer::View& view, const osgGA::GUIEventAdapter& event,
                            osg::Node::NodeMask mask);

    /// The front hit under the pointer of `event` in `view` for `mask`, or
    /// null when nothing is hit: the first of `hits()`, for a caller that
    /// only decides by the front hit. Only that hit's path is checked as
    /// above (a change behind it cannot change what is in front), so with
    /// many draggers asking about one event each one pays for one path.
    /// For any event but a press, the pick this computes skips what lies
    /// wholly behind the nearest hit found so far (`FrontIntersector`): the
    /// same front hit, less work where a ray crosses many objects; a later
    /// call for all the hits of that event computes the full pick. A press
    /// always gets the full pick, since the dragger it picks takes every hit.
    /// The pointer stays valid until the next call.
    static const osgUtil::LineSegmentIntersector::Intersection*
    firstHit(osgViewer::View& view, const osgGA::GUIEventAdapter& event, osg::Node::NodeMask mask);

    /// The front hit under the pointer when `owner` lies on its path, else
    /// null: whether a press or a hover there is the owner's. An owner on no
    /// kept path at all is answered without checking any path (removing,
    /// hiding or destroying nodes only takes hits away, so a new pick could
    /// not put it in front either); otherwise as `firstHit`.
    static const osgUtil::LineSegmentIntersector::Intersection*
    frontHitOf(const osg::Node* owner, osgViewer::View& view, const osgGA::GUIEventAdapter& event,
               osg::Node::NodeMask mask);

    /// The hits under the pointer when `taker` lies on the front hit's path,
    /// else null: what a dragger deciding whether a press is its own needs.
    /// A caller that does not take the hits pays for the front path's check
    /// alone; the taker's hits have every path checked, as `hits()`.
    static const Hits* hitsTakenBy(const osg::Node* taker, osgViewer::View& view,
                                   const osgGA::GUIEventAdapter& event, osg::Node::NodeMask mask);

    /// Whether `node` lies on `path` (a hit's node path).
    static bool pathContains(const osg::NodePath& path, const osg::Node* node);

    /// Drops every kept pick, so that the next call computes a new one. For
    /// a handler that moves, adds or shows nodes while an event is being
    /// handled and wants the draggers after it to see the change.
    static void invalidate();

    /// Number of scene picks computed so far by this thread (for tests and
    /// benchmarks: it tells shared picks from computed ones).
    static unsigned long long computedPicks();

    /// When set, every call computes a new pick, as without sharing (for
    /// tests that compare both). Clear by default; per thread.
    static void setSharingDisabled(bool disabled);

private:
    struct EventKey
    {
        osg::observer_ptr<const osgGA::GUIEventAdapter> event;
        int type = 0;
        float x = 0.0f;
        float y = 0.0f;
        int button = 0;
        double time = 0.0;

        bool matches(const osgGA::GUIEventAdapter& other) const;
    };

    /// The camera under the pointer of an event in a view, and the pointer
    /// in that camera's terms; `contains` is false when no camera of the
    /// view contains the pointer (then `camera` is the view's own).
    struct Located
    {
        const osg::Camera* camera = nullptr;
        float localX = 0.0f;
        float localY = 0.0f;
        bool contains = false;
    };

    /// A node of a kept hit path, with where its parent stood in its parent
    /// list when the pick was made (checked first; searched when moved).
    struct PathNode
    {
        osg::observer_ptr<osg::Node> node;
        unsigned int parentIndex = 0;
    };

    struct Entry
    {
        osg::observer_ptr<osgViewer::View> view;
        osg::observer_ptr<const osg::Camera> camera;
        Located located;
        CameraState cameraState;
        osg::Node::NodeMask mask = 0;
        /// False for a pick of which only the front hit is sure (see firstHit).
        bool complete = true;
        /// The intersector that made the pick: its hits are handed out as
        /// they are, without a copy. Null when no camera contains the pointer.
        osg::ref_ptr<osgUtil::LineSegmentIntersector> picker;
        /// The hits of a pick made without sharing.
        Hits unsharedHits;
        /// One per node of every hit's path, in path order.
        std::vector<PathNode> pathNodes;
        /// The same nodes' addresses, sorted, to tell an owner on no path.
        std::vector<const osg::Node*> sortedNodes;

        const Hits& hits() const;

        bool matches(osgViewer::View& view, const osg::Camera* camera, osg::Node::NodeMask mask,
                     bool frontOnly, const osg::Node* owner) const;
        bool pathsIntact(bool frontOnly) const;
    };

    struct State;
    static State& state();
    static const Entry& lookUp(osgViewer::View& view, const osgGA::GUIEventAdapter& event,
                               osg::Node::NodeMask mask, bool frontOnly,
                               const osg::Node* owner = nullptr);
    static Located locate(State& state, osgViewer::View& view, const osgGA::GUIEventAdapter& event);
    static Entry& computePick(State& state, osgViewer::View& view,
                              const osgGA::GUIEventAdapter& event, const Located& located,
                              osg::Node::NodeMask mask, bool frontOnly);
    static void observePaths(Entry& entry);
};

} // namespace Rk

#endif
