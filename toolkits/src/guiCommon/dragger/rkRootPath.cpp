#include "rkRootPath.h"

#include <osg/Transform>
#include <osgManipulator/Dragger>

#include <algorithm>

namespace Rk {

namespace {

// Deep enough for a scene root, a few groups, a frame dragger, its child
// composite, a handle and a screen-size chain.
const std::size_t kTypicalDepth = 16;

} // namespace

osg::Matrixd RootPath::localToWorld(osg::Node& node)
{
    osg::NodePath path;
    path.reserve(kTypicalDepth);
    osg::Node* at = &node;
    path.push_back(at);
    while (at->getNumParents() == 1) {
        at = at->getParent(0);
        path.push_back(at);
    }
    if (at->getNumParents() > 1) {
        osgManipulator::computeNodePathToRoot(node, path);
        return osg::computeLocalToWorld(path);
    }
    std::reverse(path.begin(), path.end());
    return osg::computeLocalToWorld(path);
}

} // namespace Rk
