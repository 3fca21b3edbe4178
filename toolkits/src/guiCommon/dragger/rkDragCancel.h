#ifndef RK_DRAG_CANCEL_H
#define RK_DRAG_CANCEL_H

#include <osg/Matrixd>
#include <osgGA/GUIEventAdapter>

namespace osgManipulator {
class CompositeDragger;
}

namespace Rk {

class Composite3DDragger;

/// What cancelling a drag needs: the cancel key, whether the drag has
/// written the receiver, and the steps that take a drag back.
class DragCancel
{
public:
    /// The key (an `osgGA::GUIEventAdapter::KeySymbol` or a character) whose
    /// press cancels a drag; 0 is none. Any value is taken; one no keyboard
    /// sends never cancels.
    void setKey(int key) { m_key = key; }
    int key() const { return m_key; }
    /// Whether `event` is a press of the cancel key.
    bool isCancelKey(const osgGA::GUIEventAdapter& event) const;

    /// A drag starts: nothing written yet.
    void pressed()
    {
        m_wrote = false;
        m_afterCancel = false;
    }
    /// The receiver was written.
    void noteWrite() { m_wrote = true; }
    bool wroteThisDrag() const { return m_wrote; }

    /// Ends the drag of `dragger`: clears its and its handles' active flags,
    /// puts the handles' own colours back, moves the dragger to `pressPose`,
    /// writes the receiver if the drag had written it, and sets the command
    /// value to 0. Emits nothing.
    void cancel(Composite3DDragger& dragger, const osg::Matrixd& pressPose);
    /// Whether `event` is a drag or the release of a cancelled drag: taken
    /// (so that no camera turns with it) and otherwise ignored. The release
    /// of `dragButton`, the button that pressed (or a release that names no
    /// button), ends this; another button's release (the click that
    /// cancelled, say) is taken too and leaves the drag's button taken.
    bool swallowed(const osgGA::GUIEventAdapter& event, int dragButton);
    /// Whether `event` releases the drag's button `dragButton`, or is a
    /// release that names no button (which ends any drag).
    static bool releasesDragButton(const osgGA::GUIEventAdapter& event, int dragButton)
    {
        return event.getEventType() == osgGA::GUIEventAdapter::RELEASE &&
               (event.getButton() == 0 || event.getButton() == dragButton);
    }

private:
    static void releaseHandles(osgManipulator::CompositeDragger& dragger);

    int m_key = 0;
    bool m_wrote = false;
    bool m_afterCancel = false;
};

} // namespace Rk

#endif
