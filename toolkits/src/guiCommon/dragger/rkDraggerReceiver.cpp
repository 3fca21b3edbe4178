#include "rkDraggerReceiver.h"

#include "rkPlugin.h"

#include <boost/bind/bind.hpp>

namespace Rk {

DraggerReceiver::DraggerReceiver(boost::function<osg::Matrixd()> getter,
                                 boost::function<void(const osg::Matrixd&)> setter)
    : m_getMatrix(getter), m_setMatrix(setter)
{
}

DraggerReceiver::DraggerReceiver(ReceiverArg arg)
    : m_getMatrix(boost::bind(&DraggerReceiver::getMatrixArgImplementation, this)),
      m_getMatrixArg(arg.getter), m_setMatrix(arg.setter)
{
}

DraggerReceiver::~DraggerReceiver() = default;

osg::Matrixd DraggerReceiver::getMatrix() const
{
    if (m_getMatrix.empty())
        return osg::Matrixd::identity();
    return m_getMatrix();
}

void DraggerReceiver::setMatrix(const osg::Matrixd& matrix)
{
    if (!m_setMatrix.empty())
        m_setMatrix(matrix);
}

osg::Matrixd DraggerReceiver::getMatrixArgImplementation() const
{
    osg::Matrixd matrix; // identity
    m_getMatrixArg(matrix);
    return matrix;
}

namespace {

DraggerReceiver::ReceiverArg indexedMatrixArg(Plugin* plugin, unsigned int first,
                                              unsigned int second)
{
    DraggerReceiver::ReceiverArg arg;
    if (!plugin) {
        // Reads leave the identity in place; writes go nowhere.
        arg.getter = [](osg::Matrixd&) { return false; };
        return arg;
    }
    arg.getter = [plugin, first, second](osg::Matrixd& matrix) {
        return plugin->getParam<PARAM_INDEXED_MATRIX, osg::Matrixd>(first, second, matrix);
    };
    arg.setter = [plugin, first, second](const osg::Matrixd& matrix) {
        plugin->setParam<PARAM_INDEXED_MATRIX, osg::Matrixd>(first, second, matrix);
    };
    return arg;
}

boost::function<osg::Matrixd()> endEffectorGetter(Plugin* plugin)
{
    if (!plugin)
        return {}; // an empty getter reads the identity
    return [plugin]() { return plugin->param<PARAM_END_EFFECTOR_POSE, osg::Matrixd>(); };
}

boost::function<void(const osg::Matrixd&)> endEffectorSetter(Plugin* plugin)
{
    if (!plugin)
        return {}; // an empty setter ignores writes
    return [plugin](const osg::Matrixd& matrix) {
        plugin->setParam<PARAM_END_EFFECTOR_POSE, osg::Matrixd>(matrix);
    };
}

} // namespace

EEDraggerReceiver::EEDraggerReceiver(Rk::PluginGUI* gui)
    : DraggerReceiver(endEffectorGetter(gui), endEffectorSetter(gui))
{
}

EEDraggerReceiver::EEDraggerReceiver(Rk::Plugin* plugin, int first, int second)
    : DraggerReceiver(indexedMatrixArg(plugin, static_cast<unsigned int>(first),
                                       static_cast<unsigned int>(second)))
{
}

EEDraggerReceiver::~EEDraggerReceiver() = default;

} // namespace Rk
