#ifndef RK_SHARED_HANDLE_GEOMETRY_H
#define RK_SHARED_HANDLE_GEOMETRY_H

#include <osg/Node>
#include <osg/ref_ptr>

#include <functional>
#include <initializer_list>

namespace Rk {

/// Handle geometry that every dragger built with the same sizes shares: one
/// node per kind of geometry and set of sizes, built at the first request
/// and handed to every later one while any dragger still holds it (it is
/// built again after the last holder is gone).
///
/// Each drawable of a new node that can have one gets a `TriangleIndex`
/// (its user data), so that picks test only the triangles a ray may meet.
///
/// A shared node must stay immutable: the draggers never change it, nor its
/// drawables, states or bounds, after it is built. A dragger whose sizes
/// change asks for the node of its new sizes and so never touches another
/// dragger's handles. What each dragger owns, and a host may change per
/// dragger, is everything above the shared node: its handles (transforms,
/// matrices, node masks, colours, states).
///
/// Sizes are compared bit for bit: NaN sizes give one node per bit pattern,
/// built as the builder builds them. Safe to call from several threads.
class SharedHandleGeometry
{
public:
    using Builder = std::function<osg::Node*()>;

    /// The node of `kind` (a name of the builder's geometry, e.g. "arrow
    /// head") for `sizes`: the one already shared, or a new one from `build`.
    /// A null node from `build` is returned as is and not kept.
    static osg::ref_ptr<osg::Node> get(const char* kind, std::initializer_list<float> sizes,
                                       const Builder& build);
};

} // namespace Rk

#endif
