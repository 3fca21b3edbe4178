#ifndef RK_ACTION_VIEW_H
#define RK_ACTION_VIEW_H

#include <typeinfo>

namespace osgGA {
class GUIActionAdapter;
}
namespace osgViewer {
class View;
}

namespace Rk {

/// The `osgViewer::View` behind the action adapter of an event, found as
/// `dynamic_cast` finds it, without its cost at every event.
///
/// Every dragger of a scene asks for every event, and a `dynamic_cast`
/// across shared libraries compares type names: with a hundred draggers it
/// was a large part of an event's cost. For a given most-derived type the
/// cast's result lies at a fixed offset from the object, so each instance
/// keeps its last answers per adapter address and dynamic type: an adapter
/// of another type at the same address (the first one destroyed) is cast
/// anew. One instance per dragger; not shared between threads.
class ActionView
{
public:
    /// The view that `action` is, or null when it is not an `osgViewer::View`.
    osgViewer::View* of(osgGA::GUIActionAdapter& action);

private:
    struct Remembered
    {
        const osgGA::GUIActionAdapter* action = nullptr;
        const std::type_info* type = nullptr;
        osgViewer::View* view = nullptr;
    };
    /// Two views of one scene (a composite viewer) take turns.
    static constexpr int REMEMBERED = 2;

    Remembered m_remembered[REMEMBERED];
    int m_next = 0;
};

} // namespace Rk

#endif
