#ifndef RK_HANDLE_HOVER_H
#define RK_HANDLE_HOVER_H

#include <osg/Vec4>
#include <osg/observer_ptr>
#include <osgManipulator/Dragger>

namespace Rk {

/// The highlight of the handle under the pointer: paints one handle in the
/// highlight colour and gives it back the colour it showed before.
///
/// Colours are the diffuse colour of the material that osgManipulator's
/// `setMaterialColor` keeps on each handle. A handle that showed no
/// material colour gets its own colour (`getColor()` of osgManipulator's
/// one-axis draggers) back.
class HandleHover
{
public:
    /// Yellow, opaque (RGBA, 0..1).
    static const osg::Vec4 HIGHLIGHT_COLOUR;

    /// The diffuse colour `handle` shows through its material; without one,
    /// the handle's own colour (opaque white for handles without a colour).
    static osg::Vec4 shownColour(const osgManipulator::Dragger& handle);

    /// The highlighted handle, or null.
    osgManipulator::Dragger* hovered() const { return m_hovered.get(); }
    /// Highlights `target` (null: none), giving the handle highlighted
    /// before its colour back. True when the highlighted handle changed.
    bool show(osgManipulator::Dragger* target);
    /// The highlighted handle was recoloured by someone else (its release):
    /// what it shows now is taken as its own colour, and it is no longer
    /// painted; `show` paints it again.
    void adoptShownColour();

private:
    osg::observer_ptr<osgManipulator::Dragger> m_hovered;
    osg::Vec4 m_ownColour;
    bool m_painted = false;
};

} // namespace Rk

#endif
