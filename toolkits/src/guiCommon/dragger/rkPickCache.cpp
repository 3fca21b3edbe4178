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

bool isChildOf(const osg::Node* node, const osg::Node* parent)
{
    const osg::Node::ParentList& parents = node->getParents();
    return std::find(parents.begin(), parents.end(), parent) != parents.end();
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

bool PickCache::Entry::pathsIntact() const
{
    auto observed = pathNodes.begin();
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : hits) {
        const osg::Node* previous = nullptr;
        for (const osg::Node* node : hit.nodePath) {
            // Alive first: only then may the raw pointer be followed.
            if (observed == pathNodes.end() || !observed->valid() || observed->get() != node)
                return false;
            ++observed;
            if ((node->getNodeMask() & mask) == 0)
                return false;
            if (previous && !isChildOf(node, previous))
                return false;
            previous = node;
        }
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
    for (const osgUtil::LineSegmentIntersector::Intersection& hit : entry.hits)
        for (osg::Node* node : hit.nodePath)
            entry.pathNodes.emplace_back(node);
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
    const osg::Camera* camera = pickCamera(view, event);
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
