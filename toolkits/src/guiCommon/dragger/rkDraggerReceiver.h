#ifndef RK_DRAGGER_RECEIVER_H
#define RK_DRAGGER_RECEIVER_H

#include <boost/function.hpp>
#include <osg/Matrixd>
#include <osg/Referenced>

namespace Rk {

class Plugin;
class PluginGUI;

/// The adapter through which a dragger reads and writes the pose it edits.
///
/// A receiver holds no pose of its own: it produces the current pose from a
/// getter and hands new poses to a setter. Matrices pass through unchanged, in
/// OpenSceneGraph's row-vector convention (translation in the fourth row).
/// Held by `osg::ref_ptr`; the dragger keeps one reference.
class DraggerReceiver : public osg::Referenced
{
public:
    /// The two functions of a receiver whose getter fills a matrix in place.
    struct ReceiverArg
    {
        boost::function<bool(osg::Matrixd&)> getter;       ///< result ignored
        boost::function<void(const osg::Matrixd&)> setter; ///< stores a new pose
    };

    /// A receiver from a getter that returns the pose and a setter. Either
    /// may be empty: an empty getter reads the identity, an empty setter
    /// ignores writes.
    DraggerReceiver(boost::function<osg::Matrixd()> getter,
                    boost::function<void(const osg::Matrixd&)> setter);
    /// A receiver whose `getMatrix` goes through `getMatrixArgImplementation`.
    explicit DraggerReceiver(ReceiverArg arg);
    ~DraggerReceiver() override;

    /// The current pose: the getter's result, or the identity if it is empty.
    osg::Matrixd getMatrix() const;
    /// Hands `matrix` to the setter; does nothing if the setter is empty.
    void setMatrix(const osg::Matrixd& matrix);
    /// Calls the argument getter on an identity matrix and returns what it
    /// left there (its bool is ignored). Throws `boost::bad_function_call` if
    /// the argument getter is empty.
    osg::Matrixd getMatrixArgImplementation() const;

private:
    DraggerReceiver(const DraggerReceiver&) = delete;
    DraggerReceiver& operator=(const DraggerReceiver&) = delete;

    boost::function<osg::Matrixd()> m_getMatrix;
    boost::function<bool(osg::Matrixd&)> m_getMatrixArg;
    boost::function<void(const osg::Matrixd&)> m_setMatrix;
};

/// A receiver bound to a host plug-in's matrix parameter. The plug-in is held
/// by a plain pointer and must outlive the receiver. A null plug-in gives a
/// receiver that reads the identity and ignores writes.
class EEDraggerReceiver : public DraggerReceiver
{
public:
    /// Reads `param<261u>()` and writes `setParam<261u>(m)` of `gui`, at every
    /// call, with no caching.
    explicit EEDraggerReceiver(Rk::PluginGUI* gui);
    /// Reads `getParam<14u>(first, second, m)` and writes
    /// `setParam<14u>(first, second, m)` of `plugin`; the indices are taken as
    /// `unsigned int` (a negative index wraps). A null `plugin` reads the
    /// identity and ignores writes.
    EEDraggerReceiver(Rk::Plugin* plugin, int first, int second);
    ~EEDraggerReceiver() override;
};

} // namespace Rk

#endif
