#ifndef RK_ONE_AXIS_HANDLE_H
#define RK_ONE_AXIS_HANDLE_H

#include <osgGA/GUIEventAdapter>
#include <osgManipulator/Dragger>

namespace Rk {

/// A switch that takes a handle out of every intersection traversal (scene
/// picks included) while it stays drawn; off for a new handle. The view
/// angle limit of `Rk::Composite3DDragger` uses it for faded handles.
class PickExclusion
{
public:
    void setExcludedFromPicks(bool excluded) { m_excludedFromPicks = excluded; }
    bool excludedFromPicks() const { return m_excludedFromPicks; }

protected:
    PickExclusion() = default;
    ~PickExclusion() = default;

private:
    bool m_excludedFromPicks = false;
};

/// What the library adds to an osgManipulator one-axis dragger (`Base` is
/// `osgManipulator::Translate1DDragger` or `osgManipulator::RotateCylinderDragger`):
///
/// - `enablePicking(false)` makes the handle refuse every pointer event;
/// - with `keepPickColor` (fixed at construction) the handle shows its pick
///   colour again right after a release, until its composite recolours it;
/// - the dragger-active flag is set from a handled press to a handled
///   release, so that the composite can tell which handle is being dragged;
/// - `PickExclusion` can hide the handle from picks while it is drawn.
///
/// The handle declares no object meta-data of its own: `className()`,
/// `libraryName()` and `cloneType()` stay those of `Base`.
template <class Base> class OneAxisHandle : public Base, public PickExclusion
{
public:
    /// Stores whether events are accepted at all; nothing else changes, a
    /// drag under way included (its further events are refused).
    virtual void enablePicking(bool enable) { m_pickingEnabled = enable; }
    bool pickingEnabled() const { return m_pickingEnabled; }
    bool keepPickColor() const { return m_keepPickColor; }

    /// False while picking is disabled or when `Base` refuses the event
    /// (pointer path without this handle); otherwise `Base` moves the parent
    /// dragger and this handle tracks its active flag.
    bool handle(const osgManipulator::PointerInfo& pointer, const osgGA::GUIEventAdapter& event,
                osgGA::GUIActionAdapter& action) override
    {
        if (!m_pickingEnabled)
            return false;
        if (!Base::handle(pointer, event, action))
            return false;
        trackDrag(event);
        return true;
    }

    /// Intersection traversals skip the handle while it is excluded from
    /// picks; every other traversal goes the base's way.
    void traverse(osg::NodeVisitor& visitor) override
    {
        if (excludedFromPicks() && visitor.asIntersectionVisitor())
            return;
        Base::traverse(visitor);
    }

protected:
    template <class... BaseArgs>
    explicit OneAxisHandle(bool keepPickColor, const BaseArgs&... baseArgs)
        : Base(baseArgs...), m_keepPickColor(keepPickColor), m_pickingEnabled(true)
    {
    }
    ~OneAxisHandle() override = default;

    /// The active flag and the kept pick colour after a press or release
    /// that this handle accepted (by `Base` or by a handle's own motion).
    void trackDrag(const osgGA::GUIEventAdapter& event)
    {
        switch (event.getEventType()) {
        case osgGA::GUIEventAdapter::PUSH:
            this->setDraggerActive(true);
            break;
        case osgGA::GUIEventAdapter::RELEASE:
            // Base has just restored the own colour; a kept pick colour
            // marks the last handle used until another axis is pressed.
            if (m_keepPickColor)
                osgManipulator::setMaterialColor(this->getPickColor(), *this);
            this->setDraggerActive(false);
            break;
        default:
            break;
        }
    }

private:
    bool m_keepPickColor;
    bool m_pickingEnabled;
};

} // namespace Rk

#endif
