#include "rkPickCache.h"

#include "rkFrontIntersector.h"

#include <osg/Camera>
#include <osgGA/GUIEventAdapter>
#include <osgUtil/IntersectionVisitor>
#include <osgViewer/View>

#include <algorithm>

namespace Rk {

namespace {

// Picks of one event kept side by side: one per view and mask in practice
// (a composite viewer's views, draggers with other masks).
const std::size_t kMaxEntriesPerEvent = 8;
// Parent lists up to this length are searched without looking at the parent.
const std::size_t kShortParentList = 4;

// Where `parent` stands in the parent list of `node` (the list's size if not).
unsigned int indexOfParent(const osg::Node* node, const osg::Node* parent)
{
    const osg::Node::ParentList& parents = node->getParents();
    return unsigned(std::find(parents.begin(), parents.end(), parent) - parents.begin());
}

// Whether `node` is still a child of `parent`: first where the parent stood
// at the pick. Otherwise, as shared handle geometry has one parent per handle
// of every dragger and a scene root one child per dragger, the shorter of
// the two lists is searched.
bool isChildOf(const osg::Node* node, const osg::Node* parent, unsigned int parentIndex)
{
    const osg::Node::ParentList& parents = node->getParents();
    if (parentIndex < parents.size() && parents[parentIndex] == parent)
        return true;
    if (parents.size() <= kShortParentList)
        return std::find(parents.begin(), parents.end(), parent) != parents.end();
    const osg::Group* group = parent->asGroup();
    if (!group)
        return false;
    const unsigned int childCount = group->getNumChildren();
    if (parents.size() <= childCount)
        return std::find(parents.begin(), parents.end(), parent) != parents.end();
    for (unsigned int index = 0; index < childCount; ++index)
        if (group->getChild(index) == node)
            return true;
    return false;
}

} // namespace

struct PickCache::State
{
    EventKey event;
    std::vector<Entry> entries;
    unsigned long long computed = 0;
    bool sharingDisabled = false;
};

PickCache::State& PickCache::state()
{
    thread_local State threadState;
    return threadState;
}

bool PickCache::EventKey::matches(const osgGA::GUIEventAdapter& other) const
{
    return event.get() == &other && event.valid() && type == other.getEventType() &&
           x == other.getX() && y == other.getY() && button == other.getButton() &&
           time == other.getTime();
}

bool PickCache::Entry::matches(osgViewer::View& otherView, const osg::Camera* otherCamera,
                               osg::Node::NodeMask otherMask, bool frontOnly,
                               const osg::Node* owner) const
{
    return mask == otherMask && (complete || frontOnly) && view.get() == &otherView &&
           view.valid() && camera.get() == otherCamera && camera.valid() && otherCamera &&
           cameraState.describes(*otherCamera) &&
           ((owner && !std::binary_search(sortedNodes.begin(), sortedNodes.end(), owner)) ||
            pathsIntact(frontOnly));
}

namespace {

// Hit paths share their beginning (camera, root, groups): the nodes of the
// prefix that a path shares with the path before it are checked, and
// observed, only once.
std::size_t sharedPrefix(const osg::NodePath* before, const osg::NodePath& path)
{
    if (!before)
        return 0;
    const std::size_t limit = std::min(before->size(), path.size());
    std::size_t length = 0;
    while (length < limit && (*before)[length] == path[length])
        ++length;
    return length;
}

} // namespace

bool PickCache::Entry::pathsIntact(bool frontOnly) const
{
    auto observed = pathNodes.begin();
    const osg::NodePath* before = nullptr;
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : hits()) {
        const osg::NodePath& path = hit.nodePath;
        for (std::size_t index = sharedPrefix(before, path); index < path.size(); ++index) {
            const osg::Node* node = path[index];
            // Alive first: only then may the raw pointer be followed.
            if (observed == pathNodes.end() || !observed->node.valid() ||
                observed->node.get() != node)
                return false;
            const unsigned int parentIndex = observed->parentIndex;
            ++observed;
            if ((node->getNodeMask() & mask) == 0)
                return false;
            if (index > 0 && !isChildOf(node, path[index - 1], parentIndex))
                return false;
        }
        if (frontOnly)
            break;
        before = &path;
    }
    return true;
}

const PickCache::Hits& PickCache::Entry::hits() const
{
    return picker ? picker->getIntersections() : unsharedHits;
}

PickCache::Located PickCache::locate(State& state, osgViewer::View& view,
                                     const osgGA::GUIEventAdapter& event)
{
    // The camera under the pointer of one event in one view is looked up once;
    // its matrices and viewport are still compared at every call.
    for (const Entry& entry : state.entries)
        if (entry.view.get() == &view && entry.view.valid() && entry.camera.valid())
            return entry.located;
    Located located;
    located.camera = view.getCameraContainingPosition(event.getX(), event.getY(), located.localX,
                                                      located.localY);
    located.contains = located.camera != nullptr;
    if (!located.contains)
        located.camera = view.getCamera();
    return located;
}

