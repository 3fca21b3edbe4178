#include "rkPickCache.h"

#include <osg/Camera>
#include <osgGA/GUIEventAdapter>
#include <osgViewer/View>

#include <algorithm>

namespace Rk {

namespace {

// Picks of one event kept side by side: one per view and mask in practice
// (a composite viewer's views, draggers with other masks).
const std::size_t kMaxEntriesPerEvent = 8;
// Parent lists up to this length are searched without looking at the parent.
const std::size_t kShortParentList = 4;

bool sameViewport(const osg::Viewport* viewport, const double (&stored)[4])
{
    if (!viewport)
        return stored[2] == 0.0 && stored[3] == 0.0;
    return viewport->x() == stored[0] && viewport->y() == stored[1] &&
           viewport->width() == stored[2] && viewport->height() == stored[3];
}

// The camera that `computeIntersections(x, y, ...)` picks through.
const osg::Camera* pickCamera(osgViewer::View& view, const osgGA::GUIEventAdapter& event)
{
    float localX = 0.0f;
    float localY = 0.0f;
    const osg::Camera* camera =
        view.getCameraContainingPosition(event.getX(), event.getY(), localX, localY);
    return camera ? camera : view.getCamera();
}

// Shared handle geometry has one parent per handle of every dragger, a scene
// root one child per dragger: the shorter of the two lists is searched.
bool isChildOf(const osg::Node* node, const osg::Node* parent)
{
    const osg::Node::ParentList& parents = node->getParents();
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
                               osg::Node::NodeMask otherMask) const
{
    return mask == otherMask && view.get() == &otherView && view.valid() &&
           camera.get() == otherCamera && camera.valid() &&
           viewMatrix == otherCamera->getViewMatrix() &&
           projectionMatrix == otherCamera->getProjectionMatrix() &&
           sameViewport(otherCamera->getViewport(), viewport) && pathsIntact();
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

bool PickCache::Entry::pathsIntact() const
{
    auto observed = pathNodes.begin();
    const osg::NodePath* before = nullptr;
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : hits) {
        const osg::NodePath& path = hit.nodePath;
        for (std::size_t index = sharedPrefix(before, path); index < path.size(); ++index) {
            const osg::Node* node = path[index];
            // Alive first: only then may the raw pointer be followed.
            if (observed == pathNodes.end() || !observed->valid() || observed->get() != node)
                return false;
            ++observed;
            if ((node->getNodeMask() & mask) == 0)
                return false;
            if (index > 0 && !isChildOf(node, path[index - 1]))
                return false;
        }
        before = &path;
    }
    return true;
}

PickCache::Entry& PickCache::computePick(State& state, osgViewer::View& view,
                                         const osgGA::GUIEventAdapter& event,
                                         const osg::Camera* camera, osg::Node::NodeMask mask)
{
    if (state.entries.size() >= kMaxEntriesPerEvent)
        state.entries.erase(state.entries.begin());
    state.entries.emplace_back();
    Entry& entry = state.entries.back();
    entry.view = &view;
    entry.camera = camera;
    entry.viewMatrix = camera->getViewMatrix();
    entry.projectionMatrix = camera->getProjectionMatrix();
    if (const osg::Viewport* viewport = camera->getViewport()) {
        entry.viewport[0] = viewport->x();
        entry.viewport[1] = viewport->y();
        entry.viewport[2] = viewport->width();
        entry.viewport[3] = viewport->height();
    }
    entry.mask = mask;
    view.computeIntersections(event.getX(), event.getY(), entry.hits, mask);
    ++state.computed;
    const osg::NodePath* before = nullptr;
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : entry.hits) {
        const osg::NodePath& path = hit.nodePath;
        for (std::size_t index = sharedPrefix(before, path); index < path.size(); ++index)
            entry.pathNodes.emplace_back(path[index]);
        before = &path;
    }
    return entry;
}

const PickCache::Hits& PickCache::hits(osgViewer::View& view, const osgGA::GUIEventAdapter& event,
                                       osg::Node::NodeMask mask)
{
    State& cache = state();
    if (cache.sharingDisabled || !cache.event.matches(event)) {
        cache.entries.clear();
        cache.event = EventKey{&event,       event.getEventType(), event.getX(),
                               event.getY(), event.getButton(),    event.getTime()};
    }
    const osg::Camera* camera = cameraOfEntries(cache, view, event);
    for (auto entry = cache.entries.begin(); entry != cache.entries.end(); ++entry) {
        if (entry->matches(view, camera, mask))
            return entry->hits;
        // Same key but stale paths: drop it, a new pick takes its place.
        if (entry->view.get() == &view && entry->camera.get() == camera && entry->mask == mask) {
            cache.entries.erase(entry);
            break;
        }
    }
    return computePick(cache, view, event, camera, mask).hits;
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

const osg::Camera* PickCache::cameraOfEntries(State& state, osgViewer::View& view,
                                              const osgGA::GUIEventAdapter& event)
{
    // The camera under the pointer of one event in one view is looked up once;
    // its matrices and viewport are still compared at every call.
    for (const Entry& entry : state.entries)
        if (entry.view.get() == &view && entry.view.valid() && entry.camera.valid())
            return entry.camera.get();
    return pickCamera(view, event);
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
