#ifndef RK_ROOT_PATH_H
#define RK_ROOT_PATH_H

#include <osg/Group>
#include <osg/Matrixd>
#include <osg/Node>

namespace Rk {

/// The frame in which osgManipulator's draggers take a press: the
/// local-to-world matrix (`osg::computeLocalToWorld`, cameras handled as
/// there) of the node path that `osgManipulator::computeNodePathToRoot`
/// gives, the path through every node's first parent up to a node without
/// parents.
///
/// osgManipulator finds that path by collecting every parental path of the
/// node, which costs a node visitor and a copy of each path at every press.
/// While each node above has one parent there is only one path, and it is
/// walked directly; a node with several parents takes osgManipulator's own
/// way (which also tells the log that the first path is used). The matrix is
/// bit for bit the same either way.
class RootPath
{
public:
    static osg::Matrixd localToWorld(osg::Node& node);

    /// The node's first parent, or null at the top of the scene: the step of
    /// every walk up along first parents.
    static const osg::Group* firstParent(const osg::Node& node)
    {
        return node.getNumParents() ? node.getParent(0) : nullptr;
    }
    static osg::Group* firstParent(osg::Node& node)
    {
        return node.getNumParents() ? node.getParent(0) : nullptr;
    }
};

} // namespace Rk

#endif