PickCache::Entry& PickCache::computePick(State& state, osgViewer::View& view,
                                         const osgGA::GUIEventAdapter& event,
                                         const Located& located, osg::Node::NodeMask mask,
                                         bool frontOnly)
{
    if (state.entries.size() >= kMaxEntriesPerEvent)
        state.entries.erase(state.entries.begin());
    state.entries.emplace_back();
    Entry& entry = state.entries.back();
    const osg::Camera* camera = located.camera;
    entry.view = &view;
    entry.camera = camera;
    entry.located = located;
    entry.cameraState = CameraState(*camera);
    entry.mask = mask;
    // A press hands every hit to the dragger it picks; other events are
    // decided by their front hit alone.
    entry.complete = !frontOnly || event.getEventType() == osgGA::GUIEventAdapter::PUSH;
    ++state.computed;
    if (state.sharingDisabled) {
        view.computeIntersections(event.getX(), event.getY(), entry.unsharedHits, mask);
    } else if (located.contains) {
        // What the view's computeIntersections(x, y) does, keeping the
        // intersector so that its hits need no copy.
        const osgUtil::Intersector::CoordinateFrame frame =
            camera->getViewport() ? osgUtil::Intersector::WINDOW : osgUtil::Intersector::PROJECTION;
        entry.picker = entry.complete
                           ? new IndexedIntersector(frame, located.localX, located.localY)
                           : new FrontIntersector(frame, located.localX, located.localY);
        osgUtil::IntersectionVisitor visitor(entry.picker.get());
        visitor.setTraversalMask(mask);
        const_cast<osg::Camera*>(camera)->accept(visitor);
    }
    observePaths(entry);
    return entry;
}

void PickCache::observePaths(Entry& entry)
{
    // Sized first: a grown vector would copy every observer it holds.
    std::size_t count = 0;
    const osg::NodePath* before = nullptr;
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : entry.hits()) {
        count += hit.nodePath.size() - sharedPrefix(before, hit.nodePath);
        before = &hit.nodePath;
    }
    entry.pathNodes.reserve(count);
    entry.sortedNodes.reserve(count);
    before = nullptr;
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : entry.hits()) {
        const osg::NodePath& path = hit.nodePath;
        for (std::size_t index = sharedPrefix(before, path); index < path.size(); ++index)
            entry.pathNodes.push_back(
                {path[index], index > 0 ? indexOfParent(path[index], path[index - 1]) : 0u});
        before = &path;
    }
    for (const PathNode& node : entry.pathNodes)
        entry.sortedNodes.push_back(node.node.get());
    std::sort(entry.sortedNodes.begin(), entry.sortedNodes.end());
}

const PickCache::Entry& PickCache::lookUp(osgViewer::View& view,
                                          const osgGA::GUIEventAdapter& event,
                                          osg::Node::NodeMask mask, bool frontOnly,
                                          const osg::Node* owner)
{
    State& cache = state();
    if (cache.sharingDisabled || !cache.event.matches(event)) {
        cache.entries.clear();
        cache.event = EventKey{&event,       event.getEventType(), event.getX(),
                               event.getY(), event.getButton(),    event.getTime()};
    }
    const Located located = locate(cache, view, event);
    for (auto entry = cache.entries.begin(); entry != cache.entries.end(); ++entry) {
        if (entry->matches(view, located.camera, mask, frontOnly, owner))
            return *entry;
        // Same key but stale paths: drop it, a new pick takes its place.
        if (entry->view.get() == &view && entry->camera.get() == located.camera &&
            entry->mask == mask) {
            cache.entries.erase(entry);
            break;
        }
    }
    return computePick(cache, view, event, located, mask, frontOnly);
}

const PickCache::Hits& PickCache::hits(osgViewer::View& view, const osgGA::GUIEventAdapter& event,
                                       osg::Node::NodeMask mask)
{
    return lookUp(view, event, mask, false).hits();
}

const osgUtil::LineSegmentIntersector::Intersection*
PickCache::firstHit(osgViewer::View& view, const osgGA::GUIEventAdapter& event,
                    osg::Node::NodeMask mask)
{
    const Hits& found = lookUp(view, event, mask, true).hits();
    return found.empty() ? nullptr : &*found.begin();
}

const osgUtil::LineSegmentIntersector::Intersection*
PickCache::frontHitOf(const osg::Node* owner, osgViewer::View& view,
                      const osgGA::GUIEventAdapter& event, osg::Node::NodeMask mask)
{
    const Hits& found = lookUp(view, event, mask, true, owner).hits();
    if (found.empty() || !pathContains(found.begin()->nodePath, owner))
        return nullptr;
    return &*found.begin();
}

const PickCache::Hits* PickCache::hitsTakenBy(const osg::Node* taker, osgViewer::View& view,
                                              const osgGA::GUIEventAdapter& event,
                                              osg::Node::NodeMask mask)
{
    if (!frontHitOf(taker, view, event, mask))
        return nullptr;
    // A stale path behind the front one gives a new pick: its front hit is
    // looked at again.
    const Hits& all = hits(view, event, mask);
    return !all.empty() && pathContains(all.begin()->nodePath, taker) ? &all : nullptr;
}

bool PickCache::pathContains(const osg::NodePath& path, const osg::Node* node)
{
    return std::find(path.begin(), path.end(), node) != path.end();
}

void PickCache::invalidate()
{
    State& cache = state();
    cache.entries.clear();
    cache.event = EventKey();
}

unsigned long long PickCache::computedPicks()
{
    return state().computed;
}

void PickCache::setSharingDisabled(bool disabled)
{
    state().sharingDisabled = disabled;
}

} // namespace Rk
