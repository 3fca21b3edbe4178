#ifndef RK_THREE_AXIS_DRAGGER_H
#define RK_THREE_AXIS_DRAGGER_H

#include "rkComposite3DDragger.h"
#include "rkPickSegment.h"

#include <osg/Vec4>

namespace Rk {

/// Colour of the handle of `axis`: X red, Y green, Z blue (RGBA, 0..1);
/// opaque white for `NO_AXIS`.
osg::Vec4 axisColour(Composite3DDragger::AxisEnum axis);
/// The rotation that turns +Z onto the axis (identity for Z and `NO_AXIS`).
/// Every one-axis handle works along or about its own Z; this puts it on its axis.
osg::Quat axisOrientation(Composite3DDragger::AxisEnum axis);

/// Signed distance moved along `axis` of the frame the dragger had at the
/// press: the translation of `now` minus that of `start` (both in the
/// dragger's parent frame), turned back by the rotation of `start`, and its
/// component `axis`. Units of the parent frame; 0 for `NO_AXIS`.
double commandDistance(const osg::Matrixd& start, const osg::Matrixd& now,
                       Composite3DDragger::AxisEnum axis);
/// Signed angle in radians, in [-2pi, 2pi], turned from `start` to `now`
/// about `axis` of the frame at the press: the angle of inverse(start) * now,
/// negative when its rotation axis, seen in the start frame, has a negative
/// component along `axis`. A zero or undefined component keeps the sign
/// positive. 0 for `NO_AXIS`.
double commandAngle(const osg::Quat& start, const osg::Quat& now,
                    Composite3DDragger::AxisEnum axis);

/// A composite of three one-axis handles (X, Y, Z: scene-graph order, list
/// order and axis number alike), shared by the translate and rotate draggers.
/// `Handle` is a `OneAxisHandle` with `getColor()` and `getPickColor()`.
///
/// Every handle works along or about its own Z axis; its matrix turns that
/// onto the dragger's X, Y or Z. `setScale(s)` keeps this orientation: each
/// handle's matrix becomes scale(s) followed by the rotation of its axis, so
/// a scaled standalone dragger still shows three distinct axes. The base's
/// `setScale` would replace the whole matrix with a pure scale and turn all
/// three handles onto Z. `setupDefaultGeometry` sets the pure rotations
/// again (dropping an earlier scale): call `setScale` after it. Inside a
/// frame dragger the frame scales this dragger as a whole and the handles
/// keep their own matrices.
template <class Handle> class ThreeAxisDragger : public Composite3DDragger
{
public:
    Handle* xDragger() const { return m_handles[X_AXIS].get(); }
    Handle* yDragger() const { return m_handles[Y_AXIS].get(); }
    Handle* zDragger() const { return m_handles[Z_AXIS].get(); }

    /// Stores `axis` and puts every other handle back in its own colour
    /// (all three for `NO_AXIS`); the handle of `axis` keeps what it shows.
    /// Nothing at all when `axis` already is the active axis.
    void setActiveAxis(AxisEnum axis) override
    {
        if (axis == activeAxis())
            return;
        Composite3DDragger::setActiveAxis(axis);
        for (int index = X_AXIS; index <= Z_AXIS; ++index) {
            Handle* handle = m_handles[index].get();
            if (index != axis && handle)
                osgManipulator::setMaterialColor(handle->getColor(), *handle);
        }
    }

    /// Makes the axis of the first active handle (X before Y before Z) the
    /// active axis and sets this dragger's handle drag mode; with no active
    /// handle the active axis becomes `NO_AXIS` and the drag mode stays.
    void setFromChildDraggerActive() override
    {
        for (int index = X_AXIS; index <= Z_AXIS; ++index) {
            if (m_handles[index] && m_handles[index]->getDraggerActive()) {
                setActiveAxis(AxisEnum(index));
                setDragMode(m_handleDragMode);
                return;
            }
        }
        setActiveAxis(NO_AXIS);
    }

    /// Stores `scale`, gives each handle scale(s) followed by its axis
    /// rotation, then emits `signalScaleChanged()` once. Zero or negative
    /// values are applied as given (a zero scale collapses the handles).
    void setScale(double scale) override
    {
        // The base replaces each handle's whole matrix; its signal waits
        // until the orientations are back.
        const bool wasBlocked = blockSignals(true);
        Composite3DDragger::setScale(scale);
        blockSignals(wasBlocked);
        for (int index = X_AXIS; index <= Z_AXIS; ++index) {
            if (m_handles[index])
                m_handles[index]->setMatrix(osg::Matrixd::scale(scale, scale, scale) *
                                            osg::Matrixd::rotate(axisOrientation(AxisEnum(index))));
        }
        emit signalScaleChanged();
    }

    /// Every visitor but a pick goes the base's way. A pick visits the
    /// children in order, as a group does, but skips each handle whose
    /// drawables the pick's segment certainly misses (`PickSegment`): the
    /// same hits, without entering the handles that a ray at another handle
    /// merely passes near.
    void traverse(osg::NodeVisitor& visitor) override
    {
        const auto asHandle = [this](osg::Node* child) -> const osg::MatrixTransform* {
            return isHandle(child) ? static_cast<Handle*>(child) : nullptr;
        };
        if (!PickSegment::traverseSkippingMissed(*this, visitor, asHandle))
            Composite3DDragger::traverse(visitor);
    }

protected:
    ThreeAxisDragger(Rk::DraggerReceiver* receiver, int handleDragMode)
        : Composite3DDragger(receiver), m_handleDragMode(handleDragMode)
    {
    }
    ~ThreeAxisDragger() override
    {
        for (int index = Z_AXIS; index >= X_AXIS; --index)
            m_handles[index] = nullptr;
    }

    /// Stores `handle` for `axis`, adds it below `parent` and to the list.
    void addHandle(AxisEnum axis, Handle* handle, osg::Group* parent)
    {
        m_handles[axis] = handle;
        parent->addChild(handle);
        addDragger(handle);
    }

    /// Adds `node` as a child of X, Y and Z, in this order: one instance
    /// shared by all three, each showing it in its own colour.
    void addToEveryHandle(osg::Node* node)
    {
        for (const osg::ref_ptr<Handle>& handle : m_handles)
            handle->addChild(node);
    }

    /// Turns X and Y onto their axes (Z stays) and gives each handle its colour.
    void orientAndColourHandles()
    {
        for (int index = X_AXIS; index <= Y_AXIS; ++index)
            m_handles[index]->setMatrix(osg::Matrixd::rotate(axisOrientation(AxisEnum(index))));
        for (int index = X_AXIS; index <= Z_AXIS; ++index)
            m_handles[index]->setColor(axisColour(AxisEnum(index)));
    }

private:
    bool isHandle(const osg::Node* node) const
    {
        return node == m_handles[X_AXIS].get() || node == m_handles[Y_AXIS].get() ||
               node == m_handles[Z_AXIS].get();
    }

    osg::ref_ptr<Handle> m_handles[3];
    int m_handleDragMode;
};

} // namespace Rk

#endif
