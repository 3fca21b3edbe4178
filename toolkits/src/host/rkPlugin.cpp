#include "rkPlugin.h"

namespace Rk {

Plugin::~Plugin() = default;

bool Plugin::readMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                             osg::Matrixd& value) const
{
    const auto found = m_store.find(Key(id, i, j));
    if (found == m_store.end())
        return false;
    value = found->second;
    return true;
}

bool Plugin::writeMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                              const osg::Matrixd& value)
{
    m_store[Key(id, i, j)] = value;
    return true;
}

} // namespace Rk
